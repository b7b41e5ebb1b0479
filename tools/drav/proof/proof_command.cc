// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/proof/proof_command.h"

#include <CLI/CLI.hpp>
#include <array>
#include <cstdio>
#include <iostream>
#include <memory>

#include "tools/drav/proof/proof.h"

namespace {

struct ProofArguments {
  PageRequest request;
  ProofOutputs outputs;
};

// "drawing-proof.png: 2400 x 3508 dots, 203.2 x 297.0 mm, 12.4 % black, exact"; for a
// trimmed page "..., 203.2 x 120.0 mm, 177.0 mm of paper saved, ..."
std::string summary(const ProofPicture& picture, const PageFacts& facts) {
  std::array<char, 64> text{};
  std::string line = picture.path + ": " + std::to_string(picture.width) + " x " +
                     std::to_string(picture.height) + " dots, ";
  if (picture.widthMillimetres > 0 && picture.heightMillimetres > 0) {
    (void)std::snprintf(text.data(), text.size(), "%.1f x %.1f mm, ", picture.widthMillimetres,
                        picture.heightMillimetres);
    line += text.data();
  }
  if (picture.savedMillimetres > 0) {
    (void)std::snprintf(text.data(), text.size(), "%.1f mm of paper saved, ",
                        picture.savedMillimetres);
    line += text.data();
  }
  (void)std::snprintf(text.data(), text.size(), "%.1f %% black, ", picture.coverage * 100);
  return line + text.data() + accuracyText(facts, picture.lost);
}

// "drawing.html: page 1, 22 of 130 combinations of halftone and brightness, exact"
std::string summary(const ProofHtml& html, const PageFacts& facts) {
  return html.path + ": page " + std::to_string(html.page) + ", " +
         std::to_string(html.combinations) + " of " + std::to_string(html.allCombinations) +
         " combinations of halftone and brightness, " + accuracyText(facts, html.lost);
}

int run(const ProofArguments& arguments) {
  ProofReport report;
  std::string error;
  if (!makeProof(arguments.request, arguments.outputs, report, error)) return failCommand(error);
  printNotes(arguments.request, report.facts);
  if (!arguments.request.quiet) {
    for (const ProofPicture& picture : report.pictures)
      std::cout << summary(picture, report.facts) << "\n";
    if (report.html) std::cout << summary(*report.html, report.facts) << "\n";
  }
  return exitStatus(arguments.request, report.facts);
}

}  // namespace

Command addProof(CLI::App& app) {
  const auto arguments = std::make_shared<ProofArguments>();
  CLI::App* proof = app.add_subcommand("proof", "Show the dots of a document before it prints");
  addPageOptions(*proof, arguments->request);
  proof
      ->add_option("-O,--output", arguments->outputs.picture,
                   "PNG file to write, one pixel a dot (default: INPUT-proof.png in the current "
                   "folder). Several pages become OUT-1.png and so on, ten or more OUT-01.png and "
                   "so on")
      ->type_name("OUT.png");
  proof
      ->add_option("--html", arguments->outputs.html,
                   "HTML file to write: the page of --page, or the first one, before and after the "
                   "filter, in every halftone. A PNG is then written only if -O is given")
      ->type_name("OUT.html");
  proof->footer(
      "Examples:\n"
      "  drav proof drawing.pdf\n"
      "  drav proof drawing.png -o HalftoneType=Tattoo_X8 -O stencil.png\n"
      "  drav proof drawing.pdf --html drawing.html\n"
      "  drav proof photo.jpg --clean --width 120 --html photo.html\n"
      "  drav proof receipts.pdf --page 2 --ppd /etc/cups/ppd/counter.ppd\n\n"
      "DRAV_CUPSFILTER, DRAV_GHOSTSCRIPT and DRAV_PICTURE_READER name the programs that make "
      "pages\nif drav does not find them. If such a variable is set but empty, drav does without "
      "it.\n");
  return {proof, [arguments] { return run(*arguments); }};
}
