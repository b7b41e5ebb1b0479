// SPDX-License-Identifier: Apache-2.0
// filter_digests TABLE [--variant NAME]: runs the whole filter over every job of
// the table and prints each digest that is another one.
//
// --variant NAME runs the product on a variant of its vector code that it would not
// choose itself ("plain" for none); "list" prints the names that there are.
//
// Exit status: 0 all digests agree, 1 some differ, 2 wrong call or table, 77 this
// machine has no such variant.
#include <fcntl.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "filter/run_filter.h"
#include "tests/golden/digest_cases.h"
#include "tests/golden/digest_table.h"
#include "tests/golden/forced_variant.h"
#include "tests/support/files.h"
#include "tests/support/log_capture.h"
#include "tests/support/ppd_builder.h"
#include "tests/support/raster_writer.h"
#include "tests/support/saved_pictures.h"
#include "tests/support/scoped_env.h"

namespace {

constexpr int kAgree = 0;
constexpr int kDiffer = 1;
constexpr int kBadCall = 2;
constexpr int kNotHere = 77;

constexpr const char* kRasterName = "page.ras";

struct JobOutcome {
  int status = -1;
  JobDigests digests;
  std::vector<std::string> pictureKinds;
  std::vector<std::string> strayLines;  // on standard error, and no log lines
};

bool isLogLine(const std::string& line) {
  for (const char* prefix : {"DEBUG:", "WARN:", "ERROR:", "CRIT:", "INVALID:"}) {
    if (line.rfind(prefix, 0) == 0) return true;
  }
  return false;
}

void writePpd(const DigestCase& job, const std::string& path) {
  PpdBuilder ppd;
  ppd.option("HalftoneType", job.halftone);
  ppd.option("Brightness", std::to_string(job.brightness));
  if (job.maxMediaWidth != "-") ppd.attribute("MaxMediaWidth", job.maxMediaWidth);
  ppd.write(path);
}

// The raster of the job's page lies in `folder`.
JobOutcome runJob(const DigestCase& job, const TempFolder& folder) {
  const TempFolder pictures;
  const std::string ppdPath = folder.file("printer.ppd");
  writePpd(job, ppdPath);
  const ScopedEnv ppdVariable("PPD", ppdPath);
  std::string arguments[] = {"rastertodrav",          "1", "lp", "golden", "1", "",
                             folder.file(kRasterName)};
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  const int argc = static_cast<int>(argv.size());
  argv.push_back(nullptr);

  const MemoryStream out;
  FilterEnvironment environment;
  environment.standardOutput = out.get();
  environment.dumpFolder = pictures.path();
  environment.cancelRequested = [] { return false; };
  JobOutcome outcome;
  const std::vector<std::string> log =
      captureLog([&] { outcome.status = runFilter(argc, argv.data(), environment); });
  for (const std::string& line : log) {
    if (!isLogLine(line)) outcome.strayLines.push_back(line);
  }
  outcome.digests.printed = fnv1a64(out.bytes());
  for (const SavedPicture& picture : savedPictures(pictures)) {
    outcome.pictureKinds.push_back(picture.kind);
    const uint64_t digest = fnv1a64(picture.bytes);
    if (picture.kind == "origin") outcome.digests.origin = digest;
    if (picture.kind == "dithered") outcome.digests.dithered = digest;
  }
  return outcome;
}

// Prints what is not as expected and counts it.
class Report {
 public:
  void compare(const DigestRow& row, const JobOutcome& outcome) {
    const std::string job = nameOf(row.job);
    compareDigest(job, "printed", row.digests.printed, outcome.digests.printed);
    compareDigest(job, "origin", row.digests.origin, outcome.digests.origin);
    compareDigest(job, "dithered", row.digests.dithered, outcome.digests.dithered);
    if (outcome.status != 0) complain(job, "exit status " + std::to_string(outcome.status));
    if (outcome.pictureKinds != std::vector<std::string>{"origin", "dithered"}) {
      complain(job, "other pictures than origin and dithered");
    }
    for (const std::string& line : outcome.strayLines) complain(job, "standard error: " + line);
    if (complaintsOfJob_ != 0) ++jobsThatDiffer_;
    complaintsOfJob_ = 0;
  }

  size_t jobsThatDiffer() const { return jobsThatDiffer_; }

 private:
  static std::string nameOf(const DigestCase& job) {
    std::string name = job.pattern + " " + std::to_string(job.width) + "x" +
                       std::to_string(job.height) + " seed " + std::to_string(job.seed) + ", " +
                       job.halftone;
    if (job.brightness != 0) name += ", brightness " + std::to_string(job.brightness);
    if (job.maxMediaWidth != "-") name += ", MaxMediaWidth " + job.maxMediaWidth;
    return name;
  }

  void compareDigest(const std::string& job, const char* what, uint64_t expected, uint64_t actual) {
    if (expected == actual) return;
    char text[96];
    std::snprintf(text, sizeof text, "%s %016" PRIx64 " instead of %016" PRIx64, what, actual,
                  expected);
    complain(job, text);
  }

  void complain(const std::string& job, const std::string& what) {
    std::printf("%s: %s\n", job.c_str(), what.c_str());
    ++complaintsOfJob_;
  }

  size_t complaintsOfJob_ = 0;
  size_t jobsThatDiffer_ = 0;
};

int compareWithTable(const std::string& path) {
  std::vector<DigestRow> rows;
  std::string error;
  if (!readDigestTable(path, rows, error)) {
    std::fprintf(stderr, "filter_digests: %s; tools/update_golden.sh makes the table\n",
                 error.c_str());
    return kBadCall;
  }
  const TempFolder folder;
  const DigestCase* pageOf = nullptr;
  Report report;
  for (const DigestRow& row : rows) {
    if (pageOf == nullptr || !pageOf->samePage(row.job))
      writeRaster(folder.file(kRasterName), {digestPage(row.job)});
    pageOf = &row.job;
    report.compare(row, runJob(row.job, folder));
  }
  std::printf("%zu jobs, %zu differ (%s)\n", rows.size(), report.jobsThatDiffer(),
              variantsInUse().c_str());
  return report.jobsThatDiffer() == 0 ? kAgree : kDiffer;
}

int run(const std::vector<std::string>& arguments) {
  const bool forced = arguments.size() == 3 && arguments[1] == "--variant";
  if (arguments.size() != 1 && !forced) {
    std::fprintf(stderr, "usage: filter_digests TABLE [--variant NAME]\n");
    return kBadCall;
  }
  if (forced && arguments[2] == "list") {
    std::printf("%s\n", availableVariants().c_str());
    return kAgree;
  }
  if (forced && !forceVariant(arguments[2])) {
    std::printf("no variant %s here; there are: %s\n", arguments[2].c_str(),
                availableVariants().c_str());
    return kNotHere;
  }
  return compareWithTable(arguments[0]);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run({argv + 1, argv + argc});
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "filter_digests: %s\n", exception.what());
    return kBadCall;
  }
}
