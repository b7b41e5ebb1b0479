// SPDX-License-Identifier: Apache-2.0
// Makes the page that was drawn out of a photo or scan of it: the paper becomes white
// whatever light lay on it, lines and shading stay.
//
// The method is that of document binarization, without its last step, the threshold:
//  - the paper's level everywhere, from cells that show bare paper, interpolated where ink
//    covers it: B. Gatos, I. Pratikakis, S. J. Perantonis, "Adaptive degraded document image
//    binarization", Pattern Recognition 39 (2006). What is bare is told by a morphological
//    closing (J. Serra, "Image Analysis and Mathematical Morphology", 1982), whose result
//    keeps a shadow's edge where it is, and by outlines: what they close off is shaded where
//    it is darker than what lies around it. The gaps are filled by pull and push (S. J. Gortler
//    and others, "The Lumigraph", SIGGRAPH 1996) and relaxed to a membrane;
//  - the local Wiener filter against grain and blocks: J.-S. Lee, "Digital image enhancement
//    and noise filtering by use of local statistics", IEEE PAMI 2 (1980), with the picture's
//    own noise, measured on its bare paper;
//  - each pixel divided by the paper's level, the paper's remaining spread cut off, and the
//    ink stretched to black.
#ifndef DOCUMENTS_PREPARE_CLEAN_DRAWING_H_
#define DOCUMENTS_PREPARE_CLEAN_DRAWING_H_

#include <cstdint>
#include <span>

// Cleans a picture in place. `pixels` are `height` rows of `width` lightness levels, no
// padding: 255 is white, 0 is black, as in a portable greymap; a page for the printer has
// it the other way round. `dotsPerInch` is the picture's own resolution: how large a pixel
// lies on the paper.
//
// Shading narrower than 30 mm in one direction stays, and so does what a closed outline
// surrounds. What is larger in both counts as paper in a shadow, unless it is darker than a
// shadow can be; so does what is dark up to the picture's edge. A picture without a light
// area comes out nearly as it was.
//
// Memory: less than 1/2 byte a pixel at 300 dots per inch, and a few rows.
// REQUIRES: pixels.size() == width * height; dotsPerInch is 60 to 2400. Throws
// std::invalid_argument when not, and std::bad_alloc; the picture is then as it was.
void cleanDrawing(std::span<uint8_t> pixels, uint32_t width, uint32_t height, double dotsPerInch);

#endif  // DOCUMENTS_PREPARE_CLEAN_DRAWING_H_
