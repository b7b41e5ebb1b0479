// SPDX-License-Identifier: Apache-2.0
// Sums up the messages of CUPS's converters, and of poppler, in one line.
#ifndef TOOLS_DRAV_DOCUMENT_CONVERTER_MESSAGES_H_
#define TOOLS_DRAV_DOCUMENT_CONVERTER_MESSAGES_H_

#include <string>

// Why a converter failed that ended with `failure` and wrote `messages`, such as "is an
// encrypted PDF and needs a password". The text goes behind the document's name, so
// `path`, by which the converter knew the document, is left out.
std::string converterFailure(const std::string& failure, const std::string& messages,
                             const std::string& path);

// The damage that a PDF converter mended or passed over, in one line; empty when it
// found none.
std::string reportedDamage(const std::string& messages, const std::string& path);

// True when cupsfilter has not got the converters that the document needs.
bool isMissingConverter(const std::string& messages);

#endif  // TOOLS_DRAV_DOCUMENT_CONVERTER_MESSAGES_H_
