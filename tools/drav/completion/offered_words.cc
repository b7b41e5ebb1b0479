// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/completion/offered_words.h"

#include <algorithm>

#include "tools/drav/doctor/scheduler_queues.h"
#include "tools/drav/driver/driver_file.h"
#include "tools/drav/driver/models.h"
#include "tools/drav/io/interruption.h"

namespace {

// Nobody waits longer for a tab.
constexpr int kPatienceMilliseconds = 1000;

std::vector<std::string> queueNames() {
  SchedulerQueues scheduler;
  std::vector<QueueState> queues;
  std::string error;
  std::vector<std::string> names;
  if (!scheduler.connect(error, kPatienceMilliseconds) || !scheduler.list(queues, error))
    return names;
  for (const QueueState& queue : queues) names.push_back(queue.name);
  return names;
}

void addNew(std::vector<std::string>& words, const std::string& word) {
  if (std::find(words.begin(), words.end(), word) == words.end()) words.push_back(word);
}

void addWords(const DriverFile& driver, const std::string& kind, std::vector<std::string>& words) {
  for (const std::string& option : driver.optionNames()) {
    const std::string start = option + "=";
    if (kind == "options") addNew(words, start);
    if (kind != "settings" && kind != start) continue;
    for (const DriverChoice& choice : driver.choices(option))
      addNew(words, kind == "settings" ? start + choice.name : choice.name);
  }
}

}  // namespace

std::vector<std::string> offeredWords(const std::string& kind) {
  if (kind == "queues") return queueNames();
  const Interruption interruption;
  std::vector<std::string> words;
  for (const EmbeddedModel& model : embeddedModels()) {
    DriverFile driver;
    std::string error;
    if (driver.open({"", model.name, {}}, error)) addWords(driver, kind, words);
  }
  return words;
}
