// SPDX-License-Identifier: Apache-2.0
// The first byte chooses the time of day, the text up to the first NUL is the
// job's options, the rest the driver file. What must hold: settings or one error
// line; text that ends, sizes that are numbers; and commands that are those of the
// plain model for the same settings, whatever the numbers.
#include <stdlib.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "filter/commands.h"
#include "filter/settings.h"
#include "tests/fuzz/byte_feed.h"
#include "tests/fuzz/log_in_memory.h"
#include "tests/model/stream.h"
#include "tests/support/files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

constexpr std::array<std::time_t, 7> kTimes = {1738367999,
                                               0,
                                               -1,
                                               std::numeric_limits<int32_t>::max(),
                                               67768036191676799,  // the last that has a date
                                               std::numeric_limits<std::time_t>::max(),
                                               std::numeric_limits<std::time_t>::min()};

model::JobSettings modelOf(const Settings& settings) {
  model::JobSettings out;
  out.maxMediaWidth = settings.maxMediaWidth;
  out.pageCutType = settings.pageCutType;
  out.docCutType = settings.docCutType;
  out.feedCutAfterJobEnd = settings.feedCutAfterJobEnd;
  out.cashDrawer1Setting = settings.cashDrawer1Setting;
  out.cashDrawer2Setting = settings.cashDrawer2Setting;
  out.documentBuzzerSetting = settings.documentBuzzerSetting;
  out.pageBuzzerSetting = settings.pageBuzzerSetting;
  out.buzzerOnTime = settings.buzzerOnTime;
  out.buzzerRepeat = settings.buzzerRepeat;
  out.docTopLogoID = settings.docTopLogoID;
  out.docTopLogoMode = settings.docTopLogoMode;
  out.docTopLogoPosition = settings.docTopLogoPosition;
  out.docBottomLogoID = settings.docBottomLogoID;
  out.docBottomLogoMode = settings.docBottomLogoMode;
  out.docBottomLogoPosition = settings.docBottomLogoPosition;
  out.printDensity = settings.printDensity;
  return out;
}

template <typename Send>
void requireSent(const Bytes& wanted, const Send& send, const char* what) {
  const MemoryStream out;
  send(out.get());
  require(out.bytes() == wanted, what);
}

void checkCommands(const Settings& settings) {
  const model::JobSettings wanted = modelOf(settings);
  requireSent(
      model::jobSetupBytes(wanted), [&](std::FILE* out) { jobSetup(settings, out); },
      "the model's job start");
  requireSent(
      model::pageSetupBytes(wanted), [&](std::FILE* out) { pageSetup(settings, {}, out); },
      "the model's page start");
  requireSent(
      model::endPageBytes(wanted), [&](std::FILE* out) { endPage(settings, out); },
      "the model's page end");
  requireSent(
      model::endJobBytes(wanted), [&](std::FILE* out) { endJob(settings, out); },
      "the model's job end");
}

void checkSettings(const Settings& settings) {
  const auto type = static_cast<int32_t>(settings.halftoneType);
  require(type >= 0 && type < kHalftoneTypeCount, "a halftone that exists");
  require(std::memchr(settings.recordFileName.data(), 0, settings.recordFileName.size()) != nullptr,
          "a record name that ends");
  for (const float side : {settings.pageWidth, settings.pageHeight}) {
    require(std::isfinite(side) && side >= 0.0F, "a page size that is a number");
  }
  checkCommands(settings);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const TempFolder folder;
  static const std::string path = folder.file("printer.ppd");
  if (size == 0) return 0;
  const std::time_t now = kTimes[data[0] % kTimes.size()];
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const size_t end = std::min(text.find('\0'), text.size());
  writeFile(path, end == text.size() ? std::string() : text.substr(end + 1));
  setenv("PPD", path.c_str(), 1);

  Settings settings;
  bool good = false;
  const LogInMemory log;
  good = initializeSettings(text.substr(0, end).c_str(), &settings, [now] { return now; });
  const std::string lines = log.text();
  require(lines.empty() || lines.back() == '\n', "log lines that end");
  if (good) {
    checkSettings(settings);
  } else {
    require(lines.rfind("ERROR:", 0) == 0 && lines.find('\n') == lines.size() - 1,
            "one error line");
  }
  return 0;
}
