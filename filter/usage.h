// SPDX-License-Identifier: Apache-2.0
// What the filter says when it is called with a wrong number of arguments.
#ifndef FILTER_USAGE_H_
#define FILTER_USAGE_H_

// Prints name, version and arguments on standard error. `programPath` may be null.
void printUsage(const char* programPath);

#endif  // FILTER_USAGE_H_
