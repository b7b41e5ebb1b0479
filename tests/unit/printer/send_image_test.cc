// SPDX-License-Identifier: Apache-2.0
#include "printer/receipt_ep_printer.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/model/page_patterns.h"
#include "tests/model/pages.h"
#include "tests/support/log_capture.h"
#include "tests/unit/printer/printer_fixture.h"

namespace {

struct Band {
  Bytes header;
  Bytes data;
};

// Splits a stream at its raster headers by the sizes that they state.
std::vector<Band> splitBands(const Bytes& stream) {
  std::vector<Band> bands;
  size_t at = 0;
  while (at + 8 <= stream.size()) {
    const auto begin = stream.begin() + static_cast<std::ptrdiff_t>(at);
    Band band;
    band.header = {begin, begin + 8};
    const size_t bytes = (size_t{band.header[4]} + size_t{band.header[5]} * 256) *
                         (size_t{band.header[6]} + size_t{band.header[7]} * 256);
    if (at + 8 + bytes > stream.size()) break;
    band.data = {begin + 8, begin + 8 + static_cast<std::ptrdiff_t>(bytes)};
    bands.push_back(band);
    at += 8 + bytes;
  }
  EXPECT_EQ(at, stream.size()) << "bytes that belong to no band";
  return bands;
}

class SendImageTest : public PrinterFixture {
 protected:
  static Bytes packedPage(uint32_t bytesPerRow, uint64_t height) {
    model::Random random(bytesPerRow * 1000 + height);
    Bytes packed(bytesPerRow * height);
    for (uint8_t& byte : packed) byte = random.byte();
    return packed;
  }
  void send(Bytes packed, uint64_t height) {
    printer_.SendImage(static_cast<uint32_t>(packed.size()), height, packed.data());
  }
};

TEST_F(SendImageTest, TwoHundredRowsOfAStencilPageGiveThreeBands) {
  const Bytes packed = packedPage(296, 200);
  send(packed, 200);
  const std::vector<Band> bands = splitBands(out_.bytes());
  ASSERT_EQ(bands.size(), 3U);
  EXPECT_TRUE(sameBytes(hex("1D 76 30 00 28 01 60 00"), bands[0].header));
  EXPECT_TRUE(sameBytes(hex("1D 76 30 00 28 01 60 00"), bands[1].header));
  EXPECT_TRUE(sameBytes(hex("1D 76 30 00 28 01 08 00"), bands[2].header));
  Bytes data;
  for (const Band& band : bands) append(data, band.data);
  EXPECT_TRUE(sameBytes(packed, data));
  EXPECT_EQ(printer_.bandsSent(), 3U);
}

TEST_F(SendImageTest, OneRowIsOneBand) {
  send(hex("80 01"), 1);
  EXPECT_TRUE(sameBytes(hex("1D 76 30 00 02 00 01 00 80 01"), out_.bytes()));
}

TEST_F(SendImageTest, NinetySixRowsFillOneBand) {
  const Bytes packed = packedPage(3, 96);
  send(packed, 96);
  Bytes expected = hex("1D 76 30 00 03 00 60 00");
  append(expected, packed);
  EXPECT_TRUE(sameBytes(expected, out_.bytes()));
}

TEST_F(SendImageTest, NinetySevenRowsNeedASecondBandOfOneRow) {
  const Bytes packed = packedPage(3, 97);
  send(packed, 97);
  const std::vector<Band> bands = splitBands(out_.bytes());
  ASSERT_EQ(bands.size(), 2U);
  EXPECT_TRUE(sameBytes(hex("1D 76 30 00 03 00 60 00"), bands[0].header));
  EXPECT_TRUE(sameBytes(hex("1D 76 30 00 03 00 01 00"), bands[1].header));
  EXPECT_TRUE(sameBytes({packed.end() - 3, packed.end()}, bands[1].data));
}

TEST_F(SendImageTest, PageWithoutRowsSendsNothing) {
  uint8_t byte = 0;
  printer_.SendImage(0, 0, &byte);
  printer_.SendImage(100, 0, &byte);
  EXPECT_TRUE(out_.bytes().empty());
  EXPECT_EQ(printer_.bandsSent(), 0U);
}

TEST_F(SendImageTest, RemainderOfALengthThatIsNoWholeRowIsLost) {
  const Bytes packed = hex("01 02 03 04 05 06 07");
  send(packed, 3);
  EXPECT_TRUE(sameBytes(hex("1D 76 30 00 02 00 03 00 01 02 03 04 05 06"), out_.bytes()));
}

TEST_F(SendImageTest, EveryStreamGetsTheBands) {
  MemoryStream record;
  printer_.getOutputStreams().push_back(record.get());
  send(packedPage(5, 150), 150);
  EXPECT_GT(out_.bytes().size(), 5U * 150U);
  EXPECT_TRUE(sameBytes(out_.bytes(), record.bytes()));
}

TEST_F(SendImageTest, RandomSizesAgreeWithTheModel) {
  model::Random random(4);
  for (int round = 0; round < 200; ++round) {
    const uint32_t bytesPerRow = 1 + random.below(310);
    const uint64_t height = 1 + random.below(400);
    const Bytes packed = packedPage(bytesPerRow, height);
    MemoryStream out;
    printer_.getOutputStreams() = {out.get()};
    send(packed, height);
    ASSERT_TRUE(sameBytes(model::rasterBands(packed, static_cast<uint32_t>(packed.size()), height),
                          out.bytes()))
        << bytesPerRow << " bytes, " << height << " rows";
  }
}

TEST_F(SendImageTest, StopIsAskedBeforeEachBandAndFinishesTheOneBefore) {
  const Bytes packed = packedPage(4, 300);  // 4 bands
  const std::vector<uint8_t> whole = model::rasterBands(packed, 1200, 300);
  constexpr size_t kFullBand = 8 + 4 * 96;
  for (int allowed = 0; allowed <= 4; ++allowed) {
    MemoryStream out;
    ReceiptEpPrinter printer;
    printer.getOutputStreams() = {out.get()};
    int asked = 0;
    printer.setStopRequested([&asked, allowed] { return asked++ >= allowed; });
    Bytes page = packed;
    printer.SendImage(1200, 300, page.data());
    const size_t length = std::min(whole.size(), static_cast<size_t>(allowed) * kFullBand);
    EXPECT_TRUE(sameBytes({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)},
                          out.bytes()))
        << allowed << " bands";
    EXPECT_EQ(printer.bandsSent(), static_cast<uint64_t>(allowed));
    EXPECT_EQ(printer.rasterInterrupted(), allowed < 4);
  }
}

