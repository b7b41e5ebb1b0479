// SPDX-License-Identifier: Apache-2.0
// Pages that documents/ makes of a file. Those of pictures are picturetodrav's, since paper,
// options and header are read as there. Art is prepared before, as by drav prepare.
#ifndef TOOLS_DRAV_DOCUMENT_PLACED_SOURCE_H_
#define TOOLS_DRAV_DOCUMENT_PLACED_SOURCE_H_

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "documents/grey_pages.h"
#include "filter/picture/page_choice.h"
#include "filter/picture/picture_paper.h"
#include "proof/art_wish.h"
#include "tools/drav/document/grey_page.h"
#include "tools/drav/driver/driver_file.h"

class PlacedSource : public PageSource {
 public:
  PlacedSource() = default;
  ~PlacedSource() override;
  PlacedSource(const PlacedSource&) = delete;
  PlacedSource& operator=(const PlacedSource&) = delete;
  PlacedSource(PlacedSource&&) = delete;
  PlacedSource& operator=(PlacedSource&&) = delete;

  // `art` asks for nothing unless the page is to be prepared. `idle` is called every so often
  // while it waits. False with one line in `error`, also for a job option that is not for such
  // a page.
  [[nodiscard]] bool open(const std::string& path, const DriverFile& driver, const ArtWish& art,
                          std::function<void()> idle, std::string& error);

  Step next(GreyPage& page, std::string& error) override;

 private:
  bool openPages(const DriverFile& driver, const ArtWish& art, const documents::World& world,
                 std::string& error);

  int file_ = -1;
  PicturePaper paper_;
  std::string subject_;  // of its notes
  std::unique_ptr<documents::GreyPages> pages_;
  bool isPrepared_ = false;
  std::optional<PageChoice> choice_;
  uint32_t read_ = 0;  // pages
  bool hasGiven_ = false;
  std::vector<documents::Note> foreign_;  // of the job's options, told with the first page
};

#endif  // TOOLS_DRAV_DOCUMENT_PLACED_SOURCE_H_
