// SPDX-License-Identifier: Apache-2.0
#include "app/device_job.h"

#include <poll.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

#include "app/log_stream.h"
#include "app/queue_status.h"
#include "app/shutdown.h"

namespace app {
namespace {

constexpr size_t kOutputBuffer = size_t{64} * 1024;
constexpr int kRetrySlices = 20;  // of 100 ms, between two tries to connect

struct Output {
  Connection& connection;
  GiveUp giveUp;
};

ssize_t writeOutput(void* cookie, const char* bytes, size_t count) {
  const Output& output = *static_cast<Output*>(cookie);
  return output.connection.write({bytes, count}, output.giveUp) ? static_cast<ssize_t>(count) : 0;
}

int closeOutput(void* cookie) {
  delete static_cast<Output*>(cookie);
  return 0;
}

std::FILE* openOutput(Connection& connection, GiveUp giveUp) {
  auto output = std::make_unique<Output>(Output{connection, std::move(giveUp)});
  cookie_io_functions_t functions = {};
  functions.write = writeOutput;
  functions.close = closeOutput;
  std::FILE* file = ::fopencookie(output.get(), "w", functions);
  if (file == nullptr) return nullptr;
  (void)output.release();
  (void)std::setvbuf(file, nullptr, _IOFBF, kOutputBuffer);
  return file;
}

}  // namespace

DeviceJob::DeviceJob(pappl_job_t* job, const JobRequest& request)
    : job_(job),
      printer_(papplJobGetPrinter(job)),
      request_(request),
      log_(openLogStream(job)),
      address_(parseDeviceUri(papplPrinterGetDeviceURI(printer_))) {
  environment_.standardInput = -1;
  environment_.standardOutput = nullptr;
  environment_.log = log_.get();
  environment_.ppdPath = [] { return static_cast<const char*>(nullptr); };
  environment_.dumpFolder.clear();
  environment_.keepRecord = false;
  environment_.cancelRequested = [this] { return isCancelled(); };
  environment_.awaitCancel = [] {};
}

DeviceJob::~DeviceJob() { (void)finish(); }

bool DeviceJob::isCancelled() const { return papplJobIsCanceled(job_) || shallStop(); }

bool DeviceJob::printPage(const cups_page_header2_t& header, const uint8_t* pixels, int copies) {
  if (!print_ && !begin()) {
    outcome_ = isCancelled() ? Outcome::cancelled : Outcome::failed;
    return false;
  }
  outcome_ = Outcome::proceed;
  for (int i = 0; i < copies && outcome_ == Outcome::proceed; ++i) {
    if (isCancelled()) {
      outcome_ = Outcome::cancelled;
      break;
    }
    outcome_ = print_->startPage(header);
    if (outcome_ == Outcome::proceed) outcome_ = print_->printPage(pixels);
  }
  return outcome_ == Outcome::proceed;
}

bool DeviceJob::begin() {
  if (!address_) return false;
  DeviceState& state = DeviceState::of(*address_);
  const GiveUp giveUp = environment_.cancelRequested;
  if (!state.acquire(giveUp)) return false;
  state_ = &state;
  if (address_->answersStatus) askPrinter(printer_, *address_, state, giveUp);
  if (!connect()) return false;
  forgetDocument();
  output_.reset(openOutput(*connection_, giveUp));
  if (!output_) return false;
  environment_.standardOutput = output_.get();
  print_ = std::make_unique<PrintJob>(request_.settings, environment_);
  print_->start();
  return true;
}

// As long as it takes, or until the job is cancelled.
bool DeviceJob::connect() {
  bool isReported = false;
  while (!isCancelled()) {
    std::string error;
    connection_ = Connection::open(*address_, environment_.cancelRequested, error);
    setOffline(printer_, !connection_);
    if (connection_) return true;
    if (!isReported) {
      papplLogJob(job_, PAPPL_LOGLEVEL_ERROR, "The printer at %s is away: %s",
                  address_->uri.c_str(), error.c_str());
    }
    isReported = true;
    for (int i = 0; i < kRetrySlices && !isCancelled(); ++i) (void)::poll(nullptr, 0, 100);
  }
  return false;
}

// A job whose document is gone is not started again when the server has been killed: from
// here on a part of it may be on paper. Who prints it has it open.
void DeviceJob::forgetDocument() {
  if (const char* file = papplJobGetFilename(job_)) (void)::unlink(file);
}

bool DeviceJob::finish() {
  bool good = outcome_ == Outcome::proceed || outcome_ == Outcome::ended;
  if (print_) {
    const Outcome outcome = outcome_ == Outcome::proceed ? Outcome::ended : outcome_;
    const bool ended = print_->finish(outcome) == EXIT_SUCCESS;
    good = good && ended;
    print_.reset();
    output_.reset();
    if (!connection_->finish(environment_.cancelRequested)) good = false;
  }
  connection_.reset();
  if (state_ != nullptr) state_->release();
  state_ = nullptr;
  return good;
}

}  // namespace app
