// SPDX-License-Identifier: Apache-2.0
#include "app/printer_number.h"

#include <dlfcn.h>

#include <cstring>

namespace app {
namespace {

// The number 0 that this thread has written down last.
struct NumberPlace {
  ipp_t* attributes = nullptr;
  ipp_attribute_t* number = nullptr;
};
thread_local NumberPlace numberPlace;

}  // namespace

void mendPrinterNumber(pappl_printer_t* printer) {
  if (numberPlace.number != nullptr) {
    (void)ippSetInteger(numberPlace.attributes, &numberPlace.number, 0, papplPrinterGetID(printer));
  }
  numberPlace = {};
}

}  // namespace app

// In place of libcups's function of that name, for PAPPL as well: it has no way to the
// attributes of a queue otherwise.
extern "C" __attribute__((visibility("default"))) ipp_attribute_t* ippAddInteger(
    ipp_t* ipp, ipp_tag_t group, ipp_tag_t tag, const char* name, int value) {
  using Add = ipp_attribute_t* (*)(ipp_t*, ipp_tag_t, ipp_tag_t, const char*, int);
  static const auto add = reinterpret_cast<Add>(::dlsym(RTLD_NEXT, "ippAddInteger"));
  ipp_attribute_t* attribute = add(ipp, group, tag, name, value);
  if (value == 0 && group == IPP_TAG_PRINTER && name != nullptr &&
      std::strcmp(name, "printer-id") == 0)
    app::numberPlace = {ipp, attribute};
  return attribute;
}
