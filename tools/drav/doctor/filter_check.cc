// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/filter_check.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tools/drav/doctor/access.h"
#include "tools/drav/doctor/advice.h"
#include "tools/drav/io/trial_run.h"

namespace {

constexpr int kUsageStatus = 1;           // of the filter without arguments
constexpr int kLoaderFailedStatus = 127;  // of the dynamic loader

std::string parentOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

// The file itself. False when there is none, and nothing else can be said.
bool checkPresence(const std::string& place, struct stat& status, Findings& findings) {
  if (::stat(place.c_str(), &status) != 0) {
    const int code = errno;
    if (isClosedToUs(code)) {
      findings.push_back(
          {Level::kSkip, "filter", uncheckedText(place + ": " + std::strerror(code))});
    } else {
      findings.push_back(
          {Level::kFail, "filter", place + ": " + std::strerror(code), {reinstallCommand()}});
    }
    return false;
  }
  if (!S_ISREG(status.st_mode)) {
    findings.push_back({Level::kFail,
                        "filter",
                        place + " is not a file",
                        {"sudo rm -r " + shellWord(place), reinstallCommand()}});
    return false;
  }
  if (status.st_size == 0) {
    findings.push_back({Level::kFail, "filter", place + " is empty", {reinstallCommand()}});
    return false;
  }
  findings.push_back({Level::kOk, "filter", place});
  return true;
}

// Owner and write rights, which the scheduler judges, and the right to run it.
bool checkRights(const std::string& place, const struct stat& status,
                 const Installation& installation, Findings& findings) {
  const std::string fault = rightsFault(status, installation);
  const bool runs = spoolUserMay(status, 1, installation);
  if (fault.empty() && runs) {
    findings.push_back(
        {Level::kOk, "filter rights", "only root can change it, mode " + modeText(status)});
    return true;
  }
  std::vector<std::string> fix;
  if (status.st_uid != installation.rootUid)
    fix.push_back("sudo chown root:root " + shellWord(place));
  fix.push_back("sudo chmod 755 " + shellWord(place));
  const std::string text = fault.empty() ? "user " + installation.user + " may not run it (mode " +
                                               modeText(status) + ")"
                                         : fault + "; the scheduler refuses it";
  findings.push_back({Level::kFail, "filter rights", text, fix});
  return fault.empty();
}

// One folder above the filter; `own` is the filter's own. False when others than
// root can exchange the filter.
bool checkFolder(const std::string& place, const struct stat& status, bool own,
                 const Installation& installation, Findings& findings) {
  if (!spoolUserMay(status, 1, installation)) {
    findings.push_back({Level::kFail,
                        "filter folders",
                        "user " + installation.user + " cannot enter " + place + " (mode " +
                            modeText(status) + "): filters end with status 113",
                        {"sudo chmod a+x " + shellWord(place)}});
  }
  const std::string fault = rightsFault(status, installation);
  // In a folder such as /tmp nobody can rename or remove what is root's.
  const bool sticky = status.st_uid == installation.rootUid && (status.st_mode & S_ISVTX) != 0;
  if (fault.empty() || (sticky && !own)) return true;
  std::vector<std::string> fix;
  if (status.st_uid != installation.rootUid)
    fix.push_back("sudo chown root:root " + shellWord(place));
  fix.push_back("sudo chmod go-w,u-s " + shellWord(place));
  const char* const result = own ? "; the scheduler refuses all filters in it"
                                 : "; whoever can write there can replace the filter";
  std::string text = place;
  text.append(" ").append(fault).append(result);
  findings.push_back({own ? Level::kFail : Level::kWarn, "filter folders", text, fix});
  return false;
}

// The folder of the filter is judged like the filter; those above must let the
// spool user pass, and whoever can write there can put in another filter.
bool checkFolders(const std::string& path, const Installation& installation, Findings& findings) {
  const std::string folder = parentOf(path);
  const size_t before = findings.size();
  bool trusted = true;
  for (const std::string& above : foldersAbove(path)) {
    const std::string place = installation.onDisk(above);
    struct stat status = {};
    if (::stat(place.c_str(), &status) == 0 &&
        !checkFolder(place, status, above == folder, installation, findings))
      trusted = false;
  }
  if (findings.size() == before)
    findings.push_back({Level::kOk, "filter folders",
                        "the spool user can enter them, and only root can change them"});
  return trusted;
}

// "rastertodrav v3.13.34" at the beginning of the usage text; "" when it is not.
std::string versionIn(const std::string& usage) {
  const size_t line = usage.find('\n');
  const size_t mark = usage.find(" v");
  if (mark == std::string::npos || line == std::string::npos || mark > line) return "";
  return usage.substr(mark + 2, line - mark - 2);
}

std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

// Why the system does not start a file that is there and may be run.
std::string refusalText(int code) {
  std::string text = std::strerror(code);
  if (code == ENOEXEC) return text + ": it is made for another kind of machine, or damaged";
  if (code == ENOENT) return text + ": the loader or interpreter that it asks for is missing";
  return text;
}

Finding startFinding(const TrialResult& result) {
  const auto fail = [](const std::string& text) {
    return Finding{Level::kFail, "filter start", text, {reinstallCommand()}};
  };
  switch (result.end) {
    case ChildEnd::kNone:
    case ChildEnd::kNotTried:
    case ChildEnd::kInterrupted:
      return {Level::kSkip, "filter start",
              std::string("not tried: ") + std::strerror(result.code)};
    case ChildEnd::kNotStarted:
      return fail("does not start: " + refusalText(result.code));
    case ChildEnd::kTimedOut:
      return fail("hangs instead of printing its usage");
    case ChildEnd::kSignalled:
      return fail("crashes: signal " + std::to_string(result.code));
    case ChildEnd::kExited:
      break;
  }
  if (result.code == kLoaderFailedStatus) {
    Finding finding = fail("does not start: " + firstLine(result.output));
    finding.fix = {"sudo apt-get install --reinstall libcups2 libcupsimage2", reinstallCommand()};
    return finding;
  }
  const std::string version = versionIn(result.output);
  if (result.code != kUsageStatus || version.empty())
    return fail("says \"" + firstLine(result.output) + "\" (status " + std::to_string(result.code) +
                ") instead of its usage");
  return {Level::kOk, "filter start", "it starts and finds its libraries, version " + version};
}

}  // namespace

FilterState checkFilter(const std::string& path, const Installation& installation,
                        Findings& findings) {
  FilterState state;
  const std::string place = installation.onDisk(path);
  struct stat status = {};
  state.present = checkPresence(place, status, findings);
  const bool foldersTrusted = checkFolders(path, installation, findings);
  if (!state.present) return state;
  const bool trusted = checkRights(place, status, installation, findings) && foldersTrusted;
  if (!trusted) {
    findings.push_back(
        {Level::kSkip, "filter start", "not tried: someone other than root may have changed it"});
    return state;
  }
  ChildCommand command = trialCommand(place);
  command.uid = installation.uid;
  command.gid = installation.gid;
  if (::geteuid() == 0 && (!command.uid || !command.gid)) {
    findings.push_back(
        {Level::kSkip, "filter start",
         "not tried: it runs as user " + installation.user + ", who does not exist here"});
    return state;
  }
  const TrialResult result = runTrial(command);
  findings.push_back(startFinding(result));
  if (findings.back().level == Level::kOk) {
    state.version = versionIn(result.output);
    if (state.version != DRAV_VERSION)
      findings.push_back({Level::kWarn,
                          "versions",
                          "the filter is " + state.version + ", this program " DRAV_VERSION,
                          {reinstallCommand()}});
  }
  return state;
}
