// SPDX-License-Identifier: Apache-2.0
// The engine's public interfaces, which other programs link: every name stands in the
// global namespace and takes what it has always taken. This file fails to compile where
// one is gone; how they act is tested beside each of them.
#include <cups/raster.h>

#include <type_traits>

#include "common/log.h"
#include "common/path.h"
#include "common/ppd_lookup.h"
#include "filter/commands.h"
#include "filter/settings.h"
#include "image/halftones.h"
#include "image/palette_image.h"
#include "printer/blank_lines.h"
#include "printer/receipt_ep_printer.h"
#include "tattoo/error_diffusion.h"
#include "tattoo/fast_math.h"
#include "tattoo/gamma.h"
#include "tattoo/gaussian.h"
#include "tattoo/grey.h"
#include "tattoo/pipeline.h"
#include "tattoo/qz_image.h"
#include "tattoo/threshold.h"
#include "tattoo/unsharp.h"

namespace {

// Whether a function, perhaps one of several of its name, has this type.
template <typename Type>
constexpr bool has(Type /*function*/) {
  return true;
}

// ---- PaletteImage --------------------------------------------------------------

using Image = ::PaletteImage;
using Colour = ::tagRGBQUAD;

static_assert(has<uint8_t* (Image::*)(uint32_t, uint32_t, uint32_t, uint32_t)>(&Image::Create));
static_assert(has<bool (Image::*)()>(&Image::Destroy));
static_assert(has<bool (Image::*)(Image&, bool)>(&Image::Transfer));
static_assert(has<void (Image::*)(const Image&)>(&Image::CopyInfo));
static_assert(has<bool (Image::*)(const uint8_t*, uint32_t, uint32_t, uint32_t, uint32_t, bool)>(
    &Image::CreateFromArray));
static_assert(has<uint32_t (Image::*)() const>(&Image::GetWidth));
static_assert(has<uint32_t (Image::*)() const>(&Image::GetHeight));
static_assert(has<uint32_t (Image::*)() const>(&Image::GetEffWidth));
static_assert(has<uint32_t (Image::*)() const>(&Image::GetNumColors));
static_assert(has<uint32_t (Image::*)() const>(&Image::GetPaletteSize));
static_assert(has<uint32_t (Image::*)() const>(&Image::GetSize));
static_assert(has<bool (Image::*)() const>(&Image::IsValid));
static_assert(has<const char* (Image::*)() const>(&Image::GetLastError));
static_assert(has<uint8_t* (Image::*)(uint32_t)>(&Image::GetBits));
static_assert(has<Colour* (Image::*)()>(&Image::GetPalette));
static_assert(has<void (Image::*)(const Colour*, uint32_t)>(&Image::SetPalette));
static_assert(has<void (Image::*)()>(&Image::SetGrayPalette));
static_assert(
    has<void (Image::*)(uint8_t, uint8_t, uint8_t, uint8_t, uint8_t)>(&Image::SetPaletteColor));
static_assert(has<Colour (Image::*)(uint8_t) const>(&Image::GetPaletteColor));
static_assert(has<uint8_t (Image::*)(Colour)>(&Image::GetNearestIndex));
static_assert(has<uint8_t (Image::*)(long, long) const>(&Image::GetPixelIndex));
static_assert(has<void (Image::*)(long, long, uint8_t)>(&Image::SetPixelIndex));
static_assert(has<uint8_t (Image::*)(long, long) const>(&Image::BlindGetPixelIndex));
static_assert(has<void (Image::*)(long, long, uint8_t)>(&Image::BlindSetPixelIndex));
static_assert(has<Colour (Image::*)(long, long, bool) const>(&Image::BlindGetPixelColor));
static_assert(has<void (Image::*)(long, long, Colour, bool)>(&Image::BlindSetPixelColor));
static_assert(has<bool (Image::*)(long)>(&Image::Dither));
static_assert(has<bool (Image::*)(int, int)>(&Image::Light));
static_assert(has<bool (Image::*)(const uint8_t*)>(&Image::Lut));
static_assert(has<void (Image::*)()>(&Image::Negative));
static_assert(has<bool (Image::*)(Image*)>(&Image::Rotate180));
static_assert(has<void (Image::*)()>(&Image::Mirror));
static_assert(has<bool (Image::*)(uint32_t)>(&Image::IncreaseBpp));
static_assert(has<bool (Image::*)(long, long, long, long, Colour)>(&Image::Expand));
static_assert(has<void (Image::*)(int, int, int, int, uint8_t)>(&Image::DrawLine));
static_assert(has<void (Image::*)(int)>(&Image::MakeCenter));

// ---- DravPrinter ----------------------------------------------------------------

using Printer = ::DravPrinter;
static_assert(std::is_abstract_v<Printer> && std::has_virtual_destructor_v<Printer>);
static_assert(std::is_base_of_v<Printer, ::ReceiptEpPrinter>);

static_assert(has<Printer& (Printer::*)(long)>(&Printer::SetPrintWidth));
static_assert(has<long (Printer::*)() const>(&Printer::GetPrintWidth));
static_assert(has<Printer& (Printer::*)(cups_page_header2_s*)>(&Printer::setPageHeader));
static_assert(has<cups_page_header2_s* (Printer::*)() const>(&Printer::getPageHeader));
static_assert(has<Printer& (Printer::*)(int)>(&Printer::setAntiWrinkle));
static_assert(has<int (Printer::*)() const>(&Printer::getAntiWrinkle));
static_assert(has<Printer& (Printer::*)(bool)>(&Printer::setUseQZDithering));
static_assert(has<bool (Printer::*)() const>(&Printer::getUseQZDithering));
static_assert(has<Printer& (Printer::*)(int)>(&Printer::setMaxMediaWidth));
static_assert(has<int (Printer::*)() const>(&Printer::getMaxMediaWidth));
static_assert(has<Printer& (Printer::*)(int)>(&Printer::setVBarcodeOpt));
static_assert(has<int (Printer::*)() const>(&Printer::getVBarcodeOpt));
static_assert(has<Printer& (Printer::*)(int)>(&Printer::setBrightness));
static_assert(has<int (Printer::*)() const>(&Printer::getBrightness));
static_assert(has<Printer& (Printer::*)(int)>(&Printer::setContrast));
static_assert(has<int (Printer::*)() const>(&Printer::getContrast));
static_assert(has<Printer& (Printer::*)(const char*)>(&Printer::setPrintSpeed));
static_assert(has<int (Printer::*)() const>(&Printer::getPrintSpeed));
static_assert(has<Printer& (Printer::*)(int)>(&Printer::setPrintDensity));
static_assert(has<int (Printer::*)() const>(&Printer::getPrintDensity));
static_assert(has<Printer& (Printer::*)(::DitherType)>(&Printer::setHalftoneType));
static_assert(has<::DitherType (Printer::*)() const>(&Printer::getHalftoneType));
static_assert(has<Printer& (Printer::*)(bool)>(&Printer::setNegativePrint));
static_assert(has<bool (Printer::*)() const>(&Printer::isNegativePrint));
static_assert(has<Printer& (Printer::*)(bool)>(&Printer::setRotate180Print));
static_assert(has<bool (Printer::*)() const>(&Printer::isRotate180Print));
static_assert(has<Printer& (Printer::*)(bool)>(&Printer::setMirrorPrint));
static_assert(has<bool (Printer::*)() const>(&Printer::isMirrorPrint));
static_assert(has<Printer& (Printer::*)(unsigned char)>(&Printer::setRemoveBlankEdges));
static_assert(has<unsigned char (Printer::*)() const>(&Printer::getRemoveBlankEdges));
static_assert(has<Printer& (Printer::*)(unsigned long)>(&Printer::setSkipRightPixels));
static_assert(has<unsigned long (Printer::*)() const>(&Printer::getSkipRightPixels));
static_assert(has<Printer& (Printer::*)(Printer::UserData*)>(&Printer::setUserData));
static_assert(has<Printer::UserData* (Printer::*)() const>(&Printer::getUserData));
static_assert(has<std::vector<std::FILE*>& (Printer::*)()>(&Printer::getOutputStreams));
static_assert(has<const char* (*)()>(&Printer::getCopyRight));
static_assert(has<void (Printer::*)(const unsigned char*, unsigned long)>(&Printer::printBytes));
static_assert(has<void (Printer::*)(const char*)>(&Printer::printStr));
static_assert(has<void (Printer::*)(unsigned char)>(&Printer::printByte));
static_assert(has<int (Printer::*)(const char*, ...)>(&Printer::printFormat));
static_assert(has<void (Printer::*)(const unsigned char*, uint64_t, uint64_t, uint64_t)>(
    &Printer::printImage));
static_assert(has<void (Printer::*)(const unsigned char*, uint64_t, uint64_t, uint64_t)>(
    &Printer::doPrintImage));
static_assert(has<int32_t (Printer::*)(::DitherType, const uint8_t*, int32_t, int32_t, int32_t,
                                       uint8_t*)>(&Printer::PageProcess));
static_assert(has<void (Printer::*)(Image&) const>(&Printer::EnableAntiWrink));
static_assert(has<int32_t (Printer::*)(int32_t, int32_t, uint8_t*) const>(&Printer::GrayToMono));
static_assert(has<void (Printer::*)(const unsigned char*, uint64_t, uint64_t, uint64_t, uint16_t)>(
    &Printer::saveImage));
static_assert(has<void (::ReceiptEpPrinter::*)(uint32_t, uint64_t, uint8_t*)>(
    &::ReceiptEpPrinter::SendImage));

using CountBlankLines = uint64_t (*)(const uint8_t*, uint64_t, uint64_t, uint64_t, uint64_t);
static_assert(has<CountBlankLines>(&::dravImageCountBlankLinesFromFront));
static_assert(has<CountBlankLines>(&::dravImageCountBlankLinesFromBack));

// ---- QZImage and its stages --------------------------------------------------------

using Grey = ::QZImage;
static_assert(std::is_constructible_v<Grey, int32_t, int32_t, ::QZ_IMG_COLOR, const uint8_t*>);
static_assert(std::is_constructible_v<Grey, int32_t, int32_t, ::QZ_IMG_COLOR>);
static_assert(std::is_copy_constructible_v<Grey> && std::is_copy_assignable_v<Grey>);

static_assert(has<float (*)(float)>(&::my_sqrt));
static_assert(has<float (*)(float)>(&::my_exp));
static_assert(has<float (*)(float)>(&::my_ln));
static_assert(has<float (*)(float, float)>(&::my_pow));
static_assert(has<int32_t (*)(float)>(&::my_round));
static_assert(has<float (*)(float)>(&::myabs));
static_assert(has<int (*)(int, int, int)>(&::myClamp<int>));
static_assert(has<bool (*)(int32_t, int32_t, int32_t, int32_t)>(&::isWithinBounds));
static_assert(has<Grey (*)(const Grey&)>(&::cvtGray));
static_assert(has<int32_t (*)(const Grey&)>(&::thresh_global_moments));
static_assert(has<void (*)(Grey&, int32_t, float, float)>(&::enh_piecewise_gamma));
static_assert(has<void (*)(int, double, double*)>(&::generateGaussianKernel1D));
static_assert(has<Grey (*)(const Grey&, const double*, int, bool)>(&::convolve1D));
static_assert(has<Grey (*)(const Grey&, int, double)>(&::enh_gaussian_filter_fast));
static_assert(has<void (*)(int, double, double, double*)>(&::generateGaussianKernel));
static_assert(has<Grey (*)(const Grey&, int, double, double)>(&::enh_gaussian_filter));
static_assert(has<Grey (*)(const Grey&, const Grey&, float)>(&::add_Weighted));
static_assert(has<Grey (*)(const Grey&, float, int)>(&::enh_unsharp_mask));
static_assert(has<Grey (*)(const Grey&, int)>(&::edf_cus));
static_assert(has<Grey (*)(const Grey&)>(&::qzTattooDithering));
static_assert(has<Grey (*)(const Grey&)>(&::qzTattooDitheringX8));

// ---- Filter and helpers --------------------------------------------------------------

static_assert(has<int32_t (*)(::command, std::FILE*)>(&::outputCommand));
static_assert(has<void (*)(::Settings, std::FILE*)>(&::jobSetup));
static_assert(has<void (*)(::Settings, cups_page_header2_t, std::FILE*)>(&::pageSetup));
static_assert(has<void (*)(::Settings, std::FILE*)>(&::endPage));
static_assert(has<void (*)(::Settings, std::FILE*)>(&::endJob));
static_assert(has<bool (*)(const char*, ::Settings*, const ::Clock&)>(&::initializeSettings));
static_assert(has<int32_t (*)(const char*, ppd_file_t*)>(&::getOptionChoiceIndex));
static_assert(has<void (*)(ppd_file_t*, ::Settings*)>(&::getPageWidthPageHeight));

static_assert(has<void (*)(int32_t, const char*, ...)>(&::dravLogCommon));
static_assert(has<const char* (*)(::DitherType)>(&::dravHalftoneTypeToStr));
static_assert(has<::DitherType (*)(const char*)>(&::dravHalftoneTypeFromStr));
static_assert(has<const char* (*)(const char*)>(&::dravPathGetBasename));
static_assert(has<ppd_choice_t* (*)(ppd_file_t*, const char*)>(&::dravPpdGetChoice));
static_assert(
    has<const char* (*)(ppd_file_t*, const char*, const char*)>(&::dravPpdGetChoiceAsStrDefault));
static_assert(has<int32_t (*)(ppd_file_t*, const char*, int32_t)>(&::dravPpdGetChoiceAsIntDefault));
static_assert(has<int8_t (*)(ppd_file_t*, const char*, int8_t)>(&::dravPpdGetChoiceAsBoolDefault));
static_assert(has<const char* (*)(ppd_file_t*, const char*, const char*, const char*)>(
    &::dravPpdGetAttrAsStrDefault));
static_assert(has<double (*)(ppd_file_t*, const char*, const char*, double)>(
    &::dravPpdGetAttrAsFloatDefault));

}  // namespace
