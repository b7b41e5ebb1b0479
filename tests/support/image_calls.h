// SPDX-License-Identifier: Apache-2.0
// Calls of the image's operations with drawn arguments, plain and hostile ones, to
// be made on the image and on its plain model alike. The source of the draws is a
// random generator or a fuzzer's input: anything with below(limit), byte() and
// next().
#ifndef TESTS_SUPPORT_IMAGE_CALLS_H_
#define TESTS_SUPPORT_IMAGE_CALLS_H_

#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

#include "image/palette_image.h"
#include "tests/model/palette_image.h"

// One call with all arguments that any operation needs, drawn once and used on
// both sides.
struct ImageCall {
  int operation = 0;
  int subject = 0;  // which of the two images
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t bpp = 0;
  uint32_t tag = 0;
  uint32_t rowBytes = 0;
  uint32_t count = 0;
  bool flag = false;
  bool null = false;
  std::array<long, 4> numbers = {};
  std::array<uint8_t, 4> bytes = {};
  std::vector<uint8_t> array;
};

inline constexpr int kImageOperations = 26;

inline constexpr const char* kImageOperationNames[kImageOperations] = {"Create",
                                                                       "CreateFromArray",
                                                                       "Destroy",
                                                                       "Transfer",
                                                                       "CopyInfo",
                                                                       "SetPalette",
                                                                       "SetGrayPalette",
                                                                       "SetPaletteColor",
                                                                       "GetPaletteColor",
                                                                       "GetNearestIndex",
                                                                       "GetPixelIndex",
                                                                       "SetPixelIndex",
                                                                       "BlindGetPixelIndex",
                                                                       "BlindSetPixelIndex",
                                                                       "BlindGetPixelColor",
                                                                       "BlindSetPixelColor",
                                                                       "Dither",
                                                                       "Light",
                                                                       "Lut",
                                                                       "Negative",
                                                                       "Rotate180",
                                                                       "Mirror",
                                                                       "IncreaseBpp",
                                                                       "Expand",
                                                                       "DrawLine",
                                                                       "MakeCenter"};

inline std::ostream& operator<<(std::ostream& out, const ImageCall& call) {
  out << kImageOperationNames[call.operation] << " on image " << call.subject << ": " << call.width
      << " x " << call.height << " x " << call.bpp << ", tag " << call.tag << ", row bytes "
      << call.rowBytes << ", count " << call.count << ", flag " << call.flag << ", null "
      << call.null << ", numbers";
  for (const long number : call.numbers) out << ' ' << number;
  out << ", bytes";
  for (const uint8_t byte : call.bytes) out << ' ' << int{byte};
  return out;
}

// Fills an array by the source's own way where it has one, else byte by byte.
template <typename Source>
void fillFrom(Source& random, std::vector<uint8_t>& array) {
  if constexpr (requires { random.fill(array); }) {
    random.fill(array);
  } else {
    for (uint8_t& byte : array) byte = random.byte();
  }
}

template <typename Source>
long drawCoordinate(Source& random, uint32_t side) {
  static constexpr long kHostile[] = {
      -1, -2, LONG_MIN, LONG_MAX, INT_MIN, INT_MAX, 1L << 32, -(1L << 32), -8, 4294967295L, 100000};
  if (random.below(5) == 0) return kHostile[random.below(std::size(kHostile))];
  return static_cast<long>(random.below(side + 2));
}

