// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/html/html_file.h"

#include <cerrno>
#include <cstring>
#include <span>

#include "tools/drav/io/text.h"

namespace {

struct EmbeddedPage {
  const char* name = nullptr;
  std::span<const unsigned char> text;
};

#include "tools/drav/html/page.inc"

constexpr std::string_view kDataMark = "@DATA@";

std::string_view pageText() {
  const auto& text = kPages[0].text;
  return {reinterpret_cast<const char*>(text.data()), text.size()};
}

}  // namespace

std::string scriptSafe(std::string_view json) {
  std::string safe;
  safe.reserve(json.size());
  for (const char letter : json) {
    if (letter == '<')
      safe += "\\u003c";  // stands in strings alone
    else
      safe += letter;
  }
  return safe;
}

bool writeHtmlFile(OutputFile& file, const std::string& path, std::string_view data,
                   std::string& error) {
  if (!file.open(path, error)) return false;
  const std::string_view page = pageText();
  const size_t mark = page.find(kDataMark);
  for (const std::string_view part :
       {page.substr(0, mark), data, page.substr(mark + kDataMark.size())}) {
    errno = 0;
    if (std::fwrite(part.data(), 1, part.size(), file.stream()) == part.size()) continue;
    error = printablePath(path) + ": " + std::strerror(errno != 0 ? errno : EIO);
    return false;
  }
  return file.complete(error);
}
