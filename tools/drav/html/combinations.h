// SPDX-License-Identifier: Apache-2.0
// Which halftones and brightness steps the HTML proof shows, and in which order they are
// made. The file has a limit, so the order decides what is left out.
#ifndef TOOLS_DRAV_HTML_COMBINATIONS_H_
#define TOOLS_DRAV_HTML_COMBINATIONS_H_

#include <cstddef>
#include <vector>

// A place in the list of halftones and one in that of brightness steps.
struct Combination {
  size_t halftone = 0;
  size_t brightness = 0;

  bool operator==(const Combination&) const = default;
};

// How many there are of each.
struct CombinationSpace {
  size_t halftones = 1;
  size_t brightnesses = 1;

  size_t size() const { return halftones * brightnesses; }
};

// The job's own, the other halftones at the job's brightness, then the other steps of
// brightness with the job's halftone, the nearest first.
std::vector<Combination> nearCombinations(const CombinationSpace& space, const Combination& job);

// All others.
std::vector<Combination> farCombinations(const CombinationSpace& space, const Combination& job);

#endif  // TOOLS_DRAV_HTML_COMBINATIONS_H_
