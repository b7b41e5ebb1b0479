// SPDX-License-Identifier: Apache-2.0
#include "documents/reader/picture.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>
#include <vips/vips8>
// After the header that it needs.
#include <vips/vector.h>

#include "documents/luminance.h"
#include "documents/reader/file_facts.h"

namespace documents {
namespace {

using vips::VImage;

constexpr double kCssDpi = 96;   // pixels to the inch, as CSS and SVG define them
constexpr double kVipsDpi = 72;  // the same as the SVG loader sees it
constexpr double kWhite = 255;
constexpr double k16BitsPer8 = 257;
constexpr int kMostRowsAtOnce = 256;
constexpr int64_t kMostByOneStep = 64;  // times that a picture is reduced with one kernel

// The loader of a kind and its class, where libvips must be told to let it in.
struct Loader {
  FileKind kind = FileKind::kUnknown;
  const char* operation = nullptr;
  const char* untrusted = nullptr;
  bool isModule = false;  // loaded when libvips starts, and large
};

constexpr std::array kLoaders = {
    Loader{FileKind::kPng, "pngload_source"},
    Loader{FileKind::kJpeg, "jpegload_source"},
    Loader{FileKind::kWebp, "webpload_source"},
    Loader{FileKind::kTiff, "tiffload_source"},
    Loader{FileKind::kGif, "gifload_source"},
    Loader{FileKind::kHeif, "heifload_source", nullptr, true},
    Loader{FileKind::kPortable, "ppmload_source", "VipsForeignLoadPpm"},
    Loader{FileKind::kSvg, "svgload_source", "VipsForeignLoadSvg"},
    Loader{FileKind::kBmp, "magickload_buffer", "VipsForeignLoadMagick", true},
};

const Loader& loaderOf(FileKind kind) {
  for (const Loader& loader : kLoaders)
    if (loader.kind == kind) return loader;
  throw Refusal("is no picture");
}

// The first line of what libvips says, without the names of its parts.
std::string reason(const char* text) {
  std::string line(text, std::strcspn(text, "\n"));
  const size_t part = line.find(": ");
  if (part != std::string::npos && line.find(' ') > part) line.erase(0, part + 2);
  for (char& letter : line)
    if (static_cast<unsigned char>(letter) < ' ' || letter == '\x7F') letter = ' ';
  constexpr size_t kMostReason = 120;
  return line.substr(0, kMostReason);
}

[[noreturn]] void refuse(FileKind kind, const vips::VError& error) {
  const std::string why = reason(error.what());
  vips_error_clear();
  throw Refusal(std::string("is damaged or cut, or no ") + kindName(kind) +
                (why.empty() ? "" : ": " + why));
}

bool isWide(const VImage& image) { return image.format() == VIPS_FORMAT_USHORT; }

// The number of an EXIF field, which libvips gives as "300/1 (300, Rational, ...)" and whole
// numbers as "2 (Inch, ...)". 0 for none.
double exifNumber(const VImage& image, const char* name) {
  if (image.get_typeof(name) == 0) return 0;
  const std::string text = image.get_string(name);
  const char* const end = text.data() + text.size();
  uint32_t over = 0;
  uint32_t under = 1;
  const auto [stop, failure] = std::from_chars(text.data(), end, over);
  if (failure != std::errc()) return 0;
  if (stop != end && *stop == '/' && std::from_chars(stop + 1, end, under).ec != std::errc())
    return 0;
  return under == 0 ? 0 : static_cast<double>(over) / under;
}

// For loaders that leave it there. Where the EXIF data has none, libvips puts in its own, a
// pixel to the millimetre.
Density exifDpi(const VImage& image) {
  constexpr double kCentimetres = 3;  // the unit's number; 2 and no unit are inches
  const double unit = exifNumber(image, "exif-ifd0-ResolutionUnit") == kCentimetres ? 2.54 : 1;
  const Density dpi = {exifNumber(image, "exif-ifd0-XResolution") * unit,
                       exifNumber(image, "exif-ifd0-YResolution") * unit};
  const auto isOwn = [](double one) { return std::abs(one - kMillimetresPerInch) < 0.01; };
  return isOwn(dpi.x) && isOwn(dpi.y) ? Density{} : dpi;
}

// Loaders give a picture without a stated resolution one of their own.
Density statedDpi(FileKind kind, std::span<const uint8_t> file, const VImage& image) {
  if (kind == FileKind::kWebp || kind == FileKind::kHeif) return exifDpi(image);
  bool states = false;
  if (kind == FileKind::kPng)
    states = pngStatesSize(file);
  else if (kind == FileKind::kJpeg || kind == FileKind::kTiff)
    states = image.get_typeof(VIPS_META_RESOLUTION_UNIT) != 0;
  else
    states = kind == FileKind::kBmp;
  if (!states) return {};
  return {image.xres() * kMillimetresPerInch, image.yres() * kMillimetresPerInch};
}

int orientationOf(const VImage& image) {
  if (image.get_typeof(VIPS_META_ORIENTATION) == 0) return 1;
  const int orientation = image.get_int(VIPS_META_ORIENTATION);
  return orientation >= 1 && orientation <= 8 ? orientation : 1;
}

// A profile that moves no colour by more than one level is sRGB itself, whatever its name.
// Its pixels stay as they are: the way through it and back would move some by one.
bool isSrgb(const VImage& image) {
  constexpr int kGridSteps = 9;
  const bool isGrey = image.bands() <= 2;
  std::vector<uint8_t> colours;
  const auto level = [](int step) {
    return static_cast<uint8_t>(std::lround(step * kWhite / (kGridSteps - 1)));
  };
  for (int at = 0; at < kGridSteps * kGridSteps * kGridSteps; ++at) {
    colours.push_back(level(at % kGridSteps));
    if (isGrey) continue;
    colours.push_back(level(at / kGridSteps % kGridSteps));
    colours.push_back(level(at / kGridSteps / kGridSteps));
  }
  const int count = kGridSteps * kGridSteps * kGridSteps;
  VImage sample =
      VImage::new_from_memory(colours.data(), colours.size(), count, 1, isGrey ? 1 : 3,
                              VIPS_FORMAT_UCHAR)
          .copy(VImage::option()->set("interpretation",
                                      isGrey ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB));
  size_t size = 0;
  const void* profile = image.get_blob(VIPS_META_ICC_NAME, &size);
  sample.set(VIPS_META_ICC_NAME, nullptr, const_cast<void*>(profile), size);
  try {
    const VImage seen =
        sample.icc_transform("srgb", VImage::option()->set("embedded", true)->set("depth", 8));
    return (seen - sample).abs().max() <= 1;
  } catch (const vips::VError&) {
    vips_error_clear();
    return true;  // one that cannot be used counts as none
  }
}

// The colours that the profile is for, as it names them; empty without one.
std::string_view profileColours(const VImage& image) {
  constexpr size_t kAt = 16;
  constexpr size_t kSize = 4;
  size_t size = 0;
  if (image.get_typeof(VIPS_META_ICC_NAME) == 0) return {};
  const auto* profile = static_cast<const char*>(image.get_blob(VIPS_META_ICC_NAME, &size));
  return size < kAt + kSize ? std::string_view() : std::string_view(profile + kAt, kSize);
}

// Programs that make a colour picture grey often leave it the profile of its colours.
VImage withFittingProfile(const VImage& image) {
  const std::string_view colours = profileColours(image);
  const int bands = image.bands() - (image.has_alpha() ? 1 : 0);
  if (colours.empty() || colours == (bands == 1 ? "GRAY" : bands == 3 ? "RGB " : "CMYK"))
    return image;
  if (bands != 1 || colours != "RGB ") {
    VImage without = image.copy();
    without.remove(VIPS_META_ICC_NAME);
    return without;
  }
  const VImage grey = image.extract_band(0);
  VImage colour = grey.bandjoin(grey).bandjoin(image);
  return colour.copy(VImage::option()->set(
      "interpretation", isWide(image) ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB));
}

// Colours as sRGB, or grey levels of the same scale, with transparency as it was.
VImage toSrgb(const VImage& source) {
  VImage image = withFittingProfile(source);
  const bool isCmyk = image.interpretation() == VIPS_INTERPRETATION_CMYK;
  const bool hasProfile = image.get_typeof(VIPS_META_ICC_NAME) != 0;
  if (isCmyk || (hasProfile && !isSrgb(image))) {
    vips::VOption* options = VImage::option()
                                 ->set("embedded", true)
                                 ->set("intent", VIPS_INTENT_RELATIVE)
                                 ->set("depth", isWide(image) ? 16 : 8);
    if (isCmyk) options->set("input_profile", "cmyk");
    return image.icc_transform("srgb", options);
  }
  switch (image.interpretation()) {
    case VIPS_INTERPRETATION_B_W:
    case VIPS_INTERPRETATION_GREY16:
    case VIPS_INTERPRETATION_sRGB:
    case VIPS_INTERPRETATION_RGB16:
      return image;
    case VIPS_INTERPRETATION_RGB:  // without saying which
    case VIPS_INTERPRETATION_MULTIBAND:
      return image.copy(VImage::option()->set(
          "interpretation",
          image.bands() >= 3
              ? (isWide(image) ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB)
              : (isWide(image) ? VIPS_INTERPRETATION_GREY16 : VIPS_INTERPRETATION_B_W)));
    default:
      return image.colourspace(VIPS_INTERPRETATION_sRGB);
  }
}

// On white paper, rounded. In floating point: the whole-number way cuts fractions off.
VImage onWhite(const VImage& image) {
  if (!image.has_alpha()) return image;
  const VipsBandFormat format = image.format();
  const double most = isWide(image) ? kWhite * k16BitsPer8 : kWhite;
  const std::vector<double> white(static_cast<size_t>(image.bands()) - 1, most);
  return image.cast(VIPS_FORMAT_FLOAT)
      .flatten(VImage::option()->set("background", white)->set("max_alpha", most))
      .rint()
      .cast(format);
}

// Of a region of 8 bits a band. VIPS_REGION_ADDR is this with mixed signs.
uint8_t* rowOf(const VipsRegion& region, int x, int y) {
  return region.data + std::ptrdiff_t{y - region.valid.top} * region.bpl +
         std::ptrdiff_t{x - region.valid.left} * region.im->Bands;
}

// How far a picture has been read that is decoded from the top.
struct RowsRead {
  std::mutex mutex;
  int next = 0;
};

// What libvips calls for a part of a picture that is read in order.
int makeInOrder(VipsRegion* out, void* sequence, void* /*image*/, void* state, gboolean* /*stop*/) {
  auto* const source = static_cast<VipsRegion*>(sequence);
  auto* const read = static_cast<RowsRead*>(state);
  const std::lock_guard lock(read->mutex);
  const VipsRect& area = out->valid;
  while (read->next < area.top) {
    const VipsRect passed = {0, read->next, source->im->Xsize,
                             std::min(kMostRowsAtOnce, area.top - read->next)};
    if (vips_region_prepare(source, &passed) != 0) return -1;
    read->next += passed.height;
  }
  read->next = std::max(read->next, area.top + area.height);
  if (area.height <= kMostRowsAtOnce)
    return vips_region_prepare(source, &area) == 0
               ? vips_region_region(out, source, &area, area.left, area.top)
               : -1;
  for (int y = area.top; y < area.top + area.height; y += kMostRowsAtOnce) {
    const VipsRect part = {area.left, y, area.width,
                           std::min(kMostRowsAtOnce, area.top + area.height - y)};
    if (vips_region_prepare(source, &part) != 0) return -1;
    vips_region_copy(source, out, &part, part.left, part.top);
  }
  return 0;
}

// Few rows at once of a picture that is decoded from the top. libvips asks for all that it passes
// over in one piece and keeps them in lists, which takes a time by the square of their number.
VImage readInOrder(const VImage& image) {
  if (image.get_typeof(VIPS_META_SEQUENTIAL) == 0) return image;
  VipsImage* source = image.get_image();
  VipsImage* ordered = vips_image_new();
  VImage owned(ordered);
  g_object_ref(source);
  vips_object_local(ordered, source);  // goes with it
  auto* const read = new RowsRead;
  g_object_set_data_full(G_OBJECT(ordered), "rows-read", read,
                         [](void* one) { delete static_cast<RowsRead*>(one); });
  if (vips_image_pipelinev(ordered, VIPS_DEMAND_STYLE_ANY, source, nullptr) != 0 ||
      vips_image_generate(ordered, vips_start_one, makeInOrder, vips_stop_one, source, read) != 0)
    throw vips::VError();
  return owned;
}

// What libvips calls for a part of a picture of grey.
int makeGrey(VipsRegion* out, void* sequence, void* /*image*/, void* /*unused*/,
             gboolean* /*stop*/) {
  auto* colours = static_cast<VipsRegion*>(sequence);
  const VipsRect& area = out->valid;
  if (vips_region_prepare(colours, &area) != 0) return -1;
  const auto width = static_cast<size_t>(area.width);
  for (int y = area.top; y < area.top + area.height; ++y)
    luminanceRow(rowOf(*colours, area.left, y), static_cast<size_t>(colours->im->Bands), width,
                 rowOf(*out, area.left, y));
  return 0;
}

// Of 8 bits. In one step: through libvips' colour spaces it takes longer than all the rest.
VImage luminance8(const VImage& image) {
  VipsImage* colours = image.get_image();
  VipsImage* grey = vips_image_new();
  VImage owned(grey);
  g_object_ref(colours);
  vips_object_local(grey, colours);  // goes with it
  if (vips_image_pipelinev(grey, VIPS_DEMAND_STYLE_THINSTRIP, colours, nullptr) != 0)
    throw vips::VError();
  grey->Bands = 1;
  grey->Type = VIPS_INTERPRETATION_B_W;
  if (vips_image_generate(grey, vips_start_one, makeGrey, vips_stop_one, colours, nullptr) != 0)
    throw vips::VError();
  return owned;
}

// Luminance, of linear light. libvips' own way weighs the colours 0.2, 0.7 and 0.1; with
// three bands that are luminance already it only encodes.
VImage luminance(const VImage& image) {
  if (!isWide(image)) return luminance8(image);
  constexpr std::array kWeights = {0.2126, 0.7152, 0.0722};  // of sRGB's primaries
  std::vector<double> rows;
  for (size_t row = 0; row < kWeights.size(); ++row)
    rows.insert(rows.end(), kWeights.begin(), kWeights.end());
  const VImage matrix = VImage::new_matrix(3, 3, rows.data(), static_cast<int>(rows.size()));
  return image.colourspace(VIPS_INTERPRETATION_scRGB)
      .recomb(matrix)
      .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_scRGB))
      .colourspace(VIPS_INTERPRETATION_GREY16);
}

