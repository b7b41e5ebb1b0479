// SPDX-License-Identifier: Apache-2.0
// Every variant of the row operations, at every width up to several vectors, with
// guard bytes on both ends.
#include "image/row_ops.h"

#include <algorithm>
#include <ostream>
#include <string>

#include "tests/unit/image/image_support.h"

static void PrintTo(const RowOpsVariant& variant, std::ostream* out) { *out << variant.name; }

namespace {

constexpr size_t kGuardBytes = 80;
constexpr uint8_t kGuard = 0xA7;

// Bytes of which about half are zero, the others anything from 1 to 255.
Bytes sparseRow(size_t width, uint64_t seed) {
  model::Random random(seed);
  Bytes row(width);
  for (uint8_t& byte : row) byte = random.below(2) == 0 ? 0 : random.byte();
  return row;
}

Bytes packedPixelByPixel(const Bytes& row) {
  Bytes packed((row.size() + 7) / 8, 0);
  for (size_t x = 0; x < row.size(); ++x) {
    if (row[x] != 0) packed[x / 8] = static_cast<uint8_t>(packed[x / 8] | (128 >> (x % 8)));
  }
  return packed;
}

// The bytes with guard bytes on both ends.
Bytes guarded(const Bytes& bytes) {
  Bytes all(kGuardBytes + bytes.size() + kGuardBytes, kGuard);
  std::copy(bytes.begin(), bytes.end(), all.begin() + kGuardBytes);
  return all;
}

class RowOps : public testing::TestWithParam<RowOpsVariant> {};

TEST_P(RowOps, PackSetsABitForEveryByteThatIsNotZero) {
  for (size_t width = 0; width <= 300; ++width) {
    const Bytes row = sparseRow(width, width + 1);
    const Bytes wanted = packedPixelByPixel(row);
    Bytes out = guarded(Bytes(wanted.size(), kGuard));
    ASSERT_EQ(GetParam().pack(row.data(), width, out.data() + kGuardBytes), wanted.size());
    ASSERT_TRUE(sameBytes(guarded(wanted), out)) << "width " << width;
  }
}

TEST_P(RowOps, PackTakesEveryNonZeroValueForADot) {
  for (int value = 0; value < 256; ++value) {
    const Bytes row(67, static_cast<uint8_t>(value));
    Bytes out(9);
    GetParam().pack(row.data(), row.size(), out.data());
    Bytes wanted(9, value == 0 ? 0 : 0xFF);
    wanted[8] = value == 0 ? 0 : 0xE0;
    EXPECT_EQ(out, wanted) << value;
  }
}

TEST_P(RowOps, PackWorksInPlaceAndTowardsTheFront) {
  for (size_t width = 0; width <= 300; ++width) {
    for (const size_t ahead : {size_t{0}, size_t{1}, size_t{5}, size_t{33}, size_t{64}}) {
      const Bytes row = sparseRow(width, width * 7 + 3);
      const Bytes wanted = packedPixelByPixel(row);
      Bytes buffer(ahead + width + kGuardBytes, kGuard);
      std::copy(row.begin(), row.end(), buffer.begin() + static_cast<ptrdiff_t>(ahead));
      ASSERT_EQ(GetParam().pack(buffer.data() + ahead, width, buffer.data()), wanted.size());
      buffer.resize(wanted.size());
      ASSERT_TRUE(sameBytes(wanted, buffer)) << "width " << width << ", " << ahead << " ahead";
    }
  }
}

TEST_P(RowOps, ReplaceLooksEveryByteUp) {
  for (size_t width = 0; width <= 300; ++width) {
    LevelTable table = {};
    model::Random random(width + 11);
    for (uint8_t& entry : table) entry = random.byte();
    Bytes row(width);
    for (uint8_t& byte : row) byte = random.byte();
    Bytes wanted;
    for (const uint8_t byte : row) wanted.push_back(table[byte]);

    Bytes out = guarded(Bytes(width, kGuard));
    GetParam().replace(row.data(), width, table, out.data() + kGuardBytes);
    ASSERT_TRUE(sameBytes(guarded(wanted), out)) << "width " << width;

    Bytes inPlace = guarded(row);
    GetParam().replace(inPlace.data() + kGuardBytes, width, table, inPlace.data() + kGuardBytes);
    ASSERT_TRUE(sameBytes(guarded(wanted), inPlace)) << "width " << width << " in place";
  }
}

TEST_P(RowOps, ReplaceFindsEveryEntry) {
  Bytes levels;
  LevelTable table = {};
  for (size_t level = 0; level < 256; ++level) {
    levels.push_back(static_cast<uint8_t>(level));
    table[level] = static_cast<uint8_t>(level * 37 + 11);
  }
  Bytes out(256);
  GetParam().replace(levels.data(), 256, table, out.data());
  EXPECT_TRUE(sameBytes(Bytes(table.begin(), table.end()), out));
}

// Brightness alone: every shift of every level, and tables that are off by one entry.
TEST_P(RowOps, ReplaceTakesShiftedTablesAndThoseThatAlmostAre) {
  model::Random random(5);
  Bytes row(700);
  for (uint8_t& byte : row) byte = random.byte();
  for (size_t level = 0; level < 256; ++level) row[level] = static_cast<uint8_t>(level);
  for (int shift = -256; shift <= 256; ++shift) {
    LevelTable table = {};
    for (int level = 0; level < 256; ++level) {
      table[static_cast<size_t>(level)] = static_cast<uint8_t>(std::clamp(level + shift, 0, 255));
    }
    for (const bool changed : {false, true}) {
      if (changed) ++table[random.byte()];
      Bytes wanted;
      for (const uint8_t byte : row) wanted.push_back(table[byte]);
      Bytes out = guarded(Bytes(row.size(), kGuard));
      GetParam().replace(row.data(), row.size(), table, out.data() + kGuardBytes);
      ASSERT_TRUE(sameBytes(guarded(wanted), out)) << "shift " << shift << ", " << changed;
    }
  }
}

TEST_P(RowOps, ReverseTurnsTheRowAndNothingElse) {
  for (size_t width = 0; width <= 300; ++width) {
    model::Random random(width + 23);
    Bytes row(width);
    for (uint8_t& byte : row) byte = random.byte();
    Bytes wanted;
    for (size_t x = width; x > 0; --x) wanted.push_back(row[x - 1]);
    Bytes out = guarded(row);
    GetParam().reverse(out.data() + kGuardBytes, width);
    ASSERT_TRUE(sameBytes(guarded(wanted), out)) << "width " << width;
  }
}

std::string rowOpsVariantName(const testing::TestParamInfo<RowOpsVariant>& variant) {
  return variant.param.name;
}

INSTANTIATE_TEST_SUITE_P(Variants, RowOps,
                         testing::ValuesIn(rowOpsVariants().begin(), rowOpsVariants().end()),
                         rowOpsVariantName);

TEST(RowOpsVariants, ThePlainOneIsFirstAndTheLastOneIsUsed) {
  ASSERT_FALSE(rowOpsVariants().empty());
  EXPECT_STREQ(rowOpsVariants().front().name, "plain");
  EXPECT_EQ(rowOps().pack, rowOpsVariants().back().pack);
  EXPECT_EQ(rowOps().replace, rowOpsVariants().back().replace);
  EXPECT_EQ(rowOps().reverse, rowOpsVariants().back().reverse);
}

}  // namespace
