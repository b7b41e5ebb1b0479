// SPDX-License-Identifier: Apache-2.0
// How much of a picture's ink lies where the head does not reach.
#ifndef TOOLS_DRAV_PREPARE_LOST_INK_H_
#define TOOLS_DRAV_PREPARE_LOST_INK_H_

#include <vector>

#include "common/lost_ink.h"
#include "documents/page_request.h"
#include "tools/drav/prepare/art_layout.h"
#include "tools/drav/prepare/art_picture.h"

// What lies beyond each side of the reach; where along the side, in dots of the page.
std::vector<LostInk> lostInk(const ArtPicture& art, const ArtPlace& place,
                             const documents::Paper& paper);

#endif  // TOOLS_DRAV_PREPARE_LOST_INK_H_
