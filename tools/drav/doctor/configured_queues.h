// SPDX-License-Identifier: Apache-2.0
// Queues as the scheduler's files have them: printers.conf and the folder ppd.
#ifndef TOOLS_DRAV_DOCTOR_CONFIGURED_QUEUES_H_
#define TOOLS_DRAV_DOCTOR_CONFIGURED_QUEUES_H_

#include <string>
#include <vector>

#include "tools/drav/doctor/queues.h"

class ConfiguredQueues : public Queues {
 public:
  // `serverRoot`: the folder of printers.conf, as it is on disk.
  explicit ConfiguredQueues(std::string serverRoot) : serverRoot_(std::move(serverRoot)) {}

  // If only root can read printers.conf, lists the names of the queues that have a
  // PPD and knows nothing else of them; `restricted()` is then true.
  [[nodiscard]] bool list(std::vector<QueueState>& queues, std::string& error) override;
  [[nodiscard]] bool readPpd(const std::string& queue, std::string& text,
                             std::string& error) override;
  [[nodiscard]] bool listJobs(const std::string& queue, std::vector<QueueJob>& jobs,
                              std::string& error) override;
  bool restricted() const { return restricted_; }

 private:
  void addQueuesWithPpd(std::vector<QueueState>& queues) const;

  std::string serverRoot_;
  bool restricted_ = false;
};

// The queues of the text of a printers.conf file.
std::vector<QueueState> parsePrintersConf(const std::string& text);

#endif  // TOOLS_DRAV_DOCTOR_CONFIGURED_QUEUES_H_