// 8 bits a band: one of grey, or red, green and blue.
VImage toLevels(const VImage& source, bool colour) {
  if (source.format() != VIPS_FORMAT_UCHAR && source.format() != VIPS_FORMAT_USHORT)
    throw Refusal("has pixels of an unusual kind; save it with 8 or 16 bits a colour");
  VImage image = onWhite(toSrgb(source));
  if (colour) {
    const bool isGrey = image.bands() < 3;
    const VImage first = image.extract_band(0);
    image = isGrey ? first.bandjoin(first).bandjoin(first)
                   : image.extract_band(0, VImage::option()->set("n", 3));
  } else {
    if (image.bands() >= 3) image = luminance(image);
    if (image.bands() > 1) image = image.extract_band(0);
  }
  if (isWide(image)) image = image.linear(1 / k16BitsPer8, 0).rint().cast(VIPS_FORMAT_UCHAR);
  return image;
}

// Portable maps count to a number of their own.
VImage ofFullRange(const VImage& image) {
  constexpr const char* kMost = "ppm-max-value";
  if (image.get_typeof(kMost) == 0) return image;
  const double most = image.get_int(kMost);
  const double full = isWide(image) ? kWhite * k16BitsPer8 : kWhite;
  if (most <= 0 || most == full) return image;
  // The least bit more than a half, so that halves go up however they were computed.
  return image.cast(VIPS_FORMAT_DOUBLE)
      .linear(full / most, 0.5 + 1e-9)
      .floor()
      .cast(image.format());
}

