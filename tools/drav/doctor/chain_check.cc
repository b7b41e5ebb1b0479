// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/chain_check.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <string>
#include <vector>

#include "tools/drav/doctor/access.h"
#include "tools/drav/doctor/advice.h"
#include "tools/drav/io/input_file.h"

namespace {

constexpr uint64_t kMaxSourceBytes = 4U << 20U;
constexpr const char* kInstallFilters = "sudo apt-get install --reinstall cups-filters";

// Whether the spool user finds a program there.
bool isProgram(const std::string& path, const Installation& installation) {
  struct stat status = {};
  return ::stat(installation.onDisk(path).c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
         status.st_size > 0 && spoolUserMay(status, 1, installation);
}

bool isFilter(const std::string& name, const Installation& installation) {
  return isProgram(installation.serverBin + "/filter/" + name, installation);
}

void checkOne(const std::string& name, const char* purpose, const Installation& installation,
              Findings& findings) {
  if (isFilter(name, installation)) return;
  findings.push_back({Level::kFail,
                      "converters",
                      name + " (" + purpose + ") is missing or not executable",
                      {kInstallFilters}});
}

// One of several programs makes raster of PDF; gstoraster needs Ghostscript.
void checkRasterizer(const Installation& installation, Findings& findings) {
  const bool ghostscript =
      isProgram("/usr/bin/gs", installation) || isProgram("/usr/local/bin/gs", installation);
  if (isFilter("gstoraster", installation) && ghostscript) return;
  if (isFilter("pdftoraster", installation) || isFilter("mupdftoraster", installation)) return;
  const bool half = isFilter("gstoraster", installation);
  findings.push_back({Level::kFail,
                      "converters",
                      half ? "gstoraster (PDF to pages) is there, but Ghostscript is not"
                           : "there is no gstoraster or pdftoraster (PDF to pages)",
                      {half ? "sudo apt-get install ghostscript" : kInstallFilters}});
}

}  // namespace

void checkConverters(const Installation& installation, Findings& findings) {
#ifdef __APPLE__
  (void)installation;
  findings.push_back({Level::kSkip, "converters", "they are part of the system here"});
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
  findings.push_back({Level::kSkip, "driver files", "queues here are made from PPD files"});
#else
  const std::string place = installation.onDisk(installation.driverDir + "/drav.drv");
  std::vector<uint8_t> bytes;
  std::string error;
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
