// SPDX-License-Identifier: Apache-2.0
// A raster stream through the whole filter in process. The first bytes choose the
// job's options; then comes either the stream as it stands, or a description of
// pages. What must hold: status 0 or 1, log lines of the known levels, and an
// output that the decoder reads to its end. For described pages all output,
// record, pictures and log is that of the plain model.
#include <cups/raster.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "filter/run_filter.h"
#include "image/halftones.h"
#include "proof/job_stream.h"
#include "tests/fuzz/byte_feed.h"
#include "tests/fuzz/log_in_memory.h"
#include "tests/model/stream.h"
#include "tests/support/files.h"
#include "tests/support/job_options.h"
#include "tests/support/log_capture.h"
#include "tests/support/ppd_builder.h"
#include "tests/support/raster_writer.h"
#include "tests/support/saved_pictures.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

// Printing a larger page takes the time of hundreds of small ones; from kNoMemory
// on it is refused at once (sanitizer_options.cc).
constexpr uint64_t kLargestPage = uint64_t{128} << 10U;
constexpr uint64_t kNoMemory = uint64_t{64} << 20U;
constexpr int kMostPages = 6;
constexpr std::time_t kNow = 1738367999;

constexpr std::array<const char*, 6> kNumbers = {"-1", "0", "1", "2", "3", "300"};
constexpr std::array<const char*, 14> kTones = {"0",  "1",  "5",   "20",  "50",  "51",  "100",
                                                "-1", "-5", "-20", "-51", "-99", "120", "-120"};
constexpr std::array<double, 6> kMediaWidths = {0.0, 1.2, 9.6, 72.0, 226.77, 575.4};

// What a job prints with, and how a fuzzer's run differs from a normal one.
struct FuzzJob {
  model::JobSettings settings;
  std::string options;
  std::string ppd;
  bool cancels = false;
  uint32_t cancelledAtCall = 0;
};

struct FuzzResult {
  int status = -1;
  Bytes out;
  Bytes record;
  std::vector<std::string> log;
  std::vector<SavedPicture> pictures;
};

const TempFolder& scratch() {
  static const TempFolder folder;
  return folder;
}

std::string recordPath() { return scratch().file("cmds-20250131235959.bin"); }

// One driver file for each media width, with all choices for all options.
std::string driverFile(size_t width) {
  static const std::vector<std::string> paths = [] {
    std::vector<std::string> written;
    for (const double points : kMediaWidths) {
      PpdBuilder ppd;
      for (const NumberOption& option : kNumberOptions) {
        const bool tone = std::strcmp(option.keyword, "Brightness") == 0;
        ppd.option(option.keyword,
                   tone ? std::vector<std::string>(kTones.begin(), kTones.end())
                        : std::vector<std::string>(kNumbers.begin(), kNumbers.end()),
                   "0");
      }
      for (const PageOption& own : pageOptions()) {
        ppd.option(own.keyword, own.choices, own.choices.front());
      }
      std::vector<std::string> halftones;
      halftones.reserve(kHalftoneTypeCount);
      for (int32_t i = 0; i < kHalftoneTypeCount; ++i) {
        halftones.emplace_back(dravHalftoneTypeToStr(static_cast<DitherType>(i)));
      }
      ppd.option("HalftoneType", halftones, "None");
      ppd.option("RecordPrinterCommands", {"0", "1"}, "0");
      ppd.attribute("dravFilterOutputFile", scratch().file("cmds"));
      if (points != 0.0) ppd.attribute("MaxMediaWidth", std::to_string(points));
      written.push_back(scratch().file("printer" + std::to_string(written.size()) + ".ppd"));
      ppd.write(written.back());
    }
    return written;
  }();
  return paths[width];
}

FuzzJob drawJob(ByteFeed& feed) {
  FuzzJob job;
  const auto add = [&job](const char* keyword, const std::string& choice) {
    job.options += std::string(keyword) + "=" + choice + " ";
  };
  const size_t width = feed.below(kMediaWidths.size());
  job.ppd = driverFile(width);
  job.settings.maxMediaWidth = std::stod(std::to_string(kMediaWidths[width]));
  job.settings.halftoneType = static_cast<int32_t>(feed.below(kHalftoneTypeCount));
  add("HalftoneType", dravHalftoneTypeToStr(static_cast<DitherType>(job.settings.halftoneType)));
  const uint8_t flags = feed.byte();
  job.settings.savesFail = (flags & 7U) != 0;
  if ((flags & 8U) != 0) {
    add("RecordPrinterCommands", "1");
    job.settings.recordFileName = recordPath();
  }
  job.cancels = (flags & 48U) == 48U;
  if (job.cancels) job.cancelledAtCall = feed.below(40);
  const bool plain = (flags & 64U) == 0;
  for (const NumberOption& option : kNumberOptions) {
    const bool tone = std::strcmp(option.keyword, "Brightness") == 0;
    std::string choice = "0";
    if (tone) {
      choice = kTones[feed.below(kTones.size())];
    } else if (!plain) {
      choice = kNumbers[feed.below(kNumbers.size())];
    }
    job.settings.*option.field = std::stoi(choice);
    if (choice != "0") add(option.keyword, choice);
  }
  if ((flags & 128U) == 0) return job;
  for (const PageOption& own : pageOptions()) {
    const std::string& choice = own.choices[feed.below(static_cast<uint32_t>(own.choices.size()))];
    require(model::setJobField(job.settings, own.field, choice), "a field of the model");
    add(own.keyword, choice);
  }
  return job;
}

