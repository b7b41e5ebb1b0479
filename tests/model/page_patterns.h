// SPDX-License-Identifier: Apache-2.0
// Test pages that come out the same everywhere: integer arithmetic and an own generator only.
// Level 0 is blank paper, 255 is full ink.
#ifndef TESTS_MODEL_PAGE_PATTERNS_H_
#define TESTS_MODEL_PAGE_PATTERNS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "tests/model/grey.h"

namespace model {

// splitmix64 (G. L. Steele, D. Lea and C. H. Flood, 2014).
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}
  uint64_t next();
  // From 0 to limit - 1; 0 for a limit of 0.
  uint32_t below(uint32_t limit);
  uint8_t byte();

 private:
  uint64_t state_;
};

// 1024 * sin(2 * pi * phase / 1024), approximated with whole numbers.
int sineOf(int64_t phase);

Grey flatPage(int width, int height, uint8_t level);
Grey horizontalGradientPage(int width, int height);
Grey verticalGradientPage(int width, int height);
Grey noisePage(int width, int height, uint64_t seed);
// Single dots of random level on blank paper, `perMille` of a thousand pixels.
Grey sparseNoisePage(int width, int height, uint64_t seed, uint32_t perMille = 10);
// Black strokes in lines of small blocks, like printed text.
Grey textPage(int width, int height, uint64_t seed);
// Smooth waves with a little noise, like a photograph.
Grey photoPage(int width, int height, uint64_t seed);
// Discs whose level rises towards the centre, like shaded tattoo drawings.
Grey circlesPage(int width, int height, uint64_t seed);
// Outlines of circles with soft edges, 6 pixels wide, like a line drawing. Has no name.
Grey ringsPage(int width, int height, uint64_t seed);

// Every pattern by name: "blank", "flat", "full", "horizontal", "vertical", "noise", "sparse",
// "text", "photo", "circles". An unknown name gives a blank page.
const std::vector<std::string>& patternNames();
Grey patternPage(const std::string& name, int width, int height, uint64_t seed);

}  // namespace model

#endif  // TESTS_MODEL_PAGE_PATTERNS_H_
