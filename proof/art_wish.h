// SPDX-License-Identifier: Apache-2.0
// What is wanted of a picture before it goes onto a page.
#ifndef PROOF_ART_WISH_H_
#define PROOF_ART_WISH_H_

#include <cstdint>
#include <optional>

#include "documents/page_request.h"

// A part of the finished picture, in millimetres from its top left corner.
struct CropWish {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  bool operator==(const CropWish&) const = default;
};

// The defaults leave a picture as it is: at its true size, reduced if it does not fit.
struct ArtWish {
  double width = 0;   // of the picture, turned as wanted, in mm; 0 to follow from the rest
  double height = 0;  // both: as large as fits into both
  double dpi = 0;     // that the picture is taken to have; 0 for what it states
  std::optional<unsigned> turn;  // degrees clockwise; not given, it may be turned to fit
  bool mirror = false;
  std::optional<CropWish> crop;  // behind turn, size and mirror
  documents::Position across = documents::Position::kCenter;
  documents::Position along = documents::Position::kCenter;
  unsigned black = 0;    // this lightness and what is darker becomes black
  unsigned white = 255;  // this and what is lighter becomes white; above `black`
  double gamma = 1;      // above 1 makes what is between lighter
  bool clean = false;
  bool lines = false;
  bool tile = false;
  double overlap = 10;  // of the sheets, mm
  unsigned page = 0;    // the only page of a document that is wanted, from 1; 0 for all

  bool operator==(const ArtWish&) const = default;
};

#endif  // PROOF_ART_WISH_H_
