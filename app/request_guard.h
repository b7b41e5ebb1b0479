// SPDX-License-Identifier: Apache-2.0
// Takes out of requests what PAPPL 1.3.1 does not survive.
#ifndef APP_REQUEST_GUARD_H_
#define APP_REQUEST_GUARD_H_

#include <cups/ipp.h>

namespace app {

// PAPPL takes many attributes for text or a collection without looking, and knows no paper
// whose name or size means nothing: each ends the process, and anybody who may print can
// send them. In a job they are left out; elsewhere they are put into a group where PAPPL
// refuses them.
void makeSafe(ipp_t* request);

}  // namespace app

#endif  // APP_REQUEST_GUARD_H_
