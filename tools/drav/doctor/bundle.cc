// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/bundle.h"

#include <cups/cups.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

#include "tools/drav/clean/picture_folder.h"
#include "tools/drav/doctor/archive_writer.h"
#include "tools/drav/io/input_file.h"
#include "tools/drav/io/text.h"

namespace {

constexpr const char* kFolder = "drav-support/";
constexpr size_t kMostPictures = 20;
constexpr uint64_t kMaxReleaseBytes = 64U << 10U;

constexpr const char* kReadMe =
    "What drav doctor --bundle collected for support.\n\n"
    "report.txt            what it checked and found\n"
    "platform.txt          versions and paths\n"
    "error_log.txt         lines of the scheduler's log on these queues and the filter\n"
    "pictures.txt          names and sizes of the diagnostic pictures\n"
    "queues/NAME/          PPD file and attributes of each queue\n"
    "pictures/             the pictures themselves, only with --with-pictures: they show\n"
    "                      customers' pages\n\n"
    "Left out or replaced by [removed]: names of users, titles of jobs, passwords and\n"
    "names in device addresses, descriptions and places of printers, the name of this\n"
    "machine. Addresses of printers and schedulers are in it.\n";

// Lines of a small file of the system, or "".
std::string smallFile(const std::string& path) {
  std::vector<uint8_t> bytes;
  std::string error;
  if (!readInput(path, bytes, error, kMaxReleaseBytes)) return "";
  return {bytes.begin(), bytes.end()};
}

std::string platformText(const Installation& installation, const Diagnosis& diagnosis) {
  std::string text = "drav " DRAV_VERSION "\n";
  text += "libcups (built with) " + std::to_string(CUPS_VERSION_MAJOR) + "." +
          std::to_string(CUPS_VERSION_MINOR) + "." + std::to_string(CUPS_VERSION_PATCH) + "\n";
  text += "scheduler " + (diagnosis.cupsVersion.empty() ? "unknown" : diagnosis.cupsVersion) + "\n";
  utsname system = {};
  if (::uname(&system) == 0)  // without the machine's name
    text += std::string("system ") + system.sysname + " " + system.release + " " + system.machine +
            "\n";
  text += "this program " + std::to_string(8 * sizeof(void*)) + "-bit\n";
  text += "run as " + std::string(::geteuid() == 0 ? "root" : "a user") + "\n";
  text += "\nroot " + installation.root + "/\nfilter " + installation.filterPath() +
          "\ndriver files " + installation.driverDir + "\nprograms " + installation.serverBin +
          "\nsettings " + installation.serverRoot + "\nlog " + installation.errorLog +
          "\nspool user " + installation.user + ":" + installation.group + "\n";
  const std::string release = smallFile(installation.onDisk("/etc/os-release"));
  return release.empty() ? text : text + "\n" + release;
}

std::string attributesText(const QueueState& queue, const Redactor& redactor) {
  std::string text;
  for (const auto& [name, value] : queue.attributes) {
    const std::string shown = isPersonalAttribute(name) ? "[removed]" : redactor.redact(value);
    text.append(printablePath(std::string(name).append(" = ").append(shown))).append("\n");
  }
  return text;
}

std::string logText(const LogExtract& log) {
  if (!log.problem.empty()) return log.problem + "\n";
  std::string text;
  for (const std::string& line : log.lines) text += printablePath(line) + "\n";
  return text.empty() ? "no line concerns these queues or the filter\n" : text;
}

// The pictures of the folder, newest first; why there are none in `problem`.
std::vector<Picture> listPictures(const PictureFolder& folder, std::string& problem) {
  std::vector<std::string> names;
  std::vector<Picture> pictures;
  if (!folder.list(names, problem)) return pictures;
  for (const std::string& name : names) {
    Picture picture;
    if (folder.look(name, picture) == PictureFolder::Kind::kPicture) pictures.push_back(picture);
  }
  std::stable_sort(pictures.begin(), pictures.end(), [](const Picture& left, const Picture& right) {
    return left.changed > right.changed;
  });
  return pictures;
}

std::string picturesText(const std::vector<Picture>& pictures, const std::string& problem) {
  if (!problem.empty()) return problem + "\n";
  std::string text;
  for (const Picture& picture : pictures)
    text += std::to_string(picture.bytes) + " " + picture.name + "\n";
  return text.empty() ? "none\n" : text;
}

// Adds files to the archive until one fails.
class Bundle {
 public:
  Bundle(ArchiveWriter& writer, std::time_t now, BundleOutcome& outcome, std::string& error)
      : writer_(writer), now_(now), outcome_(outcome), error_(error) {}

  void add(const std::string& name, const std::string& content) {
    if (good_) good_ = writer_.add(kFolder + name, content, now_, error_);
    ++outcome_.files;
  }

  void addPicture(const PictureFolder& folder, const std::string& name) {
    const int descriptor = folder.openPicture(name);
    if (descriptor < 0) {  // cleared or exchanged meanwhile, or no right to read it
      ++outcome_.picturesLeftOut;
      return;
    }
    if (good_)
      good_ = writer_.addOpenFile(std::string(kFolder) + "pictures/" + name, descriptor, error_);
    ::close(descriptor);
    ++outcome_.pictures;
  }

  bool good() const { return good_; }

 private:
  ArchiveWriter& writer_;
  std::time_t now_;
  BundleOutcome& outcome_;
  std::string& error_;
  bool good_ = true;
};

void addPictures(const BundleRequest& request, const Installation& installation, Bundle& bundle,
                 BundleOutcome& outcome) {
  PictureFolder folder;
  std::string problem;
  std::vector<Picture> pictures;
  if (folder.open(installation.onDisk(installation.spoolTmp), problem))
    pictures = listPictures(folder, problem);
  bundle.add("pictures.txt", picturesText(pictures, problem));
  if (!request.withPictures) {
    outcome.picturesLeftOut = pictures.size();
    return;
  }
  for (size_t i = 0; i < pictures.size() && i < kMostPictures; ++i)
    bundle.addPicture(folder, pictures[i].name);
  if (pictures.size() > kMostPictures) outcome.picturesLeftOut += pictures.size() - kMostPictures;
}

}  // namespace

bool writeBundle(const BundleRequest& request, const Installation& installation,
                 const Diagnosis& diagnosis, BundleOutcome& outcome, std::string& error) {
  outcome = {};
  ArchiveWriter writer;
  if (!writer.open(request.output, error)) return false;
  Bundle bundle(writer, installation.now, outcome, error);
  bundle.add("README.txt", kReadMe);
  bundle.add("report.txt", reportText(diagnosis.findings));
  bundle.add("platform.txt", platformText(installation, diagnosis));
  bundle.add("error_log.txt", logText(diagnosis.log));
  for (const ExaminedQueue& queue : diagnosis.queues) {
    const std::string folder = "queues/" + queue.state.name + "/";
    bundle.add(folder + "attributes.txt", attributesText(queue.state, diagnosis.redactor));
    if (!queue.ppd.empty()) bundle.add(folder + "queue.ppd", queue.ppd);
  }
  addPictures(request, installation, bundle, outcome);
  return bundle.good() && writer.finish(error);
}
