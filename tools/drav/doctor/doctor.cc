// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/doctor.h"

#include <algorithm>
#include <map>

#include "tools/drav/doctor/advice.h"
#include "tools/drav/doctor/chain_check.h"
#include "tools/drav/doctor/filter_check.h"
#include "tools/drav/doctor/folder_check.h"
#include "tools/drav/doctor/ppd_check.h"
#include "tools/drav/doctor/queue_check.h"
#include "tools/drav/driver/models.h"

namespace {

// Where the scheduler looks for a filter that a PPD names.
std::string schedulerPath(const std::string& filter, const Installation& installation) {
  return filter[0] == '/' ? filter : installation.serverBin + "/filter/" + filter;
}

// Whether a queue was made with one of our models; it says so without its PPD too.
bool isOfOurs(const QueueState& queue) { return queue.makeModel.rfind("Drav ", 0) == 0; }

// Whether a queue that has no PPD needs one. Those to IPP printers and to other
// schedulers have none.
bool needsPpd(const QueueState& queue) {
  for (const std::string_view scheme : {"ipp:", "ipps:", "http:", "https:", "implicitclass:"})
    if (queue.deviceUri.rfind(scheme, 0) == 0) return false;
  return !queue.deviceUri.empty();
}

// No queue of the filter was found. One without a PPD may have been ours: without the
// PPD nothing says so.
void tellOfNoQueue(const std::vector<QueueState>& withoutPpd, Findings& findings) {
  if (withoutPpd.empty()) {
    findings.push_back({Level::kSkip, "queues", "none uses the filter"});
    return;
  }
  Finding finding = {Level::kWarn, "queues", "none uses the filter, and these have no PPD:"};
  for (const QueueState& queue : withoutPpd) {
    finding.text += " " + queue.name;
    finding.fix.push_back(newPpdCommand(queue.name, "") + "  (if it is a printer of this driver)");
  }
  findings.push_back(finding);
}

// The wanted queues with their PPDs. A PPD that cannot be read is a finding.
bool collect(Queues& queues, const std::string& wanted, Diagnosis& diagnosis, std::string& error) {
  std::vector<QueueState> all;
  if (!queues.list(all, error)) return false;
  std::vector<QueueState> withoutPpd;
  bool allRead = true;
  std::string names;
  for (QueueState& state : all) {
    names += (names.empty() ? "" : ", ") + state.name;
    if (!wanted.empty() && state.name != wanted) continue;
    ExaminedQueue examined;
    std::string problem;
    if (!queues.readPpd(state.name, examined.ppd, problem)) {
      diagnosis.findings.push_back(
          {Level::kSkip, "queue " + state.name + " PPD", uncheckedText(problem)});
      allRead = false;
      if (wanted.empty()) continue;
      examined.ppd.clear();
    } else if (wanted.empty() && !usesFilter(examined.ppd)) {
      if (examined.ppd.empty() && needsPpd(state)) withoutPpd.push_back(state);
      if (!examined.ppd.empty() || !isOfOurs(state)) continue;
    }
    examined.state = std::move(state);
    diagnosis.queues.push_back(std::move(examined));
  }
  if (!diagnosis.queues.empty()) return true;
  if (wanted.empty()) {
    if (allRead) tellOfNoQueue(withoutPpd, diagnosis.findings);
    return true;
  }
  error = "there is no queue \"" + wanted + "\"; " +
          (names.empty() ? "this system has none" : "there are: " + names);
  return false;
}

// The PPD file of the model that a queue says it was made with; "" for none of ours.
std::string modelFile(const std::string& makeModel) {
  for (const EmbeddedModel& model : embeddedModels())
    if (makeModel.rfind(modelTitle(model), 0) == 0) return std::string(model.name) + ".ppd";
  return "";
}

using Summaries = std::map<std::string, PpdSummary>;

Summaries summarise(const std::vector<ExaminedQueue>& queues) {
  Summaries summaries;
  for (const ExaminedQueue& queue : queues) {
    Ppd ppd;
    std::string error;
    if (ppd.open(queue.ppd, error)) summaries[queue.state.name] = ppd.summary();
  }
  return summaries;
}

// Checks each filter that a queue names, or the one that was installed when no
// queue names any. Gives what each says its version is.
std::map<std::string, std::string> checkFilters(const Summaries& summaries,
                                                const Installation& installation,
                                                Findings& findings) {
  std::map<std::string, std::string> versions;
  for (const auto& [queue, summary] : summaries)
    if (!summary.filter.empty()) versions[schedulerPath(summary.filter, installation)] = "";
  if (versions.empty()) versions[installation.filterPath()] = "";
  for (auto& [path, version] : versions)
    version = checkFilter(path, installation, findings).version;
  return versions;
}

void checkQueue(const ExaminedQueue& queue, const std::string& filterVersion,
                const Installation& installation, Findings& findings) {
  const std::string& name = queue.state.name;
  checkQueueState(queue.state, findings);
  checkDevice(queue.state, installation, findings);
  if (queue.ppd.empty()) {
    const bool unread =
        std::any_of(findings.begin(), findings.end(), [&name](const Finding& found) {
          return found.level == Level::kSkip && found.check == "queue " + name + " PPD";
        });
    if (!unread)
      findings.push_back({Level::kFail,
                          "queue " + name + " PPD",
                          "there is none: jobs fail, or reach the printer unconverted",
                          {newPpdCommand(name, modelFile(queue.state.makeModel))}});
    return;
  }
  PpdSummary summary;
  if (checkPpd(name, queue.ppd, filterVersion, installation, summary, findings))
    checkRecordFolder(name, summary, installation, findings);
}

void readLog(const Installation& installation, Queues& queues, Diagnosis& diagnosis) {
  LogWanted wanted;
  for (const ExaminedQueue& queue : diagnosis.queues) {
    wanted.queues.push_back(queue.state.name);
    std::vector<QueueJob> jobs;
    std::string error;
    if (!queues.listJobs(queue.state.name, jobs, error)) continue;  // the log alone then tells
    for (const QueueJob& job : jobs) {
      wanted.jobs.insert(job.id);
      diagnosis.redactor.hide(job.user);
      diagnosis.redactor.hide(job.title);
    }
  }
  diagnosis.log = readErrorLog(installation, wanted, diagnosis.redactor);
  checkErrorLog(diagnosis.log, installation.now, diagnosis.findings);
}

}  // namespace

bool examine(const Installation& installation, Queues& queues, const std::string& queue,
             Diagnosis& diagnosis, std::string& error) {
  if (!collect(queues, queue, diagnosis, error)) return false;
  Findings& findings = diagnosis.findings;
  const Summaries summaries = summarise(diagnosis.queues);
  const std::map<std::string, std::string> versions =
      checkFilters(summaries, installation, findings);
  checkConverters(installation, findings);
  checkDriverSource(installation, findings);
  checkPictureFolder(installation, findings);
  for (const ExaminedQueue& examined : diagnosis.queues) {
    const auto summary = summaries.find(examined.state.name);
    std::string version;
    if (summary != summaries.end() && !summary->second.filter.empty())
      version = versions.at(schedulerPath(summary->second.filter, installation));
    checkQueue(examined, version, installation, findings);
  }
  readLog(installation, queues, diagnosis);
  // What the scheduler says of a queue can hold a user's name or a title.
  for (Finding& finding : findings) finding.text = diagnosis.redactor.redact(finding.text);
  return true;
}
