// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/sheet/sheet_command.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <map>
#include <memory>

#include "tools/drav/sheet/sheet.h"

namespace {

struct SheetArguments {
  SheetRequest request;
  std::string over;
  std::pair<double, double> detail;
};

int run(const SheetArguments& arguments, bool hasDetail) {
  SheetRequest request = arguments.request;
  if (arguments.over == "halftone") request.options = {"HalftoneType"};
  if (arguments.over == "brightness") request.options = {"Brightness"};
  if (hasDetail) request.detail = arguments.detail;
  std::vector<std::string> written;
  PageFacts facts;
  std::string error;
  if (!makeSheets(request, written, facts, error)) return failCommand(error);
  printNotes(request.pages, facts);
  if (!request.pages.quiet)
    for (const std::string& path : written) std::cout << path << "\n";
  return exitStatus(request.pages, facts);
}

}  // namespace

Command addSheet(CLI::App& app) {
  const auto arguments = std::make_shared<SheetArguments>();
  CLI::App* sheet =
      app.add_subcommand("sheet", "Show a page in every halftone and in every brightness");
  addPageOptions(*sheet, arguments->request.pages);
  sheet->add_option("--over", arguments->over, "Only this sheet: halftone or brightness")
      ->check(CLI::IsMember({"halftone", "brightness"}));
  // It was the name of the other until art could be cropped.
  sheet->get_option("--crop")->check([](const std::string& given) {
    return given.find(',') == std::string::npos
               ? std::string("takes X,Y,W,H in mm; what is shown dot by dot is --detail X Y")
               : std::string();
  });
  const CLI::Option* detail =
      sheet
          ->add_option("--detail", arguments->detail,
                       "Top left corner of the part shown dot by dot, in mm (default: the part "
                       "with the most detail)")
          ->type_name("X Y");
  sheet
      ->add_option("-O,--output", arguments->request.out,
                   "File to write: .pdf gets two pages; .png gets the halftones, and the "
                   "brightness goes to OUT-brightness.png (default: INPUT-sheet.png in the "
                   "current folder)")
      ->type_name("OUT");
  sheet->footer(
      "Examples:\n"
      "  drav sheet drawing.pdf\n"
      "  drav sheet drawing.png -O sheet.pdf --detail 80 120\n"
      "  drav sheet photo.jpg --clean --width 120\n"
      "  drav sheet receipts.pdf --page 2 --over brightness -o HalftoneType=Ordered\n");
  return {sheet, [arguments, detail] { return run(*arguments, detail->count() != 0); }};
}
