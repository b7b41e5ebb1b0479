// SPDX-License-Identifier: Apache-2.0
// The commands of a stream as the lines of a listing: runs of them may be one.
#ifndef TOOLS_DRAV_INSPECT_LISTING_H_
#define TOOLS_DRAV_INSPECT_LISTING_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "proof/coverage.h"
#include "proof/job_stream.h"
#include "tools/drav/job/paper_scale.h"

struct ListingFolds {
  bool equalCommands = false;  // commands of the same bytes, bands left out
  bool bands = false;          // bands of one row length, up to the last band of a page
};

// A run of commands, or a damaged stretch.
struct ListingEntry {
  size_t offset = 0;
  uint64_t length = 0;  // of all its bytes
  uint64_t count = 0;   // of commands
  JobStreamItem first;  // the first command, or the damage
  // Bands only, all of the run:
  uint64_t rows = 0;
  Coverage coverage;
};

class ListingReader {
 public:
  // `stream` must outlive the reader and every entry.
  ListingReader(std::span<const uint8_t> stream, ListingFolds folds)
      : reader_(stream), folds_(folds), ahead_(reader_.nextItem()) {}

  // The next entry; nothing at the end of the stream.
  std::optional<ListingEntry> next();

 private:
  bool joins(const ListingEntry& entry, const JobCommand& last) const;
  void takeAhead(ListingEntry& entry);

  JobStreamReader reader_;
  ListingFolds folds_;
  std::optional<JobStreamItem> ahead_;
  size_t offset_ = 0;
};

// The bytes of the entry's first command: whole, but for dots, padding and damage.
std::string entryBytes(const ListingEntry& entry);
// Whether entryBytes leaves some out.
bool entryIsShortened(const ListingEntry& entry);

// The entry in words: a run's rows and feeds, but not the length of its bytes.
std::string entryMeaning(const ListingEntry& entry, const PaperScale& scale);

#endif  // TOOLS_DRAV_INSPECT_LISTING_H_
