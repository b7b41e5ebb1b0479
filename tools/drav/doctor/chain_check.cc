// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/chain_check.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include "tools/drav/doctor/access.h"
#include "tools/drav/doctor/advice.h"
#include "tools/drav/io/input_file.h"

namespace {

namespace fs = std::filesystem;

constexpr uint64_t kMaxSourceBytes = 4U << 20U;
constexpr uint64_t kMaxRulesBytes = 1U << 20U;
constexpr const char* kGhostscript = "gstoraster";

enum class Presence { kThere, kMissing, kUnknown };

// Whether the spool user finds a program there; not known when we may not look.
Presence findProgramFile(const std::string& path, const Installation& installation) {
  struct stat status = {};
  if (::stat(installation.onDisk(path).c_str(), &status) != 0)
    return isClosedToUs(errno) ? Presence::kUnknown : Presence::kMissing;
  const bool runs =
      S_ISREG(status.st_mode) && status.st_size > 0 && spoolUserMay(status, 1, installation);
  return runs ? Presence::kThere : Presence::kMissing;
}

void checkOne(const std::string& name, const char* purpose, const Installation& installation,
              Findings& findings) {
  const std::string path = installation.serverBin + "/filter/" + name;
  const Presence found = findProgramFile(path, installation);
  if (found == Presence::kMissing) {
    findings.push_back({Level::kFail,
                        "converters",
                        name + " (" + purpose + ") is missing or not executable",
                        {reinstallProgramCommand(name)}});
  } else if (found == Presence::kUnknown) {
    findings.push_back({Level::kSkip, "converters", uncheckedText(installation.onDisk(path))});
  }
}

// The program and its cost on a line "application/vnd.cups-pdf
// application/vnd.cups-raster 99 gstoraster" of the scheduler's rules; "" for others.
std::string rasterizerOf(const std::string& line, int& cost) {
  std::istringstream words(line);
  std::string from;
  std::string into;
  std::string program;
  if (words >> from >> into >> cost >> program && from == "application/vnd.cups-pdf" &&
      into == "application/vnd.cups-raster")
    return program;
  return "";
}

// The program that the scheduler takes to make pages of a PDF: the cheapest one of its
// rules. Without rules that can be read it is Ghostscript's, as everywhere.
std::string rasterizer(const Installation& installation) {
  std::string best = kGhostscript;
  int least = INT_MAX;
  for (const std::string& folder : {installation.dataDir + "/mime", installation.serverRoot}) {
    std::error_code code;
    for (fs::directory_iterator entry(installation.onDisk(folder), code), end;
         !code && entry != end; entry.increment(code)) {
      if (entry->path().extension() != ".convs") continue;
      std::vector<uint8_t> bytes;
      std::string error;
      if (!readInput(entry->path(), bytes, error, kMaxRulesBytes)) continue;
      std::istringstream lines(std::string(bytes.begin(), bytes.end()));
      for (std::string line; std::getline(lines, line);) {
        int cost = 0;
        const std::string program = rasterizerOf(line, cost);
        if (program.empty() || cost >= least) continue;
        best = program;
        least = cost;
      }
    }
  }
  return best;
}

// What makes pages of a PDF. The scheduler does not turn to the next program when
// Ghostscript itself is missing.
void checkRasterizer(const Installation& installation, Findings& findings) {
  const std::string name = rasterizer(installation);
  checkOne(name, "PDF to pages", installation, findings);
  if (name != kGhostscript || findProgramFile("/usr/bin/gs", installation) != Presence::kMissing ||
      findProgramFile("/usr/local/bin/gs", installation) != Presence::kMissing)
    return;
  findings.push_back({Level::kFail,
                      "converters",
                      "Ghostscript (gs), which gstoraster (PDF to pages) starts, is missing or "
                      "not executable",
                      {reinstallProgramCommand("gs")}});
}

}  // namespace

void checkConverters(const Installation& installation, Findings& findings) {
#ifdef __APPLE__
  (void)installation;
  findings.push_back(
      {Level::kSkip, "converters", "not checked: on macOS they are part of the system"});
#else
  const size_t before = findings.size();
  checkOne("pdftopdf", "pages of a PDF", installation, findings);
  checkRasterizer(installation, findings);
  checkOne("imagetoraster", "pictures", installation, findings);
  checkOne("texttopdf", "plain text", installation, findings);
  if (findings.size() == before)
    findings.push_back(
        {Level::kOk, "converters", "PDF, pictures and text can be turned into pages"});
#endif
}

void checkDriverSource(const Installation& installation, Findings& findings) {
#ifdef __APPLE__
  (void)installation;
  findings.push_back(
      {Level::kSkip, "driver files", "not needed: on macOS queues are made from PPD files"});
#else
  const std::string place = installation.onDisk(installation.driverDir + "/drav.drv");
  std::vector<uint8_t> bytes;
  std::string error;
  if (::access(place.c_str(), R_OK) != 0 && isClosedToUs(errno)) {
    findings.push_back({Level::kSkip, "driver files", uncheckedText(place)});
    return;
  }
  if (!readInput(place, bytes, error, kMaxSourceBytes)) {
    findings.push_back(
        {Level::kWarn, "driver files", error + ": no new queue can be made", {reinstallCommand()}});
    return;
  }
  const std::string text(bytes.begin(), bytes.end());
  if (text.find("\nVersion " DRAV_VERSION "\n") == std::string::npos) {
    findings.push_back({Level::kWarn,
                        "driver files",
                        place + " is of another version than " DRAV_VERSION,
                        {reinstallCommand()}});
    return;
  }
  findings.push_back({Level::kOk, "driver files", place});
#endif
}