model::RasterPage drawPage(ByteFeed& feed) {
  static constexpr std::array<uint32_t, 6> kResolutions = {300, 203, 180, 0, 1200, 0xFFFFFFFF};
  const uint8_t kind = feed.byte();
  model::RasterPage page;
  // Small most of the time; now and then more than one band of 96 rows.
  const bool large = feed.below(8) == 0;
  page.cupsWidth = feed.below(large ? 130 : 40);
  page.height = feed.below(large ? 110 : 20);
  page.bytesPerLine = page.cupsWidth + ((kind & 3U) == 0 ? feed.below(9) : 0);
  page.pageSizeName = (kind & 4U) != 0 ? "A4" : "X80MMY200MM";
  if ((kind & 8U) != 0) page.hwResolution = kResolutions[feed.below(kResolutions.size())];
  if ((kind & 16U) != 0) page.colorSpace = feed.below(21);  // those that libcups knows
  if ((kind & 32U) != 0) page.numCopies = static_cast<uint32_t>(feed.next());
  if ((kind & 192U) == 192U) {
    // Pages that are refused; libcups does not hand out those without a side.
    page.height = std::max(page.height, 1U);
    page.bytesPerLine = std::max(page.bytesPerLine, 1U);
    switch (feed.below(5)) {
      case 0:
        page.bitsPerPixel = 1;
        break;
      case 1:
        page.bitsPerPixel = 24;
        page.bytesPerLine *= 3;
        break;
      case 2:
        page.cupsWidth = page.bytesPerLine + 1 + feed.below(0x10000);
        break;
      case 3:
        page.bytesPerLine = page.height = 0x10000 + feed.below(0x10000);
        break;
      default:
        page.bytesPerLine = page.height = 0x10000;  // 0 as a product of 32 bits
    }
  }
  const uint64_t bytes = uint64_t{page.bytesPerLine} * page.height;
  if (bytes > kLargestPage) return page;
  page.pixels.resize(bytes);
  feed.fill(page.pixels);
  if ((kind & 192U) == 128U && bytes > 0) {
    page.pixels.resize(feed.below(static_cast<uint32_t>(bytes)));
  }
  return page;
}

// Descriptor of an unnamed file that holds the stream.
int inputOf(const Bytes& stream) {
  static std::FILE* const file = std::tmpfile();
  require(file != nullptr, "a scratch file");
  const int descriptor = fileno(file);
  require(ftruncate(descriptor, 0) == 0 && lseek(descriptor, 0, SEEK_SET) == 0, "an empty file");
  require(write(descriptor, stream.data(), stream.size()) == static_cast<ssize_t>(stream.size()),
          "a written file");
  (void)lseek(descriptor, 0, SEEK_SET);
  return descriptor;
}

FuzzResult runJob(const FuzzJob& job, const Bytes& stream) {
  FuzzResult result;
  std::optional<TempFolder> pictures;
  if (!job.settings.savesFail) pictures.emplace();
  const MemoryStream out;
  FilterEnvironment environment;
  environment.standardInput = inputOf(stream);
  environment.standardOutput = out.get();
  environment.clock = [] { return kNow; };
  environment.dumpFolder = pictures ? pictures->path() : scratch().file("missing");
  uint32_t calls = 0;
  environment.awaitCancel = [] {};  // no signal is on its way, and most jobs would wait
  environment.cancelRequested = [&] { return job.cancels && calls++ >= job.cancelledAtCall; };
  setenv("PPD", job.ppd.c_str(), 1);
  unlink(recordPath().c_str());

  std::array<std::string, 6> texts = {"rastertodrav", "1", "me", "title", "1", job.options};
  std::array<char*, 7> argv = {};
  std::transform(texts.begin(), texts.end(), argv.begin(), [](auto& text) { return text.data(); });
  {
    const LogInMemory log;
    result.status = runFilter(texts.size(), argv.data(), environment);
    result.log = splitLines(log.text());
  }
  result.out = out.bytes();
  if (access(recordPath().c_str(), F_OK) == 0) result.record = readFile(recordPath());
  if (pictures) result.pictures = savedPictures(*pictures);
  return result;
}

