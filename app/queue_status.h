// SPDX-License-Identifier: Apache-2.0
// Tells clients what the printer of a queue says.
#ifndef APP_QUEUE_STATUS_H_
#define APP_QUEUE_STATUS_H_

#include <pappl/pappl.h>

#include "app/device_state.h"

namespace app {

// PAPPL's callback: asks the printer unless a job has it. Always true.
bool updateQueueStatus(pappl_printer_t* printer);

// The same for who has the device.
void askPrinter(pappl_printer_t* printer, const DeviceAddress& address, DeviceState& state,
                const GiveUp& giveUp);

void setOffline(pappl_printer_t* printer, bool isOffline);

}  // namespace app

#endif  // APP_QUEUE_STATUS_H_