// Levels of a PNG that states another exponent than about that of sRGB, as sRGB encodes them.
VImage ofStatedGamma(const VImage& image, double gamma) {
  constexpr double kUsual = 1 / 2.2;
  constexpr double kLeast = 0.05;  // nobody means one that is lower, or higher
  constexpr double kMost = 5;
  if (!(gamma >= kLeast && gamma <= kMost) || std::abs(gamma - kUsual) < 0.005) return image;
  const size_t count = isWide(image) ? 65'536 : 256;
  const double most = static_cast<double>(count) - 1;
  std::vector<uint16_t> table(count);
  for (size_t level = 0; level < count; ++level) {
    const double light = std::pow(static_cast<double>(level) / most, 1 / gamma);
    const double encoded =
        light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
    table[level] = static_cast<uint16_t>(std::lround(encoded * most));
  }
  const VImage map = VImage::new_from_memory(table.data(), table.size() * sizeof table[0],
                                             static_cast<int>(count), 1, 1, VIPS_FORMAT_USHORT)
                         .copy_memory();
  const int colours = image.bands() - (image.has_alpha() ? 1 : 0);
  const VImage mapped =
      image.extract_band(0, VImage::option()->set("n", colours)).maplut(map).cast(image.format());
  return image.has_alpha() ? mapped.bandjoin(image.extract_band(colours)) : mapped;
}

