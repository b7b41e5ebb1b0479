// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/advice.h"

#include <algorithm>
#include <cctype>

#include "tools/drav/doctor/finding.h"

std::string reinstallCommand() {
#ifdef __APPLE__
  return "install the Drav package again";
#else
  return "sudo apt-get install --reinstall printer-driver-drav  (or: sudo cmake --install BUILD)";
#endif
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
