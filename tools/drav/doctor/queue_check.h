// SPDX-License-Identifier: Apache-2.0
// Checks of a queue: its state, and where it sends its jobs.
#ifndef TOOLS_DRAV_DOCTOR_QUEUE_CHECK_H_
#define TOOLS_DRAV_DOCTOR_QUEUE_CHECK_H_

#include "tools/drav/doctor/finding.h"
#include "tools/drav/doctor/installation.h"
#include "tools/drav/doctor/queues.h"

// Whether it prints and takes jobs, and what the scheduler says of the printer.
void checkQueueState(const QueueState& queue, Findings& findings);

// The device address: well formed, its backend there and root's alone to change,
// its device there. Passwords in it are not shown. With `installation.connect` a
// network printer is called, sent nothing, and left again.
void checkDevice(const QueueState& queue, const Installation& installation, Findings& findings);

#endif  // TOOLS_DRAV_DOCTOR_QUEUE_CHECK_H_
