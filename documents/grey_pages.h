// SPDX-License-Identifier: Apache-2.0
// From a file to grey pages: the interface of this library.
//
//   std::unique_ptr<GreyPages> pages = openGreyPages(descriptor, paper, wish, world, error);
//   while (pages->nextPage(page, error) == Step::page)
//     for (uint32_t y = 0; y < page.height; ++y)
//       if (!pages->nextRow(row, error)) ...;  // row.size() == page.width
//
// Pictures are decoded by the program drav-picture-reader, text is set by drav-text-reader,
// PDF and PostScript are drawn by Ghostscript. All are child processes with limits of memory and
// time, so a file that makes one of them fail is a file that is refused. One page is worked on at a
// time, and its rows are passed on as they come.
#ifndef DOCUMENTS_GREY_PAGES_H_
#define DOCUMENTS_GREY_PAGES_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "common/lost_ink.h"
#include "documents/file_kind.h"
#include "documents/note.h"
#include "documents/page_request.h"
#include "documents/placing.h"

namespace documents {

struct GreyPage {
  uint32_t width = 0;  // dots, as the paper's
  uint32_t height = 0;
  PictureFacts facts;  // of what stands on it
  Placing placing;
  std::vector<Note> notes;
  std::vector<LostInk> lost;  // beyond the page
};

enum class Step : uint8_t { page, end, failed };

class GreyPages {
 public:
  GreyPages() = default;
  virtual ~GreyPages() = default;
  GreyPages(const GreyPages&) = delete;
  GreyPages& operator=(const GreyPages&) = delete;
  GreyPages(GreyPages&&) = delete;
  GreyPages& operator=(GreyPages&&) = delete;

  // Goes on to the next page; rows of the last one that were not taken are passed over.
  // `failed` with one line in `error`, which does not name the file; then nothing more
  // comes.
  virtual Step nextPage(GreyPage& page, std::string& error) = 0;

  // The next row of the page: 0 is no ink, 255 full ink. False with one line in `error`.
  // Damage can show at the last row only: who must not print a part of a page keeps its
  // rows until the last one has come.
  // With PageWish::colour each dot has three such levels: how much red, green and blue light
  // it takes away.
  // REQUIRES: as many calls a page as it has rows, and a row of as many levels as the page
  // is wide, times three with colour.
  virtual bool nextRow(std::span<uint8_t> row, std::string& error) = 0;
};

// Where the programs are, and how to end a wait for them.
struct World {
  std::string pictureReader;  // paths; empty for "not there"
  std::string textReader;
  std::string ghostscript;
  std::string pdfInfo;                  // of Poppler; only time is lost without it
  bool refusesRepaired = false;         // whether a PDF that Ghostscript says it has repaired fails
  std::function<bool()> stopRequested;  // asked every so often, from the caller's thread
};

// The programs of this machine. drav-picture-reader and drav-text-reader are looked for
// beside the running program, in ../libexec/drav from there, in the folder that they were
// built to be installed in, and in /usr/libexec/drav; gs and pdfinfo in PATH. The environment
// variables DRAV_PICTURE_READER, DRAV_TEXT_READER, DRAV_GHOSTSCRIPT and DRAV_PDFINFO name
// others, or with an empty value none.
World installedWorld();

// Kind of the regular file; kUnknown when it cannot be read.
FileKind kindOfFile(int descriptor);

// A document's pages. `descriptor` is a regular file, open for reading; the caller keeps it
// until the pages are gone, and its offset is not used. Null with one line in `error` for a
// file of a kind that nothing here reads, or when the program for it is missing.
std::unique_ptr<GreyPages> openGreyPages(int descriptor, const Paper& paper, const PageWish& wish,
                                         const World& world, std::string& error);

// Opens a file for that, "-" being standard input. Pipes are copied first, up to
// kMostFileBytes. The caller closes it. -1 with one line in `error`.
int openInput(const std::string& path, std::string& error);

inline constexpr uint64_t kMostFileBytes = uint64_t{1} << 30U;

}  // namespace documents

#endif  // DOCUMENTS_GREY_PAGES_H_
