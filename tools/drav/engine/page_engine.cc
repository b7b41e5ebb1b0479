// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/engine/page_engine.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "common/log.h"
#include "common/scope_guard.h"
#include "common/temporary_file.h"
#include "filter/run_filter.h"
#include "proof/memory_file.h"
#include "tools/drav/io/interruption.h"

namespace {

bool writeAll(int descriptor, const void* data, size_t size) {
  const auto* bytes = static_cast<const uint8_t*>(data);
  for (size_t done = 0; done < size;) {
    const ssize_t put = ::write(descriptor, bytes + done, size - done);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    done += static_cast<size_t>(put);
  }
  return true;
}

// Sets the variable for a while.
class PpdVariable {
 public:
  explicit PpdVariable(const std::string& path) {
    if (const char* before = std::getenv("PPD")) before_ = before;
    (void)::setenv("PPD", path.c_str(), 1);
  }
  ~PpdVariable() {
    if (before_)
      (void)::setenv("PPD", before_->c_str(), 1);
    else
      (void)::unsetenv("PPD");
  }
  PpdVariable(const PpdVariable&) = delete;
  PpdVariable& operator=(const PpdVariable&) = delete;
  PpdVariable(PpdVariable&&) = delete;
  PpdVariable& operator=(PpdVariable&&) = delete;

 private:
  std::optional<std::string> before_;
};

}  // namespace

PageEngine::~PageEngine() {
  if (raster_ >= 0) ::close(raster_);
}

bool PageEngine::load(const GreyPage& page, std::string& error) {
  if (raster_ >= 0) ::close(raster_);
  raster_ = openAnonymousFile(error);
  if (raster_ < 0) return false;
  header_ = page.header;
  leftOutFrame_ = false;
  // Version 3: the mark in the machine's own order, the header as it lies in memory,
  // the rows.
  const uint32_t mark = CUPS_RASTER_SYNC;
  if (writeAll(raster_, &mark, sizeof mark) && writeAll(raster_, &header_, sizeof header_) &&
      writeAll(raster_, page.pixels.data(), page.pixels.size()))
    return true;
  error = std::string("the page cannot be held: ") + std::strerror(errno);
  return false;
}

bool PageEngine::print(const std::string& options, DotPage& dots, std::string& error) {
  dots = {};
  dots.dotsPerInchX = header_.HWResolution[0];
  dots.dotsPerInchY = header_.HWResolution[1];
  MemoryFile stream;
  MemoryFile log;
  if (stream.get() == nullptr || log.get() == nullptr || ::lseek(raster_, 0, SEEK_SET) != 0) {
    error = std::string("the page cannot be printed: ") + std::strerror(errno);
    return false;
  }
  FilterEnvironment environment;
  environment.standardInput = raster_;
  environment.standardOutput = stream.get();
  environment.dumpFolder = "";
  environment.keepRecord = false;
  environment.cancelRequested = Interruption::requested;

  std::array<std::string, 6> arguments = {"drav", "1", "user",
                                          "page", "1", driver_.options() + " " + options};
  std::array<char*, 7> argv{};
  for (size_t i = 0; i < arguments.size(); ++i) argv.at(i) = arguments.at(i).data();
  int status = 0;
  {
    const PpdVariable ppd(driver_.path());
    std::FILE* before = setLogStream(log.get());
    const ScopeGuard giveBack([before] { setLogStream(before); });
    status = runFilter(static_cast<int>(arguments.size()), argv.data(), environment);
  }
  if (Interruption::requested()) {
    error = "interrupted";
    return false;
  }
  if (status != EXIT_SUCCESS) {
    error = complaintOf(log.text());
    return false;
  }
  if (saysFrameLeftOut(log.text())) leftOutFrame_ = true;
  return readDots(stream.bytes(), log.text(), header_, driver_.printedColumns(header_), dots,
                  error);
}
