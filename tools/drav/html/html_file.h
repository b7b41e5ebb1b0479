// SPDX-License-Identifier: Apache-2.0
// The page of a proof as a file: our HTML, style and scripts around the data.
#ifndef TOOLS_DRAV_HTML_HTML_FILE_H_
#define TOOLS_DRAV_HTML_HTML_FILE_H_

#include <string>
#include <string_view>

#include "tools/drav/io/output_file.h"

// JSON as it may stand inside a script element: nothing in it can end the element.
std::string scriptSafe(std::string_view json);

// Writes the page with `data` (JSON that is scriptSafe) to `path`; only the commit of
// `file` is left to do. False with one line in `error`, which names the file.
[[nodiscard]] bool writeHtmlFile(OutputFile& file, const std::string& path, std::string_view data,
                                 std::string& error);

#endif  // TOOLS_DRAV_HTML_HTML_FILE_H_
