// SPDX-License-Identifier: Apache-2.0
#include <cups/ipp.h>
#include <dlfcn.h>

#include "app/request_guard.h"

// In place of libcups's function of that name, for PAPPL as well: it has no place of its own
// where a request can be looked at before it is worked on.
extern "C" __attribute__((visibility("default"))) ipp_state_t ippRead(http_t* http, ipp_t* ipp) {
  using Read = ipp_state_t (*)(http_t*, ipp_t*);
  static const auto read = reinterpret_cast<Read>(::dlsym(RTLD_NEXT, "ippRead"));
  const ipp_state_t state = read(http, ipp);
  if (state == IPP_STATE_DATA) app::makeSafe(ipp);
  return state;
}