VImage turned(const VImage& image, Turn turn) {
  switch (turn) {
    case Turn::kLeft:
      return image.rot270();
    case Turn::kHalf:
      return image.rot180();
    case Turn::kRight:
      return image.rot90();
    case Turn::kNone:
      break;
  }
  return image;
}

}  // namespace

void startVips(const char* program, std::span<const FileKind> kinds) {
  // libvips looks for its modules below this folder. Most pictures need none of them, and
  // they take more time than the rest of the start.
  const bool needsModules = std::any_of(kinds.begin(), kinds.end(),
                                        [](FileKind kind) { return loaderOf(kind).isModule; });
  if (!needsModules) (void)::setenv("VIPSHOME", "/nonexistent", 1);
  (void)::setenv("VIPS_WARNING", "1", 1);  // keeps its warnings to itself
  if (VIPS_INIT(program) != 0) throw Refusal("cannot be read: libvips does not start");
  vips_concurrency_set(1);
  vips_cache_set_max(0);
  vips_vector_set_enabled(FALSE);  // its rounding differs by processor
  vips_block_untrusted_set(TRUE);
  for (const FileKind kind : kinds)
    if (const char* name = loaderOf(kind).untrusted) vips_operation_block_set(name, FALSE);
}

class Picture::Implementation {
 public:
  Implementation(FileKind kind, std::span<const uint8_t> file, const Paper& head,
                 uint64_t mostPixels)
      : kind_(kind), file_(file) {
    if (kind == FileKind::kSvg) svgScale_ = head.dpiX / (svgIsInPixels(file) ? kCssDpi : kVipsDpi);
    image_ = load(svgScale_);
    facts_.width = static_cast<uint32_t>(image_.width());
    facts_.height = static_cast<uint32_t>(image_.height());
    facts_.dpi = statedDpi(kind, file, image_);
    if (kind == FileKind::kSvg) facts_.dpi = {double(head.dpiX), double(head.dpiX)};
    if (image_.get_typeof(VIPS_META_N_PAGES) != 0)
      facts_.frames = static_cast<uint32_t>(std::max(1, image_.get_int(VIPS_META_N_PAGES)));
    if (uint64_t{facts_.width} * facts_.height > mostPixels)
      throw Refusal("has " + std::to_string(facts_.width) + " x " + std::to_string(facts_.height) +
                    " pixels; at most " + std::to_string(mostPixels / 1'000'000) +
                    " million are read");
    if (kind == FileKind::kPortable && !hasAllPixels(file, facts_, image_.bands(), isWide(image_)))
      throw Refusal(std::string("is damaged or cut, or no ") + kindName(kind) +
                    ": it has fewer pixels than it says");
    orientation_ = orientationOf(image_);
    if (orientation_ >= 5) {
      std::swap(facts_.width, facts_.height);
      std::swap(facts_.dpi.x, facts_.dpi.y);
    }
  }

