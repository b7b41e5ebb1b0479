// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/render/paper.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "tests/unit/tools/job_bytes.h"
#include "tests/unit/tools/memory_sink.h"
#include "tools/drav/render/logo_frame.h"

namespace {

// A paper as one letter a run of equal kinds of rows: W white, B a row of 0xFF bytes
// alone, D anything else. "B2 W160".
std::string runsOf(const MemorySink& sink) {
  std::string text;
  char last = 0;
  size_t count = 0;
  const auto close = [&] {
    if (count > 0) text += (text.empty() ? "" : " ") + std::string(1, last) + std::to_string(count);
  };
  for (const Bytes& row : sink.rows()) {
    const bool isWhite = std::all_of(row.begin(), row.end(), [](uint8_t b) { return b == 0; });
    const bool isBlack = std::all_of(row.begin(), row.end(), [](uint8_t b) { return b == 255; });
    const char kind = isWhite ? 'W' : isBlack ? 'B' : 'D';
    if (kind != last) {
      close();
      count = 0;
    }
    last = kind;
    ++count;
  }
  close();
  return text;
}

RenderExtent drawPaperOf(const Bytes& stream, MemorySink& sink, const PrinterFacts& printer = {}) {
  RenderExtent extent;
  std::string error;
  EXPECT_TRUE(renderStream(stream, {.paper = true, .printer = printer}, sink, extent, error))
      << error;
  EXPECT_TRUE(sink.finished());
  return extent;
}

std::string paperOf(const Bytes& stream, const PrinterFacts& printer = {}) {
  MemorySink sink;
  drawPaperOf(stream, sink, printer);
  return runsOf(sink);
}

TEST(Paper, FeedsAreWhiteRowsOfTheirLength) {
  EXPECT_EQ(paperOf(joined({band(2, 3, 0xFF), hex("1B 4A A0"), band(2, 1, 0xFF)})), "B3 W160 B1");
  EXPECT_EQ(paperOf(joined({band(2, 3, 0xFF), hex("1B 64 03 0A"), band(2, 1, 0xFF)})),
            "B3 W200 B1");  // four lines of 50 rows
  EXPECT_EQ(paperOf(joined({hex("1B 40 0A"), band(2, 1, 0xFF), hex("1B 4A 78 1B 64 00")})),
            "W50 B1 W120");
}

TEST(Paper, FeedsFollowTheScale) {
  PrinterFacts printer;
  printer.scale = {.dotsAcross = 203, .dotsAlong = 203, .unitsPerInch = 406, .linesPerInch = 8};
  // 160 of 1/406 inch are 80 rows; a line of 1/8 inch is 25.4 rows.
  EXPECT_EQ(paperOf(joined({band(2, 1, 0xFF), hex("1B 4A A0"), band(2, 1, 0xFF), hex("0A"),
                            band(2, 1, 0xFF), hex("1B 64 02")}),
                    printer),
            "B1 W80 B1 W25 B1 W51");
}

TEST(Paper, ACutLiesOnTheFeedBeforeIt) {
  EXPECT_EQ(paperOf(joined({band(50, 2, 0xFF), hex("0A 0A 0A 0A 1D 56 01 1B 76")})), "B2 W197 D3");
  EXPECT_EQ(paperOf(joined({band(50, 2, 0xFF), hex("1B 4A 02 1D 56 00"), band(50, 1, 0xFF)})),
            "B2 D2 B1");
}

TEST(Paper, ACutWithoutFeedAddsItsRows) {
  EXPECT_EQ(paperOf(joined({band(50, 2, 0xFF), hex("1D 56 00"), band(50, 1, 0xFF)})), "B2 D3 B1");
}

TEST(Paper, CutsAreDashedAcrossThePaper) {
  MemorySink sink;
  const RenderExtent extent =
      drawPaperOf(joined({band(40, 1, 0xFF), hex("0A 1D 56 00 0A 1D 56 01")}), sink);
  EXPECT_EQ(extent.cuts, 2U);
  const auto dots = [&sink](size_t row) {
    std::string text;
    for (size_t x = 0; x < 320; ++x)
      text += (sink.rows()[row][x / 8] >> (7 - x % 8) & 1) != 0 ? '#' : '.';
    return text;
  };
  const auto dashes = [](size_t dash, size_t gap) {
    std::string text;
    while (text.size() < 320) text += std::string(dash, '#') + std::string(gap, '.');
    return text.substr(0, 320);
  };
  // 11 dots are a millimetre.
  ASSERT_EQ(sink.rows().size(), 101U);
  for (const size_t row : {48U, 49U, 50U}) EXPECT_EQ(dots(row), dashes(44, 11)) << row;
  for (const size_t row : {98U, 99U, 100U}) EXPECT_EQ(dots(row), dashes(11, 22)) << row;
}

TEST(Paper, IsAsWideAsTheHeadOrItsWidestRow) {
  PrinterFacts printer;
  printer.headBytes = 10;
  MemorySink narrow;
  drawPaperOf(band(3, 1, 0xFF), narrow, printer);
  EXPECT_EQ(narrow.width(), 80U);
  EXPECT_TRUE(sameBytes(hex("FFFFFF 00000000000000"), narrow.bytes()));
  MemorySink wide;
  drawPaperOf(band(12, 1, 0xFF), wide, printer);
  EXPECT_EQ(wide.width(), 96U);
}

TEST(Paper, FeedsAloneNeedAHead) {
  MemorySink sink;
  RenderExtent extent;
  std::string error;
  EXPECT_FALSE(
      renderStream(hex("1B 40 0A 1B 76"), {.paper = true, .printer = {}}, sink, extent, error));
  EXPECT_EQ(error, "no raster rows, nothing to draw");
  PrinterFacts printer;
  printer.headBytes = 2;
  EXPECT_EQ(paperOf(hex("1B 40 0A 1B 76"), printer), "W50");
}

TEST(Paper, DamageDrawsNothing) {
  MemorySink sink;
  RenderExtent extent;
  std::string error;
  EXPECT_FALSE(renderStream(joined({band(2, 2, 0xFF), hex("0A 58")}),
                            {.paper = true, .printer = {}}, sink, extent, error));
  EXPECT_EQ(error, "offset 13: unknown bytes 58");
  EXPECT_EQ(sink.height(), 0U);
}

TEST(Paper, LongFeedsAreRefusedBeforeAnythingIsDrawn) {
  Bytes stream = band(65535, 1, 0);
  append(stream, hex("1B 64 FF 1B 64 FF"));
  MemorySink sink;
  RenderExtent extent;
  std::string error;
  EXPECT_FALSE(renderStream(stream, {.paper = true, .printer = {}}, sink, extent, error));
  EXPECT_THAT(error, testing::HasSubstr("524280 x 25501 dots is larger than"));
  EXPECT_EQ(sink.height(), 0U);
}

// The dots of a frame's rows, from the left edge of the paper.
std::vector<std::string> dotsOf(const MemorySink& sink) {
  std::vector<std::string> lines;
  for (const Bytes& row : sink.rows()) {
    std::string line;
    for (size_t x = 0; x < sink.width(); ++x)
      line += (row[x / 8] >> (7 - x % 8) & 1) != 0 ? '#' : '.';
    lines.push_back(line);
  }
  return lines;
}

TEST(Paper, ALogoIsAFrameWithItsNumber) {
  PrinterFacts printer;  // so coarse that a letter's dot is one dot
  printer.scale.dotsAcross = printer.scale.dotsAlong = 60;
  MemorySink sink;
  const RenderExtent extent = drawPaperOf(hex("1B 40 1C 70 02 00"), sink, printer);
  EXPECT_EQ(extent.logos, 1U);
  ASSERT_EQ(sink.height(), 24U);  // 10 mm
  ASSERT_EQ(sink.width(), 64U);   // 24 mm are 57 dots
  const std::vector<std::string> lines = dotsOf(sink);
  const std::string bar = std::string(57, '#') + ".......";
  EXPECT_EQ(lines[0], bar);
  EXPECT_EQ(lines[1], bar);
  EXPECT_EQ(lines[22], bar);
  EXPECT_EQ(lines[23], bar);
  const char* letters[] = {
      "#......###...###...###.........###.", "#.....#...#.#...#.#...#.......#...#",
      "#.....#...#.#.....#...#...........#", "#.....#...#.#.###.#...#..........#.",
      "#.....#...#.#...#.#...#.........#..", "#.....#...#.#...#.#...#........#...",
      "#####..###...###...###........#####"};
  for (size_t row = 0; row < 7; ++row)
    EXPECT_EQ(lines[8 + row],
              "##" + std::string(9, '.') + letters[row] + std::string(9, '.') + "##.......");
}

TEST(Paper, LogosAreDoubledAndAlignedAsTheStreamSays) {
  PrinterFacts printer;
  printer.headBytes = 100;
  const auto frame = [&printer](const char* stream) {
    MemorySink sink;
    drawPaperOf(hex(stream), sink, printer);
    const std::string top = dotsOf(sink).front();
    return std::vector<size_t>{top.find('#'), top.rfind('#') + 1, sink.height()};
  };
  using testing::ElementsAre;
  EXPECT_THAT(frame("1C 70 01 00"), ElementsAre(0, 283, 118));
  EXPECT_THAT(frame("1C 70 01 01"), ElementsAre(0, 566, 118));
  EXPECT_THAT(frame("1C 70 01 02"), ElementsAre(0, 283, 236));
  EXPECT_THAT(frame("1C 70 01 03"), ElementsAre(0, 566, 236));
  EXPECT_THAT(frame("1B 61 01 1C 70 01 00"), ElementsAre(258, 541, 118));
  EXPECT_THAT(frame("1B 61 02 1C 70 01 00"), ElementsAre(517, 800, 118));
  EXPECT_THAT(frame("1B 61 02 1B 61 00 1C 70 01 00"), ElementsAre(0, 283, 118));
  EXPECT_THAT(frame("1B 61 02 1B 40 1C 70 01 00"), ElementsAre(0, 283, 118));
}

TEST(Paper, PlainRasterLeavesFeedsCutsAndLogosOut) {
  const Bytes stream =
      joined({jobStart(), hex("1C 70 01 00"), band(2, 3, 0xFF), hex("1B 4A A0 0A 1D 56 01 1B 76")});
  MemorySink sink;
  RenderExtent extent;
  std::string error;
  ASSERT_TRUE(renderStream(stream, {}, sink, extent, error)) << error;
  EXPECT_EQ(runsOf(sink), "B3");
  EXPECT_EQ(paperOf(stream), "D121 W207 D3");
}

}  // namespace
