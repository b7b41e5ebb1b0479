// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/printer_app_check.h"

#include <cups/cups.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/drav/doctor/connection.h"

namespace {

constexpr const char* kAppCheck = "printer application";
constexpr const char* kAvahiSocket = "/run/avahi-daemon/socket";
constexpr int kAnswerSeconds = 10;  // while the server waits for a printer

struct HttpCloser {
  void operator()(http_t* http) const { httpClose(http); }
};
using AppConnection = std::unique_ptr<http_t, HttpCloser>;

struct MessageDeleter {
  void operator()(ipp_t* message) const { ippDelete(message); }
};
using AppAnswer = std::unique_ptr<ipp_t, MessageDeleter>;

struct AppQueue {
  std::string name;
  std::string path;       // after the server's address
  std::string announced;  // name on the network; empty for none
  int serverPort = 0;
  std::vector<std::string> reasons;
};

// Where the commands find the user's own server, then the system's; those that are there. The
// system's may be a link, which the package made, to the socket of a server that does not run.
std::vector<std::string> serverSockets() {
  const char* temporary = std::getenv("TMPDIR");
  const char* snap = std::getenv("SNAP_COMMON");
  const std::string users = std::string(temporary != nullptr ? temporary : "/tmp") +
                            "/drav-printer-app" + std::to_string(::getuid()) + ".sock";
  const std::string systems =
      std::string(snap != nullptr ? snap : "/run") + "/drav-printer-app.sock";
  std::vector<std::string> found;
  for (const std::string& path : {users, systems})
    if (::faccessat(AT_FDCWD, path.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0) found.push_back(path);
  return found;
}

AppConnection connectToServer(const std::string& socket) {
  AppConnection http(httpConnect2(socket.c_str(), 0, nullptr, AF_UNSPEC,
                                  HTTP_ENCRYPTION_IF_REQUESTED, 1, kAnswerSeconds * 1000, nullptr));
  if (http) {
    httpSetTimeout(
        http.get(), kAnswerSeconds, [](http_t*, void*) { return 0; }, nullptr);
  }
  return http;
}

// Null when there is no answer or a refusal.
AppAnswer askServer(http_t* http, ipp_op_t operation, const char* target, const std::string& path) {
  ipp_t* request = ippNewRequest(operation);
  const std::string uri = "ipp://localhost" + path;
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, target, nullptr, uri.c_str());
  AppAnswer answer(cupsDoRequest(http, request, path.c_str()));
  if (cupsLastError() > IPP_STATUS_OK_CONFLICTING) answer.reset();
  return answer;
}

std::string pathOf(const char* uri) {
  std::array<char, HTTP_MAX_URI> scheme{};
  std::array<char, HTTP_MAX_URI> user{};
  std::array<char, HTTP_MAX_URI> host{};
  std::array<char, HTTP_MAX_URI> path{};
  int port = 0;
  (void)httpSeparateURI(HTTP_URI_CODING_ALL, uri, scheme.data(), HTTP_MAX_URI, user.data(),
                        HTTP_MAX_URI, host.data(), HTTP_MAX_URI, &port, path.data(), HTTP_MAX_URI);
  return path.data();
}

void takeAttribute(ipp_attribute_t* attribute, AppQueue& queue) {
  const std::string_view name = ippGetName(attribute);
  const char* text = ippGetString(attribute, 0, nullptr);
  if (name == "drav-server-port") queue.serverPort = ippGetInteger(attribute, 0);
  if (text == nullptr) return;
  if (name == "printer-name") queue.name = text;
  if (name == "printer-dns-sd-name") queue.announced = text;
  if (name == "printer-uri-supported") queue.path = pathOf(text);
  if (name != "printer-state-reasons") return;
  queue.reasons.clear();
  for (int i = 0; i < ippGetCount(attribute); ++i) {
    const std::string_view reason = ippGetString(attribute, i, nullptr);
    if (reason != "none") queue.reasons.emplace_back(reason);
  }
}

// Each is a group of attributes of its own.
std::vector<AppQueue> queuesOf(ipp_t* answer) {
  std::vector<AppQueue> queues;
  bool isInside = false;
  for (ipp_attribute_t* one = ippFirstAttribute(answer); one != nullptr;
       one = ippNextAttribute(answer)) {
    const bool isQueues = ippGetGroupTag(one) == IPP_TAG_PRINTER && ippGetName(one) != nullptr;
    if (isQueues && !isInside) queues.emplace_back();
    if (isQueues) takeAttribute(one, queues.back());
    isInside = isQueues;
  }
  return queues;
}

void checkPort(int port, Findings& findings) {
  const std::string check = std::string(kAppCheck) + " port";
  const std::string place = "localhost:" + std::to_string(port);
  std::string error;
  if (port == 0) {
    findings.push_back({Level::kWarn,
                        check,
                        "it has none: a command has started it, and only commands reach it",
                        {"drav-printer-app server -o server-port=8631"}});
  } else if (!canConnect("127.0.0.1", port, error)) {  // by its number: a name may not resolve
    findings.push_back({Level::kWarn, check, "does not answer at " + place + ": " + error});
  } else {
    findings.push_back({Level::kOk, check, "answers at " + place});
  }
}

void checkAnnouncement(const AppQueue& queue, const std::string& check, Findings& findings) {
  if (queue.announced.empty()) {
    findings.push_back({Level::kNote,
                        check,
                        "is not announced: only this machine prints to it",
                        {"drav-printer-app server -o share=yes"}});
  } else if (::access(kAvahiSocket, F_OK) != 0) {
    findings.push_back(
        {Level::kWarn,
         check,
         "is shared, but nobody finds it: avahi, which announces it, does not run",
         {"sudo apt-get install avahi-daemon", "sudo systemctl start avahi-daemon"}});
  } else {
    findings.push_back({Level::kOk, check, "is announced as " + queue.announced});
  }
}

void checkPrinter(const AppQueue& queue, const std::string& check, Findings& findings) {
  std::string reasons;
  bool isOffline = false;
  for (const std::string& reason : queue.reasons) {
    isOffline = isOffline || reason.starts_with("offline");
    reasons += (reasons.empty() ? "" : ", ") + reason;
  }
  if (isOffline) {
    findings.push_back({Level::kFail,
                        check,
                        "its printer does not answer",
                        {"switch the printer on, and look at its cable or its address"}});
  } else if (!reasons.empty()) {
    findings.push_back({Level::kWarn, check, "its printer says " + reasons});
  } else {
    findings.push_back({Level::kOk, check, "its printer is there"});
  }
}

void checkServer(http_t* http, std::vector<AppQueue> queues, Findings& findings) {
  if (queues.empty()) {
    findings.push_back({Level::kNote,
                        std::string(kAppCheck) + " queues",
                        "it has none",
                        {"drav-printer-app add -v DEVICE -m MODEL -o queues=usual"}});
    return;
  }
  checkPort(queues.front().serverPort, findings);
  for (AppQueue& queue : queues) {
    const std::string check = std::string(kAppCheck) + " queue " + queue.name;
    // The server asks the printer when one queue is asked for, and not for their list.
    const AppAnswer answer =
        askServer(http, IPP_OP_GET_PRINTER_ATTRIBUTES, "printer-uri", queue.path);
    if (const auto now = queuesOf(answer.get()); !now.empty()) queue = now.front();
    checkPrinter(queue, check, findings);
    checkAnnouncement(queue, check, findings);
  }
}

}  // namespace

void checkPrinterApp(Findings& findings) {
  const std::vector<std::string> sockets = serverSockets();
  for (const std::string& socket : sockets) {
    const AppConnection http = connectToServer(socket);
    if (!http) continue;
    const AppAnswer answer =
        askServer(http.get(), IPP_OP_GET_PRINTERS, "system-uri", "/ipp/system");
    if (!answer) continue;
    findings.push_back({Level::kOk, kAppCheck, "runs; its commands find it at " + socket});
    checkServer(http.get(), queuesOf(answer.get()), findings);
    return;
  }
  if (sockets.empty()) return;
  findings.push_back({Level::kFail,
                      kAppCheck,
                      "does not answer at " + sockets.front(),
                      {"sudo systemctl start drav-printer-app", "drav-printer-app server"}});
}