  const PictureFacts& facts() const { return facts_; }

  void writeRows(const Placing& placing, bool colour, int descriptor) {
    VImage image = kind_ == FileKind::kSvg ? drawn(placing, colour) : upright(placing, colour);
    const auto width = static_cast<int>(placing.width);
    const auto height = static_cast<int>(placing.height);
    const bool isFarSmaller =
        image.width() > kMostByOneStep * width || image.height() > kMostByOneStep * height;
    if (image.width() != width || image.height() != height)
      image = image.resize(double(width) / image.width(),
                           VImage::option()
                               ->set("vscale", double(height) / image.height())
                               ->set("kernel", VIPS_KERNEL_LANCZOS3)
                               // No averages before it, but where it would need too many rows.
                               ->set("gap", isFarSmaller ? 2.0 : 0.0));
    if (image.width() != width || image.height() != height)  // rounded its own way
      image = image.embed(0, 0, width, height, VImage::option()->set("extend", VIPS_EXTEND_COPY));
    image
        .extract_area(
            static_cast<int>(placing.visibleLeft()), static_cast<int>(placing.visibleTop()),
            static_cast<int>(placing.visibleWidth()), static_cast<int>(placing.visibleHeight()))
        .rawsave_fd(descriptor);
  }

  [[noreturn]] void refuseWith(const vips::VError& error) const { refuse(kind_, error); }

