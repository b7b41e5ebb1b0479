// SPDX-License-Identifier: Apache-2.0
#include "app/queue_status.h"

#include <array>

#include "app/printer_status.h"
#include "app/shutdown.h"
#include "common/scope_guard.h"

namespace app {
namespace {

using std::chrono::steady_clock;

constexpr int kAnswerTime = 700;  // milliseconds
// Whoever asks for the attributes of a queue waits for the printer as well, so a printer
// that is silent or away is left alone for a while.
constexpr std::chrono::minutes kSilence{5};
constexpr std::chrono::seconds kAway{20};
constexpr std::chrono::seconds kAnswered{2};

constexpr pappl_preason_t kReasons = PAPPL_PREASON_DEVICE_STATUS;

pappl_preason_t reasonsOf(unsigned status) {
  pappl_preason_t reasons = PAPPL_PREASON_NONE;
  if ((status & kStatusCoverOpen) != 0) reasons |= PAPPL_PREASON_COVER_OPEN;
  if ((status & kStatusMediaEmpty) != 0) reasons |= PAPPL_PREASON_MEDIA_EMPTY;
  if ((status & kStatusMediaLow) != 0) reasons |= PAPPL_PREASON_MEDIA_LOW;
  if (faultText(status) != nullptr) reasons |= PAPPL_PREASON_OTHER;
  if ((status & kStatusOffline) != 0) reasons |= PAPPL_PREASON_OFFLINE;
  return reasons;
}

std::optional<uint8_t> answerTo(Connection& connection, int question, const GiveUp& giveUp) {
  const std::array<char, 3> bytes = {0x10, 0x04, static_cast<char>(question)};
  std::array<uint8_t, 1> answer{};
  if (!connection.write(bytes, giveUp)) return std::nullopt;
  if (connection.read(answer, kAnswerTime) == 0) return std::nullopt;
  return answer[0];
}

}  // namespace

void askPrinter(pappl_printer_t* printer, const DeviceAddress& address, DeviceState& state,
                const GiveUp& giveUp) {
  const auto now = steady_clock::now();
  if (now >= state.nextQuestion) {
    std::string error;
    const auto connection = Connection::open(address, giveUp, error);
    std::optional<unsigned> status;
    if (connection && address.answersStatus) {
      connection->drain();
      status = askStatus([&](int question) { return answerTo(*connection, question, giveUp); });
    }
    const char* fault = faultText(status.value_or(0));
    if (fault != nullptr && fault != state.fault)
      papplLogPrinter(printer, PAPPL_LOGLEVEL_ERROR, "The printer says: %s.", fault);
    state.fault = fault;
    state.reasons = reasonsOf(connection ? status.value_or(0) : kStatusOffline);
    const auto pause = std::chrono::seconds(!connection ? kAway : status ? kAnswered : kSilence);
    state.nextQuestion = steady_clock::now() + pause;
    if (connection && address.answersStatus && !status)
      papplLogPrinter(printer, PAPPL_LOGLEVEL_INFO, "The printer does not tell its status.");
  }
  papplPrinterSetReasons(printer, state.reasons, kReasons & ~state.reasons);
}

void setOffline(pappl_printer_t* printer, bool isOffline) {
  papplPrinterSetReasons(printer, isOffline ? PAPPL_PREASON_OFFLINE : PAPPL_PREASON_NONE,
                         isOffline ? PAPPL_PREASON_NONE : PAPPL_PREASON_OFFLINE);
}

bool updateQueueStatus(pappl_printer_t* printer) {
  // The queues of the state file come before the server runs: no waiting then.
  if (!papplSystemIsRunning(papplPrinterGetSystem(printer))) return true;
  const char* uri = papplPrinterGetDeviceURI(printer);
  const auto address = parseDeviceUri(uri == nullptr ? "" : uri);
  if (!address || address->kind == DeviceKind::kFile) return true;
  DeviceState& state = DeviceState::of(*address);
  if (!state.tryAcquire()) return true;
  const ScopeGuard release([&state] { state.release(); });
  askPrinter(printer, *address, state, shallStop);
  return true;
}

}  // namespace app
