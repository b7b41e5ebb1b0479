// SPDX-License-Identifier: Apache-2.0
// PAPPL 1.3.1 gives the name that a server is to have to the machine, for good, and to avahi:
// what it calls for that does nothing in this program.
#include <cups/file.h>
#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

extern "C" {
#define DRAV_IN_PLACE __attribute__((visibility("default")))

DRAV_IN_PLACE int sethostname(const char* /*name*/, size_t /*length*/) noexcept {
  errno = EPERM;
  return -1;
}

DRAV_IN_PLACE int avahi_client_set_host_name(void* client, const char* name);
int avahi_client_set_host_name(void* /*client*/, const char* /*name*/) { return -1; }

DRAV_IN_PLACE cups_file_t* cupsFileOpen(const char* name, const char* mode) {
  using Open = cups_file_t* (*)(const char*, const char*);
  static const auto open = reinterpret_cast<Open>(::dlsym(RTLD_NEXT, "cupsFileOpen"));
  if (name != nullptr && std::strcmp(name, "/etc/hostname") == 0) {
    errno = EPERM;
    return nullptr;
  }
  return open(name, mode);
}
}
