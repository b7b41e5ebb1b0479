// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/driver/driver_file.h"

#include <cups/ppd.h>
#include <strings.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <numeric>
#include <string_view>

#include "common/ppd_lookup.h"
#include "documents/page_options.h"
#include "filter/page_geometry.h"
#include "filter/picture/job_options.h"
#include "tools/drav/driver/known_options.h"
#include "tools/drav/driver/models.h"
#include "tools/drav/io/input_file.h"
#include "tools/drav/io/nearest_word.h"
#include "tools/drav/io/text.h"

namespace {

constexpr uint64_t kMaxPpdBytes = uint64_t{16} << 20U;

DriverChoice asChoice(const ppd_choice_t& choice) { return {choice.choice, choice.text}; }

}  // namespace

DriverFile::DriverFile() = default;
DriverFile::~DriverFile() = default;

void DriverFile::PpdClose::operator()(ppd_file_s* ppd) const { ppdClose(ppd); }

bool DriverFile::copyToScratch(std::string& error) {
  if (!scratch_.make(error)) return false;
  path_ = scratch_.file("driver.ppd");
  if (!job_.ppdPath.empty()) {
    std::vector<uint8_t> content;
    return readInput(job_.ppdPath, content, error, kMaxPpdBytes) &&
           writeScratchFile(path_, content.data(), content.size(), error);
  }
  const EmbeddedModel* model = job_.model.empty() ? &defaultModel() : findModel(job_.model);
  if (model == nullptr) {
    error = "there is no model " + printablePath(job_.model) + "; there are " + modelList();
    return false;
  }
  return writeScratchFile(path_, model->ppd.data(), model->ppd.size(), error);
}

bool DriverFile::open(const JobChoice& job, std::string& error) {
  job_ = job;
  for (const std::string& option : job_.options) {
    if (option.empty() || option.front() == '=') {
      error = "option \"" + option + "\" has no name";
      return false;
    }
    options_ += (options_.empty() ? "" : " ") + option;
  }
  if (!copyToScratch(error)) return false;
  ppd_.reset(ppdOpenFile(path_.c_str()));
  if (!ppd_) {
    int line = 0;
    const ppd_status_t status = ppdLastError(&line);
    error = printablePath(job_.ppdPath) +
            ": is not a driver file (PPD): " + ppdErrorString(status) + " in line " +
            std::to_string(line);
    return false;
  }
  if (dravPpdGetChoice(ppd_.get(), "PageSize") == nullptr) {
    error = printablePath(job_.ppdPath) +
            ": is not the driver file (PPD) of a printer: it has no PageSize";
    return false;
  }
  markOptions();
  readResolution();
  return true;
}

bool DriverFile::open(const JobChoice& job, const std::string& paper, std::string& error) {
  JobChoice onPaper = job;
  if (!paper.empty()) onPaper.options.push_back("PageSize=" + paper);
  return open(onPaper, error) && (paper.empty() || hasPaper(paper, error));
}

bool DriverFile::hasPaper(const std::string& name, std::string& error) const {
  if (name.starts_with("Custom.") || isMarked("PageSize", name)) return true;
  std::vector<std::string> names;
  for (const PaperChoice& paper : papers()) names.push_back(paper.name);
  const std::string nearest = nearestWord(name, names);
  const std::string all = std::accumulate(names.begin(), names.end(), std::string(),
                                          [](const std::string& text, const std::string& one) {
                                            return text.empty() ? one : text + ", " + one;
                                          });
  error = "there is no paper " + name + "; " +
          (nearest.empty() ? "there are " + all : "the nearest is " + nearest);
  return false;
}

void DriverFile::markOptions() {
  ppdMarkDefaults(ppd_.get());
  const JobOptions parsed(options_.c_str());
  cupsMarkOptions(ppd_.get(), parsed.count(), parsed.list());
  std::vector<documents::Note> ignored;
  for (const cups_option_t& asked : parsed) {
    (void)documents::takePageOption(asked.name, asked.value, wish_, ignored);
    ppd_option_t* option = ppdFindOption(ppd_.get(), asked.name);
    if (option == nullptr) noteUnknown(asked.name);
    if (option == nullptr || ppdFindChoice(option, asked.value) != nullptr ||
        ::strncasecmp(asked.value, "Custom.", 7) == 0)
      continue;
    std::string names;
    std::vector<std::string> words;
    for (const DriverChoice& choice : choices(asked.name)) {
      names += (names.empty() ? "" : ", ") + choice.name;
      words.push_back(choice.name);
    }
    const std::string nearest = nearestWord(asked.value, words);
    if (!nearest.empty()) names += "; the nearest is " + nearest;
    notes_.push_back(std::string(option->keyword) + " has no choice \"" + asked.value +
                     "\"; the filter takes " + current(asked.name).name +
                     " instead; the choices are " + names);
  }
  for (documents::Note& note : ignored) notes_.push_back(std::move(note.text));
}

