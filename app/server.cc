// SPDX-License-Identifier: Apache-2.0
#include "app/server.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>

#include "app/document_job.h"
#include "app/driver.h"
#include "app/lock_order.h"
#include "app/printer_number.h"
#include "app/server_lock.h"
#include "app/shutdown.h"
#include "app/state_file.h"
#include "app/web/web_page.h"
#include "documents/grey_pages.h"

namespace app {
namespace {

constexpr const char* kName = "drav-printer-app";
constexpr int kMostClients = 64;
constexpr int kMostActiveJobs = 100;
constexpr int kMostKeptJobs = 100;

class Options {
 public:
  Options(int count, cups_option_t* options) : count_(count), options_(options) {}
  const char* text(const char* name) const { return cupsGetOption(name, count_, options_); }
  // "yes", "true", "on"; or the opposite.
  bool isOn(const char* name, bool standard) const {
    const char* value = text(name);
    if (value == nullptr) return standard;
    return std::strcmp(value, "no") != 0 && std::strcmp(value, "false") != 0 &&
           std::strcmp(value, "off") != 0;
  }

 private:
  int count_;
  cups_option_t* options_;
};

std::optional<int> portOf(const char* text) {
  if (text == nullptr) return 0;
  int port = 0;
  const char* end = text + std::strlen(text);
  const auto [stop, failure] = std::from_chars(text, end, port);
  if (failure != std::errc() || stop != end || port < 0 || port > 65535) return std::nullopt;
  return port;
}

pappl_loglevel_t levelOf(const char* text) {
  const std::string level = text == nullptr ? "warn" : text;
  if (level == "fatal") return PAPPL_LOGLEVEL_FATAL;
  if (level == "error") return PAPPL_LOGLEVEL_ERROR;
  if (level == "info") return PAPPL_LOGLEVEL_INFO;
  if (level == "debug") return PAPPL_LOGLEVEL_DEBUG;
  return PAPPL_LOGLEVEL_WARN;
}

bool isShared = false;  // set once, before the system runs

// A queue that only this machine reaches is not announced to the network.
void hideQueue(pappl_printer_t* printer, void* /*data*/) {
  papplPrinterSetDNSSDName(printer, nullptr);
}

void completeQueue(pappl_printer_t* printer, void* /*data*/) {
  mendPrinterNumber(printer);
  papplPrinterSetMaxActiveJobs(printer, kMostActiveJobs);
  papplPrinterSetMaxCompletedJobs(printer, kMostKeptJobs);
  if (!isShared)
    hideQueue(printer, nullptr);
  else if (papplSystemIsRunning(papplPrinterGetSystem(printer)))  // PAPPL announces no new one
    papplPrinterSetDNSSDName(printer, papplPrinterGetName(printer));
}

// The state file has the names of a server that was shared.
void announceNothing(pappl_system_t* system) {
  papplSystemSetDNSSDName(system, nullptr);
  papplSystemIteratePrinters(system, hideQueue, nullptr);
}

// No document grows beyond what is read of one.
void limitFiles() {
  (void)std::signal(SIGXFSZ, SIG_IGN);
  (void)std::signal(SIGPIPE, SIG_IGN);
  const rlimit limit = {documents::kMostFileBytes, documents::kMostFileBytes};
  (void)::setrlimit(RLIMIT_FSIZE, &limit);
}

// Where a program that is asked for the domain socket of this one looks (PAPPL has no name
// for it).
std::string socketPath() {
  const uid_t user = ::getuid();
  if (user != 0)
    return std::string(papplGetTempDir()) + "/" + kName + std::to_string(user) + ".sock";
  const char* snap = std::getenv("SNAP_COMMON");
  return std::string(snap != nullptr ? snap : "/run") + "/" + kName + ".sock";
}

[[noreturn]] void refuse(const std::string& why) {
  (void)std::fprintf(stderr, "%s: %s.\n", kName, why.c_str());
  std::_Exit(EXIT_FAILURE);
}

// Two servers on one state file would lose each other's queues, and the second on one
// socket would take the commands from the first.
void lock(const std::string& state, StartedBy starter) {
  std::string error;
  if (!lockForServer(socketPath(), starter, error) || !lockForServer(state, starter, error))
    refuse(error);
}

// Whoever reads what the command says waits for its end, not for the server's.
void leaveTheCommandsStreams() {
  const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    (void)::dup2(nowhere, stream);
}

void listen(pappl_system_t* system, const Options& options) {
  const char* host = options.text("listen-hostname");
  if (!isShared) papplSystemSetHostName(system, "localhost");
  if (const char* name = options.text("server-hostname")) papplSystemSetHostName(system, name);
  if (host == nullptr && !isShared) host = "127.0.0.1";
  if (!papplSystemAddListeners(system, host))
    refuse(std::string("cannot listen at the port of ") +
           (host != nullptr ? host : "this machine"));
  // As a service of the machine: where every user's commands find it.
  if (const char* folder = std::getenv("RUNTIME_DIRECTORY"))
    papplSystemAddListeners(system, (std::string(folder) + "/server.sock").c_str());
}

}  // namespace

pappl_system_t* makeSystem(int optionCount, cups_option_t* options, void* data) {
  const Options chosen(optionCount, options);
  const bool isServer = *static_cast<const bool*>(data);
  const std::optional<int> port = portOf(chosen.text("server-port"));
  if (!port) refuse("bad 'server-port' value");
  const std::string folder = stateFolder();
  const char* state = chosen.text("state-file");
  const char* spool = chosen.text("spool-directory");
  const std::string spoolFolder = spool != nullptr ? spool : folder + "/spool";
  const char* log = chosen.text("log-file");
  const bool isPrivate = chosen.text("private-server") != nullptr;
  const std::string stateFile =
      std::filesystem::absolute(state != nullptr ? state : folder + "/state");
  const std::string logFile = log != nullptr ? log : isPrivate ? folder + "/log" : "-";
  if (isPrivate) leaveTheCommandsStreams();
  if (isServer) lock(stateFile, isPrivate ? StartedBy::kCommand : StartedBy::kUser);
  isShared = chosen.isOn("share", false);
  limitFiles();
  // None of PAPPL's web pages: two of them end the process.
  pappl_soptions_t soptions = PAPPL_SOPTIONS_MULTI_QUEUE;
  if (!chosen.isOn("tls", isShared)) soptions |= PAPPL_SOPTIONS_NO_TLS;
  pappl_system_t* system =
      papplSystemCreate(soptions, kName, *port, "_print,_universal", spoolFolder.c_str(),
                        logFile.c_str(), levelOf(chosen.text("log-level")), nullptr, false);
  if (system == nullptr || !isServer) return system;
  mendLockOrder(system);
  if (chosen.isOn("web", true)) addWebPage(system, spoolFolder);
  papplSystemSetMaxLogSize(system, 0);  // PAPPL stops for ever when it turns a log over
  papplSystemSetMaxClients(system, kMostClients);
  allowFileDevices(chosen.isOn("file-devices", false));
  addDocumentFilters(system, chosen.isOn("pdf", true));
  const auto models = drivers();
  papplSystemSetPrinterDrivers(system, static_cast<int>(models.size()), models.data(),
                               modelOfDevice, completeQueue, describeDriver, nullptr);
  if (!isPrivate) listen(system, chosen);
  keepState(system, stateFile);
  if (!isShared) announceNothing(system);
  watchForShutdown(system);
  return system;
}

}  // namespace app
