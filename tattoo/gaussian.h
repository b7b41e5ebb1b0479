// SPDX-License-Identifier: Apache-2.0
// Gaussian smoothing of one-channel images, separable and direct. Sums are kept
// in double, in the order of the taps; borders repeat the nearest edge pixel.
// Sizes are meant to be odd: an even size has no tap behind its last one.
#ifndef TATTOO_GAUSSIAN_H_
#define TATTOO_GAUSSIAN_H_

#include "tattoo/qz_image.h"

// Fills `taps`, `size` doubles, with a Gaussian of standard deviation `sigma`
// pixels, normalised to sum 1.
void generateGaussianKernel1D(int size, double sigma, double* taps);

// Convolves along the rows or along the columns; each sum is rounded to a byte.
// Throws std::bad_alloc.
QZImage convolve1D(const QZImage& source, const double* taps, int size, bool horizontal);

// Rows, then columns, with a one-dimensional Gaussian; bytes in between.
// Throws std::bad_alloc, also for a negative size.
QZImage enh_gaussian_filter_fast(const QZImage& source, int size, double sigma);

// Fills `taps`, size * size doubles row by row, with a Gaussian whose columns
// spread by sigmaX and whose rows by sigmaY, normalised to sum 1.
void generateGaussianKernel(int size, double sigmaX, double sigmaY, double* taps);

// Direct two-dimensional blur. Throws std::bad_alloc, also for a negative size.
QZImage enh_gaussian_filter(const QZImage& source, int size, double sigmaX, double sigmaY);

#endif  // TATTOO_GAUSSIAN_H_
