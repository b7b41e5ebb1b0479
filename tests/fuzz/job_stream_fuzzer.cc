// SPDX-License-Identifier: Apache-2.0
// Any bytes at all are read as a job stream, inspected in both forms and drawn in
// both forms. What must hold for all of them:
//  - the items of a stream follow each other without gaps;
//  - the two reports agree on the status, tell of nothing when there is no job, and the
//    JSON one is JSON whose commands add up to the stream;
//  - a picture gets exactly as many rows as it was opened for, none wider than it.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <span>
#include <sstream>
#include <string>

#include "proof/job_stream.h"
#include "tools/drav/command.h"
#include "tools/drav/inspect/inspect.h"
#include "tools/drav/render/render.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void require(bool holds, const char* what) {
  if (holds) return;
  (void)std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

// Counts rows and keeps none. Refuses pictures that would take longer than they
// teach: long feeds are cheap to ask for.
class CountingSink : public PictureSink {
 public:
  bool open(uint32_t width, uint32_t height, std::string& error) override {
    require(!opened_ && width > 0 && height > 0, "a picture of some size, opened once");
    if (height > 20000 || width > 100000) {
      error = "too large to bother";
      return false;
    }
    opened_ = true;
    rowsLeft_ = height;
    widestRow_ = (size_t{width} + 7) / 8;
    return true;
  }
  bool writeRow(std::span<const uint8_t> row, std::string& /*error*/) override {
    require(opened_ && rowsLeft_ > 0, "a row that is left");
    require(row.size() <= widestRow_, "a row within the picture");
    if (!row.empty()) dots_ = row.front() ^ row.back();  // a row that is there
    --rowsLeft_;
    return true;
  }
  bool finish(std::string& /*error*/) override {
    require(rowsLeft_ == 0, "all rows written");
    finished_ = true;
    return true;
  }
  bool finished() const { return finished_; }

 private:
  bool opened_ = false;
  bool finished_ = false;
  uint32_t rowsLeft_ = 0;
  size_t widestRow_ = 0;
  volatile uint8_t dots_ = 0;
};

void checkItems(std::span<const uint8_t> stream) {
  JobStreamReader reader(stream);
  size_t end = 0;
  while (const auto item = reader.nextItem()) {
    require(!item->bytes.empty(), "an item of some bytes");
    require(item->bytes.data() == stream.data() + end, "items without gaps");
    require(item->command.has_value() != item->error.has_value(), "a command or damage");
    if (item->command) require(item->command->offset == end, "a command's offset");
    if (item->error) require(item->error->offset == end, "an error's offset");
    end += item->bytes.size();
  }
  require(end == stream.size(), "items to the end");
}

int checkText(std::span<const uint8_t> stream, const InspectOptions& options) {
  std::string error;
  std::ostringstream text;
  const int status = inspectStream(stream, options, text, error);
  require((status == kExitFailed) == text.str().empty(), "text exactly for a job");
  require((status == kExitFailed) == !error.empty(), "an error exactly for none");
  require(error.find('\n') == std::string::npos, "an error of one line");
  return status;
}

void checkJson(std::span<const uint8_t> stream, InspectOptions options, int status) {
  options.json = true;
  std::string error;
  std::ostringstream json;
  require(inspectStream(stream, options, json, error) == status, "the same status");
  require((status == kExitFailed) == json.str().empty(), "JSON exactly for a job");
  if (status == kExitFailed) return;
  const auto document = nlohmann::json::parse(json.str(), nullptr, false);
  require(!document.is_discarded(), "valid JSON");
  require(document["status"] == status, "the status in JSON");
  uint64_t end = 0;
  for (const auto& command : document["commands"]) {
    require(command["offset"] == end, "commands without gaps");
    end += command["length"].get<uint64_t>();
  }
  require(end == stream.size(), "commands to the end");
}

void checkPicture(std::span<const uint8_t> stream, const RenderOptions& options) {
  CountingSink sink;
  RenderExtent extent;
  std::string error;
  const bool drawn = renderStream(stream, options, sink, extent, error);
  require(drawn == sink.finished(), "a picture exactly on success");
  require(drawn == error.empty(), "an error exactly on failure");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::span<const uint8_t> stream(data, size);
  checkItems(stream);
  InspectOptions options;
  options.name = "fuzz";
  checkJson(stream, options, checkText(stream, options));
  options.all = true;
  options.printer.headBytes = 9;
  options.printer.scale = {
      .dotsAcross = 203, .dotsAlong = 180, .unitsPerInch = 360, .linesPerInch = 6};
  (void)checkText(stream, options);
  checkPicture(stream, {});
  checkPicture(stream, {.paper = true, .printer = {}});
  checkPicture(stream, {.paper = true, .printer = options.printer});
  return 0;
}
