// SPDX-License-Identifier: Apache-2.0
// Sums up a whole job stream or command record: totals, pages, and warnings for the
// user.
#ifndef TOOLS_DRAV_INSPECT_JOB_SURVEY_H_
#define TOOLS_DRAV_INSPECT_JOB_SURVEY_H_

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "proof/coverage.h"
#include "tools/drav/job/paper_scale.h"

// Coverage above which a warning is given, in percent of the dots: of one band, and
// of all bands of a job. A photograph or a reversed headline stays below; a page
// that came out inverted, or that brightness drowned, does not. So much black at a
// stretch heats the head, slows the paper and wears the head down.
inline constexpr double kHeavyBandPercent = 75;
inline constexpr double kHeavyJobPercent = 40;
// A band or job with fewer rows is measured as if blank rows filled it up, so that a
// line (1 mm of a frame, say) is not taken for an area. 2 mm at 300 dots per inch.
inline constexpr uint32_t kSmallestAreaRows = 24;

enum class WarningKind : uint8_t {
  kUnknownBytes,
  kUnfinishedCommand,
  kUnfinishedBand,
  kJobInsideBand,    // a band was cut short and has swallowed the next job
  kRowWidthChanges,  // within a job or record
  kRowExceedsHead,
  kNoInitialise,
  kCutWithoutFeed,
  kHeavyBand,
  kHeavyJob,
};
inline constexpr size_t kWarningKinds = 10;

// A short name for programs, such as "unknown-bytes".
const char* warningKey(WarningKind kind);

struct Warning {
  WarningKind kind = WarningKind::kUnknownBytes;
  size_t offset = 0;  // of what it is about
  std::string text;   // one line, without the offset
};

// At most so many warnings of a kind are kept; the others are only counted.
inline constexpr uint64_t kMaxKeptWarnings = 100;

struct BandPlace {
  size_t offset = 0;
  uint64_t page = 0;  // from 1
  uint64_t band = 0;  // on its page, from 1
  Coverage coverage;
};

// A run of bands that a feed, a cut, or the end of the job ends.
struct PageSummary {
  uint64_t number = 0;  // from 1
  size_t offset = 0;    // of its first band
  uint64_t bands = 0;
  uint64_t rows = 0;
  uint64_t savedRows = 0;    // that its paper has besides
  uint32_t bytesPerRow = 0;  // of the widest row
  Coverage coverage;
  std::optional<BandPlace> heaviest;
  uint64_t heavyBands = 0;  // above kHeavyBandPercent
};

struct JobTotals {
  uint64_t jobs = 0;
  uint64_t pages = 0;  // 0 for a record, which does not tell where pages end
  uint64_t commands = 0;
  uint64_t bands = 0;
  uint64_t rows = 0;
  uint64_t shorterPages = 0;  // than their paper
  uint64_t savedRows = 0;     // of these pages together
  uint32_t leastBytesPerRow = 0;
  uint32_t mostBytesPerRow = 0;
  uint64_t feedUnits = 0;  // of ESC J
  uint64_t feedLines = 0;  // of LF and ESC d
  Coverage coverage;
  std::optional<BandPlace> heaviest;
  uint64_t drawerPulses = 0;
  uint64_t partialCuts = 0;
  uint64_t fullCuts = 0;
  uint64_t buzzers = 0;
  uint64_t logos = 0;
  uint64_t skippedBytes = 0;  // that belong to no command
};

struct Survey {
  bool isRecord = false;  // bands and nothing else
  JobTotals totals;
  std::vector<Warning> warnings;                        // by offset
  std::array<uint64_t, kWarningKinds> warningCounts{};  // by WarningKind, all of them
  // Why this is no job at all, one line: it is empty, or most of its bytes belong to
  // no command. Empty for a job.
  std::string unreadable;

  bool isClean() const { return warnings.empty(); }
};

// Paper that the feeds move, in millimetres.
double feedMillimetres(const JobTotals& totals, const PaperScale& scale);

// Reads the stream once. Its memory does not grow with the stream. `onPage` is given
// each page in order, a record as one page.
Survey surveyStream(std::span<const uint8_t> stream, const PrinterFacts& printer,
                    const std::function<void(const PageSummary&)>& onPage = {});

#endif  // TOOLS_DRAV_INSPECT_JOB_SURVEY_H_
