// SPDX-License-Identifier: Apache-2.0
// Jobs that the web page has started.
#ifndef APP_WEB_WEB_JOBS_H_
#define APP_WEB_WEB_JOBS_H_

#include <pappl/pappl.h>

#include <functional>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/media.h"
#include "app/option_attributes.h"

namespace app {

struct PrintWanted {
  std::string queue;  // resource of the queue
  std::string name;   // of the job
  Medium paper;
  int copies = 1;
  // Attributes of app/option_attributes.h with their values.
  std::vector<std::pair<const OptionAttribute*, std::string>> options;
};

// Prints the document in `file` by a request to the own server, at the address that the
// client has reached: PAPPL has no function for a job with options. Number of the job, or
// nothing with one line in `error`.
std::optional<int> submitJob(http_t* client, const PrintWanted& wanted, int file,
                             std::string& error);

// Which job belongs to whom: only who has started it has its key.
class WebJobs {
 public:
  struct Entry {
    std::string key;
    int printer = 0;
    int job = 0;
    std::string upload;  // key of its drawing; empty once the job has ended
  };
  static constexpr size_t kMost = 100;

  std::string add(int printer, int job, std::string upload);
  std::optional<Entry> find(std::string_view key);
  // Calls `hasEnded` for each that has a drawing, and gives the drawings of those that have.
  std::vector<std::string> endedUploads(const std::function<bool(const Entry&)>& hasEnded);

 private:
  std::mutex mutex_;
  std::list<Entry> entries_;
};

}  // namespace app

#endif  // APP_WEB_WEB_JOBS_H_
