// SPDX-License-Identifier: Apache-2.0
// What a printer says of itself: DLE EOT n, one byte each.
#ifndef APP_PRINTER_STATUS_H_
#define APP_PRINTER_STATUS_H_

#include <cstdint>
#include <functional>
#include <optional>

namespace app {

// Bits of PrinterStatus.
enum StatusBit : unsigned {
  kStatusCoverOpen = 1,
  kStatusMediaEmpty = 2,
  kStatusMediaLow = 4,
  kStatusOffline = 8,
  kStatusCutterFault = 16,
  kStatusLastingFault = 32,
  kStatusPassingFault = 64,
};

// What is wrong in words; null where there is none of the three faults.
const char* faultText(unsigned status);

// What one answer means; nothing for a byte that is no answer.
std::optional<unsigned> statusOfAnswer(int question, uint8_t answer);

// Asks all questions. `ask` sends one and returns its answer; nothing for silence, after
// which no more is asked. Nothing when the printer does not answer, or not in this language.
std::optional<unsigned> askStatus(const std::function<std::optional<uint8_t>(int)>& ask);

}  // namespace app

#endif  // APP_PRINTER_STATUS_H_
