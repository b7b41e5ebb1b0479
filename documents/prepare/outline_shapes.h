// SPDX-License-Identifier: Apache-2.0
// Draws the outlines of a coloured or shaded picture as lines of one width: what a stencil
// needs of a picture that was painted.
//
// The lines are where a difference of Gaussians says so (D. Marr, E. Hildreth, "Theory of
// edge detection", Proc. R. Soc. London B 207 (1980); as a drawing: H. Winnemoeller and
// others, "XDoG", Computers & Graphics 36 (2012)). Instead of XDoG's soft threshold, weak
// lines stay where they hang together with strong ones (J. Canny, "A computational approach
// to edge detection", IEEE PAMI 8 (1986)): that closes an outline whose contrast changes on
// its way. What is left is thinned, which neither opens nor closes a line (Z. Guo, R. W.
// Hall, "Parallel thinning with two-subiteration algorithms", CACM 32 (1989)), and drawn
// again with a round pen, so that nothing is filled and every line has the same width.
//
// The differences are taken of red, green and blue by themselves, and the strongest counts.
// Of lightness alone, a red shape on green of the same lightness has no outline; and two
// colours that can be told apart differ in at least one of the three.
#ifndef DOCUMENTS_PREPARE_OUTLINE_SHAPES_H_
#define DOCUMENTS_PREPARE_OUTLINE_SHAPES_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// The pen's width in mm. A pen of less than one pixel draws one pixel's line.
inline constexpr double kOutlineMm = 0.45;

// Returns the outlines as `height` rows of `width` lightness levels: 255 is white, 0 a line,
// between them are the pen's smooth edges. `pixels` has the same layout with `channels`
// bytes a pixel, 1 for lightness or 3 for red, green and blue. `dotsPerInch` is the
// picture's own resolution.
//
// A drawn line up to about 0.8 mm wide becomes one line, a wider one two. An outline is drawn
// when its contrast is 19 levels somewhere and 8 everywhere (of green or lightness; half as
// much again in red, twice as much in blue), on a noisy picture more. What is shorter than
// 1 mm is dropped. An edge's line lies on its dark side, and ends up to 0.3 mm before the picture's
// own edge.
//
// Memory: about 3 bytes a pixel and 8 bytes for each pixel near an edge.
// REQUIRES: pixels.size() == width * height * channels; dotsPerInch is 60 to 2400. Throws
// std::invalid_argument when not, and std::bad_alloc.
std::vector<uint8_t> outlineShapes(std::span<const uint8_t> pixels, uint32_t width, uint32_t height,
                                   uint32_t channels, double dotsPerInch);

#endif  // DOCUMENTS_PREPARE_OUTLINE_SHAPES_H_
