// SPDX-License-Identifier: Apache-2.0
#include "documents/text_layout.h"

#include <algorithm>
#include <cmath>

#include "documents/placing.h"

namespace documents {
namespace {

constexpr double kColumn = 1.5;       // mm
constexpr double kNarrowPaper = 100;  // mm
constexpr double kMargin = 10;        // mm
constexpr double kMostColumns = 80;

}  // namespace

TextLayout layOutText(const Paper& paper) {
  const double dotsX = paper.dpiX / kMillimetresPerInch;
  const double dotsY = paper.dpiY / kMillimetresPerInch;
  TextLayout layout;
  layout.left = paper.left;
  layout.width = static_cast<double>(paper.width) - paper.left - paper.right;
  layout.top = paper.top;
  layout.bottom = paper.bottom;
  if (layout.width > kNarrowPaper * dotsX) {
    layout.left += kMargin * dotsX;
    layout.width -= 2 * kMargin * dotsX;
  }
  if (!paper.roll) {
    const auto margin = static_cast<uint32_t>(kMargin * dotsY);
    const uint32_t room = paper.height - paper.top - paper.bottom;
    const uint32_t each = std::min(margin, room / 4);
    layout.top += each;
    layout.bottom += each;
  }
  const double columns = std::floor(layout.width / dotsX / kColumn + 0.5);
  layout.columns = static_cast<size_t>(std::clamp(columns, 1.0, kMostColumns));
  return layout;
}

}  // namespace documents
