// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/proof/proof_command.h"

#include <CLI/CLI.hpp>
#include <array>
#include <cstdio>
#include <iostream>
#include <memory>

#include "tools/drav/proof/proof.h"

namespace {

struct Arguments {
  PageRequest request;
  std::string out;
};

// "drawing-proof.png: 2400 x 3508 dots, 203.2 x 297.0 mm, 12.4 % black, exact"
std::string summary(const ProofPicture& picture, const PageFacts& facts) {
  std::array<char, 64> text{};
  std::string line = picture.path + ": " + std::to_string(picture.width) + " x " +
                     std::to_string(picture.height) + " dots, ";
  if (picture.widthMillimetres > 0 && picture.heightMillimetres > 0) {
    (void)std::snprintf(text.data(), text.size(), "%.1f x %.1f mm, ", picture.widthMillimetres,
                        picture.heightMillimetres);
    line += text.data();
  }
  (void)std::snprintf(text.data(), text.size(), "%.1f %% black, ", picture.coverage * 100);
  return line + text.data() +
         (facts.approximation.empty() ? "exact" : "approximate: " + facts.approximation);
}

int run(const Arguments& arguments) {
  std::vector<ProofPicture> pictures;
  PageFacts facts;
  std::string error;
  if (!makeProof(arguments.request, arguments.out, pictures, facts, error))
    return failCommand(error);
  if (arguments.request.quiet) return kExitDone;
  printNotes(facts);
  for (const ProofPicture& picture : pictures) std::cout << summary(picture, facts) << "\n";
  return kExitDone;
}

}  // namespace

Command addProof(CLI::App& app) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* proof = app.add_subcommand("proof", "Show the dots of a document before it prints");
  addPageOptions(*proof, arguments->request);
  proof
      ->add_option("-O,--output", arguments->out,
                   "Picture to write: PNG, one pixel a dot; several pages become OUT-1.png ...; "
                   "without, INPUT-proof.png in the current folder")
      ->type_name("OUT.png");
  proof->footer(
      "Examples:\n"
      "  drav proof drawing.pdf\n"
      "  drav proof drawing.png -o HalftoneType=Tattoo_X8 -O stencil.png\n"
      "  drav proof receipts.pdf --page 2 --ppd /etc/cups/ppd/counter.ppd\n\n"
      "DRAV_CUPSFILTER and DRAV_PDFTOPPM name the converters where they are not found by\n"
      "themselves; empty, they are not used.\n");
  return {proof, [arguments] { return run(*arguments); }};
}
