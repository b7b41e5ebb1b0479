// SPDX-License-Identifier: Apache-2.0
// What a queue of a model can do, as PAPPL wants to hear it.
#ifndef APP_DRIVER_H_
#define APP_DRIVER_H_

#include <pappl/pappl.h>

#include <span>

namespace app {

// The models. Their names stand in state files, so they stay for ever.
std::span<pappl_pr_driver_t> drivers();

// Whether queues may print into files. Before the system runs.
void allowFileDevices(bool isAllowed);

// PAPPL's callbacks: the capabilities of a new queue, and the model of a device by its
// IEEE 1284 text.
bool describeDriver(pappl_system_t* system, const char* name, const char* uri, const char* id,
                    pappl_pr_driver_data_t* data, ipp_t** attributes, void* context);
const char* modelOfDevice(const char* info, const char* uri, const char* id, void* context);

}  // namespace app

#endif  // APP_DRIVER_H_
