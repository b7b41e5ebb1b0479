// SPDX-License-Identifier: Apache-2.0
#include "documents/prepare/thin_lines.h"

#include <array>
#include <cstddef>

namespace {

// Offsets of the eight neighbours, clockwise from the one above.
std::array<std::ptrdiff_t, 8> neighbours(uint32_t width) {
  const auto row = static_cast<std::ptrdiff_t>(width);
  return {-row, -row + 1, 1, row + 1, row, row - 1, -1, -row - 1};
}

// Guo and Hall's rule: whether a pixel with these neighbours (bit i is the i-th clockwise
// from the one above) goes in the first or the second half of a round.
bool goes(unsigned around, bool second) {
  std::array<bool, 8> p = {};
  for (size_t i = 0; i < p.size(); ++i) p[i] = (around >> i & 1U) != 0;
  int arcs = 0;
  int pairs1 = 0;
  int pairs2 = 0;
  for (size_t i = 0; i < p.size(); i += 2) {
    const bool side = p[i];
    const bool corner = p[i + 1];
    const bool next = p[(i + 2) % 8];
    if (!side && (corner || next)) ++arcs;
    if (side || corner) ++pairs1;
    if (corner || next) ++pairs2;
  }
  const int pairs = pairs1 < pairs2 ? pairs1 : pairs2;
  const bool kept = second ? (p[0] || p[1] || !p[3]) && p[2] : (p[4] || p[5] || !p[7]) && p[6];
  return arcs == 1 && (pairs == 2 || pairs == 3) && !kept;
}

using GoingTable = std::array<std::array<bool, 256>, 2>;

GoingTable goingTable() {
  GoingTable table = {};
  for (unsigned around = 0; around < 256; ++around) {
    table[0][around] = goes(around, false);
    table[1][around] = goes(around, true);
  }
  return table;
}

// How many lines leave a thin line's pixel: 1 at an end, 2 along it, more at a fork.
int linesFrom(std::span<const uint8_t> marks, const std::array<std::ptrdiff_t, 8>& offsets,
              size_t place) {
  int lines = 0;
  for (size_t i = 0; i < offsets.size(); ++i) {
    const size_t here = place + static_cast<size_t>(offsets[i]);
    const size_t next = place + static_cast<size_t>(offsets[(i + 1) % offsets.size()]);
    if (marks[here] == 0 && marks[next] != 0) ++lines;
  }
  return lines;
}

// The pixels from a free end up to a fork, without it; empty when the line is free at its
// other end too or has `least` pixels.
std::vector<size_t> shortBranch(std::span<const uint8_t> marks,
                                const std::array<std::ptrdiff_t, 8>& offsets, size_t end,
                                size_t least) {
  std::vector<size_t> branch = {end};
  size_t before = end;
  while (branch.size() < least) {
    const size_t here = branch.back();
    size_t next = here;
    for (const size_t first : {size_t{0}, size_t{1}}) {  // sides before corners
      for (size_t i = first; i < offsets.size() && next == here; i += 2) {
        const size_t place = here + static_cast<size_t>(offsets[i]);
        const bool isNew =
            place != before && (branch.size() < 3 || place != branch[branch.size() - 3]);
        if (marks[place] != 0 && isNew) next = place;
      }
    }
    if (next == here) return {};
    if (linesFrom(marks, offsets, next) > 2) return branch;
    before = here;
    branch.push_back(next);
  }
  return {};
}

std::vector<size_t> marked(std::span<const uint8_t> marks) {
  std::vector<size_t> places;
  for (size_t i = 0; i < marks.size(); ++i) {
    if (marks[i] != 0) places.push_back(i);
  }
  return places;
}

// Follows one line from `start`, unmarks it and returns its pixels.
void takeLine(std::span<uint8_t> marks, const std::array<std::ptrdiff_t, 8>& offsets, size_t start,
              std::vector<size_t>& line) {
  line.assign(1, start);
  marks[start] = 0;
  for (size_t i = 0; i < line.size(); ++i) {
    for (const std::ptrdiff_t offset : offsets) {
      const size_t next = line[i] + static_cast<size_t>(offset);
      if (marks[next] == 0) continue;
      marks[next] = 0;
      line.push_back(next);
    }
  }
}

}  // namespace

void thinLines(std::span<uint8_t> marks, uint32_t width) {
  static const GoingTable table = goingTable();
  const std::array<std::ptrdiff_t, 8> offsets = neighbours(width);
  std::vector<size_t> places = marked(marks);
  std::vector<size_t> going;
  size_t idle = 0;  // halves of a round in a row that took nothing
  for (size_t half = 0; idle < 2; half = 1 - half) {
    going.clear();
    size_t left = 0;
    for (const size_t place : places) {
      unsigned around = 0;
      for (size_t i = 0; i < offsets.size(); ++i) {
        around |= static_cast<unsigned>(marks[place + static_cast<size_t>(offsets[i])]) << i;
      }
      if (table[half][around]) {
        going.push_back(place);
      } else {
        places[left++] = place;
      }
    }
    places.resize(left);
    for (const size_t place : going) marks[place] = 0;
    idle = going.empty() ? idle + 1 : 0;
  }
}

void dropShortBranches(std::span<uint8_t> marks, uint32_t width, size_t least) {
  const std::array<std::ptrdiff_t, 8> offsets = neighbours(width);
  for (const size_t place : marked(marks)) {
    if (marks[place] == 0 || linesFrom(marks, offsets, place) != 1) continue;
    for (const size_t gone : shortBranch(marks, offsets, place, least)) marks[gone] = 0;
  }
}

void dropShortLines(std::span<uint8_t> marks, uint32_t width, size_t least) {
  const std::array<std::ptrdiff_t, 8> offsets = neighbours(width);
  std::vector<size_t> line;
  std::vector<size_t> kept;
  for (const size_t start : marked(marks)) {
    if (marks[start] == 0) continue;
    takeLine(marks, offsets, start, line);
    if (line.size() >= least) kept.insert(kept.end(), line.begin(), line.end());
  }
  for (const size_t place : kept) marks[place] = 1;
}