TEST_F(SendImageTest, PageIsPackedInPlaceAndSentByItsRows) {
  // Rows of 12 bytes: the four skipped ones reach neither the bits nor the width.
  printer_.setSkipRightPixels(4);
  Bytes page(12 * 97, 0);
  for (size_t y = 0; y < 97; ++y) page[y * 12 + y % 12] = 0x40;
  Bytes expected = model::rasterBands(model::packMono(page, 12, 97, 4).bytes, 97, 97);
  captureLog([&] { printer_.doPrintImage(page.data(), 12, 97, 10); });
  EXPECT_TRUE(sameBytes(expected, out_.bytes()));
  EXPECT_EQ(page[0], 0x80) << "the pixels hold packed rows afterwards";
  EXPECT_EQ(page[1], 0x40);
}

TEST_F(SendImageTest, SizesBeyond31BitsAreNotPrinted) {
  constexpr uint64_t kLargest = 0x7FFFFFFF;
  printer_.setStopRequested([] { return true; });
  const auto reports = [&](uint64_t bytesPerLine, uint64_t height) {
    return captureLog([&] { printer_.doPrintImage(nullptr, bytesPerLine, height, 1); }).size();
  };
  EXPECT_EQ(reports(kLargest, 0), 1U);
  EXPECT_EQ(reports(kLargest + 1, 0), 0U);
  EXPECT_EQ(reports(0, kLargest), 1U);
  EXPECT_EQ(reports(0, kLargest + 1), 0U);
  EXPECT_TRUE(out_.bytes().empty());
}

TEST_F(SendImageTest, PageWithoutRowsIsNotDivided) {
  uint8_t byte = 0;
  captureLog([&] { printer_.doPrintImage(&byte, 12, 0, 12); });
  EXPECT_TRUE(out_.bytes().empty());
}

}  // namespace
