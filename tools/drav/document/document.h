// SPDX-License-Identifier: Apache-2.0
// Any input of a command as the grey pages that reach the filter.
//
// CUPS and PWG raster is taken as it is. Pictures are placed as picturetodrav places them.
// PDF, PostScript and text go through the converters of CUPS that would print them. Where
// those are missing, Ghostscript draws the first two; approximation() then says so. What is
// prepared is made by documents/ alone.
#ifndef TOOLS_DRAV_DOCUMENT_DOCUMENT_H_
#define TOOLS_DRAV_DOCUMENT_DOCUMENT_H_

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "documents/file_kind.h"
#include "proof/art_wish.h"
#include "tools/drav/document/grey_page.h"
#include "tools/drav/driver/driver_file.h"

class Document {
 public:
  // `driver` is open and must outlive the document.
  explicit Document(const DriverFile& driver) : driver_(driver) {}

  // `idle` is called every so often while the document waits for other programs.
  void setIdle(std::function<void()> idle) { idle_ = std::move(idle); }
  // Does without CUPS's converters even if they are installed.
  void setApproximate() { avoidConverters_ = true; }
  // Prepares the pages as drav prepare does, before they are placed.
  void setArt(const ArtWish& art) { art_ = art; }

  // Opens a file or pipe, "-" being standard input. False with one line in `error`,
  // which names the input.
  [[nodiscard]] bool open(const std::string& input, std::string& error);

  // The next page. After a failure `error` holds one line that names the input.
  PageSource::Step next(GreyPage& page, std::string& error);

  // One page of it, counted from 1, prepared otherwise. False with one line in `error`.
  // REQUIRES: an art was set.
  [[nodiscard]] bool readOtherwise(const ArtWish& art, unsigned number, GreyPage& page,
                                   std::string& error) const;

  // How much of it has been used, from 0 to 1; below 0 when nobody knows.
  double share() const { return source_ ? source_->share() : -1; }

  // Why the dots may differ from those that a print queue would send; empty when they
  // are the same. Known after the first page.
  const std::string& approximation() const { return approximation_; }

  // Who drew the pages, where that could be another: "CUPS's converters" or "Ghostscript".
  // Known after the first page.
  const std::string& maker() const { return maker_; }

  // What the user should know, one line each; grows with the pages.
  const std::vector<std::string>& notes() const { return notes_; }

  // The input's name for people.
  const std::string& name() const { return name_; }
  // The same without its folders.
  const std::string& title() const { return title_; }

 private:
  bool openFile(const std::string& input, std::string& error);
  bool copyToScratch(const std::string& input, std::string& error);
  bool chooseSource(std::string& error);
  bool useConverters(const std::string& program, const char* type, std::string& error);
  bool makeHere(const std::string& instead, std::string& error);
  void takeNote(const GreyPage& page);
  std::string failure(const std::string& why) const { return name_ + ": " + why; }

  const DriverFile& driver_;
  std::function<void()> idle_;
  std::string name_;
  std::string title_;
  std::string path_;  // a regular file
  ArtWish art_;
  std::unique_ptr<PageSource> source_;
  class ConvertedSource* converted_ = nullptr;  // is source_, while no page has come
  std::string approximation_;
  std::string maker_;
  std::vector<std::string> notes_;
  unsigned pages_ = 0;
  documents::FileKind kind_ = documents::FileKind::kUnknown;
  bool avoidConverters_ = false;
};

#endif  // TOOLS_DRAV_DOCUMENT_DOCUMENT_H_
