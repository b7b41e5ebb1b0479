// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/inspect/listing.h"

#include <algorithm>

#include "proof/hex_text.h"
#include "tools/drav/job/command_text.h"

namespace {

constexpr size_t kShownBytes = 8;  // of a band (its header), of padding, of damage

size_t shownBytes(const ListingEntry& entry) {
  const bool isPadding = entry.first.command && entry.first.command->kind == CommandKind::kPadding;
  return isPadding ? 1 : kShownBytes;
}

}  // namespace

bool ListingReader::joins(const ListingEntry& entry, const JobCommand& last) const {
  if (!ahead_ || !ahead_->command) return false;
  const JobCommand& next = *ahead_->command;
  if (next.kind != last.kind) return false;
  if (next.kind == CommandKind::kRasterBand)  // a lower band is the last of its page
    return folds_.bands && next.bytesPerRow == last.bytesPerRow &&
           last.rows >= entry.first.command->rows;
  return folds_.equalCommands &&
         std::equal(next.bytes.begin(), next.bytes.end(), last.bytes.begin(), last.bytes.end());
}

void ListingReader::takeAhead(ListingEntry& entry) {
  ++entry.count;
  entry.length += ahead_->bytes.size();
  offset_ += ahead_->bytes.size();
  if (ahead_->command) {
    entry.rows += ahead_->command->rows;
    entry.coverage.add(coverageOf(ahead_->command->data));
  }
  ahead_ = reader_.nextItem();
}

std::optional<ListingEntry> ListingReader::next() {
  if (!ahead_) return std::nullopt;
  ListingEntry entry;
  entry.offset = offset_;
  entry.first = *ahead_;
  takeAhead(entry);
  if (!entry.first.command) return entry;
  JobCommand last = *entry.first.command;
  while (joins(entry, last)) {
    last = *ahead_->command;
    takeAhead(entry);
  }
  return entry;
}

std::string entryBytes(const ListingEntry& entry) {
  return hexText(entry.first.bytes, shownBytes(entry));
}

bool entryIsShortened(const ListingEntry& entry) {
  return entry.first.bytes.size() > shownBytes(entry);
}

std::string entryMeaning(const ListingEntry& entry, const PaperScale& scale) {
  if (!entry.first.command) {
    const bool isSkipped = entry.first.error->fault == JobStreamFault::kUnknownBytes;
    return entry.first.error->reason +
           (isSkipped ? ", " + std::to_string(entry.length) + " bytes skipped" : "");
  }
  const JobCommand& command = *entry.first.command;
  if (command.kind != CommandKind::kRasterBand) {
    std::string text = commandMeaning(command, scale);
    const double feed = feedInches(command, scale) * kMillimetresPerInch;
    if (entry.count > 1 && feed > 0)
      text += " each, " + fixedText(feed * static_cast<double>(entry.count), 1) + " mm together";
    return text;
  }
  return (entry.count == 1 ? "band of " : "bands, together ") +
         bandSizeText(entry.rows, command.bytesPerRow) + ", " +
         fixedText(rowsToMillimetres(entry.rows, scale), 1) + " mm, " +
         fixedText(entry.coverage.percent(), 1) + " % black";
}
