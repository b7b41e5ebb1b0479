// SPDX-License-Identifier: Apache-2.0
// A PrintJob whose bytes go to the device of its queue.
#ifndef APP_DEVICE_JOB_H_
#define APP_DEVICE_JOB_H_

#include <pappl/pappl.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "app/device.h"
#include "app/device_state.h"
#include "app/job_request.h"
#include "filter/print_job.h"

namespace app {

// The device is taken, and connected, when the first page is there, and left when the job
// ends: until then nothing has gone out, and a job that fails costs no paper.
class DeviceJob {
 public:
  DeviceJob(pappl_job_t* job, const JobRequest& request);
  ~DeviceJob();
  DeviceJob(const DeviceJob&) = delete;
  DeviceJob& operator=(const DeviceJob&) = delete;
  DeviceJob(DeviceJob&&) = delete;
  DeviceJob& operator=(DeviceJob&&) = delete;

  bool isCancelled() const;

  // Where the job's lines go: PAPPL's log.
  std::FILE* log() const { return log_.get(); }

  // Prints the page that often. False when the job is cancelled or has failed.
  bool printPage(const cups_page_header2_t& header, const uint8_t* pixels, int copies);

  // Ends what has been begun. False when the job is cancelled or has failed.
  bool finish();

 private:
  struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  using File = std::unique_ptr<std::FILE, FileCloser>;

  bool begin();
  bool connect();
  void forgetDocument();

  pappl_job_t* const job_;
  pappl_printer_t* const printer_;
  const JobRequest& request_;
  const File log_;
  std::optional<DeviceAddress> address_;
  DeviceState* state_ = nullptr;  // while the device is ours
  std::unique_ptr<Connection> connection_;
  File output_;
  FilterEnvironment environment_;
  std::unique_ptr<PrintJob> print_;
  Outcome outcome_ = Outcome::ended;
};

}  // namespace app

#endif  // APP_DEVICE_JOB_H_
