// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

namespace {

using std::chrono::steady_clock;

constexpr auto kPace = std::chrono::milliseconds(100);
constexpr unsigned kBarCells = 24;
constexpr unsigned kNarrowest = 20;
constexpr const char* kClearLine = "\r\x1B[K";
constexpr std::array kTurns = {'|', '/', '-', '\\'};

bool canMoveItsCursor() {
  const char* kind = std::getenv("TERM");
  return kind != nullptr && *kind != '\0' && std::string_view(kind) != "dumb";
}

unsigned terminalColumns() {
  struct winsize size = {};
  if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
  return size.ws_col;
}

std::string bar(uint64_t done, uint64_t total) {
  const double share = static_cast<double>(std::min(done, total)) / static_cast<double>(total);
  const auto full = static_cast<unsigned>(share * kBarCells);
  std::array<char, 16> percent{};
  (void)std::snprintf(percent.data(), percent.size(), "] %3u %% ",
                      static_cast<unsigned>(share * 100));
  std::string text = "[";
  return text.append(full, '#').append(kBarCells - full, '.').append(percent.data());
}

}  // namespace

Progress::Progress(bool quiet) {
  if (quiet || ::isatty(STDERR_FILENO) != 1 || !canMoveItsCursor()) return;
  terminal_ = stderr;
  columns_ = terminalColumns();
}

Progress::Progress(std::FILE* terminal, unsigned columns)
    : terminal_(terminal), columns_(columns) {}

void Progress::show(uint64_t done, uint64_t total, const std::string& what) {
  if (terminal_ == nullptr) return;
  const bool changed = what != what_ || done == total;
  done_ = done;
  total_ = total;
  what_ = what;
  if (changed || !visible_ || steady_clock::now() - drawnAt_ >= kPace) draw();
}

void Progress::tick() {
  if (visible_ && steady_clock::now() - drawnAt_ >= kPace) draw();
}

void Progress::draw() {
  std::string line;
  if (total_ != 0) line = bar(done_, total_);
  line += kTurns[turn_++ % kTurns.size()];
  line += " " + what_;
  line.resize(std::min<size_t>(line.size(), std::max(columns_, kNarrowest) - 1));
  (void)std::fprintf(terminal_, "%s%s", kClearLine, line.c_str());
  (void)std::fflush(terminal_);
  visible_ = true;
  drawnAt_ = steady_clock::now();
}

void Progress::clear() {
  if (!visible_) return;
  (void)std::fputs(kClearLine, terminal_);
  (void)std::fflush(terminal_);
  visible_ = false;
}
