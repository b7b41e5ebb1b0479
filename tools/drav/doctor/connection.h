// SPDX-License-Identifier: Apache-2.0
// Calls a network printer.
#ifndef TOOLS_DRAV_DOCTOR_CONNECTION_H_
#define TOOLS_DRAV_DOCTOR_CONNECTION_H_

#include <string>

// Opens a TCP connection and closes it at once; sends nothing. Waits 3 s for each
// of the host's addresses. False with the reason in `error`.
[[nodiscard]] bool canConnect(const std::string& host, int port, std::string& error);

#endif  // TOOLS_DRAV_DOCTOR_CONNECTION_H_
