// SPDX-License-Identifier: Apache-2.0
// drav proof: the dots of a document as pictures.
#ifndef TOOLS_DRAV_PROOF_PROOF_H_
#define TOOLS_DRAV_PROOF_PROOF_H_

#include <optional>
#include <string>
#include <vector>

#include "tools/drav/engine/page_run.h"

// A picture that was written.
struct ProofPicture {
  std::string path;
  unsigned page = 0;
  uint32_t width = 0;  // dots, the page alone
  uint32_t height = 0;
  double widthMillimetres = 0;  // 0 when the page does not tell its resolution
  double heightMillimetres = 0;
  double savedMillimetres = 0;  // of paper, by TrimPaper; 0 as above
  double coverage = 0;          // share of the dots that are set, from 0 to 1
  std::string lost;             // what of the page does not print; empty for nothing
};

// An HTML file that was written.
struct ProofHtml {
  std::string path;
  unsigned page = 0;
  size_t combinations = 0;     // of halftone and brightness that are in it
  size_t allCombinations = 0;  // that the driver has
  std::string lost;            // as of ProofPicture
};

// Where to write. Both may be given; with none, a picture is written.
struct ProofOutputs {
  std::string picture;
  std::string html;
};

// What was done.
struct ProofReport {
  std::vector<ProofPicture> pictures;
  std::optional<ProofHtml> html;
  PageFacts facts;
};

// Prints the pages of `request` in memory.
//
// Pictures are one PNG a page, one pixel a dot, with its resolution and with texts that
// tell where it comes from: the name itself for one page or a page that was asked for,
// "name-1.png" and so on for several, "name-01.png" for ten or more. With no output at all the name
// is made from the input's, in the current folder. If a queue might send other dots, a strip above
// the page says so. A page that loses ink has a margin that shows where (HatchedPage). A page of
// which TrimPaper leaves nothing has no picture, and a note says so.
//
// The HTML file is as tools/drav/html/html_proof.h says, of the page that was asked for,
// else of the first.
//
// False with one line in `error`; no file is then new or changed.
[[nodiscard]] bool makeProof(const PageRequest& request, const ProofOutputs& outputs,
                             ProofReport& report, std::string& error);

#endif  // TOOLS_DRAV_PROOF_PROOF_H_
