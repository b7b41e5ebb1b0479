// SPDX-License-Identifier: Apache-2.0
// Checks of a queue: its state, and where it sends its jobs.
#ifndef TOOLS_DRAV_DOCTOR_QUEUE_CHECK_H_
#define TOOLS_DRAV_DOCTOR_QUEUE_CHECK_H_

#include "tools/drav/doctor/finding.h"
#include "tools/drav/doctor/installation.h"
#include "tools/drav/doctor/queues.h"

// Whether it prints and takes jobs, and what the scheduler says of the printer.
void checkQueueState(const QueueState& queue, Findings& findings);

// Whether the device address is well formed, its device there, and its backend there
// and changeable by root only. Shows no password. With `installation.connect` it also
// opens a connection to a network printer, sends nothing, and closes it.
void checkDevice(const QueueState& queue, const Installation& installation, Findings& findings);

#endif  // TOOLS_DRAV_DOCTOR_QUEUE_CHECK_H_
