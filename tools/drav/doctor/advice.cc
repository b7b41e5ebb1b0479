// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/advice.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <string_view>

#include "tools/drav/doctor/finding.h"

std::string reinstallCommand() {
#ifdef __APPLE__
  return "install the Drav package again";
#else
  return "sudo apt-get install --reinstall printer-driver-drav  (or: sudo cmake --install BUILD)";
#endif
}

std::string reinstallProgramCommand(const std::string& name) {
  if (name == "rastertodrav") return reinstallCommand();
#ifdef __APPLE__
  return "update the system: " + name + " is part of it";
#else
  if (name == "gs") return "sudo apt-get install --reinstall ghostscript";
  constexpr std::array<std::string_view, 9> kOfCupsFilters = {
      "bannertopdf", "gstoraster", "imagetopdf",  "imagetoraster", "mupdftoraster",
      "pdftopdf",    "pdftops",    "pdftoraster", "texttopdf"};
  if (std::find(kOfCupsFilters.begin(), kOfCupsFilters.end(), name) != kOfCupsFilters.end())
    return "sudo apt-get install --reinstall cups-filters cups-filters-core-drivers";
  return "install the package again that " + name + " is part of";
#endif
}

std::string missingProgram(std::string_view message) {
  constexpr std::string_view kStart = "Unable to start filter \"";
  constexpr std::string_view kEnd = " not available: ";
  if (const size_t at = message.find(kStart); at != std::string_view::npos) {
    message.remove_prefix(at + kStart.size());
  } else if (const size_t end = message.find(kEnd); end != std::string_view::npos) {
    message = message.substr(0, message.find_last_not_of("\\\"", end - 1) + 1);
    message.remove_prefix(message.rfind('/') + 1);
  } else {
    return "";
  }
  message = message.substr(0, message.find('"'));
  const bool plain = message.find_first_of("/ \\") == std::string_view::npos;
  return plain ? std::string(message) : "";
}

bool isClosedToUs(int code) { return code == EACCES || code == EPERM; }

std::string uncheckedText(const std::string& reason) {
  return "not checked: run with sudo (" + reason + ")";
}

std::string startSchedulerCommand() {
#ifdef __APPLE__
  return "sudo launchctl start org.cups.cupsd";
#else
  return "sudo systemctl start cups";
#endif
}

std::string restartSchedulerCommand() {
#ifdef __APPLE__
  return "sudo launchctl kickstart -k system/org.cups.cupsd";
#else
  return "sudo systemctl restart cups";
#endif
}

std::string newPpdCommand(const std::string& queue, const std::string& fileName) {
  const std::string start = "sudo lpadmin -p " + shellWord(queue) + " -m ";
  std::string name = fileName;
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  const bool ours = name.rfind("drav", 0) == 0 && name.find('/') == std::string::npos;
  if (ours) return start + shellWord("drv:///drav.drv/" + name);
  return start + "MODEL  (lpinfo -m | grep -i drav lists the models)";
}
