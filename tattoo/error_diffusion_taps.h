// SPDX-License-Identifier: Apache-2.0
// Kernel of the stencils' error diffusion, shared by its variants.
#ifndef TATTOO_ERROR_DIFFUSION_TAPS_H_
#define TATTOO_ERROR_DIFFUSION_TAPS_H_

#include <array>
#include <cstdint>

struct StencilTap {
  int32_t dx;
  int32_t dy;
  float weight;
};

// In the order in which the shares are added. They sum to 0.940002 on purpose.
inline constexpr std::array<StencilTap, 6> kStencilTaps = {{{1, 0, 0.505786F},
                                                            {2, 0, -0.052926F},
                                                            {-2, 1, 0.226194F},
                                                            {-1, 1, 0.128835F},
                                                            {0, 1, 0.243191F},
                                                            {1, 1, -0.111078F}}};

// What a black neighbour to the left or above takes off a white pixel.
inline constexpr float kDotSpread = 0.1427F;

#endif  // TATTOO_ERROR_DIFFUSION_TAPS_H_
