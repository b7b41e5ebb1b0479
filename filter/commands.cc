// SPDX-License-Identifier: Apache-2.0
#include "filter/commands.h"

#include <span>

namespace {

constexpr uint8_t kInitialize[] = {0x1B, 0x40};  // ESC @
constexpr command printerInitializeCommand = {2, kInitialize};

// ESC p m t1 t2: pulse on pin 2 and on pin 5, 64 x 2 ms on and off.
constexpr uint8_t kDrawerPulses[2][5] = {{0x1B, 0x70, 0x00, 0x40, 0x40},
                                         {0x1B, 0x70, 0x01, 0x40, 0x40}};
constexpr command CashDrawerCommand[] = {{5, kDrawerPulses[0]}, {5, kDrawerPulses[1]}};

constexpr uint8_t kAbsolutePosition[] = {0x1B, 0x24, 0x01, 0x00};  // ESC $ nL nH
constexpr command AbsoluteAlignmentCommand = {4, kAbsolutePosition};

// Four line feeds and GS V m, by cut type.
constexpr uint8_t kCuts[2][7] = {{0x0A, 0x0A, 0x0A, 0x0A, 0x1D, 0x56, 0x01},
                                 {0x0A, 0x0A, 0x0A, 0x0A, 0x1D, 0x56, 0x00}};
constexpr command CutTypeCommand[] = {{0, nullptr}, {7, kCuts[0]}, {7, kCuts[1]}};

constexpr uint8_t kPageFeed[] = {0x1B, 0x4A, 0xA0};  // ESC J 160
constexpr uint8_t kJobFeed[] = {0x1B, 0x4A, 0x78};   // ESC J 120
constexpr uint8_t kSensorStatus[] = {0x1B, 0x76};    // ESC v; the answer is never read

void send(std::span<const uint8_t> bytes, std::FILE* out) {
  outputCommand({static_cast<int32_t>(bytes.size()), bytes.data()}, out);
}

// A parameter is the setting's low 8 bits: a missing option, -1, goes out as FF.
uint8_t parameter(int32_t setting) { return static_cast<uint8_t>(setting); }

void sendDensity(int32_t density, std::FILE* out) {
  const uint8_t bytes[] = {0x1F, 0x1B, 0x1F, 0x13, 0x14, parameter(density)};
  send(bytes, out);
}

void soundBuzzer(const Settings& settings, std::FILE* out) {
  const uint8_t bytes[] = {0x1B, 0x42, parameter(settings.buzzerRepeat),
                           parameter(settings.buzzerOnTime)};  // ESC B n t
  send(bytes, out);
}

void align(int32_t position, std::FILE* out) {
  const uint8_t bytes[] = {0x1B, 0x61, parameter(position)};  // ESC a n
  send(bytes, out);
}

void printLogo(int32_t id, int32_t mode, int32_t position, std::FILE* out) {
  const uint8_t bytes[] = {0x1C, 0x70, parameter(id), parameter(mode)};  // FS p n m
  align(position, out);
  send(bytes, out);
  align(0, out);
}

void feedLines(int32_t lines, std::FILE* out) {
  const uint8_t bytes[] = {0x1B, 0x64, parameter(lines)};  // ESC d n
  send(bytes, out);
}

// When a drawer or buzzer setting acts.
constexpr int32_t kAtStart = 1;
constexpr int32_t kAtEnd = 2;

}  // namespace

int32_t outputCommand(command sequence, std::FILE* out) {
  int32_t written = 0;
  // Nothing follows bytes that were lost.
  while (written < sequence.length && std::ferror(out) == 0 &&
         std::putc(sequence.bytes[written], out) != EOF) {
    ++written;
  }
  return written;
}

int32_t effectiveCut(int32_t cutType) { return cutType == 1 || cutType == 2 ? cutType : 0; }

void cutPaper(int32_t cutType, std::FILE* out) {
  outputCommand(CutTypeCommand[effectiveCut(cutType)], out);
}

void feedPage(std::FILE* out) { send(kPageFeed, out); }

void jobSetup(Settings settings, std::FILE* out) {
  outputCommand(printerInitializeCommand, out);
  sendDensity(settings.printDensity, out);
  if (settings.cashDrawer1Setting == kAtStart) outputCommand(CashDrawerCommand[0], out);
  if (settings.cashDrawer2Setting == kAtStart) outputCommand(CashDrawerCommand[1], out);
  if (settings.documentBuzzerSetting == kAtStart) soundBuzzer(settings, out);
  if (settings.docTopLogoID > 0) {
    printLogo(settings.docTopLogoID, settings.docTopLogoMode, settings.docTopLogoPosition, out);
  }
  outputCommand(AbsoluteAlignmentCommand, out);
}

void pageSetup(Settings settings, cups_page_header2_t /*header*/, std::FILE* out) {
  if (settings.pageBuzzerSetting == kAtStart) soundBuzzer(settings, out);
}

void endPage(Settings settings, std::FILE* out) {
  feedPage(out);
  if (settings.docBottomLogoID > 0) {
    printLogo(settings.docBottomLogoID, settings.docBottomLogoMode, settings.docBottomLogoPosition,
              out);
  }
  cutPaper(settings.pageCutType, out);
  if (settings.pageBuzzerSetting == kAtEnd) soundBuzzer(settings, out);
}

bool jobEndActs(const Settings& settings) {
  return settings.feedCutAfterJobEnd > 0 || effectiveCut(settings.docCutType) != 0 ||
         settings.documentBuzzerSetting == kAtEnd || settings.cashDrawer1Setting == kAtEnd ||
         settings.cashDrawer2Setting == kAtEnd;
}

void endJob(Settings settings, std::FILE* out) {
  if (settings.feedCutAfterJobEnd > 0) {
    send(kJobFeed, out);
    feedLines(settings.feedCutAfterJobEnd, out);
  }
  cutPaper(settings.docCutType, out);
  if (settings.documentBuzzerSetting == kAtEnd) soundBuzzer(settings, out);
  if (settings.cashDrawer1Setting == kAtEnd) outputCommand(CashDrawerCommand[0], out);
  if (settings.cashDrawer2Setting == kAtEnd) outputCommand(CashDrawerCommand[1], out);
  send(kSensorStatus, out);
}
