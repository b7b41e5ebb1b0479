// SPDX-License-Identifier: Apache-2.0
// Reduction to one grey channel.
#ifndef TATTOO_GREY_H_
#define TATTOO_GREY_H_

#include "tattoo/qz_image.h"

// Returns a grey image of the same size: a copy of grey, else the luma of ITU-R
// BT.601 (0.299 R + 0.587 G + 0.114 B, single precision, rounded). Alpha is
// ignored. Throws std::bad_alloc.
QZImage cvtGray(const QZImage& source);

#endif  // TATTOO_GREY_H_
