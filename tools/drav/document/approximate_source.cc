// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/document/approximate_source.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "common/child_process.h"
#include "tools/drav/document/converter_messages.h"
#include "tools/drav/document/page_header.h"
#include "tools/drav/draw/area_average.h"
#include "tools/drav/io/interruption.h"
#include "tools/drav/job/paper_scale.h"

namespace {

struct PaperSize {
  uint32_t width = 0;  // dots
  uint32_t height = 0;
};

// With the fraction of a dot that is left over cut off, as the converter of pictures
// does, or rounded, as those of PDF do.
enum class Fraction { cut, rounded };

bool paperOf(const DriverFile& driver, Fraction fraction, PaperSize& paper, std::string& error) {
  const double width = driver.pageWidth() * driver.resolutionX() / kPointsPerInch;
  const double height = driver.pageLength() * driver.resolutionY() / kPointsPerInch;
  if (!(width >= 1 && height >= 1 && width * height <= static_cast<double>(kMaxPageBytes))) {
    error = "cannot be drawn: the driver file does not tell the size of the page";
    return false;
  }
  const double more = fraction == Fraction::rounded ? 0.5 : 0;
  paper = {static_cast<uint32_t>(width + more), static_cast<uint32_t>(height + more)};
  return true;
}

// A quarter turn against the clock, as the converters turn pictures.
GreyPicture turned(const GreyPicture& picture) {
  GreyPicture out{picture.height, picture.width, {}};
  out.levels.resize(picture.levels.size());
  for (uint32_t y = 0; y < out.height; ++y)
    for (uint32_t x = 0; x < out.width; ++x)
      out.levels[size_t{y} * out.width + x] =
          picture.levels[size_t{x} * picture.width + (picture.width - 1 - y)];
  return out;
}

class PictureSource : public PageSource {
 public:
  explicit PictureSource(GreyPage page) : page_(std::move(page)) {}

  Step next(GreyPage& page, std::string& /*error*/) override {
    if (std::exchange(used_, true)) return Step::end;
    page = std::move(page_);
    return Step::page;
  }

 private:
  GreyPage page_;
  bool used_ = false;
};

// Reads the pictures that pdftoppm writes behind each other.
class PopplerSource : public PageSource {
 public:
  PopplerSource(const DriverFile& driver, PaperSize paper)
      : header_(makeGreyHeader(driver, paper.width, paper.height)), paper_(paper) {}

  bool start(const std::string& program, const std::string& path, const DriverFile& driver,
             std::function<void()> idle, std::string& error) {
    path_ = path;
    ChildCommand command;
    command.program = program;
    command.stopRequested = Interruption::requested;
    command.arguments = {"-gray",
                         "-rx",
                         std::to_string(driver.resolutionX()),
                         "-ry",
                         std::to_string(driver.resolutionY()),
                         path};
    command.environment = {{"LC_ALL", "C"}};
    child_.setIdle(std::move(idle));
    return child_.start(command, error);
  }

  Step next(GreyPage& page, std::string& error) override {
    GreyPicture picture;
    for (;;) {
      if (takePicture(picture, false, error)) break;
      if (!error.empty()) return Step::failed;
      std::array<uint8_t, 65536> buffer{};
      const ssize_t got = child_.read(buffer.data(), buffer.size());
      if (got > 0) {
        unread_.insert(unread_.end(), buffer.data(), buffer.data() + got);
        continue;
      }
      if (got == 0 && child_.finish()) {
        error = reportedDamage(child_.messages(), path_);
        if (!error.empty()) return Step::failed;
        if (unread_.empty()) return Step::end;
        if (takePicture(picture, true, error)) break;
      }
      error = converterFailure(child_.failure(), child_.messages(), path_);
      return Step::failed;
    }
    page.header = header_;
    page.pixels.assign(size_t{paper_.width} * paper_.height, 0);
    place(picture, page.pixels);
    return Step::page;
  }

 private:
  // True when a whole picture was there; an `error` when there never will be.
  bool takePicture(GreyPicture& picture, bool ended, std::string& error) {
    PictureSize size;
    constexpr size_t kHeaderBytes = 64;  // more than any that pdftoppm writes
    if (unread_.size() < kHeaderBytes && !ended) return false;
    if (!measurePicture(DocumentKind::kPortable, unread_, size, error)) return false;
    if (unread_.size() < size.width * size.height) return false;
    size_t used = 0;
    std::string early;  // some bytes short: no failure yet
    if (!decodePortable(unread_, picture, used, early)) return false;
    unread_.erase(unread_.begin(), unread_.begin() + static_cast<std::ptrdiff_t>(used));
    return true;
  }

  void place(const GreyPicture& picture, std::vector<uint8_t>& pixels) const {
    const auto middle = [](int64_t paper, int64_t drawn) { return (paper - drawn) / 2; };
    const int64_t left = middle(paper_.width, picture.width);
    const int64_t top = middle(paper_.height, picture.height);
    for (int64_t y = std::max<int64_t>(0, top);
         y < std::min<int64_t>(paper_.height, top + picture.height); ++y) {
      for (int64_t x = std::max<int64_t>(0, left);
           x < std::min<int64_t>(paper_.width, left + picture.width); ++x) {
        const uint8_t level =
            picture.levels[static_cast<size_t>((y - top) * picture.width + (x - left))];
        pixels[static_cast<size_t>(y * paper_.width + x)] = static_cast<uint8_t>(255 - level);
      }
    }
  }

  cups_page_header2_t header_;
  PaperSize paper_;
  std::string path_;
  ChildProcess child_;
  std::vector<uint8_t> unread_;
};

}  // namespace

std::unique_ptr<PageSource> pictureSource(const GreyPicture& picture, const DriverFile& driver,
                                          std::string& error) {
  PaperSize paper;
  if (!paperOf(driver, Fraction::cut, paper, error)) return nullptr;
  const bool landscape = picture.width > picture.height;
  const GreyPicture& upright = landscape ? turned(picture) : picture;
  const double scale = std::min(static_cast<double>(paper.width) / upright.width,
                                static_cast<double>(paper.height) / upright.height);
  const auto scaled = [scale](uint32_t side) {
    return std::max(1U, static_cast<uint32_t>(side * scale));
  };
  const PaperSize size = {std::min(paper.width, scaled(upright.width)),
                          std::min(paper.height, scaled(upright.height))};
  GreyPage page;
  page.header = makeGreyHeader(driver, size.width, size.height);
  page.pixels = areaAverage(upright.levels, upright.width, upright.height, size.width, size.height);
  for (uint8_t& pixel : page.pixels) pixel = static_cast<uint8_t>(255 - pixel);
  return std::make_unique<PictureSource>(std::move(page));
}

std::unique_ptr<PageSource> popplerSource(const std::string& program, const std::string& path,
                                          const DriverFile& driver, std::function<void()> idle,
                                          std::string& error) {
  PaperSize paper;
  if (!paperOf(driver, Fraction::rounded, paper, error)) return nullptr;
  auto source = std::make_unique<PopplerSource>(driver, paper);
  if (!source->start(program, path, driver, std::move(idle), error)) return nullptr;
  return source;
}
