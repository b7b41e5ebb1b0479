// SPDX-License-Identifier: Apache-2.0
// Which printer is it? It rings.
#ifndef APP_IDENTIFY_H_
#define APP_IDENTIFY_H_

#include <pappl/pappl.h>

namespace app {

// PAPPL's callback. A printer that prints does not ring, nor one that is away.
void identifyPrinter(pappl_printer_t* printer, pappl_identify_actions_t actions,
                     const char* message);

}  // namespace app

#endif  // APP_IDENTIFY_H_
