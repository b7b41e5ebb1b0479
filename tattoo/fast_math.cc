// SPDX-License-Identifier: Apache-2.0
#include "tattoo/fast_math.h"

namespace {

constexpr float kTolerance = 1e-6F;
constexpr double kLastTerm = 1e-6;
constexpr int kMaxTerms = 20;
constexpr uint32_t kMaxRounds = 1U << 25;

// Bitwise, apart from the sign of zero: not-a-number counts as a repetition.
bool repeats(float a, float b) { return a == b || (a != a && b != b); }  // GCOVR_EXCL_BR_LINE

// First iterate from `start` on that the iteration comes back to, once it is
// known to cycle with period `period`.
template <typename Step>
float firstRepeated(float start, uint32_t period, Step next) {
  float behind = start;
  float ahead = start;
  for (uint32_t i = 0; i < period; ++i) ahead = next(ahead);
  while (!repeats(behind, ahead)) {
    behind = next(behind);
    ahead = next(ahead);
  }
  return behind;
}

// Iterates until two neighbours are closer than the tolerance and returns the
// earlier of the two. Some arguments make the iterates go round in a cycle
// instead: then the first repeated iterate is returned (the cycle is found with
// Brent's algorithm, BIT 20, 1980), or the present one after 2^25 rounds.
template <typename Step>
float iterate(float start, Step next) {
  float y = start;
  float landmark = start;
  uint32_t sinceLandmark = 0;
  uint32_t landmarkLimit = 1;
  for (uint32_t round = 0; round < kMaxRounds; ++round) {  // GCOVR_EXCL_BR_LINE
    const float n = next(y);
    if (myabs(n - y) < kTolerance) return y;
    y = n;
    ++sinceLandmark;
    if (repeats(y, landmark)) return firstRepeated(start, sinceLandmark, next);
    if (sinceLandmark == landmarkLimit) {
      landmark = y;
      landmarkLimit *= 2;
      sinceLandmark = 0;
    }
  }
  return y;  // GCOVR_EXCL_LINE: no argument is known that comes here
}

// True for not-a-number and +infinity, on which no iteration would end.
bool hasNoRoot(float x) { return x != x || x == std::numeric_limits<float>::infinity(); }

}  // namespace

float my_sqrt(float x) {
  if (x < 0.0F) return -1.0F;
  if (x == 0.0F) return 0.0F;
  if (hasNoRoot(x)) return x;
  return iterate(x / 2.0F, [x](float y) { return 0.5F * (y + x / y); });
}

float my_exp(float x) {
  if (x < 0.0F) return static_cast<float>(1.0 / static_cast<double>(my_exp(-x)));
  float sum = 1.0F;
  float term = 1.0F;
  for (int i = 1; i <= kMaxTerms; ++i) {
    term = (x / static_cast<float>(i)) * term;
    sum = term + sum;
    if (static_cast<double>(term) < kLastTerm) break;
  }
  return sum;
}

float my_ln(float x) {
  if (x <= 0.0F) return -1.0F;
  if (hasNoRoot(x)) return x;
  return iterate((x - 1.0F) / (1.0F + x), [x](float y) { return y - (my_exp(y) - x) / x; });
}

float my_pow(float base, float exponent) {
  if (base == 0.0F) {
    if (exponent == 0.0F) return 1.0F;
    return exponent > 0.0F ? 0.0F : -1.0F;
  }
  if (base < 0.0F) {
    const float fraction = exponent - static_cast<float>(truncateToInt32(exponent));
    if (fraction != 0.0F) return -1.0F;  // true for not-a-number, too
  }
  return my_exp(exponent * my_ln(base));
}
