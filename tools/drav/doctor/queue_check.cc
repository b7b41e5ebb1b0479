// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/queue_check.h"

#include <cups/http.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <vector>

#include "tools/drav/doctor/access.h"
#include "tools/drav/doctor/advice.h"
#include "tools/drav/doctor/connection.h"
#include "tools/drav/doctor/redaction.h"
#include "tools/drav/doctor/usb_printers.h"

namespace {

constexpr int kSocketPort = 9100;

struct DeviceAddress {
  std::string scheme;
  std::string host;
  std::string resource;  // path and options
  int port = 0;
};

// False when libcups cannot take it apart.
bool parseDevice(const std::string& uri, DeviceAddress& device) {
  std::array<char, HTTP_MAX_URI> scheme = {};
  std::array<char, HTTP_MAX_URI> user = {};
  std::array<char, HTTP_MAX_URI> host = {};
  std::array<char, HTTP_MAX_URI> resource = {};
  const auto size = [](const auto& part) { return static_cast<int>(part.size()); };
  const http_uri_status_t status = httpSeparateURI(
      HTTP_URI_CODING_ALL, uri.c_str(), scheme.data(), size(scheme), user.data(), size(user),
      host.data(), size(host), &device.port, resource.data(), size(resource));
  device.scheme = scheme.data();
  device.host = host.data();
  device.resource = resource.data();
  return status >= HTTP_URI_STATUS_OK && !device.scheme.empty();
}

std::string newDeviceCommand(const QueueState& queue, const std::string& uri) {
  return "sudo lpadmin -p " + shellWord(queue.name) + " -v " + uri;
}

// Whether the options of a device name `name`.
bool hasOption(const std::string& resource, std::string_view name) {
  const size_t question = resource.find('?');
  return question != std::string::npos && resource.find(name, question) != std::string::npos;
}

void checkBackend(const std::string& check, const DeviceAddress& device,
                  const Installation& installation, Findings& findings) {
  const std::string place =
      installation.onDisk(installation.serverBin + "/backend/" + device.scheme);
  struct stat status = {};
  const bool named = device.scheme.find('/') == std::string::npos;
  if (!named || ::stat(place.c_str(), &status) != 0) {
    if (named && isClosedToUs(errno)) {
      findings.push_back({Level::kSkip, check, uncheckedText("backend " + place)});
      return;
    }
    findings.push_back({Level::kFail,
                        check,
                        "there is no backend for \"" + device.scheme + ":\"",
                        {"sudo apt-get install --reinstall cups cups-daemon cups-filters  (lpinfo "
                         "-v lists the devices)"}});
    return;
  }
  const std::string fault = rightsFault(status, installation);
  if (!fault.empty()) {
    findings.push_back(
        {Level::kFail,
         check,
         "backend " + place + " " + fault + "; the scheduler refuses it",
         {"sudo chown root:root " + shellWord(place), "sudo chmod go-w,u-s " + shellWord(place)}});
  } else if ((status.st_mode & S_IXUSR) == 0) {
    findings.push_back({Level::kFail,
                        check,
                        "backend " + place + " is not executable",
                        {"sudo chmod u+x " + shellWord(place)}});
  } else {
    findings.push_back({Level::kOk, check, "backend " + device.scheme + " is there"});
  }
}

void checkSocket(const QueueState& queue, const std::string& check, const DeviceAddress& device,
                 bool connect, Findings& findings) {
  const std::string port =
      device.port == kSocketPort ? std::string() : ':' + std::to_string(device.port);
  if (device.host.empty()) {
    findings.push_back({Level::kFail,
                        check,
                        "the address names no host",
                        {newDeviceCommand(queue, "'socket://ADDRESS/?snmp=false'")}});
    return;
  }
  std::string error;
  if (connect && !canConnect(device.host, device.port, error)) {
    findings.push_back({Level::kFail,
                        check,
                        device.host + " port " + std::to_string(device.port) + ": " + error,
                        {"switch the printer on, check its cable and its address: ping " +
                         shellWord(device.host)}});
  } else if (connect) {
    findings.push_back({Level::kOk, check, device.host + " takes connections"});
  }
  if (!hasOption(device.resource, "snmp="))
    findings.push_back(
        {Level::kWarn,
         check,
         "each job waits some 4 s for SNMP answers, which receipt printers rarely give",
         {newDeviceCommand(queue, shellWord("socket://" + device.host + port + "/?snmp=false"))}});
}

void checkNode(const QueueState& queue, const std::string& check, const DeviceAddress& device,
               const Installation& installation, Findings& findings) {
  const std::string node =
      installation.onDisk(device.resource.substr(0, device.resource.find('?')));
  struct stat status = {};
  const int code = ::stat(node.c_str(), &status) == 0 ? 0 : errno;
  if (isClosedToUs(code)) {
    findings.push_back({Level::kSkip, check, uncheckedText(node)});
  } else if (code != 0) {
    findings.push_back({Level::kFail,
                        check,
                        node + ": " + std::strerror(code),
                        {"plug the printer in, or name another device: lpinfo -v",
                         newDeviceCommand(queue, shellWord(device.scheme + ":DEVICE"))}});
  } else if (device.scheme == "serial" && !hasOption(device.resource, "baud=")) {
    findings.push_back(
        {Level::kWarn,
         check,
         "the address names no speed, and a page takes many minutes at 9600 baud",
         {newDeviceCommand(queue, shellWord("serial:" + device.resource + "?baud=115200")) +
          "  (as the printer is set)"}});
  }
}

// A USB printer has no node of its own: CUPS finds it by its name when a job comes, and
// waits for one that is not there.
void checkUsb(const std::string& check, const Installation& installation, Findings& findings) {
#ifdef __APPLE__
  (void)installation;
  findings.push_back(
      {Level::kSkip, check, "not checked: lpinfo -v shows whether the printer is plugged in"});
#else
  const std::vector<std::string> printers = listUsbPrinters(installation);
  if (printers.empty()) {
    findings.push_back({Level::kWarn,
                        check,
                        "no USB printer is plugged in: jobs wait until one is",
                        {"plug the printer in and switch it on; lpinfo -v then lists it"}});
    return;
  }
  std::string text = "plugged in:";
  for (const std::string& printer : printers) text += " \"" + printer + "\"";
  findings.push_back({Level::kOk, check, text});
#endif
}

// What some kinds of device ask for besides.
void checkKind(const QueueState& queue, const std::string& check, const DeviceAddress& device,
               const Installation& installation, Findings& findings) {
  constexpr std::array<std::string_view, 5> kDriverless = {"ipp", "ipps", "http", "https",
                                                           "implicitclass"};
  if (device.scheme == "socket") {
    checkSocket(queue, check, device, installation.connect, findings);
  } else if (device.scheme == "serial" || device.scheme == "parallel" ||
             (device.scheme == "usb" && device.host.empty())) {
    checkNode(queue, check, device, installation, findings);
  } else if (device.scheme == "usb") {
    checkUsb(check, installation, findings);
  } else if (device.scheme == "file") {
    findings.push_back({Level::kWarn,
                        check,
                        "jobs go to a file, not to a printer",
                        {newDeviceCommand(queue, "DEVICE  (lpinfo -v lists the devices)")}});
  } else if (std::find(kDriverless.begin(), kDriverless.end(), device.scheme) !=
             kDriverless.end()) {
    findings.push_back({Level::kWarn,
                        check,
                        "printer commands go to an IPP printer or another scheduler, which must "
                        "pass them on untouched",
                        {newDeviceCommand(queue, "DEVICE  (lpinfo -v lists the devices)")}});
  }
}

// What the scheduler's reasons mean; others are given as they are. Its message names the
// program that it missed.
Finding reasonFinding(const std::string& check, const std::string& reason,
                      const std::string& message) {
  if (reason == "cups-missing-filter-warning") {
    const std::string program = missingProgram(message);
    const bool known = !program.empty();
    return {
        Level::kFail,
        check,
        "the scheduler does not find " + (known ? program : "a filter of the queue"),
        {known ? reinstallProgramCommand(program)
               : "mend \"filter\" and \"converters\" above, then: " + restartSchedulerCommand()}};
  }
  if (reason == "cups-insecure-filter-warning")
    return {Level::kFail,
            check,
            "the scheduler has refused a filter of the queue because of its rights",
            {"mend the rights, then: " + restartSchedulerCommand() + "  (or print a job)"}};
  return {Level::kWarn,
          check,
          "the printer reports " + reason,
          {"look at the printer: paper, cover, cable"}};
}

}  // namespace

