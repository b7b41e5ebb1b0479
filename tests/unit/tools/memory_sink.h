// SPDX-License-Identifier: Apache-2.0
// A picture that stays in memory.
#ifndef TESTS_UNIT_TOOLS_MEMORY_SINK_H_
#define TESTS_UNIT_TOOLS_MEMORY_SINK_H_

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/bytes.h"
#include "tools/drav/render/picture_sink.h"

class MemorySink : public PictureSink {
 public:
  bool open(uint32_t width, uint32_t height, std::string& /*error*/) override {
    width_ = width;
    height_ = height;
    return true;
  }
  bool writeRow(std::span<const uint8_t> row, std::string& error) override {
    if (rows_.size() == failAt_) {
      error = "no room";
      return false;
    }
    rows_.emplace_back(row.begin(), row.end());
    rows_.back().resize((width_ + 7) / 8, 0);
    return true;
  }
  bool finish(std::string& /*error*/) override {
    EXPECT_EQ(rows_.size(), height_);
    finished_ = true;
    return true;
  }

  // The write of the row with this index fails.
  void failAt(size_t row) { failAt_ = row; }

  uint32_t width() const { return width_; }
  uint32_t height() const { return height_; }
  bool finished() const { return finished_; }
  // All rows of the same number of bytes.
  const std::vector<Bytes>& rows() const { return rows_; }
  Bytes bytes() const {
    Bytes all;
    for (const Bytes& row : rows_) append(all, row);
    return all;
  }

 private:
  uint32_t width_ = 0;
  uint32_t height_ = 0;
  std::vector<Bytes> rows_;
  size_t failAt_ = SIZE_MAX;
  bool finished_ = false;
};

#endif  // TESTS_UNIT_TOOLS_MEMORY_SINK_H_
