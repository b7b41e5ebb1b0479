// SPDX-License-Identifier: Apache-2.0
// File name part of a path.
#ifndef COMMON_PATH_H_
#define COMMON_PATH_H_

// Returns a pointer into `path` just behind its last "/" or backslash,
// whichever lies further right; `path` itself when it has neither; null for
// null. Both separators count on every platform.
const char* dravPathGetBasename(const char* path);

#endif  // COMMON_PATH_H_
