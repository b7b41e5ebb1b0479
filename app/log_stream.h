// SPDX-License-Identifier: Apache-2.0
// The engine's log lines in PAPPL's log.
#ifndef APP_LOG_STREAM_H_
#define APP_LOG_STREAM_H_

#include <pappl/pappl.h>

#include <cstdio>

namespace app {

// A stream whose lines become lines of the job, each at the level that its prefix tells.
// Null when there is no memory.
std::FILE* openLogStream(pappl_job_t* job);

}  // namespace app

#endif  // APP_LOG_STREAM_H_
