// SPDX-License-Identifier: Apache-2.0
// The driver file (PPD) of a run with the job's options marked in it.
#ifndef TOOLS_DRAV_DRIVER_DRIVER_FILE_H_
#define TOOLS_DRAV_DRIVER_DRIVER_FILE_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "documents/page_request.h"
#include "tools/drav/io/scratch_folder.h"

struct cups_page_header2_s;
struct ppd_file_s;

// What the command line says of driver and job.
struct JobChoice {
  std::string ppdPath;               // a file, or empty
  std::string model;                 // an embedded model; empty for the default
  std::vector<std::string> options;  // NAME=VALUE or NAME, as lp -o takes them
};

struct DriverChoice {
  std::string name;   // what the filter reads
  std::string label;  // what people read
};

struct PaperChoice {
  std::string name;  // choice of PageSize
  double width = 0;  // points
  double length = 0;
};

class DriverFile {
 public:
  DriverFile();
  ~DriverFile();
  DriverFile(const DriverFile&) = delete;
  DriverFile& operator=(const DriverFile&) = delete;
  DriverFile(DriverFile&&) = delete;
  DriverFile& operator=(DriverFile&&) = delete;

  // Copies the driver file into a scratch folder, where the filter and the converters
  // find it, and marks the options. False with one line in `error`.
  [[nodiscard]] bool open(const JobChoice& job, std::string& error);
  // The same for `paper`, a choice of PageSize, whatever the options say; empty for none. Also
  // false when the driver has no such paper.
  [[nodiscard]] bool open(const JobChoice& job, const std::string& paper, std::string& error);

  // The copy; it lives as long as this.
  const std::string& path() const { return path_; }
  // Where files of the run may lie; it lives as long as this.
  const ScratchFolder& scratch() const { return scratch_; }

  // What was opened.
  const JobChoice& job() const { return job_; }
  // All options of the job in one text, as filters get them.
  const std::string& options() const { return options_; }
  // Each as it was given.
  const std::vector<std::string>& givenOptions() const { return job_.options; }
  // True when the job names the option, whatever its case.
  bool isGiven(const std::string& option) const { return given(option).has_value(); }
  // Name and value of each, as filters read them.
  std::vector<std::pair<std::string, std::string>> parsedOptions() const;
  // The value that the job gives it, if it does.
  std::optional<std::string> given(const std::string& option) const;

  // How the job wants its page placed.
  const documents::PageWish& pageWish() const { return wish_; }

  // Whether its filters take files of this type.
  bool takes(const std::string& type) const;

  // Name of the model for people, version included.
  std::string title() const;

  // The options of the driver file, by name.
  std::vector<std::string> optionNames() const;
  // Choices of an option in the driver's order; empty when it has none.
  std::vector<DriverChoice> choices(const std::string& option) const;
  // The choice that counts for this job; nothing in it when there is none.
  DriverChoice current(const std::string& option) const;
  // Whether that choice has this name.
  bool isMarked(const std::string& option, const std::string& choice) const {
    return current(option).name == choice;
  }

  // Size of the job's paper in points; 0 when the driver does not know it.
  double pageWidth() const;
  double pageLength() const;
  // All papers of the driver, in its order.
  std::vector<PaperChoice> papers() const;
  // Dots per inch of the job; 0 when the driver does not say.
  uint32_t resolutionX() const { return resolutionX_; }
  uint32_t resolutionY() const { return resolutionY_; }
  // Widest row in dots before the filter's packing; 0 for no limit.
  uint32_t printableDots() const;
  // Columns of the page's picture that print: those at the right end of the printed row
  // may lie beyond the head.
  uint32_t printedColumns(const cups_page_header2_s& header) const;

  // What the user should know, one line each: options that nobody knows, and options
  // with a value that the driver, or the placing of a page, does not have and ignores.
  const std::vector<std::string>& notes() const { return notes_; }

 private:
  struct PpdClose {
    void operator()(ppd_file_s* ppd) const;
  };
  bool copyToScratch(std::string& error);
  bool hasPaper(const std::string& name, std::string& error) const;
  void markOptions();
  void noteUnknown(const std::string& name);
  double maxMediaWidth() const;
  void readResolution();

  JobChoice job_;
  ScratchFolder scratch_;
  std::string path_;
  std::string options_;
  std::unique_ptr<ppd_file_s, PpdClose> ppd_;
  uint32_t resolutionX_ = 0;
  uint32_t resolutionY_ = 0;
  documents::PageWish wish_;
  std::vector<std::string> notes_;
};

#endif  // TOOLS_DRAV_DRIVER_DRIVER_FILE_H_
