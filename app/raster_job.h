// SPDX-License-Identifier: Apache-2.0
// PWG and Apple raster: PAPPL's callbacks for pages that come row by row.
#ifndef APP_RASTER_JOB_H_
#define APP_RASTER_JOB_H_

#include <pappl/pappl.h>

namespace app {

void setRasterCallbacks(pappl_pr_driver_data_t* data);

}  // namespace app

#endif  // APP_RASTER_JOB_H_
