// SPDX-License-Identifier: Apache-2.0
// What the web page is told, as JSON.
#ifndef APP_WEB_ANSWERS_H_
#define APP_WEB_ANSWERS_H_

#include <string>

#include "app/web/page_proof.h"
#include "filter/settings.h"

namespace app {

// Figures of the page and of its dots, in one line.
std::string proofText(const PreparedPage& page, const Proof& proof, const Settings& settings);

// What a queue of the model can do, in one line: an object without "id", "name" and
// "defaults".
std::string modelText(const PrinterModel& model);

}  // namespace app

#endif  // APP_WEB_ANSWERS_H_
