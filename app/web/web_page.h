// SPDX-License-Identifier: Apache-2.0
// The page "Print a drawing" at /print, and what it asks the server for.
//
//   GET  /print, /print/page.js, /print/page.css, /print/icon.svg
//   POST /print/queues                            what can be printed on
//        /print/upload   the drawing itself       its key
//        /print/proof    fields                   figures, a line end, a PNG of the dots
//        /print/before   fields                   a PNG of the page before
//        /print/job      fields                   the key of a new job
//        /print/state    job=KEY                  how the job is
//        /print/cancel   job=KEY
//
// Each POST needs the page's token and comes from the page itself.
#ifndef APP_WEB_WEB_PAGE_H_
#define APP_WEB_WEB_PAGE_H_

#include <pappl/pappl.h>

#include <string>

namespace app {

// Before the system runs. Drawings are kept in the folder.
void addWebPage(pappl_system_t* system, const std::string& folder);

}  // namespace app

#endif  // APP_WEB_WEB_PAGE_H_
