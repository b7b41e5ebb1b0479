// SPDX-License-Identifier: Apache-2.0
#include "documents/picture_pages.h"

#include <utility>

#include "documents/buffered_child.h"
#include "documents/lost_part.h"
#include "documents/placed_pages.h"
#include "documents/reader_protocol.h"

namespace documents {
namespace {

class PicturePages : public PlacedPages {
 public:
  PicturePages(int descriptor, FileKind kind, const Paper& paper, const PageWish& wish,
               const World& world)
      : PlacedPages(wish),
        descriptor_(descriptor),
        kind_(kind),
        paper_(paper),
        wish_(wish),
        world_(world) {}

  bool start(std::string& error) {
    return startReader(reader_, world_.pictureReader, requestText(paper_, wish_), descriptor_,
                       world_, error);
  }

  Step nextPage(GreyPage& page, std::string& error) override {
    if (std::exchange(begun_, true)) return finish(error);
    page = {};
    PictureFacts facts;
    if (!readFacts(reader_.readLine(kMostFactsLine), facts)) return fail(error);
    const Placing placing = placePicture(facts, paper_, wish_, &page.notes);
    beginPage(facts, placing, page);
    page.lost = inkBeyondPage(
        placing, paper_, wish_, [this](const Paper& paper, const PageWish& wish, std::string& why) {
          return openPicturePages(descriptor_, kind_, paper, wish, world_, why);
        });
    return Step::page;
  }

 protected:
  bool readRow(std::span<uint8_t> levels, std::string& error) override {
    if (!reader_.read(levels)) {
      (void)fail(error);
      return false;
    }
    // With the last row all must have gone well: the page is whole.
    return unreadRows() != 0 || finish(error) == Step::end;
  }

 private:
  Step finish(std::string& error) {
    if (failed_) return Step::failed;
    if (unreadRows() != 0) {  // nobody wants the rest
      reader_.process().kill();
      return Step::end;
    }
    return reader_.atEnd() && reader_.process().finish() ? Step::end : fail(error);
  }

  Step fail(std::string& error) {
    failed_ = true;
    error = readerFailure(reader_, std::string("cannot be read as ") + kindName(kind_));
    return Step::failed;
  }

  const int descriptor_;
  const FileKind kind_;
  const Paper paper_;
  const PageWish wish_;
  const World world_;
  BufferedChild reader_;
  bool begun_ = false;
  bool failed_ = false;
};

}  // namespace

std::unique_ptr<GreyPages> openPicturePages(int descriptor, FileKind kind, const Paper& paper,
                                            const PageWish& wish, const World& world,
                                            std::string& error) {
  if (world.pictureReader.empty()) {
    error = "cannot be read: drav-picture-reader, which reads pictures, is not installed";
    return nullptr;
  }
  auto pages = std::make_unique<PicturePages>(descriptor, kind, paper, wish, world);
  if (!pages->start(error)) return nullptr;
  return pages;
}

}  // namespace documents
