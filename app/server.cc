// SPDX-License-Identifier: Apache-2.0
#include "app/server.h"

#include <sys/resource.h>
#include <unistd.h>

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "app/document_job.h"
#include "app/driver.h"
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
void limitQueue(pappl_printer_t* printer, void* /*data*/) {
  papplPrinterSetMaxActiveJobs(printer, kMostActiveJobs);
  papplPrinterSetMaxCompletedJobs(printer, kMostKeptJobs);
  if (!isShared) papplPrinterSetDNSSDName(printer, nullptr);
}

// No document grows beyond what is read of one.
void limitFiles() {
  (void)std::signal(SIGXFSZ, SIG_IGN);
  (void)std::signal(SIGPIPE, SIG_IGN);
  const rlimit limit = {documents::kMostFileBytes, documents::kMostFileBytes};
  (void)::setrlimit(RLIMIT_FSIZE, &limit);
}

void listen(pappl_system_t* system, const Options& options) {
  const char* host = options.text("listen-hostname");
  if (options.text("private-server") != nullptr) return;
  if (!isShared) papplSystemSetHostName(system, "localhost");
  if (const char* name = options.text("server-hostname")) papplSystemSetHostName(system, name);
  papplSystemAddListeners(system, host != nullptr ? host : isShared ? nullptr : "127.0.0.1");
}

}  // namespace

pappl_system_t* makeSystem(int optionCount, cups_option_t* options, void* /*data*/) {
  const Options chosen(optionCount, options);
  const std::optional<int> port = portOf(chosen.text("server-port"));
  if (!port) {
    (void)std::fprintf(stderr, "%s: Bad 'server-port' value.\n", kName);
    return nullptr;
  }
  const std::string folder = stateFolder();
  const char* spool = chosen.text("spool-directory");
  const std::string spoolFolder = spool != nullptr ? spool : folder + "/spool";
  const char* log = chosen.text("log-file");
  isShared = chosen.isOn("share", false);
  limitFiles();
  // None of PAPPL's web pages: two of them end the process.
  pappl_soptions_t soptions = PAPPL_SOPTIONS_MULTI_QUEUE;
  if (!chosen.isOn("tls", isShared)) soptions |= PAPPL_SOPTIONS_NO_TLS;
  pappl_system_t* system = papplSystemCreate(soptions, kName, *port, "_print,_universal",
                                             spoolFolder.c_str(), log != nullptr ? log : "-",
                                             levelOf(chosen.text("log-level")), nullptr, false);
  if (system == nullptr) return nullptr;
  if (chosen.isOn("web", true)) addWebPage(system, spoolFolder);
  papplSystemSetMaxLogSize(system, 0);  // PAPPL stops for ever when it turns a log over
  papplSystemSetMaxClients(system, kMostClients);
  if (!isShared) papplSystemSetDNSSDName(system, nullptr);
  allowFileDevices(chosen.isOn("file-devices", false));
  addDocumentFilters(system, chosen.isOn("pdf", true));
  const auto models = drivers();
  papplSystemSetPrinterDrivers(system, static_cast<int>(models.size()), models.data(),
                               modelOfDevice, limitQueue, describeDriver, nullptr);
  listen(system, chosen);
  const char* state = chosen.text("state-file");
  keepState(system, state != nullptr ? state : folder + "/state");
  watchForShutdown(system);
  return system;
}

}  // namespace app
