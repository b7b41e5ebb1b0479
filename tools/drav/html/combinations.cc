// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/html/combinations.h"

std::vector<Combination> mainCombinations(const CombinationSpace& space, const Combination& job) {
  std::vector<Combination> list = {job};
  for (size_t i = 0; i < space.halftones; ++i)
    if (i != job.halftone) list.push_back({i, job.brightness, job.turn});
  for (const PageTurn turn :
       {PageTurn{false, false}, PageTurn{true, false}, PageTurn{false, true}, PageTurn{true, true}})
    if (turn != job.turn && (space.mirrors || turn.mirrored == job.turn.mirrored) &&
        (space.turns || turn.halfTurn == job.turn.halfTurn))
      list.push_back({job.halftone, job.brightness, turn});
  return list;
}

std::vector<Combination> stepCombinations(const CombinationSpace& space, const Combination& job) {
  std::vector<Combination> list;
  for (size_t away = 1; away < space.brightnesses; ++away) {
    if (away <= job.brightness) list.push_back({job.halftone, job.brightness - away, job.turn});
    if (job.brightness + away < space.brightnesses)
      list.push_back({job.halftone, job.brightness + away, job.turn});
  }
  return list;
}

std::vector<Combination> farCombinations(const CombinationSpace& space, const Combination& job) {
  std::vector<Combination> list;
  for (size_t i = 0; i < space.halftones; ++i)
    for (size_t j = 0; j < space.brightnesses; ++j)
      if (i != job.halftone && j != job.brightness) list.push_back({i, j, job.turn});
  return list;
}
