// SPDX-License-Identifier: Apache-2.0
// The paper of a job as it leaves the printer.
//
// Feeds are white rows, as many as the paper scale makes of them. A cut is a dashed
// line across, long dashes for a full cut and short ones for a partial cut; it lies on
// the last rows of the feed before it, and adds rows of its own only where there is no
// feed. The stream does not hold the stored logos: a frame of a size of our own with
// the logo's number stands in, doubled and aligned as the stream says. The paper is as
// wide as the head where that is known, or as its widest part; rows lie at the left.
#ifndef TOOLS_DRAV_RENDER_PAPER_H_
#define TOOLS_DRAV_RENDER_PAPER_H_

#include <cstdint>
#include <span>
#include <string>

#include "tools/drav/job/paper_scale.h"
#include "tools/drav/render/render.h"

// False with one line in `error` when the stream is damaged.
[[nodiscard]] bool measurePaper(std::span<const uint8_t> stream, const PrinterFacts& printer,
                                RenderExtent& extent, std::string& error);

// Writes all rows of the paper to the open sink.
// REQUIRES: `extent` is what measurePaper made of the same stream and printer.
[[nodiscard]] bool drawPaper(std::span<const uint8_t> stream, const PrinterFacts& printer,
                             const RenderExtent& extent, PictureSink& sink, std::string& error);

#endif  // TOOLS_DRAV_RENDER_PAPER_H_
