// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/configured_queues.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <sstream>
#include <string_view>
#include <system_error>

#include "tools/drav/io/input_file.h"

namespace {

namespace fs = std::filesystem;

constexpr uint64_t kMaxConfBytes = 16U << 20U;
constexpr uint64_t kMaxPpdBytes = 4U << 20U;

// The name in "<Printer NAME>" or "<DefaultPrinter NAME>"; "" for other lines.
std::string openedQueue(const std::string& line) {
  for (const std::string_view head : {"<Printer ", "<DefaultPrinter "})
    if (line.rfind(head, 0) == 0 && line.back() == '>')
      return line.substr(head.size(), line.size() - head.size() - 1);
  return "";
}

void applyLine(const std::string& name, const std::string& value, QueueState& queue) {
  queue.attributes.emplace_back(name, value);
  if (name == "DeviceURI") queue.deviceUri = value;
  if (name == "MakeModel") queue.makeModel = value;
  if (name == "StateMessage") queue.stateMessage = value;
  if (name == "Accepting") queue.accepting = value == "Yes";
  if (name == "Reason") queue.reasons.push_back(value);
  if (name == "State")
    queue.state = value == "Stopped" ? QueueState::State::kStopped : QueueState::State::kIdle;
}

bool byName(const QueueState& left, const QueueState& right) { return left.name < right.name; }

}  // namespace

std::vector<QueueState> parsePrintersConf(const std::string& text) {
  std::vector<QueueState> queues;
  std::istringstream lines(text);
  bool inside = false;
  for (std::string line; std::getline(lines, line);) {
    const std::string name = line.empty() ? "" : openedQueue(line);
    if (isQueueName(name)) {
      queues.emplace_back().name = name;
      inside = true;
    } else if (line.rfind("</", 0) == 0) {
      inside = false;
    } else if (inside && !line.empty()) {
      const size_t space = line.find(' ');
      applyLine(line.substr(0, space), space == std::string::npos ? "" : line.substr(space + 1),
                queues.back());
    }
  }
  std::sort(queues.begin(), queues.end(), byName);
  return queues;
}

bool ConfiguredQueues::list(std::vector<QueueState>& queues, std::string& error) {
  queues.clear();
  restricted_ = false;
  const std::string file = serverRoot_ + "/printers.conf";
  std::vector<uint8_t> bytes;
  if (::access(file.c_str(), R_OK) == 0) {
    if (!readInput(file, bytes, error, kMaxConfBytes)) return false;
    queues = parsePrintersConf(std::string(bytes.begin(), bytes.end()));
  } else {
    restricted_ = ::access(file.c_str(), F_OK) == 0;
  }
  addQueuesWithPpd(queues);
  return true;
}

void ConfiguredQueues::addQueuesWithPpd(std::vector<QueueState>& queues) const {
  std::error_code code;
  for (fs::directory_iterator entry(serverRoot_ + "/ppd", code), end; !code && entry != end;
       entry.increment(code)) {
    if (entry->path().extension() != ".ppd") continue;
    const std::string name = entry->path().stem();
    const bool known = std::any_of(queues.begin(), queues.end(),
                                   [&name](const QueueState& queue) { return queue.name == name; });
    if (!known && isQueueName(name)) queues.emplace_back().name = name;
  }
  std::sort(queues.begin(), queues.end(), byName);
}

bool ConfiguredQueues::readPpd(const std::string& queue, std::string& text, std::string& error) {
  text.clear();
  const std::string file = serverRoot_ + "/ppd/" + queue + ".ppd";
  std::vector<uint8_t> bytes;
  if (::access(file.c_str(), F_OK) != 0 && errno != EACCES) return true;
  if (!readInput(file, bytes, error, kMaxPpdBytes)) return false;
  text.assign(bytes.begin(), bytes.end());
  return true;
}

bool ConfiguredQueues::listJobs(const std::string& /*queue*/, std::vector<QueueJob>& jobs,
                                std::string& /*error*/) {
  jobs.clear();  // the files of the jobs are the scheduler's alone
  return true;
}
