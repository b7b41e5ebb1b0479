// SPDX-License-Identifier: Apache-2.0
#include "documents/ghostscript_pages.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <string_view>
#include <vector>

#include "documents/buffered_child.h"
#include "documents/lost_part.h"
#include "documents/luminance.h"
#include "documents/pdf_page_size.h"
#include "documents/placed_pages.h"
#include "documents/reader_protocol.h"

namespace documents {
namespace {

constexpr size_t kMostHeaderLine = 200;
constexpr int kMostSilence = 60'000;  // milliseconds, so for each page
constexpr uint64_t kMostCpuSeconds = 3600;
constexpr uint8_t kWhite = 255;
constexpr size_t kDrawn = 3;  // bytes of a pixel that Ghostscript draws
constexpr const char* kNowhere = "/nonexistent";
constexpr std::string_view kMended = "**** Error: ";
constexpr std::string_view kRepaired = "**** This file had errors that were repaired";

struct Pixels {
  uint32_t width = 0;
  uint32_t height = 0;
  bool operator==(const Pixels&) const = default;
};

// "WIDTH HEIGHT\n".
bool readSize(std::string_view line, Pixels& size) {
  const char* const end = line.data() + line.size();
  const auto [space, bad] = std::from_chars(line.data(), end, size.width);
  if (bad != std::errc() || space == end || *space != ' ') return false;
  const auto [stop, alsoBad] = std::from_chars(space + 1, end, size.height);
  return alsoBad == std::errc() && stop != end && *stop == '\n';
}

uint32_t dotsOf(double points, uint32_t dpi) {
  return static_cast<uint32_t>(std::max(1.0, std::floor(points * dpi / 72 + 0.5)));
}

std::string densityArgument(const Density& density) {
  std::array<char, 80> text{};
  // Whole and fractional part by hand: a locale may have a decimal comma.
  const auto number = [](double value) {
    const auto millionths = static_cast<uint64_t>(std::llround(value * 1e6));
    std::array<char, 40> digits{};
    (void)std::snprintf(digits.data(), digits.size(), "%llu.%06llu",
                        static_cast<unsigned long long>(millionths / 1'000'000),
                        static_cast<unsigned long long>(millionths % 1'000'000));
    return std::string(digits.data());
  };
  (void)std::snprintf(text.data(), text.size(), "-r%sx%s", number(density.x).c_str(),
                      number(density.y).c_str());
  return text.data();
}

std::string_view lineWith(std::string_view text, std::string_view part) {
  const size_t at = text.find(part);
  if (at == std::string_view::npos) return {};
  return text.substr(at, text.find('\n', at) - at);
}

class GhostscriptPages : public PlacedPages {
 public:
  GhostscriptPages(int descriptor, FileKind kind, const Paper& paper, const PageWish& wish,
                   const World& world, uint32_t firstPage = 1)
      : PlacedPages(wish),
        descriptor_(descriptor),
        kind_(kind),
        paper_(paper),
        wish_(wish),
        world_(world),
        head_{static_cast<double>(paper.dpiX), static_cast<double>(paper.dpiY)},
        page_(firstPage) {}

  // What is known of the first page's size saves a drawing at the head's resolution.
  bool start(std::string& error) {
    const auto points = kind_ == FileKind::kPdf ? pdfPageSize(descriptor_, world_) : std::nullopt;
    if (!points) return draw(head_, error);
    const PictureFacts facts =
        factsOf({dotsOf(points->width, paper_.dpiX), dotsOf(points->height, paper_.dpiY)});
    const bool isTooLarge = uint64_t{facts.width} * facts.height > kMostPixels;
    return isTooLarge ? draw(head_, error) : start(facts, error);
  }

  // Draws a page of that size, at the head's resolution, as large as it must be.
  bool start(const PictureFacts& facts, std::string& error) {
    facts_ = facts;
    size_ = unturned(placePicture(facts, paper_, wish_));
    return draw(densityFor(size_, {facts.width, facts.height}), error);
  }

  Step nextPage(GreyPage& page, std::string& error) override {
    if (ended_ != End::no) return ended_ == End::badly ? Step::failed : Step::end;
    if (!drawing_.skip(unreadBytes_)) return fail(error);
    if (begun_) ++page_;
    begun_ = true;
    page = {};
    Pixels size;
    Step step = readHeader(size, error);
    if (step != Step::page) return step;
    // The first at the head's resolution, and what is as large as the page before, are
    // drawn as they must be; others begin anew at the head's resolution.
    if (!isAtHead() && !(size == size_)) {
      step = restart(head_, size, error);
      if (step != Step::page) return step;
    }
    if (isAtHead()) facts_ = factsOf(size);
    const Placing placing = placePicture(facts_, paper_, wish_, &page.notes);
    const Pixels wanted = unturned(placing);
    if (isAtHead() && !(size == wanted)) {
      step = restart(densityFor(wanted, size), size, error);
      if (step != Step::page) return step;
    }
    size_ = size;
    placing_ = placing;
    beginPage(facts_, placing, page);
    page.lost = inkBeyondPage(
        placing, paper_, wish_, [this](const Paper& paper, const PageWish& wish, std::string& why) {
          auto again =
              std::make_unique<GhostscriptPages>(descriptor_, kind_, paper, wish, world_, page_);
          if (!again->start(facts_, why)) again.reset();
          return again;
        });
    unreadBytes_ = uint64_t{size.width} * size.height * kDrawn;
    rowsRead_ = 0;
    turned_.clear();
    return Step::page;
  }

