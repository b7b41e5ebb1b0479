// SPDX-License-Identifier: Apache-2.0
// From a drawing to the page that prints, and to the dots that the printer gets for it.
#ifndef APP_WEB_PAGE_PROOF_H_
#define APP_WEB_PAGE_PROOF_H_

#include <cups/raster.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "app/media.h"
#include "common/lost_ink.h"
#include "documents/grey_pages.h"
#include "filter/settings.h"
#include "proof/art_wish.h"
#include "proof/dot_page.h"

namespace app {

struct PageWanted {
  const PrinterModel* model = nullptr;
  Medium medium;
  int length = 0;  // of the page on a roll, as the medium's; 0 for as long as the drawing
  ArtWish art;
  bool fillsPaper = false;  // as large as the head reaches, whatever `art` says of its size

  bool operator==(const PageWanted& other) const;
};

// A page for the head. What lies beyond it is blank, so that the page is the same when it
// comes back as a job's document.
struct PreparedPage {
  cups_page_header2_t header = {};
  std::vector<uint8_t> pixels;  // 0 for no ink, 255 for black
  uint32_t reach = 0;           // columns of each row that the head reaches
  uint32_t artWidth = 0;        // dots, also of what lies beyond the page
  uint32_t artHeight = 0;
  std::vector<documents::Note> notes;
  std::vector<LostInk> lost;
};

// Makes the page that is wanted of the document in `file`, unless it is larger than
// kMostProofDots or kMostProofRows. False with one line in `error`, which does not name the
// drawing. May throw std::bad_alloc.
[[nodiscard]] bool preparePage(int file, const PageWanted& wanted, const documents::World& world,
                               PreparedPage& page, std::string& error);

// The dots that the printer gets for the page with these settings: the job is made, and its
// bytes are read. False with one line in `error`.
struct Proof {
  DotPage dots;
  bool leftOutFrame = false;
};
[[nodiscard]] bool proofOf(const PreparedPage& page, const Settings& settings,
                           const std::function<bool()>& giveUp, Proof& proof, std::string& error);

// The page as a document of the job that prints it: a portable greymap of what the head
// reaches. False with one line in `error`.
[[nodiscard]] bool writeDocument(const PreparedPage& page, int file, std::string& error);

// PNGs: of the dots; of the page, smaller by the factor `shrink`. Empty with one line in
// `error`.
std::string dotsPng(const DotPage& dots, std::string& error);
std::string pagePng(const PreparedPage& page, uint32_t shrink, std::string& error);

// Browsers draw no larger pictures well.
inline constexpr uint64_t kMostProofDots = 40'000'000;
inline constexpr uint32_t kMostProofRows = 32'767;

}  // namespace app

#endif  // APP_WEB_PAGE_PROOF_H_
