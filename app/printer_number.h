// SPDX-License-Identifier: Apache-2.0
// The number of a queue among its attributes.
#ifndef APP_PRINTER_NUMBER_H_
#define APP_PRINTER_NUMBER_H_

#include <pappl/pappl.h>

namespace app {

// PAPPL 1.3.1 writes down the attributes of a new queue before it gives it a number, so that
// its "printer-id" is 0 until the next start, and its own commands "default" and "delete" do
// not find it. To be called for each queue that has just been made, on the same thread.
void mendPrinterNumber(pappl_printer_t* printer);

}  // namespace app

#endif  // APP_PRINTER_NUMBER_H_