// Arguments that both sides define: no sizes that only fail for want of memory,
// no reads past the given array.
template <typename Source>
ImageCall drawImageCall(Source& random, const PaletteImage* images) {
  ImageCall call;
  call.operation = static_cast<int>(random.below(kImageOperations));
  call.subject = static_cast<int>(random.below(2));
  const PaletteImage& image = images[call.subject];
  if (!image.IsValid() && random.below(4) != 0) call.operation = static_cast<int>(random.below(2));
  if (image.IsValid() && call.operation < 3 && random.below(2) != 0) {
    call.operation = 3 + static_cast<int>(random.below(kImageOperations - 3));
  }

  call.width = 1 + random.below(random.below(6) == 0 ? 130 : 36);
  call.height = 1 + random.below(12);
  static constexpr uint32_t kDepths[] = {1, 4, 8, 8, 24, 32};
  call.bpp = kDepths[random.below(6)];
  call.tag = static_cast<uint32_t>(random.next());
  call.flag = random.below(2) != 0;
  call.null = random.below(10) == 0;
  for (uint8_t& byte : call.bytes) byte = random.byte();
  if (call.bytes[3] % 4 == 0) call.bytes = {call.bytes[0], call.bytes[0], call.bytes[0], 0};
  call.count = random.below(5) == 0 ? 256 : random.below(20);
  call.numbers = {drawCoordinate(random, image.GetWidth()),
                  drawCoordinate(random, image.GetHeight()), drawCoordinate(random, 40),
                  drawCoordinate(random, 40)};

  const std::string name = kImageOperationNames[call.operation];
  if (name == "Create") {
    if (random.below(3) == 0) call.bpp = random.below(40);
    if (random.below(8) == 0) call.width = 0;
    if (random.below(8) == 0) call.height = 0;
    if (random.below(12) == 0) call.width = call.height = 0x30000 + random.below(0x7FF00000);
  } else if (name == "CreateFromArray") {
    if (random.below(10) == 0) call.bpp = random.below(40);
    const uint32_t least = call.bpp == 32 ? call.width * 4 : 0;
    call.rowBytes = least + random.below(call.width * 4 + 4);
    call.array.resize(size_t{call.rowBytes} * call.height + 1);
    fillFrom(random, call.array);
  } else if (name == "SetPalette") {
    call.array.resize(256 * 4);
    fillFrom(random, call.array);
  } else if (name == "Lut") {
    call.array.resize(256);
    fillFrom(random, call.array);
  } else if (name.rfind("Blind", 0) == 0) {
    // Unchecked by contract: only inside the image.
    call.null = !image.IsValid();
    call.numbers[0] = static_cast<long>(random.below(image.GetWidth()));
    call.numbers[1] = static_cast<long>(random.below(image.GetHeight()));
  } else if (name == "Dither") {
    if (random.below(4) != 0) call.numbers[0] = static_cast<long>(random.below(9));
  } else if (name == "Light") {
    static constexpr long kSettings[] = {0, 50, -50, 100, -100, 7, INT_MIN, INT_MAX, 300};
    call.numbers = {kSettings[random.below(9)], kSettings[random.below(9)], 0, 0};
  } else if (name == "IncreaseBpp") {
    static constexpr uint32_t kWanted[] = {4, 8, 24, 4, 8, 0, 1, 32, 0xFFFFFFFF};
    call.bpp = kWanted[random.below(9)];
  } else if (name == "Expand") {
    for (long& number : call.numbers) number = static_cast<long>(random.below(9));
    if (image.GetWidth() > 300 || image.GetHeight() > 300) call.numbers = {0, 0, 0, 0};
    if (random.below(5) == 0)
      call.numbers[random.below(4)] = -1 - static_cast<long>(random.below(9));
    if (random.below(9) == 0) call.numbers[0] = call.numbers[1] = 0x7FFFFFFF;
  } else if (name == "DrawLine") {
    const long reach = random.below(8) == 0 ? 20000 : 40;
    for (long& number : call.numbers) {
      number = static_cast<long>(random.below(static_cast<uint32_t>(2 * reach))) - reach;
    }
  } else if (name == "MakeCenter") {
    call.numbers[0] = static_cast<long>(random.below(image.GetWidth() > 300 ? 300 : 90));
    if (random.below(6) == 0) call.numbers[0] = random.below(2) == 0 ? INT_MIN : INT_MAX;
  }
  return call;
}

template <typename Colour>
uint64_t packedColour(Colour colour) {
  return static_cast<uint64_t>(colour.rgbBlue) << 24 |
         static_cast<uint64_t>(colour.rgbGreen) << 16 | static_cast<uint64_t>(colour.rgbRed) << 8 |
         static_cast<uint64_t>(colour.rgbReserved);
}

inline bool answer(const void* pointer) { return pointer != nullptr; }
inline bool answer(bool value) { return value; }

