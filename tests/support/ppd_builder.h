// SPDX-License-Identifier: Apache-2.0
// Writes small PPD files with just the options and attributes that a test needs.
#ifndef TESTS_SUPPORT_PPD_BUILDER_H_
#define TESTS_SUPPORT_PPD_BUILDER_H_

#include <string>
#include <vector>

class PpdBuilder {
 public:
  // A pick-one option. The default need not be among the choices.
  PpdBuilder& option(const std::string& keyword, const std::vector<std::string>& choices,
                     const std::string& defaultChoice);
  // An option with one choice.
  PpdBuilder& option(const std::string& keyword, const std::string& onlyChoice) {
    return option(keyword, {onlyChoice}, onlyChoice);
  }
  // An attribute; `name` may carry a specifier ("Name Specifier").
  PpdBuilder& attribute(const std::string& name, const std::string& value);
  PpdBuilder& modelNumber(int number);
  // The page size names, the first being the default; X80MMY200MM at first. None
  // gives a file without page sizes.
  PpdBuilder& pageSizes(const std::vector<std::string>& names);

  std::string text() const;
  void write(const std::string& path) const;

 private:
  std::string body_;
  std::vector<std::string> pageSizes_ = {"X80MMY200MM"};
};

#endif  // TESTS_SUPPORT_PPD_BUILDER_H_
