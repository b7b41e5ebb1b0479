// SPDX-License-Identifier: Apache-2.0
// A picture in, prepared grey pages out: the interface of this folder for other commands.
//
//   ArtWish wish;
//   addArtOptions(app, wish);                              // --width, --clean, ...
//   auto pages = openPreparedPages(descriptor, paper, wish, world, error);
//
// `pages` is read as documents/grey_pages.h tells, a page or a sheet at a time.
#ifndef TOOLS_DRAV_PREPARE_PREPARED_PAGES_H_
#define TOOLS_DRAV_PREPARE_PREPARED_PAGES_H_

#include <memory>
#include <string>
#include <vector>

#include "documents/grey_pages.h"
#include "proof/art_layout.h"
#include "proof/art_picture.h"
#include "proof/art_wish.h"
#include "tools/drav/prepare/sheet_marks.h"

namespace CLI {
class App;
}  // namespace CLI

// Adds the options that fill `wish`, all but --page.
void addArtOptions(CLI::App& app, ArtWish& wish);
// The words that ask for `wish` on a command line, all but --page, --clean and --lines.
std::vector<std::string> artWords(const ArtWish& wish);

class PreparedPages : public documents::GreyPages {
 public:
  // `pages` was opened for artRequest(wish, paper).
  PreparedPages(std::unique_ptr<documents::GreyPages> pages, const documents::Paper& paper,
                const ArtWish& wish)
      : pages_(std::move(pages)), paper_(paper), wish_(wish), printed_(paper) {}

  // That the printer mirrors the page, so that the head does not reach its left edge.
  void setReversed();

  // Each page with its notes, and the ink that lies beyond what the head reaches of it.
  documents::Step nextPage(documents::GreyPage& page, std::string& error) override;
  bool nextRow(std::span<uint8_t> row, std::string& error) override;

  // Of the page: its number in the document, and the size of the art on it or on all of its
  // sheets.
  unsigned number() const { return number_; }
  uint32_t artWidth() const { return art_.width; }
  uint32_t artHeight() const { return art_.height; }
  // One sheet when it is not tiled.
  const SheetPlan& plan() const { return plan_; }

 private:
  documents::Step readNext(documents::GreyPage& page, std::string& error);
  void beginPage(documents::GreyPage& page);
  void beginSheet(documents::GreyPage& page);

  const std::unique_ptr<documents::GreyPages> pages_;
  const documents::Paper paper_;
  const ArtWish wish_;
  documents::Paper printed_;  // as the head reaches it
  unsigned number_ = 0;
  ArtPicture art_;
  documents::GreyPage source_;
  SheetPlan plan_;
  uint32_t nextSheet_ = 0;  // of the art; all are done when it is plan_.sheets()
  bool begun_ = false;
  // Of the page: what it shows of the art, and where that begins.
  Area part_;
  int64_t x_ = 0;
  int64_t y_ = 0;
  uint32_t row_ = 0;
  std::vector<Stamp> stamps_;
};

// Null with one line in `error`, which does not name the file. `descriptor` as for
// documents::openGreyPages().
std::unique_ptr<PreparedPages> openPreparedPages(int descriptor, const documents::Paper& paper,
                                                 const ArtWish& wish, const documents::World& world,
                                                 std::string& error);

#endif  // TOOLS_DRAV_PREPARE_PREPARED_PAGES_H_
