// SPDX-License-Identifier: Apache-2.0
// Print queues and what is known about them, from the scheduler or, where none
// runs, from its files.
#ifndef TOOLS_DRAV_DOCTOR_QUEUES_H_
#define TOOLS_DRAV_DOCTOR_QUEUES_H_

#include <optional>
#include <string>
#include <utility>
#include <vector>

struct QueueState {
  enum class State { kUnknown, kIdle, kPrinting, kStopped };

  std::string name;
  std::string deviceUri;  // empty when not known
  std::string makeModel;  // of the PPD it was made with; stays when that file is lost
  State state = State::kUnknown;
  std::string stateMessage;
  std::vector<std::string> reasons;  // IPP printer-state-reasons (RFC 8011), without "none"
  std::optional<bool> accepting;
  std::optional<int> waitingJobs;
  std::vector<std::pair<std::string, std::string>> attributes;  // everything, for a supporter
};

struct QueueJob {
  int id = 0;
  std::string user;
  std::string title;
};

// Every function: false with one line in `error` when it could not be done.
class Queues {
 public:
  Queues() = default;
  virtual ~Queues() = default;
  Queues(const Queues&) = delete;
  Queues& operator=(const Queues&) = delete;
  Queues(Queues&&) = delete;
  Queues& operator=(Queues&&) = delete;

  // All queues, sorted by name.
  [[nodiscard]] virtual bool list(std::vector<QueueState>& queues, std::string& error) = 0;
  // The PPD file of a queue; empty for a queue that has none.
  [[nodiscard]] virtual bool readPpd(const std::string& queue, std::string& text,
                                     std::string& error) = 0;
  // The jobs of a queue that are still remembered, finished ones too.
  [[nodiscard]] virtual bool listJobs(const std::string& queue, std::vector<QueueJob>& jobs,
                                      std::string& error) = 0;
};

// Whether the scheduler would take this name for a queue: 1 to 127 bytes, no
// space, slash, hash mark or control character (man 8 lpadmin), nor a dot or
// hyphen at the front, which would not be safe in a path or a command.
bool isQueueName(const std::string& name);

#endif  // TOOLS_DRAV_DOCTOR_QUEUES_H_
