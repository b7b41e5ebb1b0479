// SPDX-License-Identifier: Apache-2.0
// drav render: the dots of a job, or the whole paper, as a picture.
#ifndef TOOLS_DRAV_RENDER_RENDER_H_
#define TOOLS_DRAV_RENDER_RENDER_H_

#include <cstdint>
#include <span>
#include <string>

#include "tools/drav/job/paper_scale.h"
#include "tools/drav/render/picture_sink.h"

// No picture may take more bytes at one bit a dot: 300 metres of an A4-wide head.
inline constexpr uint64_t kMaxPictureBytes = uint64_t{1} << 30U;

struct RenderOptions {
  // False: the raster rows alone, under each other. True: the paper, with feeds, cuts
  // and the places of logos (tools/drav/render/paper.h).
  bool paper = false;
  // The resolution is written into the picture; the rest tells of the paper.
  PrinterFacts printer;
};

// Size of the picture of a job, and what is on it.
struct RenderExtent {
  uint64_t rows = 0;
  uint32_t bytesPerRow = 0;  // of the widest row
  uint64_t bands = 0;
  uint64_t cuts = 0;   // of the paper only
  uint64_t logos = 0;  // of the paper only
  std::string cut;     // what is missing where the job is cut off; else empty
};

// Adds up the raster bands of a job stream; if it is cut off, up to its last whole row.
// False with one line in `error` when the stream is damaged.
[[nodiscard]] bool measureRaster(std::span<const uint8_t> stream, RenderExtent& extent,
                                 std::string& error);

// Draws all jobs in `stream` under each other: one pixel a dot, black on white, as
// wide as the widest row; `extent` tells what was drawn, and what is missing. False with one line
// in `error` when the stream is damaged or nothing is to be drawn, when the picture would pass
// kMaxPictureBytes, or when the sink fails. The sink is opened only for a sound stream.
[[nodiscard]] bool renderStream(std::span<const uint8_t> stream, const RenderOptions& options,
                                PictureSink& sink, RenderExtent& extent, std::string& error);

// The same for the file or pipe `jobPath`, "-" being standard input, into the PNG file
// `outPath`, which appears only when it is complete; `error` names the file that is to
// blame. A resolution that nobody told is assumed from the width of the rows.
[[nodiscard]] bool renderFile(const std::string& jobPath, const std::string& outPath,
                              RenderOptions& options, RenderExtent& extent, std::string& error);

#endif  // TOOLS_DRAV_RENDER_RENDER_H_
