// SPDX-License-Identifier: Apache-2.0
// Queues, their defaults and their jobs, from one run to the next.
#ifndef APP_STATE_FILE_H_
#define APP_STATE_FILE_H_

#include <pappl/pappl.h>

#include <string>

namespace app {

// The service's folder, made if need be: what systemd names, /var/lib/drav-printer-app for
// root, else one in the user's home.
std::string stateFolder();

// Loads the state, and saves it whenever it changes. A file that was begun and not
// finished never takes the place of a whole one.
void keepState(pappl_system_t* system, const std::string& file);

}  // namespace app

#endif  // APP_STATE_FILE_H_
