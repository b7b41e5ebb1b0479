// SPDX-License-Identifier: Apache-2.0
// How much a picture's bare paper varies from pixel to pixel: grain, noise, blocks.
#ifndef DOCUMENTS_PREPARE_LOCAL_NOISE_H_
#define DOCUMENTS_PREPARE_LOCAL_NOISE_H_

#include <cstdint>

#include "documents/prepare/paper_surface.h"

// Reach in pixels of the window of local statistics: (2 * reach + 1) pixels square.
uint32_t statisticsReach(double pixelsPerMm);

struct PaperNoise {
  float variance = 0;  // in a window on bare paper, of softened levels
  float share = 1;     // of the surface's level that a window's mean has
  float spread = 0;    // of the windows' means around that, one standard deviation, levels
};

// Measured at no more than a few thousand bare cells. Without bare cells there is no noise.
PaperNoise measureNoise(const LightnessView& picture, const PaperSurface& paper, uint32_t reach);

#endif  // DOCUMENTS_PREPARE_LOCAL_NOISE_H_