void DriverFile::noteUnknown(const std::string& name) {
  if (isStandardOption(name)) return;
  std::vector<std::string> known = optionNames();
  const std::vector<std::string> standard = standardOptionNames();
  known.insert(known.end(), standard.begin(), standard.end());
  const std::string nearest = nearestWord(name, known);
  notes_.push_back("there is no option " + name + ", neither in the driver file nor in CUPS" +
                   (nearest.empty() ? "" : "; the nearest is " + nearest));
}

std::optional<std::string> DriverFile::given(const std::string& option) const {
  const JobOptions parsed(options_.c_str());
  const auto found =
      std::find_if(parsed.begin(), parsed.end(), [&option](const cups_option_t& given) {
        return ::strcasecmp(given.name, option.c_str()) == 0;
      });
  if (found == parsed.end()) return std::nullopt;
  return found->value;
}

std::vector<std::pair<std::string, std::string>> DriverFile::parsedOptions() const {
  std::vector<std::pair<std::string, std::string>> list;
  for (const cups_option_t& option : JobOptions(options_.c_str()))
    list.emplace_back(option.name, option.value);
  return list;
}

// "300dpi" or "300x600dpi", the name of the choice, is how drivers say it.
void DriverFile::readResolution() {
  const char* name = dravPpdGetChoiceAsStrDefault(
      ppd_.get(), "Resolution",
      dravPpdGetAttrAsStrDefault(ppd_.get(), "DefaultResolution", nullptr, ""));
  unsigned x = 0;
  unsigned y = 0;
  const int read = std::sscanf(name, "%5ux%5u", &x, &y);  // NOLINT(cert-err34-c)
  resolutionX_ = read >= 1 ? x : 0;
  resolutionY_ = read == 2 ? y : resolutionX_;
}

bool DriverFile::takes(const std::string& type) const {
  const char* const keyword = "cupsFilter2";
  const ppd_attr_t* filter = ppdFindAttr(ppd_.get(), keyword, nullptr);
  while (filter != nullptr && !std::string_view(filter->value).starts_with(type + " "))
    filter = ppdFindNextAttr(ppd_.get(), keyword, nullptr);
  return filter != nullptr;
}

std::string DriverFile::title() const {
  if (ppd_->nickname != nullptr) return ppd_->nickname;
  return ppd_->modelname != nullptr ? ppd_->modelname : "unnamed driver";
}

std::vector<std::string> DriverFile::optionNames() const {
  std::vector<std::string> names;
  for (const ppd_option_t* option = ppdFirstOption(ppd_.get()); option != nullptr;
       option = ppdNextOption(ppd_.get()))
    names.emplace_back(option->keyword);
  return names;
}

std::vector<DriverChoice> DriverFile::choices(const std::string& option) const {
  std::vector<DriverChoice> list;
  const ppd_option_t* found = ppdFindOption(ppd_.get(), option.c_str());
  if (found == nullptr) return list;
  for (int i = 0; i < found->num_choices; ++i) list.push_back(asChoice(found->choices[i]));
  return list;
}

DriverChoice DriverFile::current(const std::string& option) const {
  const ppd_choice_t* choice = dravPpdGetChoice(ppd_.get(), option.c_str());
  return choice != nullptr ? asChoice(*choice) : DriverChoice{};
}

double DriverFile::pageWidth() const {
  const ppd_size_t* size = ppdPageSize(ppd_.get(), nullptr);
  return size != nullptr ? static_cast<double>(size->width) : 0;
}

double DriverFile::pageLength() const {
  const ppd_size_t* size = ppdPageSize(ppd_.get(), nullptr);
  return size != nullptr ? static_cast<double>(size->length) : 0;
}

std::vector<PaperChoice> DriverFile::papers() const {
  std::vector<PaperChoice> list;
  for (int i = 0; i < ppd_->num_sizes; ++i) {
    const ppd_size_t& size = ppd_->sizes[i];
    list.push_back({size.name, static_cast<double>(size.width), static_cast<double>(size.length)});
  }
  return list;
}

double DriverFile::maxMediaWidth() const {
  return dravPpdGetAttrAsFloatDefault(ppd_.get(), "MaxMediaWidth", nullptr, 0);
}

uint32_t DriverFile::printableDots() const {
  cups_page_header2_t header = {};
  header.HWResolution[0] = resolutionX_;
  const uint64_t dots = maxMediaLinePixels(maxMediaWidth(), header);
  return static_cast<uint32_t>(std::min<uint64_t>(dots, UINT32_MAX));
}

uint32_t DriverFile::printedColumns(const cups_page_header2_s& header) const {
  const uint64_t most = maxMediaLinePixels(maxMediaWidth(), header);
  return ::printedColumns(skippedRightPixels(most, header), header);
}
