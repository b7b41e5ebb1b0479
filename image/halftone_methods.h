// SPDX-License-Identifier: Apache-2.0
// Which kernel a method's number stands for, see PaletteImage::Dither.
#ifndef IMAGE_HALFTONE_METHODS_H_
#define IMAGE_HALFTONE_METHODS_H_

#include "image/diffusion_kernels.h"
#include "image/threshold_patterns.h"

// Runs the method with one implementation's `Kernels`, which has two static
// functions, `threshold(pattern, page...)` and `diffuse<kernel>(page...)`.
template <class Kernels, class... Page>
void runHalftoneMethod(long method, Page&... page) {
  switch (method) {
    case 0:
    case 1:
    case 7:
      return Kernels::threshold(thresholdPattern(method), page...);
    case 2:
      return Kernels::template diffuse<kBurkes>(page...);
    case 3:
      return Kernels::template diffuse<kStucki>(page...);
    case 4:
      return Kernels::template diffuse<kJarvisJudiceNinke>(page...);
    case 5:
      return Kernels::template diffuse<kSierra>(page...);
    case 6:
      return Kernels::template diffuse<kStevensonArce>(page...);
    default:
      return Kernels::template diffuse<kFloydSteinberg>(page...);
  }
}

#endif  // IMAGE_HALFTONE_METHODS_H_