// Makes the call on either class; the answer as a number.
template <typename Image, typename Colour>
uint64_t performImageCall(const ImageCall& call, Image* images) {
  Image& image = images[call.subject];
  Image& other = images[1 - call.subject];
  const auto& n = call.numbers;
  const auto whole = [&n](size_t i) { return static_cast<int>(n[i]); };
  const auto& b = call.bytes;
  Colour colour = {};
  colour.rgbBlue = b[0];
  colour.rgbGreen = b[1];
  colour.rgbRed = b[2];
  colour.rgbReserved = b[3];
  const uint8_t* array = call.null ? nullptr : call.array.data();
  switch (call.operation) {
    case 0:
      return answer(image.Create(call.width, call.height, call.bpp, call.tag)) ? 1 : 0;
    case 1:
      return image.CreateFromArray(array, call.width, call.height, call.bpp, call.rowBytes,
                                   call.flag)
                 ? 1
                 : 0;
    case 2:
      return image.Destroy() ? 1 : 0;
    case 3:
      return image.Transfer(other, call.flag) ? 1 : 0;
    case 4:
      image.CopyInfo(other);
      return 0;
    case 5: {
      std::array<Colour, 256> entries = {};
      for (size_t i = 0; i < 256; ++i) {
        entries[i].rgbBlue = call.array[4 * i];
        entries[i].rgbGreen = call.array[4 * i + 1];
        entries[i].rgbRed = call.array[4 * i + 2];
        entries[i].rgbReserved = call.array[4 * i + 3];
      }
      image.SetPalette(call.null ? nullptr : entries.data(), call.count);
      return 0;
    }
    case 6:
      image.SetGrayPalette();
      return 0;
    case 7:
      image.SetPaletteColor(b[0], b[1], b[2], b[3], b[0]);
      image.SetPaletteColor(b[1] & 15, b[0], b[2], b[3], b[1]);
      return 0;
    case 8:
      return packedColour(image.GetPaletteColor(b[0])) ^
             packedColour(image.GetPaletteColor(b[1] & 15)) << 8;
    case 9:
      return image.GetNearestIndex(colour);
    case 10:
      return image.GetPixelIndex(n[0], n[1]);
    case 11:
      image.SetPixelIndex(n[0], n[1], b[0]);
      return 0;
    case 12:
      return call.null ? 0 : image.BlindGetPixelIndex(n[0], n[1]);
    case 13:
      if (!call.null) image.BlindSetPixelIndex(n[0], n[1], b[0]);
      return 0;
    case 14:
      return call.null ? 0 : packedColour(image.BlindGetPixelColor(n[0], n[1], call.flag));
    case 15:
      if (!call.null) image.BlindSetPixelColor(n[0], n[1], colour, call.flag);
      return 0;
    case 16:
      return image.Dither(n[0]) ? 1 : 0;
    case 17:
      return image.Light(whole(0), whole(1)) ? 1 : 0;
    case 18:
      return image.Lut(array) ? 1 : 0;
    case 19:
      image.Negative();
      return 0;
    case 20:
      // In place, into the other image, or into itself by address.
      return image.Rotate180(call.null ? &image : call.flag ? &other : nullptr) ? 1 : 0;
    case 21:
      image.Mirror();
      return 0;
    case 22:
      return image.IncreaseBpp(call.bpp) ? 1 : 0;
    case 23:
      return image.Expand(n[0], n[1], n[2], n[3], colour) ? 1 : 0;
    case 24:
      image.DrawLine(whole(0), whole(1), whole(2), whole(3), b[0]);
      return 0;
    default:
      image.MakeCenter(whole(0));
      return 0;
  }
}

// What sets an image apart from its model: the first thing that differs, or
// nothing.
inline std::string imageDifference(const model::PaletteImage& wanted, const PaletteImage& got) {
  if (wanted.IsValid() != got.IsValid()) return "validity";
  if (wanted.GetWidth() != got.GetWidth()) return "width";
  if (wanted.GetHeight() != got.GetHeight()) return "height";
  if (wanted.GetEffWidth() != got.GetEffWidth()) return "bytes per row";
  if (wanted.head().biBitCount != got.GetBpp()) return "depth";
  if (wanted.GetNumColors() != got.GetNumColors()) return "number of colours";
  if (wanted.GetPaletteSize() != got.GetPaletteSize()) return "palette size";
  if (wanted.GetSize() != got.GetSize()) return "size";
  if (wanted.info().imageType != got.GetType()) return "type tag";
  if (std::strcmp(wanted.GetLastError(), got.GetLastError()) != 0) return "last error";
  const std::vector<uint8_t> block = wanted.block();
  const uint8_t* bits = got.GetBits(0);
  if ((bits == nullptr) != block.empty()) return "block";
  if (bits == nullptr) return "";
  const uint8_t* start = bits - got.GetPaletteSize() - sizeof(BITMAPINFOHEADER);
  if (block.size() != got.GetSize()) return "size of the block";
  for (size_t i = 0; i < block.size(); ++i) {
    if (block[i] != start[i]) return "byte " + std::to_string(i) + " of the block";
  }
  return "";
}

// Two images that release themselves.
struct ImagePair {
  PaletteImage images[2];
  ImagePair() = default;
  ~ImagePair() {
    for (PaletteImage& image : images) image.Destroy();
  }
  ImagePair(const ImagePair&) = delete;
  ImagePair& operator=(const ImagePair&) = delete;
};

#endif  // TESTS_SUPPORT_IMAGE_CALLS_H_
