// SPDX-License-Identifier: Apache-2.0
// drav proof: the dots of a document as pictures.
#ifndef TOOLS_DRAV_PROOF_PROOF_H_
#define TOOLS_DRAV_PROOF_PROOF_H_

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
  double coverage = 0;  // share of the dots that are set, from 0 to 1
};

// Prints the pages of `request` in memory and writes one PNG a page, one pixel a dot,
// with its resolution and with texts that tell where it comes from: `out` itself for one
// page or a page that was asked for, "out-1.png" and so on for several. Without `out`
// the name is made from the input's, in the current folder. A page that is only near to
// what a queue would send has a strip above it that says so. False with one line in
// `error`; no file is then new or changed.
[[nodiscard]] bool makeProof(const PageRequest& request, const std::string& out,
                             std::vector<ProofPicture>& pictures, PageFacts& facts,
                             std::string& error);

#endif  // TOOLS_DRAV_PROOF_PROOF_H_
