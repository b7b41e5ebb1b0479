// SPDX-License-Identifier: Apache-2.0
// USB printers that are plugged in.
#ifndef TOOLS_DRAV_DOCTOR_USB_PRINTERS_H_
#define TOOLS_DRAV_DOCTOR_USB_PRINTERS_H_

#include <string>
#include <vector>

#include "tools/drav/doctor/installation.h"

// Maker, product and serial number of each USB device that has an interface for
// printing, sorted, as Linux lists them. CUPS names printers by what they say of
// themselves over that interface, which may read differently.
std::vector<std::string> listUsbPrinters(const Installation& installation);

#endif  // TOOLS_DRAV_DOCTOR_USB_PRINTERS_H_