 private:
  // Row by row from the top. `scale` is for SVG.
  VImage load(double scale) const {
    const Loader& loader = loaderOf(kind_);
    VImage image;
    vips::VOption* options =
        VImage::option()->set("out", &image)->set("fail_on", VIPS_FAIL_ON_ERROR);
    if (kind_ == FileKind::kSvg)
      options->set("dpi", kVipsDpi)->set("scale", scale);
    else
      options->set("access", VIPS_ACCESS_SEQUENTIAL);
    if (kind_ == FileKind::kBmp) {
      VipsBlob* blob = vips_blob_new(nullptr, file_.data(), file_.size());
      options->set("buffer", blob);
      vips_area_unref(VIPS_AREA(blob));
    } else {
      options->set("source", vips::VSource::new_from_memory(file_.data(), file_.size()));
    }
    VImage::call(loader.operation, options);
    return readInOrder(image);
  }

  // The pixels' levels, turned as the camera and the job say.
  VImage upright(const Placing& placing, bool colour) const {
    const double gamma = kind_ == FileKind::kPng ? pngGamma(file_) : 0;
    VImage levels = toLevels(ofStatedGamma(ofFullRange(image_), gamma), colour);
    if (orientation_ == 1 && placing.turn == Turn::kNone) return levels;
    levels = levels.copy_memory();  // turning goes back and forth
    levels.set(VIPS_META_ORIENTATION, orientation_);
    return turned(levels.autorot(), placing.turn);
  }

  // SVG is drawn anew at the size that is wanted.
  VImage drawn(const Placing& placing, bool colour) const {
    const bool isSideways = placing.turn == Turn::kLeft || placing.turn == Turn::kRight;
    const double width = isSideways ? placing.height : placing.width;
    const VImage image = placing.isExact ? image_ : load(svgScale_ * width / facts_.width);
    const VImage levels = toLevels(image, colour);
    return placing.turn == Turn::kNone ? levels : turned(levels.copy_memory(), placing.turn);
  }

  const FileKind kind_;
  const std::span<const uint8_t> file_;
  double svgScale_ = 1;  // at which it has its true size
  VImage image_;
  PictureFacts facts_;
  int orientation_ = 1;
};

Picture::Picture(FileKind kind, std::span<const uint8_t> file, const Paper& head,
                 uint64_t mostPixels) {
  try {
    implementation_ = std::make_unique<Implementation>(kind, file, head, mostPixels);
  } catch (const vips::VError& error) {
    refuse(kind, error);
  }
}

Picture::~Picture() = default;

const PictureFacts& Picture::facts() const { return implementation_->facts(); }

void Picture::writeRows(const Placing& placing, bool colour, int descriptor) {
  try {
    implementation_->writeRows(placing, colour, descriptor);
  } catch (const vips::VError& error) {
    implementation_->refuseWith(error);
  }
}

}  // namespace documents
