// SPDX-License-Identifier: Apache-2.0
#include "app/identify.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "app/device.h"
#include "app/device_state.h"
#include "app/shutdown.h"
#include "common/scope_guard.h"
#include "filter/commands.h"

namespace app {
namespace {

std::string ringing() {
  Settings settings;
  settings.pageBuzzerSetting = 1;  // at the start of a page
  settings.buzzerRepeat = 3;
  settings.buzzerOnTime = 2;
  char* bytes = nullptr;
  size_t size = 0;
  std::FILE* out = ::open_memstream(&bytes, &size);
  if (out == nullptr) return "";
  pageSetup(settings, {}, out);
  (void)std::fclose(out);
  const ScopeGuard release([bytes] { std::free(bytes); });
  return {bytes, size};
}

}  // namespace

void identifyPrinter(pappl_printer_t* printer, pappl_identify_actions_t /*actions*/,
                     const char* /*message*/) {
  const char* uri = papplPrinterGetDeviceURI(printer);
  const auto address = parseDeviceUri(uri == nullptr ? "" : uri);
  if (!address) return;
  DeviceState& state = DeviceState::of(*address);
  if (!state.tryAcquire()) return;
  const ScopeGuard release([&state] { state.release(); });
  std::string error;
  const auto connection = Connection::open(*address, shallStop, error);
  if (!connection || !connection->write(ringing(), shallStop)) return;
  (void)connection->finish(shallStop);
}

}  // namespace app
