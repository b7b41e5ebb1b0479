// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/doctor_command.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

#include "tools/drav/clean/age.h"
#include "tools/drav/clean/picture_folder.h"
#include "tools/drav/doctor/advice.h"
#include "tools/drav/doctor/bundle.h"
#include "tools/drav/doctor/configured_queues.h"
#include "tools/drav/doctor/doctor.h"
#include "tools/drav/doctor/printer_app_check.h"
#include "tools/drav/doctor/scheduler_queues.h"
#include "tools/drav/io/text.h"

namespace {

constexpr const char* kFilesConf = "/etc/cups/cups-files.conf";

struct DoctorArguments {
  std::string queue;
  std::string root;
  std::string filesConf;
  bool connect = false;
  std::string bundle;
  bool withPictures = false;
  bool clean = false;
  std::string olderThan = kDefaultAge;
  std::string folder;
  bool dryRun = false;
};

// "" for the machine's own root, else an absolute path without a slash at the end.
std::string absoluteRoot(const std::string& root) {
  if (root.empty()) return "";
  const std::string path = std::filesystem::canonical(root);
  return path == "/" ? "" : path;
}

int clean(const DoctorArguments& arguments) {
  ClearRequest request;
  ClearOutcome outcome;
  std::string error;
  request.folder =
      arguments.folder.empty() ? absoluteRoot(arguments.root) + kPictureFolder : arguments.folder;
  request.now = std::time(nullptr);
  request.dryRun = arguments.dryRun;
  if (!parseAge(arguments.olderThan, request.olderThan, error) ||
      !clearPictures(request, outcome, error) ||
      (outcome.folderMissing && !arguments.folder.empty()))
    return failCommand(error);
  std::cout << printablePath(clearingText(request, outcome)) << "\n";
  if (outcome.failed == 0) return kExitDone;
  std::cout.flush();
  return failCommand(outcome.failure + " (" + std::to_string(outcome.failed) + " not removed)");
}

// Asks the scheduler. A staged system has none of its own to ask.
bool examineByScheduler(const DoctorArguments& arguments, const Installation& installation,
                        Diagnosis& diagnosis, bool& asked, std::string& error) {
  asked = false;
  if (!arguments.root.empty()) {
    diagnosis.findings.push_back(
        {Level::kSkip, "scheduler", "not asked: with --root its files are read instead"});
    return true;
  }
  SchedulerQueues queues;
  std::string problem;
  if (!queues.connect(problem)) {
    diagnosis.findings.push_back({Level::kWarn,
                                  "scheduler",
                                  problem + "; its files are read instead",
                                  {startSchedulerCommand()}});
    return true;
  }
  asked = true;
  diagnosis.findings.push_back(
      {Level::kOk, "scheduler", "answers at " + SchedulerQueues::address()});
  if (!SchedulerQueues::isThisMachine())
    diagnosis.findings.push_back(
        {Level::kWarn,
         "scheduler",
         "it runs on another machine, but the files checked below are this machine's",
         {"run drav doctor there"}});
  const bool done = examine(installation, queues, arguments.queue, diagnosis, error);
  diagnosis.cupsVersion = queues.version();
  return done;
}

bool examineByFiles(const DoctorArguments& arguments, const Installation& installation,
                    Diagnosis& diagnosis, std::string& error) {
  ConfiguredQueues queues(installation.onDisk(installation.serverRoot));
  return examine(installation, queues, arguments.queue, diagnosis, error);
}

int tellBundle(const DoctorArguments& arguments, const Installation& installation,
               const Diagnosis& diagnosis) {
  BundleRequest request;
  BundleOutcome outcome;
  std::string error;
  request.output = arguments.bundle;
  request.withPictures = arguments.withPictures;
  if (!writeBundle(request, installation, diagnosis, outcome, error)) return failCommand(error);
  std::cout << "wrote " << printablePath(arguments.bundle) << ": " << outcome.files << " files and "
            << outcome.pictures << " pictures";
  if (outcome.picturesLeftOut > 0) std::cout << ", " << outcome.picturesLeftOut << " left out";
  std::cout << "; look at it before you send it\n";
  return kExitDone;
}

// Whether the arguments make sense together; false with one line in `error`.
bool goodArguments(const DoctorArguments& arguments, std::string& error) {
  if (!arguments.queue.empty() && !isQueueName(arguments.queue)) {
    error = '"' + arguments.queue + "\" cannot be the name of a queue";
  } else if (!arguments.filesConf.empty() &&
             ::access((arguments.root + arguments.filesConf).c_str(), R_OK) != 0) {
    error = arguments.root + arguments.filesConf + ": " + std::strerror(errno);
  }
  return error.empty();
}

int doctor(DoctorArguments arguments) {
  arguments.root = absoluteRoot(arguments.root);
  Installation installation = builtInstallation();
  Diagnosis diagnosis;
  std::string error;
  if (!goodArguments(arguments, error)) return failCommand(error);
  installation.root = arguments.root;
  installation.now = std::time(nullptr);
  installation.connect = arguments.connect;
  const std::string conf = arguments.filesConf.empty() ? kFilesConf : arguments.filesConf;
  if (!readFilesConf(conf, installation, error))
    diagnosis.findings.push_back({Level::kSkip, "settings", uncheckedText(error)});
  lookUpSpoolUser(installation);
  bool asked = false;
  if (!examineByScheduler(arguments, installation, diagnosis, asked, error))
    return failCommand(error);
  if (!asked && !examineByFiles(arguments, installation, diagnosis, error))
    return failCommand(error);
  if (arguments.root.empty() && arguments.queue.empty()) checkPrinterApp(diagnosis.findings);
  std::cout << reportText(diagnosis.findings);
  if (!arguments.bundle.empty()) {
    const int status = tellBundle(arguments, installation, diagnosis);
    if (status != kExitDone) return status;
  }
  return anythingFound(diagnosis.findings) ? kExitFindings : kExitDone;
}

void addOptions(CLI::App& app, DoctorArguments& arguments) {
  CLI::Option* queue = app.add_option("QUEUE", arguments.queue,
                                      "Queue to examine (default: all that use the filter)");
  app.add_option("--root", arguments.root, "Examine the system staged below this folder")
      ->check(CLI::ExistingDirectory);
  app.add_option("--cups-files", arguments.filesConf,
                 "The scheduler's cups-files.conf (default /etc/cups/cups-files.conf)");
  CLI::Option* connect =
      app.add_flag("--connect", arguments.connect, "Also call network printers (sends nothing)");
  CLI::Option* bundle = app.add_option("--bundle", arguments.bundle,
                                       "Also collect what support needs in this .tar.gz file");
  app.add_flag("--with-pictures", arguments.withPictures,
               "With --bundle: the newest 20 diagnostic pictures too; they show customers' pages")
      ->needs(bundle);
  CLI::Option* clear = app.add_flag("--clean", arguments.clean,
                                    "Check nothing, only remove old diagnostic pictures");
  clear->excludes(queue)->excludes(bundle)->excludes(connect);
  app.add_option("--older-than", arguments.olderThan,
                 "With --clean: age such as 90s, 30m, 12h, 7d, 2w; 0 takes all (default 7d)")
      ->needs(clear);
  app.add_option(
         "--folder", arguments.folder,
         std::string("With --clean: where the pictures are (default ") + kPictureFolder + ")")
      ->needs(clear);
  app.add_flag("--dry-run", arguments.dryRun, "With --clean: only say what would be removed")
      ->needs(clear);
}

}  // namespace

Command addDoctor(CLI::App& app) {
  const auto arguments = std::make_shared<DoctorArguments>();
  CLI::App* doctorApp = app.add_subcommand(
      "doctor", "Check an installation and say what mends it; collect facts for support");
  addOptions(*doctorApp, *arguments);
  doctorApp->footer(
      "Examples:\n"
      "  sudo drav doctor\n"
      "  sudo drav doctor stencil --bundle support.tar.gz\n"
      "  sudo drav doctor --clean --older-than 2d\n\n"
      "Names of users, titles of jobs and passwords stay out of report and archive.\n"
      "Exit status: 0 all is well, 1 something was found, 2 failure or wrong usage.\n");
  return {doctorApp,
          [arguments] { return arguments->clean ? clean(*arguments) : doctor(*arguments); }};
}
