// SPDX-License-Identifier: Apache-2.0
// PAPPL names no folder for the keys of encrypted connections, and libcups's own is the
// scheduler's where root runs the server: they belong to the state of the server.
#include <cups/cups.h>
#include <dlfcn.h>
#include <sys/stat.h>

#include <string>

#include "app/state_file.h"

// In place of libcups's function of that name, for PAPPL as well.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the library's own
extern "C" __attribute__((visibility("default"))) int cupsSetServerCredentials(const char* /*path*/,
                                                                               const char* name,
                                                                               int isMade) {
  using Set = int (*)(const char*, const char*, int);
  static const auto set = reinterpret_cast<Set>(::dlsym(RTLD_NEXT, "cupsSetServerCredentials"));
  const std::string folder = app::stateFolder() + "/ssl";
  (void)::mkdir(folder.c_str(), S_IRWXU);
  return set(folder.c_str(), name, isMade);
}
