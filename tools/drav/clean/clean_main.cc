// SPDX-License-Identifier: Apache-2.0
// drav-clean: clears the filter's diagnostic pictures, for a timer. The same code
// as `drav doctor --clean` in a program that needs no library.
#include <getopt.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <string>

#include "tools/drav/clean/age.h"
#include "tools/drav/clean/picture_folder.h"
#include "tools/drav/io/text.h"

namespace {

constexpr int kFailed = 2;
constexpr const char* kUsage =
    "Usage: drav-clean [--older-than AGE] [--folder DIR] [--dry-run]\n\n"
    "Removes the diagnostic pictures that the printer filter leaves behind, and\n"
    "nothing else.\n\n"
    "  --older-than AGE  only pictures older than this: 90s, 30m, 12h, 7d, 2w (default 7d);\n"
    "                    0 takes all\n"
    "  --folder DIR      where the pictures are (default /var/spool/cups/tmp)\n"
    "  --dry-run         only say what would be removed\n"
    "  --version, --help\n\n"
    "Exit status: 0 done, 2 failure or wrong usage.\n";

int fail(const std::string& text) {
  (void)std::fprintf(stderr, "drav-clean: %s\n", printablePath(text).c_str());
  return kFailed;
}

int endOutput(const std::string& text) {
  if (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0)
    return fail("standard output cannot be written");
  return 0;
}

int clear(const ClearRequest& request, bool folderNamed) {
  ClearOutcome outcome;
  std::string error;
  if (!clearPictures(request, outcome, error)) return fail(error);
  if (outcome.folderMissing && folderNamed) return fail(error);
  const int status = endOutput(printablePath(clearingText(request, outcome)) + "\n");
  if (outcome.failed == 0) return status;
  return fail(outcome.failure + " (" + std::to_string(outcome.failed) + " not removed)");
}

int run(int argc, char** argv) {
  enum Choice : int { kOlderThan = 1, kFolder, kDryRun, kVersion, kHelp };
  constexpr std::array<option, 6> kOptions = {
      {{"older-than", required_argument, nullptr, kOlderThan},
       {"folder", required_argument, nullptr, kFolder},
       {"dry-run", no_argument, nullptr, kDryRun},
       {"version", no_argument, nullptr, kVersion},
       {"help", no_argument, nullptr, kHelp},
       {nullptr, 0, nullptr, 0}}};
  std::string age = kDefaultAge;
  ClearRequest request;
  bool folderNamed = false;
  opterr = 0;
  for (;;) {
    const char* current = optind < argc ? argv[optind] : "";
    // One thread. NOLINTNEXTLINE(concurrency-mt-unsafe)
    const int choice = getopt_long(argc, argv, "", kOptions.data(), nullptr);
    if (choice < 0) break;
    if (choice == kOlderThan) age = optarg;
    if (choice == kFolder) {
      request.folder = optarg;
      folderNamed = true;
    }
    if (choice == kDryRun) request.dryRun = true;
    if (choice == kVersion) return endOutput("drav-clean " DRAV_VERSION "\n");
    if (choice == kHelp) return endOutput(kUsage);
    if (choice == '?')
      return fail(std::string("wrong option ") + current + " (drav-clean --help tells more)");
  }
  if (optind < argc)
    return fail(std::string("unexpected argument ") + argv[optind] +
                " (drav-clean --help tells more)");
  std::string error;
  if (!parseAge(age, request.olderThan, error)) return fail(error);
  request.now = std::time(nullptr);
  return clear(request, folderNamed);
}

}  // namespace

int main(int argc, char* argv[]) {
  try {
    return run(argc, argv);
  } catch (...) {  // memory alone can fail here, and the message shall need none
    (void)std::fputs("drav-clean: out of memory\n", stderr);
    return kFailed;
  }
}
