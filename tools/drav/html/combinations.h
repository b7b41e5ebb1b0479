// SPDX-License-Identifier: Apache-2.0
// Which halftones, brightness steps and ways round the HTML proof shows, and in which
// order they are made. The file has a limit, so the order decides what is left out.
#ifndef TOOLS_DRAV_HTML_COMBINATIONS_H_
#define TOOLS_DRAV_HTML_COMBINATIONS_H_

#include <cstddef>
#include <vector>

#include "tools/drav/engine/page_turn.h"

// A place in the list of halftones, one in that of brightness steps, and a way round.
struct Combination {
  size_t halftone = 0;
  size_t brightness = 0;
  PageTurn turn;

  bool operator==(const Combination&) const = default;
};

// How many there are of each, and what the driver can do.
struct CombinationSpace {
  size_t halftones = 1;
  size_t brightnesses = 1;
  bool mirrors = false;
  bool turns = false;

  // Those of a way round.
  size_t size() const { return halftones * brightnesses; }
};

// The job's own, the other halftones at the job's brightness, and the job's own the other
// ways round.
std::vector<Combination> mainCombinations(const CombinationSpace& space, const Combination& job);

// The other steps of brightness with the job's halftone, the nearest first.
std::vector<Combination> stepCombinations(const CombinationSpace& space, const Combination& job);

// The others of the job's way round.
std::vector<Combination> farCombinations(const CombinationSpace& space, const Combination& job);

#endif  // TOOLS_DRAV_HTML_COMBINATIONS_H_
