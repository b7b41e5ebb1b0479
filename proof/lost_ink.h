// SPDX-License-Identifier: Apache-2.0
// How much of a picture's ink lies where the head does not reach.
#ifndef PROOF_LOST_INK_H_
#define PROOF_LOST_INK_H_

#include <vector>

#include "common/lost_ink.h"
#include "documents/page_request.h"
#include "proof/art_layout.h"
#include "proof/art_picture.h"

// What lies beyond each side of the reach; where along the side, in dots of the page.
std::vector<LostInk> lostInk(const ArtPicture& art, const ArtPlace& place,
                             const documents::Paper& paper);

#endif  // PROOF_LOST_INK_H_
