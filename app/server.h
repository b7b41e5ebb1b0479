// SPDX-License-Identifier: Apache-2.0
// The system that PAPPL runs, from the options of the command line.
#ifndef APP_SERVER_H_
#define APP_SERVER_H_

#include <pappl/pappl.h>

namespace app {

// PAPPL's callback. Null, after a line on standard error, for options that mean nothing.
pappl_system_t* makeSystem(int optionCount, cups_option_t* options, void* data);

}  // namespace app

#endif  // APP_SERVER_H_
