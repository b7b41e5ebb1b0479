// SPDX-License-Identifier: Apache-2.0
#include <pappl/pappl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "app/device_schemes.h"
#include "app/driver.h"
#include "app/server.h"
#include "app/usual_queues.h"

namespace {

void showUsage(void* /*data*/) {
  std::puts(
      "Usage: drav-printer-app COMMAND [OPTIONS]\n"
      "       drav-printer-app [submit] [OPTIONS] FILE...\n"
      "\n"
      "  server      runs the server in the foreground\n"
      "  add         adds a queue: -d NAME -v URI -m MODEL; with -o queues=usual those\n"
      "              that the model usually has\n"
      "  autoadd     adds queues for the printers that are connected\n"
      "  modify      changes the defaults of a queue: -d NAME -o OPTION=VALUE\n"
      "  delete      removes a queue: -d NAME\n"
      "  default     shows or sets the default queue: -d NAME\n"
      "  devices     lists the printers that are connected\n"
      "  drivers     lists the models\n"
      "  printers    lists the queues\n"
      "  options     lists the options of a queue\n"
      "  status      shows the state of the server or of a queue\n"
      "  jobs, cancel [-a | -j JOB], pause, resume, shutdown\n"
      "\n"
      "Options of the server, each behind -o: server-port=N, listen-hostname=HOST,\n"
      "share=yes, tls=no, pdf=no, web=no, file-devices=yes, spool-directory=FOLDER,\n"
      "state-file=FILE, log-file=FILE, log-level=LEVEL\n"
      "\n"
      "drav-printer-app(1) tells more.");
}

int run(int argc, char* argv[]) {
  const auto models = app::drivers();
  bool isServer = std::any_of(argv, argv + argc,
                              [](std::string_view argument) { return argument == "server"; });
  return papplMainloop(argc, argv, DRAV_VERSION, "", static_cast<int>(models.size()), models.data(),
                       app::modelOfDevice, app::describeDriver, nullptr, nullptr, app::makeSystem,
                       showUsage, &isServer);
}

// In a process of its own: PAPPL's main loop keeps what it has parsed. The exit status.
int runApart(app::CommandLine command) {
  const pid_t child = ::fork();
  if (child == 0) {
    std::vector<char*> arguments;
    for (std::string& argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    const int status = run(static_cast<int>(command.size()), arguments.data());
    std::fflush(nullptr);
    ::_exit(status);
  }
  int status = 0;
  if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status)) return 1;
  return WEXITSTATUS(status);
}

int start(int argc, char* argv[]) {
  app::addDeviceSchemes();
  std::string error;
  const auto commands = app::usualQueues({argv, static_cast<size_t>(argc)}, error);
  if (!error.empty()) {
    (void)std::fprintf(stderr, "drav-printer-app: %s\n", error.c_str());
    return 2;
  }
  for (const app::CommandLine& command : commands)
    if (const int status = runApart(command); status != 0) return status;
  return commands.empty() ? run(argc, argv) : 0;
}

}  // namespace

int main(int argc, char* argv[]) {
  try {
    return start(argc, argv);
  } catch (const std::exception& failure) {
    (void)std::fprintf(stderr, "drav-printer-app: %s\n", failure.what());
    return 2;
  }
}
