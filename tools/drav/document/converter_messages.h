// SPDX-License-Identifier: Apache-2.0
// What the messages of CUPS's converters, and of poppler, come to in one line.
#ifndef TOOLS_DRAV_DOCUMENT_CONVERTER_MESSAGES_H_
#define TOOLS_DRAV_DOCUMENT_CONVERTER_MESSAGES_H_

#include <string>

// Why a run failed that ended with `failure` after it wrote `messages`; such as "is an
// encrypted PDF and needs a password". To be put behind the document's name; `path`, by
// which the converter knew it, is left out.
std::string converterFailure(const std::string& failure, const std::string& messages,
                             const std::string& path);

// The damage that a PDF converter mended or passed over, in one line; empty when it
// found none.
std::string reportedDamage(const std::string& messages, const std::string& path);

// True when cupsfilter has not got the converters that the document needs.
bool isMissingConverter(const std::string& messages);

#endif  // TOOLS_DRAV_DOCUMENT_CONVERTER_MESSAGES_H_
