// SPDX-License-Identifier: Apache-2.0
// What the picture reader may do while it reads a file that it must not trust.
#ifndef DOCUMENTS_READER_CONFINEMENT_H_
#define DOCUMENTS_READER_CONFINEMENT_H_

namespace documents {

// Limits processor time and memory, forbids core files, and files that grow. Before the
// input is looked at.
void limitResources();

// From now on, where the system has seccomp: no network, no other program, no new process,
// and no file that is made, changed or removed. Files can still be read: fonts, colour
// profiles. True where this holds.
bool confineSystemCalls();

}  // namespace documents

#endif  // DOCUMENTS_READER_CONFINEMENT_H_
