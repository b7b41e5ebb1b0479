// SPDX-License-Identifier: Apache-2.0
// drav proof --html: a page with all its halftones and brightness steps in one HTML file
// that needs nothing else.
#ifndef TOOLS_DRAV_HTML_HTML_PROOF_H_
#define TOOLS_DRAV_HTML_HTML_PROOF_H_

#include <cstddef>
#include <string>

#include "tools/drav/engine/page_run.h"

// What goes into the file.
struct HtmlProof {
  unsigned page = 0;
  std::string data;         // as writeHtmlFile() takes it
  size_t combinations = 0;  // of halftone and brightness that are in it
  size_t allCombinations = 0;
  std::string lost;  // what of the page does not print; empty for nothing
};

// Pictures of a file together have about so many bytes at most. A dense photo on A4 with
// all halftones, and one of them four ways round, stays below. More steps of brightness and
// all other combinations have to keep below the second number, with no other way round.
inline constexpr size_t kMostPictureBytes = 24'000'000;
inline constexpr size_t kMostExtraBytes = 14'000'000;
// All combinations, not only those next to the job's, are made if together they have at
// most so many dots, so that nobody waits longer than for a page of A4.
inline constexpr uint64_t kMostDotsForAll = 400'000'000;
// Browsers draw no larger pictures well.
inline constexpr uint64_t kMostHtmlDots = 40'000'000;
inline constexpr uint32_t kMostHtmlRows = 32'767;

// Prints the page of `visit` with the job's options, with the driver's other halftones
// and brightness steps, and mirrored and turned: see mainCombinations() and
// stepCombinations(), as far as the bytes allow, and all combinations of the job's way
// round if they are few dots and bytes. A page that is prepared comes cleaned and not, with
// outlines and without. False with one line in `error`.
[[nodiscard]] bool makeHtmlProof(const PageVisit& visit, HtmlProof& proof, std::string& error);

#endif  // TOOLS_DRAV_HTML_HTML_PROOF_H_
