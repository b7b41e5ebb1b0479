// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/render/paper.h"

#include <algorithm>
#include <vector>

#include "tools/drav/render/dot_row.h"
#include "tools/drav/render/logo_frame.h"
#include "tools/drav/render/whole_rows.h"

namespace {

constexpr uint64_t kCutRows = 3;

// Rows of the paper that belong together.
struct Segment {
  uint64_t rows = 0;
  const JobCommand* command = nullptr;  // the band, cut or logo; null for blank paper
  uint8_t align = 0;                    // of a logo, the parameter of ESC a
};

// Turns commands into segments, which it hands to `Take`: bool(const Segment&), false
// of which ends the walk.
template <typename Take>
class PaperWalk {
 public:
  PaperWalk(const PaperScale& scale, Take& take) : scale_(scale), take_(take) {}

  bool command(const JobCommand& command) {
    switch (command.kind) {
      case CommandKind::kRasterBand:
        return blank(0) && take_(Segment{command.rows, &command, 0});
      case CommandKind::kPartialCut:
      case CommandKind::kFullCut:
        return cut(command);
      case CommandKind::kLogo:
        return blank(0) && take_(Segment{LogoFrame(command, scale_).height(), &command, align_});
      case CommandKind::kInitialise:
        align_ = 0;
        return true;
      case CommandKind::kAlign:
        align_ = command.parameters[0];
        return true;
      default:
        blankRows_ += feedRows(command, scale_);
        return true;
    }
  }

  // Hands over the blank rows so far, but for the last `kept`, which it forgets.
  bool blank(uint64_t kept) {
    const uint64_t rows = blankRows_ - kept;
    blankRows_ = 0;
    return rows == 0 || take_(Segment{rows, nullptr, 0});
  }

 private:
  bool cut(const JobCommand& command) {
    const uint64_t over = std::min(blankRows_, kCutRows);
    return blank(over) && take_(Segment{over != 0 ? over : kCutRows, &command, 0});
  }

  const PaperScale& scale_;
  Take& take_;
  uint64_t blankRows_ = 0;
  uint8_t align_ = 0;
};

// Walks the whole stream; `cut` tells what is missing of one that is cut off. False when
// `take` was, or with `error` when it is damaged.
template <typename Take>
bool walkPaper(std::span<const uint8_t> stream, const PaperScale& scale, Take take,
               std::string& cut, std::string& error) {
  PaperWalk<Take> walk(scale, take);
  const auto pass = [&walk](const JobCommand& command) { return walk.command(command); };
  return eachCommand(stream, pass, cut, error) && walk.blank(0);
}

class PaperPainter {
 public:
  PaperPainter(const PaperScale& scale, uint32_t bytesPerRow, PictureSink& sink, std::string& error)
      : scale_(scale), row_(bytesPerRow), sink_(sink), error_(error) {}

  bool draw(const Segment& segment) {
    if (segment.command == nullptr) return repeat({}, segment.rows);
    if (segment.command->kind == CommandKind::kRasterBand) return drawBand(*segment.command);
    if (segment.command->kind == CommandKind::kLogo) return drawLogo(segment);
    return drawCut(segment);
  }

 private:
  bool repeat(std::span<const uint8_t> row, uint64_t count) {
    for (; count != 0; --count)
      if (!sink_.writeRow(row, error_)) return false;
    return true;
  }

  bool drawBand(const JobCommand& band) {
    for (size_t at = 0; at < band.data.size(); at += band.bytesPerRow)
      if (!sink_.writeRow(band.data.subspan(at, band.bytesPerRow), error_)) return false;
    return true;
  }

  // Dashes and gaps of 4 and 1 mm for a full cut, of 1 and 2 mm for a partial one.
  bool drawCut(const Segment& segment) {
    const bool isFull = segment.command->kind == CommandKind::kFullCut;
    const uint64_t millimetre = std::max(scale_.dotsAcross * 10 / 254, 1U);
    const uint64_t dash = millimetre * (isFull ? 4 : 1);
    const uint64_t period = dash + millimetre * (isFull ? 1 : 2);
    std::fill(row_.begin(), row_.end(), uint8_t{0});
    for (uint64_t x = 0; x < uint64_t{row_.size()} * 8; x += period) blacken(row_, x, dash);
    return repeat(row_, segment.rows);
  }

  bool drawLogo(const Segment& segment) {
    const LogoFrame frame(*segment.command, scale_);
    const uint64_t room = uint64_t{row_.size()} * 8 - frame.width();
    const uint64_t left = segment.align == 1 ? room / 2 : segment.align == 2 ? room : 0;
    for (uint32_t y = 0; y < frame.height(); ++y) {
      std::fill(row_.begin(), row_.end(), uint8_t{0});
      frame.drawRow(y, left, row_);
      if (!sink_.writeRow(row_, error_)) return false;
    }
    return true;
  }

  const PaperScale& scale_;
  std::vector<uint8_t> row_;
  PictureSink& sink_;
  std::string& error_;
};

}  // namespace

bool measurePaper(std::span<const uint8_t> stream, const PrinterFacts& printer,
                  RenderExtent& extent, std::string& error) {
  extent = {};
  extent.bytesPerRow = printer.headBytes.value_or(0);
  const auto add = [&](const Segment& segment) {
    extent.rows += segment.rows;
    if (segment.command == nullptr) return true;
    uint32_t width = 0;
    if (segment.command->kind == CommandKind::kRasterBand) {
      ++extent.bands;
      width = segment.command->bytesPerRow;
    } else if (segment.command->kind == CommandKind::kLogo) {
      ++extent.logos;
      width = (LogoFrame(*segment.command, printer.scale).width() + 7) / 8;
    } else {
      ++extent.cuts;
    }
    extent.bytesPerRow = std::max(extent.bytesPerRow, width);
    return true;
  };
  return walkPaper(stream, printer.scale, add, extent.cut, error);
}

bool drawPaper(std::span<const uint8_t> stream, const PrinterFacts& printer,
               const RenderExtent& extent, PictureSink& sink, std::string& error) {
  PaperPainter painter(printer.scale, extent.bytesPerRow, sink, error);
  std::string cut;
  return walkPaper(
      stream, printer.scale, [&painter](const Segment& segment) { return painter.draw(segment); },
      cut, error);
}
