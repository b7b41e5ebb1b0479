// SPDX-License-Identifier: Apache-2.0
// The printer application, which prints beside the scheduler or without one.
#ifndef TOOLS_DRAV_DOCTOR_PRINTER_APP_CHECK_H_
#define TOOLS_DRAV_DOCTOR_PRINTER_APP_CHECK_H_

#include "tools/drav/doctor/finding.h"

// Whether a server of the user or of the system runs, is reached at its port, announces its
// queues, and reaches their printers, which it asks now. Tells nothing where none has run.
void checkPrinterApp(Findings& findings);

#endif  // TOOLS_DRAV_DOCTOR_PRINTER_APP_CHECK_H_
