// SPDX-License-Identifier: Apache-2.0
#include "tests/model/stream.h"

#include <cmath>
#include <cstdlib>

namespace model {
namespace {

using Bytes = std::vector<uint8_t>;

void append(Bytes& out, const Bytes& more) { out.insert(out.end(), more.begin(), more.end()); }

// Parameters are sent as the low 8 bits of the option's number.
uint8_t low8(int32_t value) { return static_cast<uint8_t>(static_cast<uint32_t>(value) & 0xFF); }

Bytes buzzer(const JobSettings& s) {
  return {0x1B, 0x42, low8(s.buzzerRepeat), low8(s.buzzerOnTime)};
}

Bytes drawer(int number) { return {0x1B, 0x70, static_cast<uint8_t>(number - 1), 0x40, 0x40}; }

Bytes align(int32_t position) { return {0x1B, 0x61, low8(position)}; }

Bytes logo(int32_t position, int32_t number, int32_t mode) {
  Bytes out;
  append(out, align(position));
  append(out, {0x1C, 0x70, low8(number), low8(mode)});
  append(out, align(0));
  return out;
}

// Nothing for numbers that name no cut.
Bytes cut(int32_t type) {
  if (type == 1) return {0x0A, 0x0A, 0x0A, 0x0A, 0x1D, 0x56, 0x01};
  if (type == 2) return {0x0A, 0x0A, 0x0A, 0x0A, 0x1D, 0x56, 0x00};
  return {};
}

}  // namespace

bool setJobField(JobSettings& s, const std::string& name, const std::string& value) {
  if (name == "maxMediaWidth") {
    s.maxMediaWidth = std::atof(value.c_str());
    return true;
  }
  if (name == "recordFileName") {
    s.recordFileName = value;
    return true;
  }
  if (name == "savesFail") {
    s.savesFail = std::atoi(value.c_str()) != 0;
    return true;
  }
  if (name == "halftoneName") {
    s.halftoneType = halftoneTypeFromName(value);
    return true;
  }
  struct Switch {
    const char* name;
    bool JobSettings::*member;
  };
  static const Switch switches[] = {{"stencilMirror", &JobSettings::stencilMirror},
                                    {"halfTurn", &JobSettings::halfTurn},
                                    {"invertPage", &JobSettings::invertPage},
                                    {"keepPictures", &JobSettings::keepPictures}};
  for (const Switch& one : switches) {
    if (name != one.name) continue;
    s.*(one.member) = value == "True";
    return value == "True" || value == "False";
  }
  if (name == "trimPaper") {
    s.trimPaper = value == "End" ? Trim::end : value == "Both" ? Trim::both : Trim::nothing;
    return value == "None" || value == "End" || value == "Both";
  }
  struct Field {
    const char* name;
    int32_t JobSettings::*member;
  };
  static const Field fields[] = {
      {"pageCutType", &JobSettings::pageCutType},
      {"docCutType", &JobSettings::docCutType},
      {"feedCutAfterJobEnd", &JobSettings::feedCutAfterJobEnd},
      {"cashDrawer1Setting", &JobSettings::cashDrawer1Setting},
      {"cashDrawer2Setting", &JobSettings::cashDrawer2Setting},
      {"documentBuzzerSetting", &JobSettings::documentBuzzerSetting},
      {"pageBuzzerSetting", &JobSettings::pageBuzzerSetting},
      {"buzzerOnTime", &JobSettings::buzzerOnTime},
      {"buzzerRepeat", &JobSettings::buzzerRepeat},
      {"docTopLogoID", &JobSettings::docTopLogoID},
      {"docTopLogoMode", &JobSettings::docTopLogoMode},
      {"docTopLogoPosition", &JobSettings::docTopLogoPosition},
      {"docBottomLogoID", &JobSettings::docBottomLogoID},
      {"docBottomLogoMode", &JobSettings::docBottomLogoMode},
      {"docBottomLogoPosition", &JobSettings::docBottomLogoPosition},
      {"brightness", &JobSettings::brightness},
      {"printDensity", &JobSettings::printDensity},
      {"halftoneType", &JobSettings::halftoneType},
      {"contrast", &JobSettings::contrast},
      {"paperFrame", &JobSettings::paperFrame},
  };
  for (const Field& field : fields) {
    if (name == field.name) {
      s.*(field.member) = std::atoi(value.c_str());
      return true;
    }
  }
  return false;
}

int32_t halftoneTypeFromName(const std::string& name) {
  static const char* const names[] = {"None",   "FloydSteinberg",    "Ordered", "Burkes",
                                      "Stucki", "JarvisJudiceNinke", "Sierra",  "StevensonArce",
                                      "Tattoo", "Tattoo_X8"};
  for (int32_t k = 0; k < 10; ++k) {
    if (name == names[k]) return k;
  }
  return 0;
}

uint64_t maxMediaLinePixels(double maxMediaWidth, uint32_t resolution) {
  if (!std::isfinite(maxMediaWidth) || maxMediaWidth <= 0) return 0;
  const double inches = maxMediaWidth / 72.0;
  const double dots = inches * static_cast<double>(resolution);
  if (dots >= 18446744073709551616.0) return UINT64_MAX;
  return static_cast<uint64_t>(dots);
}

namespace {

// The drawing's columns that do not print. They are at the right end of the printed row.
uint64_t lostColumns(uint64_t cupsWidth, uint64_t skip) {
  const uint64_t row = (cupsWidth + 3) / 4 * 4;
  const uint64_t sent = skip < row ? row - skip : row;
  return sent < cupsWidth ? cupsWidth - sent : 0;
}

// What is told of ink in the columns that are lost, at the left or right of the picture; empty
// when there is none. Levels from 8 on are ink.
std::string lostInkText(const RasterPage& page, uint64_t lost, bool atLeft) {
  uint64_t all = 0;
  uint64_t gone = 0;
  uint64_t furthest = 0;
  for (uint64_t y = 0; y < page.height; ++y) {
    for (uint64_t x = 0; x < page.cupsWidth; ++x) {
      const uint64_t level = page.pixels[y * page.bytesPerLine + x];
      if (level < 8) continue;
      all += level;
      const uint64_t fromEdge = atLeft ? x : page.cupsWidth - 1 - x;
      if (fromEdge >= lost) continue;
      gone += level;
      if (lost - fromEdge > furthest) furthest = lost - fromEdge;
    }
  }
  if (gone == 0) return "";
  const auto tenths = [](uint64_t over, uint64_t under) {
    const uint64_t count = over / under + (over % under * 2 >= under ? 1 : 0);
    return std::to_string(count / 10) + "." + std::to_string(count % 10);
  };
  const std::string length = page.hwResolution == 0
                                 ? std::to_string(furthest) + " dots"
                                 : tenths(furthest * 254, page.hwResolution) + " mm";
  const std::string share = gone * 2000 < all ? "0.1" : tenths(gone * 1000, all);
  return std::string("ink lost at the ") + (atLeft ? "left" : "right") + ": " + length + ", " +
         share + " % of the ink";
}

}  // namespace

uint64_t skipPixels(double maxMediaWidth, uint32_t resolution, uint32_t bytesPerLine) {
  const uint64_t limit = maxMediaLinePixels(maxMediaWidth, resolution);
  if (limit > 0 && bytesPerLine > limit) return bytesPerLine - limit;
  return 0;
}

Bytes jobSetupBytes(const JobSettings& s) {
  Bytes out;
  append(out, {0x1B, 0x40});
  append(out, {0x1F, 0x1B, 0x1F, 0x13, 0x14, low8(s.printDensity)});
  if (s.cashDrawer1Setting == 1) append(out, drawer(1));
  if (s.cashDrawer2Setting == 1) append(out, drawer(2));
  if (s.documentBuzzerSetting == 1) append(out, buzzer(s));
  if (s.docTopLogoID > 0) {
    append(out, logo(s.docTopLogoPosition, s.docTopLogoID, s.docTopLogoMode));
  }
  append(out, {0x1B, 0x24, 0x01, 0x00});
  return out;
}

Bytes pageSetupBytes(const JobSettings& s) {
  if (s.pageBuzzerSetting == 1) return buzzer(s);
  return {};
}

Bytes endPageBytes(const JobSettings& s) {
  Bytes out = {0x1B, 0x4A, 0xA0};
  if (s.docBottomLogoID > 0) {
    append(out, logo(s.docBottomLogoPosition, s.docBottomLogoID, s.docBottomLogoMode));
  }
  append(out, cut(s.pageCutType));
  if (s.pageBuzzerSetting == 2) append(out, buzzer(s));
  return out;
}

Bytes endJobBytes(const JobSettings& s) {
  Bytes out;
  if (s.feedCutAfterJobEnd > 0) {
    append(out, {0x1B, 0x4A, 0x78});
    append(out, {0x1B, 0x64, low8(s.feedCutAfterJobEnd)});
  }
  append(out, cut(s.docCutType));
  if (s.documentBuzzerSetting == 2) append(out, buzzer(s));
  if (s.cashDrawer1Setting == 2) append(out, drawer(1));
  if (s.cashDrawer2Setting == 2) append(out, drawer(2));
  append(out, {0x1B, 0x76});
  return out;
}

JobResult runJob(const JobSettings& settings, const std::vector<RasterPage>& pages) {
  JobResult job;
  if (!settings.recordFileName.empty()) {
    job.log.push_back(logLine(0, "Filter data output to: " + settings.recordFileName));
  }
  job.stdoutBytes.assign(64, 0);
  append(job.stdoutBytes, jobSetupBytes(settings));

  int32_t pageCount = 0;
  bool inversionReported = false;
  for (const RasterPage& page : pages) {
    if (page.bitsPerPixel != 8) {
      job.log.push_back(logLine(3, "Unsupported bits per pixel : " +
                                       std::to_string(static_cast<int32_t>(page.bitsPerPixel)) +
                                       " ! Requires 8 bits per pixel!"));
      return job;
    }
    if (page.height == 0 || page.bytesPerLine == 0) break;
    const uint64_t trueSize = uint64_t{page.bytesPerLine} * page.height;
    const uint32_t size = page.bytesPerLine * page.height;
    if (page.cupsWidth > page.bytesPerLine || (trueSize > 0xFFFFFFFF && size != 0)) {
      job.log.push_back(logLine(3, kRefusedText));
      return job;
    }
    if (page.colorSpace != 3 && !inversionReported) {
      job.log.push_back(logLine(2, kInvertedText));
      inversionReported = true;
    }
    append(job.stdoutBytes, pageSetupBytes(settings));
    ++pageCount;
    job.log.push_back(logLine(1, "PAGE: " + std::to_string(pageCount) + " " +
                                     std::to_string(static_cast<int32_t>(page.numCopies))));
    // A read of nothing and a read that comes up short both end the job here.
    if (size == 0 || page.pixels.size() < size) break;

    const uint64_t limit = maxMediaLinePixels(settings.maxMediaWidth, page.hwResolution);
    job.log.push_back(logLine(
        0, "Calc skip pixels : maxMediaLinePixels(" + std::to_string(static_cast<uint32_t>(limit)) +
               "), cupsBytesPerLine(" + std::to_string(page.bytesPerLine) + ")"));

    PrinterSettings printer;
    printer.halftoneType = settings.halftoneType;
    printer.brightness = settings.brightness;
    printer.removeBlankEdges = 10;
    printer.skipRightPixels =
        skipPixels(settings.maxMediaWidth, page.hwResolution, page.bytesPerLine);
    const uint64_t lost = lostColumns(page.cupsWidth, printer.skipRightPixels);
    const bool lostAtLeft = settings.stencilMirror ? !settings.halfTurn : settings.halfTurn;
    if (lost > 0 && (settings.stencilMirror || settings.halfTurn)) {
      const char* side = lostAtLeft ? "left" : "right";
      job.log.push_back(logLine(0, std::string("The ") + side + " " + std::to_string(lost) +
                                       " columns of the drawing lie beyond the head"));
    }
    if (const std::string text = lostInkText(page, lost, lostAtLeft); !text.empty())
      job.log.push_back(logLine(2, "drav: page " + std::to_string(pageCount) + ": " + text));
    printer.pageSizeName = page.pageSizeName;
    printer.mirror = settings.stencilMirror;
    printer.rotate180 = settings.halfTurn;
    printer.invert = settings.invertPage;
    printer.contrast = settings.contrast;
    printer.antiWrinkle = settings.paperFrame;
    printer.trim = settings.trimPaper;
    printer.keepPictures = settings.keepPictures;
    printer.verticalResolution = page.hwResolutionY;
    const PrintedPage printed = printImage(printer, page.pixels, page.bytesPerLine, page.height,
                                           page.cupsWidth, settings.savesFail);
    append(job.stdoutBytes, printed.bands);
    if (!settings.recordFileName.empty()) append(job.recordBytes, printed.bands);
    job.saved.insert(job.saved.end(), printed.saved.begin(), printed.saved.end());
    job.log.insert(job.log.end(), printed.log.begin(), printed.log.end());

    append(job.stdoutBytes, endPageBytes(settings));
  }

  if (pageCount == 0) {
    job.log.push_back(logLine(3, "No pages found!"));
    return job;
  }
  append(job.stdoutBytes, endJobBytes(settings));
  job.log.push_back(logLine(1, "Ready to print."));
  job.exitStatus = 0;
  return job;
}

}  // namespace model