void checkAnyJob(const FuzzResult& result) {
  require(result.status == 0 || result.status == 1, "a status of 0 or 1");
  for (const std::string& line : result.log) {
    bool known = line.rfind("DravPrinter::saveImage: ", 0) == 0;  // has no level by contract
    for (const char* level : {"DEBUG:", "WARN:", "ERROR:", "CRIT:"})
      known |= line.rfind(level, 0) == 0;
    require(known, line.c_str());
  }
  const bool ready = !result.log.empty() && result.log.back() == "DEBUG:Ready to print.";
  require(ready == (result.status == 0), "readiness exactly with status 0");
  for (const Bytes& stream : {result.out, result.record}) {
    JobStreamReader reader(stream);
    while (reader.next()) {
    }
    require(!reader.error(), "an output of whole commands and bands");
  }
}

void checkAsModel(const FuzzJob& job, const std::vector<model::RasterPage>& pages,
                  FuzzResult result) {
  const model::JobResult wanted = model::runJob(job.settings, pages);
  const auto output = sameBytes(wanted.stdoutBytes, result.out);
  require(static_cast<bool>(output), output.message());
  const auto record = sameBytes(wanted.recordBytes, result.record);
  require(static_cast<bool>(record), record.message());
  require(result.status == wanted.exitStatus, "the model's status");
  require(static_cast<bool>(samePictures(wanted.saved, result.pictures)), "the model's pictures");
  std::vector<std::string>& log = result.log;
  log.erase(std::remove_if(log.begin(), log.end(),
                           [](const std::string& line) {
                             return line.rfind("DEBUG:getOptionChoiceIndex: ", 0) == 0;
                           }),
            log.end());
  log = maskLog(std::move(log));
  const auto [got, want] =
      std::mismatch(log.begin(), log.end(), wanted.log.begin(), wanted.log.end());
  const auto lineAt = [](auto line, const auto& lines) {
    return line == lines.end() ? std::string("the end") : *line;
  };
  if (got != log.end() || want != wanted.log.end()) {
    for (const model::RasterPage& page : pages) {
      std::cerr << page.cupsWidth << " of " << page.bytesPerLine << " x " << page.height << " x "
                << page.bitsPerPixel << ", colour space " << page.colorSpace << ", "
                << page.pixels.size() << " bytes\n";
    }
    std::cerr << lineAt(got, log) << "\ninstead of\n" << lineAt(want, wanted.log) << '\n';
    require(false, "the model's log");
  }
}

struct Memory {
  const Bytes& bytes;
  size_t at = 0;
};

ssize_t readMemory(void* context, unsigned char* buffer, size_t length) {
  auto& memory = *static_cast<Memory*>(context);
  const size_t count = std::min(length, memory.bytes.size() - memory.at);
  std::copy_n(memory.bytes.begin() + static_cast<std::ptrdiff_t>(memory.at), count, buffer);
  memory.at += count;
  return static_cast<ssize_t>(count);
}

// Whether every page of the stream is small, or one that cannot be had.
bool isQuick(const Bytes& stream) {
  Memory memory{stream};
  const std::unique_ptr<cups_raster_t, void (*)(cups_raster_t*)> raster(
      cupsRasterOpenIO(readMemory, &memory, CUPS_RASTER_READ), cupsRasterClose);
  cups_page_header2_t header = {};
  Bytes pixels;
  for (int page = 0; page < kMostPages; ++page) {
    if (!raster || cupsRasterReadHeader2(raster.get(), &header) == 0) return true;
    const uint64_t bytes = uint64_t{header.cupsBytesPerLine} * header.cupsHeight;
    if (bytes > kNoMemory) return true;
    if (bytes > kLargestPage) return false;
    pixels.resize(bytes);
    const auto count = static_cast<unsigned>(bytes);
    if (cupsRasterReadPixels(raster.get(), pixels.data(), count) == 0) return true;
  }
  return false;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ByteFeed feed({data, size});
  const uint8_t form = feed.byte();
  const FuzzJob job = drawJob(feed);
  if (form % 4 == 0) {
    const Bytes stream(feed.rest().begin(), feed.rest().end());
    if (isQuick(stream)) checkAnyJob(runJob(job, stream));
    return 0;
  }
  std::vector<model::RasterPage> pages;
  const auto isWhole = [](const model::RasterPage& page) {
    return page.pixels.size() == uint64_t{page.bytesPerLine} * page.height;
  };
  // A page that lacks pixels is the last: the filter would take them from the next.
  while (pages.size() < 3 && !feed.empty() && (pages.empty() || isWhole(pages.back()))) {
    pages.push_back(drawPage(feed));
  }
  Bytes stream = form % 4 == 1 ? rawRaster(pages) : Bytes();
  if (form % 4 == 2) stream = swappedRaster(pages);
  if (form % 4 == 3) {
    stream = version1Raster(pages);
    for (model::RasterPage& page : pages) page.pageSizeName.clear();  // its headers have none
  }
  const FuzzResult result = runJob(job, stream);
  checkAnyJob(result);
  if (!job.cancels) checkAsModel(job, pages, result);
  return 0;
}