 protected:
  bool readRow(std::span<uint8_t> levels, std::string& error) override {
    return placing_.turn == Turn::kNone ? readUpright(levels, error) : readTurned(levels, error);
  }

 private:
  enum class End : uint8_t { no, well, badly };

  bool draw(const Density& density, std::string& error) {
    ChildCommand command;
    command.program = world_.ghostscript;
    command.arguments = {
        "-q", "-dSAFER", "-dBATCH", "-dNOPAUSE", "-dUseCropBox", "-dMaxBitmap=300000000",
        // In colour, since its grey devices move a grey by one level.
        "-sDEVICE=ppmraw", densityArgument(density), "-dFirstPage=" + std::to_string(page_),
        "-sstdout=%stderr", "-sOutputFile=-", "-f", "/dev/stdin"};
    // What it repairs it tells with its other messages alone.
    if (world_.refusesRepaired) command.arguments.erase(command.arguments.begin());
    command.inputDescriptor = descriptor_;
    // A document may write to the folder of temporary files, -dSAFER or not: it gets one that
    // is not there, and may write no byte to any file. Pages of the largest size need none.
    command.environment = {
        {"LC_ALL", "C"}, {"GS_OPTIONS", ""}, {"TMPDIR", kNowhere}, {"TEMP", kNowhere}};
    command.fileBytes = 0;
    command.memoryBytes = kReaderBytes;
    command.cpuSeconds = kMostCpuSeconds;
    command.silenceMilliseconds = kMostSilence;
    command.stopRequested = world_.stopRequested;
    density_ = density;
    return drawing_.start(command, error);
  }

  bool isAtHead() const { return density_.x == head_.x && density_.y == head_.y; }

  PictureFacts factsOf(const Pixels& size) const { return {size.width, size.height, head_, 1}; }

  static Pixels unturned(const Placing& placing) {
    const bool isSideways = placing.turn == Turn::kLeft || placing.turn == Turn::kRight;
    return isSideways ? Pixels{placing.height, placing.width}
                      : Pixels{placing.width, placing.height};
  }

  // At which a page of `size` at the head's resolution has the wanted pixels.
  Density densityFor(const Pixels& wanted, const Pixels& size) const {
    return {head_.x * wanted.width / size.width, head_.y * wanted.height / size.height};
  }

  // Draws the page again, and those behind it, at another resolution.
  Step restart(const Density& density, Pixels& size, std::string& error) {
    drawing_.process().kill();
    if (!draw(density, error)) return fail(error);
    const Step step = readHeader(size, error);
    if (step != Step::end) return step;
    error = "changes while it is read";
    ended_ = End::badly;
    return Step::failed;
  }

  // Each page is a portable map of its own.
  Step readHeader(Pixels& size, std::string& error) {
    if (drawing_.atEnd()) {
      if (!drawing_.process().finish()) return fail(error);
      // It passes over what it cannot draw, and ends well.
      const std::string& messages = drawing_.process().messages();
      const bool isMended = messages.find(kMended) != std::string::npos ||
                            messages.find(kRepaired) != std::string::npos;
      if (page_ == 1 || isMended) return fail(error);
      ended_ = End::well;
      return Step::end;
    }
    bool good = drawing_.readLine(kMostHeaderLine) == "P6\n";
    std::string line = drawing_.readLine(kMostHeaderLine);
    while (line.starts_with('#')) line = drawing_.readLine(kMostHeaderLine);
    good = good && readSize(line, size) && drawing_.readLine(kMostHeaderLine) == "255\n";
    if (!good) return fail(error);
    if (size.width == 0 || size.height == 0 || uint64_t{size.width} * size.height > kMostPixels) {
      error = "has a page of " + std::to_string(size.width) + " x " + std::to_string(size.height) +
              " dots; at most 300 million are drawn";
      ended_ = End::badly;
      drawing_.process().kill();
      return Step::failed;
    }
    return Step::page;
  }

  bool readWholeRow(std::vector<uint8_t>& row, std::string& error) {
    row.resize(size_t{size_.width} * kDrawn);
    if (rowsRead_ >= size_.height) {  // one less than was computed
      std::fill(row.begin(), row.end(), kWhite);
      return true;
    }
    if (!drawing_.read(row)) {
      (void)fail(error);
      return false;
    }
    ++rowsRead_;
    unreadBytes_ -= row.size();
    return true;
  }

