// SPDX-License-Identifier: Apache-2.0
// Queues as the scheduler tells them, over IPP.
#ifndef TOOLS_DRAV_DOCTOR_SCHEDULER_QUEUES_H_
#define TOOLS_DRAV_DOCTOR_SCHEDULER_QUEUES_H_

#include <memory>
#include <string>
#include <vector>

#include "tools/drav/doctor/queues.h"

class SchedulerQueues : public Queues {
 public:
  SchedulerQueues();
  ~SchedulerQueues() override;
  SchedulerQueues(const SchedulerQueues&) = delete;
  SchedulerQueues& operator=(const SchedulerQueues&) = delete;
  SchedulerQueues(SchedulerQueues&&) = delete;
  SchedulerQueues& operator=(SchedulerQueues&&) = delete;

  // Connects to the scheduler that CUPS's own commands would ask: the one that
  // client.conf or the variable CUPS_SERVER names, else this machine's. Waits so long
  // for the connection, and twice as long for each answer. False with one line in
  // `error` when none answers.
  [[nodiscard]] bool connect(std::string& error, int waitMilliseconds = 5000);
  // Where it is: the path of a socket, or host and port.
  static std::string address();
  static bool isThisMachine();

  [[nodiscard]] bool list(std::vector<QueueState>& queues, std::string& error) override;
  [[nodiscard]] bool readPpd(const std::string& queue, std::string& text,
                             std::string& error) override;
  [[nodiscard]] bool listJobs(const std::string& queue, std::vector<QueueJob>& jobs,
                              std::string& error) override;
  // Of CUPS, as the scheduler says it; empty until it has told a queue.
  const std::string& version() const { return version_; }

 private:
  struct Connection;
  std::unique_ptr<Connection> connection_;
  std::string version_;
};

#endif  // TOOLS_DRAV_DOCTOR_SCHEDULER_QUEUES_H_
