// SPDX-License-Identifier: Apache-2.0
// What is wanted of a page: the paper under the head, and the job's wishes.
#ifndef DOCUMENTS_PAGE_REQUEST_H_
#define DOCUMENTS_PAGE_REQUEST_H_

#include <cstdint>
#include <optional>

namespace documents {

// Lengths are dots of the head: `dpiX` to the inch across, `dpiY` along the paper.
struct Paper {
  uint32_t dpiX = 300;  // 60 to 2400
  uint32_t dpiY = 300;
  uint32_t width = 0;   // of a row, 1 to kMostWidth
  uint32_t height = 0;  // 1 to kMostHeight; on a roll that of the longest page
  // What the head does not reach at each edge; together less than the side.
  uint32_t left = 0;
  uint32_t top = 0;
  uint32_t right = 0;
  uint32_t bottom = 0;
  bool roll = false;  // the page is as long as what stands on it
};

inline constexpr uint32_t kMostWidth = 100'000;
inline constexpr uint32_t kMostHeight = 1'000'000;

// As the Internet Printing Protocol defines the values of print-scaling.
enum class PrintScaling : uint8_t { kAuto, kAutoFit, kFit, kFill, kNone };

enum class Position : uint8_t { kStart, kCenter, kEnd };

// Quarter turns against the clock.
enum class Turn : uint8_t { kNone, kLeft, kHalf, kRight };

// Pixels or dots to the inch.
struct Density {
  double x = 0;
  double y = 0;
};

// The defaults are those of a job without options.
struct PageWish {
  PrintScaling scaling = PrintScaling::kAutoFit;
  bool fitToPage = false;
  std::optional<uint32_t> percent;         // of the page, 1 to kMostPercent
  std::optional<uint32_t> naturalPercent;  // of the true size, 1 to kMostPercent
  std::optional<Density> ppi;              // 1 to 9600
  Position across = Position::kCenter;
  Position along = Position::kCenter;
  std::optional<Turn> turn;  // asked for; kNone then means upright whatever happens
  bool landscape = false;    // a quarter to the left, unless `turn` says otherwise
  bool mirror = false;
  bool colour = false;  // rows of red, green and blue instead of grey
};

// Bytes of a dot in a row.
inline uint32_t channelsOf(const PageWish& wish) { return wish.colour ? 3 : 1; }

inline constexpr uint32_t kMostPercent = 1000;

}  // namespace documents

#endif  // DOCUMENTS_PAGE_REQUEST_H_