  bool readUpright(std::span<uint8_t> levels, std::string& error) {
    while (rowsRead_ < std::min(placing_.visibleTop(), size_.height))
      if (!readWholeRow(row_, error)) return false;
    if (!readWholeRow(row_, error)) return false;
    for (size_t x = 0; x * channels() < levels.size(); ++x) {
      const size_t from = placing_.visibleLeft() + x;
      if (from < size_.width)
        take(&row_[from * kDrawn], &levels[x * channels()]);
      else  // one less than was computed
        std::fill_n(&levels[x * channels()], channels(), kWhite);
    }
    return true;
  }

  bool readTurned(std::span<uint8_t> levels, std::string& error) {
    if (turned_.empty() && !readWholePage(error)) return false;
    const int64_t y = turnedRow_++;
    const Pixels drawn = unturned(placing_);
    for (size_t i = 0; i * channels() < levels.size(); ++i) {
      const auto x = static_cast<int64_t>(placing_.visibleLeft() + i);
      uint8_t* to = &levels[i * channels()];
      if (placing_.turn == Turn::kLeft)
        copyDot(drawn.width - 1 - y, x, to);
      else if (placing_.turn == Turn::kRight)
        copyDot(y, drawn.height - 1 - x, to);
      else
        copyDot(drawn.width - 1 - x, drawn.height - 1 - y, to);
    }
    return true;
  }

  bool readWholePage(std::string& error) {
    turnedRow_ = placing_.visibleTop();
    turned_.resize(size_t{size_.width} * size_.height * channels());
    uint8_t* to = turned_.data();
    for (uint32_t y = 0; y < size_.height; ++y) {
      if (!readWholeRow(row_, error)) return false;
      for (uint32_t x = 0; x < size_.width; ++x, to += channels())
        take(&row_[size_t{x} * kDrawn], to);
    }
    return true;
  }

  // Of the page that is turned.
  void copyDot(int64_t x, int64_t y, uint8_t* to) const {
    const bool isThere = x >= 0 && y >= 0 && x < size_.width && y < size_.height;
    const size_t at = static_cast<size_t>(y) * size_.width + static_cast<size_t>(x);
    if (isThere)
      std::copy_n(&turned_[at * channels()], channels(), to);
    else
      std::fill_n(to, channels(), kWhite);
  }

  // A pixel as the page has it.
  void take(const uint8_t* drawn, uint8_t* to) const {
    if (channels() == 1)
      *to = luminance(drawn[0], drawn[1], drawn[2]);
    else
      std::copy_n(drawn, kDrawn, to);
  }

  Step fail(std::string& error) {
    ended_ = End::badly;
    ChildProcess& process = drawing_.process();
    if (!drawing_.hasEnded() && process.end() == ChildEnd::kNone) {
      process.kill();
      error = "cannot be drawn: Ghostscript gave something other than pages";
      return Step::failed;
    }
    const bool endedWell = process.finish();
    const std::string& messages = process.messages();
    const std::string name = kindName(kind_);
    if (messages.find("requires a password") != std::string::npos ||
        messages.find("assword did not work") != std::string::npos) {
      error = "is an encrypted PDF and needs a password";
    } else if (process.end() == ChildEnd::kTimedOut || process.code() == SIGXCPU) {
      error = "cannot be drawn: a page took more than 60 s";
    } else if (const auto line = lineWith(messages, "Error: "); !line.empty()) {
      error = "is damaged or no " + name + ": Ghostscript says " + std::string(line);
    } else if (messages.find(kRepaired) != std::string::npos) {
      error = "is damaged: Ghostscript had to repair it";
    } else if (endedWell) {
      error = page_ == 1 ? "has no page" : "is damaged or no " + name;
    } else {
      error = "cannot be drawn: " + process.failure();
    }
    return Step::failed;
  }

  const int descriptor_;
  const FileKind kind_;
  const Paper paper_;
  const PageWish wish_;
  const World world_;
  const Density head_;
  BufferedChild drawing_;
  Density density_;  // that the child draws with
  uint32_t page_;    // its number
  bool begun_ = false;
  Pixels size_;         // as drawn
  PictureFacts facts_;  // at the head's resolution
  Placing placing_;
  uint64_t unreadBytes_ = 0;  // of the page
  uint32_t rowsRead_ = 0;
  std::vector<uint8_t> row_;
  std::vector<uint8_t> turned_;  // the page as drawn, while it is turned
  uint32_t turnedRow_ = 0;
  End ended_ = End::no;
};

}  // namespace

std::unique_ptr<GreyPages> openGhostscriptPages(int descriptor, FileKind kind, const Paper& paper,
                                                const PageWish& wish, const World& world,
                                                std::string& error) {
  if (world.ghostscript.empty()) {
    error = "cannot be drawn: Ghostscript (gs), which draws " + std::string(kindName(kind)) +
            ", is not installed";
    return nullptr;
  }
  auto pages = std::make_unique<GhostscriptPages>(descriptor, kind, paper, wish, world);
  if (!pages->start(error)) return nullptr;
  return pages;
}

}  // namespace documents
