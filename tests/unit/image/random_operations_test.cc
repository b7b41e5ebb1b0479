// SPDX-License-Identifier: Apache-2.0
// Random sequences of operations with plain and hostile arguments, on the image
// and on a plain model of it: every byte and every answer must agree.
#include <array>
#include <climits>
#include <cstdint>
#include <string>

#include "tests/model/palette_image.h"
#include "tests/unit/image/image_support.h"

namespace {

// One call with all arguments that any operation needs, drawn once and used on
// both sides.
struct Call {
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
  Bytes array;
};

constexpr int kOperations = 26;

constexpr const char* kNames[kOperations] = {"Create",
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

struct CallText {
  const Call& call;
};

std::ostream& operator<<(std::ostream& out, const CallText& text) {
  const Call& call = text.call;
  out << kNames[call.operation] << " on image " << call.subject << ": " << call.width << " x "
      << call.height << " x " << call.bpp << ", tag " << call.tag << ", row bytes " << call.rowBytes
      << ", count " << call.count << ", flag " << call.flag << ", null " << call.null
      << ", numbers";
  for (const long number : call.numbers) out << ' ' << number;
  out << ", bytes";
  for (const uint8_t byte : call.bytes) out << ' ' << int{byte};
  return out;
}

long coordinate(model::Random& random, uint32_t side) {
  static constexpr long kHostile[] = {
      -1, -2, LONG_MIN, LONG_MAX, INT_MIN, INT_MAX, 1L << 32, -(1L << 32), -8, 4294967295L, 100000};
  if (random.below(5) == 0) return kHostile[random.below(std::size(kHostile))];
  return static_cast<long>(random.below(side + 2));
}

// Arguments that both sides define: no sizes that only fail for want of memory,
// no reads past the given array.
Call drawCall(model::Random& random, const PaletteImage* images) {
  Call call;
  call.operation = static_cast<int>(random.below(kOperations));
  call.subject = static_cast<int>(random.below(2));
  const PaletteImage& image = images[call.subject];
  if (!image.IsValid() && random.below(4) != 0) call.operation = static_cast<int>(random.below(2));
  if (image.IsValid() && call.operation < 3 && random.below(2) != 0) {
    call.operation = 3 + static_cast<int>(random.below(kOperations - 3));
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
  call.numbers = {coordinate(random, image.GetWidth()), coordinate(random, image.GetHeight()),
                  coordinate(random, 40), coordinate(random, 40)};

  const std::string name = kNames[call.operation];
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
    for (uint8_t& byte : call.array) byte = random.byte();
  } else if (name == "SetPalette") {
    call.array.resize(256 * 4);
    for (uint8_t& byte : call.array) byte = random.byte();
  } else if (name == "Lut") {
    call.array.resize(256);
    for (uint8_t& byte : call.array) byte = random.byte();
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
uint64_t packed(Colour colour) {
  return static_cast<uint64_t>(colour.rgbBlue) << 24 |
         static_cast<uint64_t>(colour.rgbGreen) << 16 | static_cast<uint64_t>(colour.rgbRed) << 8 |
         static_cast<uint64_t>(colour.rgbReserved);
}

bool answer(const void* pointer) { return pointer != nullptr; }
bool answer(bool value) { return value; }

// Makes the call on either class; the answer as a number.
template <typename Image, typename Colour>
uint64_t perform(const Call& call, Image* images) {
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
      return packed(image.GetPaletteColor(b[0])) ^ packed(image.GetPaletteColor(b[1] & 15)) << 8;
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
      return call.null ? 0 : packed(image.BlindGetPixelColor(n[0], n[1], call.flag));
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

void expectSame(const model::PaletteImage& wanted, const PaletteImage& got) {
  ASSERT_EQ(wanted.IsValid(), got.IsValid());
  ASSERT_EQ(wanted.GetWidth(), got.GetWidth());
  ASSERT_EQ(wanted.GetHeight(), got.GetHeight());
  ASSERT_EQ(wanted.GetEffWidth(), got.GetEffWidth());
  ASSERT_EQ(wanted.head().biBitCount, got.GetBpp());
  ASSERT_EQ(wanted.GetNumColors(), got.GetNumColors());
  ASSERT_EQ(wanted.GetPaletteSize(), got.GetPaletteSize());
  ASSERT_EQ(wanted.GetSize(), got.GetSize());
  ASSERT_EQ(wanted.info().imageType, got.GetType());
  ASSERT_STREQ(wanted.GetLastError(), got.GetLastError());
  ASSERT_TRUE(sameBytes(wanted.block(), blockOf(got)));
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

class RandomOperations : public testing::TestWithParam<uint64_t> {};

TEST_P(RandomOperations, MatchTheModelByteForByte) {
  model::Random random(GetParam());
  int worked = 0;
  for (int sequence = 0; sequence < 40; ++sequence) {
    ImagePair pair;
    PaletteImage* images = pair.images;
    model::PaletteImage models[2];
    for (int step = 0; step < 120; ++step) {
      const Call call = drawCall(random, images);
      SCOPED_TRACE(testing::Message() << "seed " << GetParam() << ", sequence " << sequence
                                      << ", step " << step << ", " << CallText{call});
      const uint64_t wanted = perform<model::PaletteImage, model::tagRGBQUAD>(call, models);
      const uint64_t got = perform<PaletteImage, tagRGBQUAD>(call, images);
      ASSERT_EQ(wanted, got);
      for (int i = 0; i < 2; ++i) {
        SCOPED_TRACE(i);
        expectSame(models[i], images[i]);
        if (HasFatalFailure()) return;
      }
      if (images[call.subject].IsValid()) ++worked;
    }
  }
  EXPECT_GT(worked, 2000) << "most calls must meet an image that holds something";
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomOperations, testing::Range(uint64_t{1}, uint64_t{13}));

}  // namespace
