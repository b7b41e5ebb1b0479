// SPDX-License-Identifier: Apache-2.0
// Makes socket:, usb:, lp: and file: known to PAPPL.
#ifndef APP_DEVICE_SCHEMES_H_
#define APP_DEVICE_SCHEMES_H_

namespace app {

// Before anything else of PAPPL's devices is used: then PAPPL adds none of its own. What
// it opens here is no connection: jobs make their own (app/device_job.h), because PAPPL
// opens devices while it keeps everyone else from the queue.
void addDeviceSchemes();

}  // namespace app

#endif  // APP_DEVICE_SCHEMES_H_
