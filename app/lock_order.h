// SPDX-License-Identifier: Apache-2.0
// Keeps PAPPL 1.3.1 from waiting for itself for ever.
#ifndef APP_LOCK_ORDER_H_
#define APP_LOCK_ORDER_H_

#include <pappl/pappl.h>

namespace app {

// Whoever saves the state takes the lock of the system, then those of its queues. A job that
// is refused or cut takes the lock of its queue, and then, to note when to tidy up, that of
// the system for writing: the two stop each other, and every client after them. From here on
// a thread that has another lock gets the system's for reading, which both can have at a time.
// Before the system runs.
void mendLockOrder(pappl_system_t* system);

}  // namespace app

#endif  // APP_LOCK_ORDER_H_
