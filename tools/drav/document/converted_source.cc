// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/document/converted_source.h"

#include <utility>

#include "tools/drav/document/converter_messages.h"
#include "tools/drav/io/interruption.h"

bool ConvertedSource::start(const std::string& program, const std::string& path,
                            const std::string& type, const DriverFile& driver,
                            std::function<void()> idle, std::string& error) {
  path_ = path;
  ChildCommand command;
  command.program = program;
  command.stopRequested = Interruption::requested;
  command.arguments = {"-p", driver.path(),
                       "-i", type,
                       "-m", "application/vnd.cups-raster",
                       "-t", path.substr(path.rfind('/') + 1)};
  for (const std::string& option : driver.givenOptions())
    command.arguments.insert(command.arguments.end(), {"-o", option});
  command.arguments.push_back(path);
  // The converters leave their own temporary files where they are removed with ours.
  command.environment = {{"TMPDIR", driver.scratch().path()}};
  child_.setIdle(std::move(idle));
  if (!child_.start(command, error)) return false;
  pages_ = std::make_unique<RasterReader>(
      [this](uint8_t* buffer, size_t size) { return child_.read(buffer, size); });
  return true;
}

PageSource::Step ConvertedSource::fail(std::string& error) {
  error = converterFailure(child_.failure(), child_.messages(), path_);
  missing_ = isMissingConverter(child_.messages());
  return Step::failed;
}

PageSource::Step ConvertedSource::next(GreyPage& page, std::string& error) {
  const Step step = pages_->next(page, error);
  if (step == Step::page) return step;
  // What the converters say explains more than a stream that ends early.
  const std::string streamError = std::exchange(error, "");
  if (!child_.finish()) return fail(error);
  error = reportedDamage(child_.messages(), path_);
  if (error.empty() && step == Step::failed) error = "cannot be converted: " + streamError;
  return error.empty() ? step : Step::failed;
}
