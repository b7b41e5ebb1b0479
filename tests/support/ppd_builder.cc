// SPDX-License-Identifier: Apache-2.0
#include "tests/support/ppd_builder.h"

#include "tests/support/files.h"

namespace {

std::string optionText(const std::string& keyword, const std::vector<std::string>& choices,
                       const std::string& defaultChoice) {
  std::string text = "*OpenUI *" + keyword + "/" + keyword + ": PickOne\n";
  text += "*Default" + keyword + ": " + defaultChoice + "\n";
  for (const std::string& choice : choices) {
    text += "*" + keyword + " " + choice + "/" + choice + ": \"\"\n";
  }
  return text + "*CloseUI: *" + keyword + "\n";
}

}  // namespace

PpdBuilder& PpdBuilder::option(const std::string& keyword, const std::vector<std::string>& choices,
                               const std::string& defaultChoice) {
  body_ += optionText(keyword, choices, defaultChoice);
  return *this;
}

PpdBuilder& PpdBuilder::attribute(const std::string& name, const std::string& value) {
  body_ += "*" + name + ": \"" + value + "\"\n";
  return *this;
}

PpdBuilder& PpdBuilder::modelNumber(int number) {
  body_ += "*cupsModelNumber: " + std::to_string(number) + "\n";
  return *this;
}

PpdBuilder& PpdBuilder::pageSizes(const std::vector<std::string>& names) {
  pageSizes_ = names;
  return *this;
}

std::string PpdBuilder::text() const {
  std::string text =
      "*PPD-Adobe: \"4.3\"\n"
      "*FormatVersion: \"4.3\"\n"
      "*FileVersion: \"1.0\"\n"
      "*LanguageVersion: English\n"
      "*LanguageEncoding: ISOLatin1\n"
      "*PCFileName: \"TEST.PPD\"\n"
      "*Manufacturer: \"Test\"\n"
      "*Product: \"(Test)\"\n"
      "*ModelName: \"Test\"\n"
      "*ShortNickName: \"Test\"\n"
      "*NickName: \"Test\"\n"
      "*PSVersion: \"(3010.000) 0\"\n"
      "*LanguageLevel: \"3\"\n"
      "*ColorDevice: False\n"
      "*FileSystem: False\n";
  if (!pageSizes_.empty()) {
    text += optionText("PageSize", pageSizes_, pageSizes_.front());
    for (const std::string& name : pageSizes_) {
      text += "*ImageableArea " + name + ": \"0 0 226.77 566.93\"\n";
      text += "*PaperDimension " + name + ": \"226.77 566.93\"\n";
    }
  }
  return text + body_;
}

void PpdBuilder::write(const std::string& path) const { writeFile(path, text()); }
