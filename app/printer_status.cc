// SPDX-License-Identifier: Apache-2.0
#include "app/printer_status.h"

#include <array>

namespace app {
namespace {

struct Meaning {
  int question;
  uint8_t bits;  // all of them set
  unsigned status;
};
constexpr std::array<Meaning, 6> kMeanings = {{
    {2, 0x04, kStatusCoverOpen},
    {2, 0x20, kStatusMediaEmpty},
    {3, 0x08, kStatusCutterFault},
    {3, 0x20, kStatusLastingFault},
    {3, 0x40, kStatusPassingFault},
    {4, 0x60, kStatusMediaEmpty},
}};
constexpr uint8_t kNearEnd = 0x0C;

}  // namespace

const char* faultText(unsigned status) {
  if ((status & kStatusCutterFault) != 0) return "its cutter does not move";
  if ((status & kStatusLastingFault) != 0) return "a fault that stays until it is repaired";
  if ((status & kStatusPassingFault) != 0) return "a fault that passes, as when its head is hot";
  return nullptr;
}

std::optional<unsigned> statusOfAnswer(int question, uint8_t answer) {
  // Four bits of each answer never change, so that data cannot be taken for one.
  constexpr uint8_t kFixedBits = 0x93;
  constexpr uint8_t kFixedValue = 0x12;
  if ((answer & kFixedBits) != kFixedValue) return std::nullopt;
  unsigned status = 0;
  for (const Meaning& one : kMeanings)
    if (one.question == question && (answer & one.bits) == one.bits) status |= one.status;
  if (question == 4 && (answer & kNearEnd) != 0) status |= kStatusMediaLow;
  return status;
}

std::optional<unsigned> askStatus(const std::function<std::optional<uint8_t>(int)>& ask) {
  unsigned status = 0;
  for (const int question : {2, 3, 4}) {
    const std::optional<uint8_t> answer = ask(question);
    if (!answer) return std::nullopt;
    const std::optional<unsigned> meaning = statusOfAnswer(question, *answer);
    if (!meaning) return std::nullopt;
    status |= *meaning;
  }
  return status;
}

}  // namespace app
