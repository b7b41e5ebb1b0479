// SPDX-License-Identifier: Apache-2.0
// The system that PAPPL runs, from the options of the command line.
#ifndef APP_SERVER_H_
#define APP_SERVER_H_

#include <pappl/pappl.h>

namespace app {

// PAPPL's callback. `data` is a bool: whether the system will run, and not tell its drivers
// alone. Ends the process, after a line on standard error, where it cannot run.
pappl_system_t* makeSystem(int optionCount, cups_option_t* options, void* data);

}  // namespace app

#endif  // APP_SERVER_H_