void checkQueueState(const QueueState& queue, Findings& findings) {
  const std::string check = "queue " + queue.name;
  const std::string message = queue.stateMessage.empty() ? "" : " (" + queue.stateMessage + ")";
  if (queue.state == QueueState::State::kUnknown) {
    findings.push_back({Level::kSkip, check, uncheckedText("its state is not known")});
  } else if (queue.state == QueueState::State::kStopped) {
    findings.push_back(
        {Level::kFail, check, "stopped" + message, {"sudo cupsenable " + shellWord(queue.name)}});
  } else {
    std::string text = queue.state == QueueState::State::kPrinting ? "printing" : "ready to print";
    if (queue.waitingJobs) text += ", " + std::to_string(*queue.waitingJobs) + " jobs waiting";
    findings.push_back({Level::kOk, check, text});
  }
  if (queue.accepting == false)
    findings.push_back(
        {Level::kFail, check, "takes no jobs", {"sudo cupsaccept " + shellWord(queue.name)}});
  for (const std::string& reason : queue.reasons)
    if (reason.rfind("paused", 0) != 0 && reason.rfind("cups-waiting-for-job", 0) != 0 &&
        reason != "connecting-to-device")
      findings.push_back(reasonFinding(check, reason, queue.stateMessage));
}

void checkDevice(const QueueState& queue, const Installation& installation, Findings& findings) {
  const std::string check = "queue " + queue.name + " device";
  if (queue.deviceUri.empty()) {
    findings.push_back({Level::kSkip, check, uncheckedText("its address is not known")});
    return;
  }
  DeviceAddress device;
  const std::string shown = redactUri(queue.deviceUri);
  if (!parseDevice(queue.deviceUri, device)) {
    findings.push_back({Level::kFail,
                        check,
                        shown + " is not a device address",
                        {newDeviceCommand(queue, "DEVICE  (lpinfo -v lists the devices)")}});
    return;
  }
  findings.push_back({Level::kOk, check, shown});
  // The scheduler writes to files itself.
  if (device.scheme != "file") checkBackend(check, device, installation, findings);
  checkKind(queue, check, device, installation, findings);
}
