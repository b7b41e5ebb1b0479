// SPDX-License-Identifier: Apache-2.0
#include <pappl/pappl.h>

#include <cstdio>

#include "app/device_schemes.h"
#include "app/driver.h"
#include "app/server.h"

namespace {

void showUsage(void* /*data*/) {
  std::puts(
      "Usage: drav-printer-app COMMAND [OPTIONS]\n"
      "       drav-printer-app [submit] [OPTIONS] FILE...\n"
      "\n"
      "  server      runs the server in the foreground\n"
      "  add         adds a queue: -d NAME -v URI -m MODEL\n"
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
      "share=yes, tls=no, pdf=no, file-devices=yes, spool-directory=FOLDER,\n"
      "state-file=FILE, log-file=FILE, log-level=LEVEL\n"
      "\n"
      "drav-printer-app(1) tells more.");
}

}  // namespace

int main(int argc, char* argv[]) {
  app::addDeviceSchemes();
  const auto models = app::drivers();
  return papplMainloop(argc, argv, DRAV_VERSION, "", static_cast<int>(models.size()), models.data(),
                       app::modelOfDevice, app::describeDriver, nullptr, nullptr, app::makeSystem,
                       showUsage, nullptr);
}
