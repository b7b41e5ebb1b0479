// SPDX-License-Identifier: Apache-2.0
// Signals of a spooled job: SIGTERM cancels it; SIGPIPE and SIGXFSZ (a file above
// the size that the system allows) are ignored, so that the write fails instead.
#ifndef FILTER_JOB_SIGNALS_H_
#define FILTER_JOB_SIGNALS_H_

// Notes SIGTERM from now on and ignores SIGPIPE and SIGXFSZ. Interrupted reads and writes
// are restarted, so that no byte gets lost.
void installJobSignals();

// True once SIGTERM has arrived. Further ones change nothing.
bool jobCancelRequested();

// Returns as soon as SIGTERM has arrived, or after 50 ms without one. Call this
// where the input ends early: the scheduler signals the converters before the
// filter, so the filter may see their input end before its own signal comes. On an
// idle machine that takes a fraction of a millisecond.
void awaitJobCancel();

// Opens /dev/null for each standard descriptor that the caller has closed, so
// that no file of ours can take its number: a closed standard output must fail,
// not end up in a picture.
void reserveStandardDescriptors();

#endif  // FILTER_JOB_SIGNALS_H_
