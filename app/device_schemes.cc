// SPDX-License-Identifier: Apache-2.0
#include "app/device_schemes.h"

#include <pappl/pappl.h>

#include "app/device.h"

namespace app {
namespace {

bool openNothing(pappl_device_t* /*device*/, const char* uri, const char* /*name*/) {
  return parseDeviceUri(uri).has_value();
}
void closeNothing(pappl_device_t* /*device*/) {}
ssize_t readNothing(pappl_device_t* /*device*/, void* /*buffer*/, size_t /*bytes*/) { return -1; }
ssize_t writeNothing(pappl_device_t* /*device*/, const void* /*bytes*/, size_t /*count*/) {
  return -1;
}

bool listUsb(pappl_device_cb_t report, void* data, pappl_deverror_cb_t /*error*/,
             void* /*errorData*/) {
  for (const UsbPrinter& one : usbPrinters()) {
    const std::string info = one.path + " (USB)";
    if (report(info.c_str(), one.uri.c_str(), one.id.c_str(), data)) return true;
  }
  return false;
}

}  // namespace

void addDeviceSchemes() {
  papplDeviceAddScheme("usb", PAPPL_DEVTYPE_USB, listUsb, openNothing, closeNothing, readNothing,
                       writeNothing, nullptr, nullptr);
  for (const char* scheme : {"socket", "lp", "file"}) {
    papplDeviceAddScheme(
        scheme, scheme[0] == 's' ? PAPPL_DEVTYPE_SOCKET : PAPPL_DEVTYPE_CUSTOM_LOCAL, nullptr,
        openNothing, closeNothing, readNothing, writeNothing, nullptr, nullptr);
  }
}

}  // namespace app
