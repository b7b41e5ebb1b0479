// SPDX-License-Identifier: Apache-2.0
// Ends the server soon after SIGTERM, whatever its jobs are doing.
#ifndef APP_SHUTDOWN_H_
#define APP_SHUTDOWN_H_

#include <pappl/pappl.h>

namespace app {

// Whether the server has been told to end; jobs then end as if they were cancelled.
bool shallStop();

// Call before papplSystemRun. PAPPL waits for jobs for up to a minute and has no way to
// tell them; this does, and ends the process 9 seconds later if need be.
void watchForShutdown(pappl_system_t* system);

}  // namespace app

#endif  // APP_SHUTDOWN_H_
