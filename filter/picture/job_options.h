// SPDX-License-Identifier: Apache-2.0
// A job's options as libcups parses them.
#ifndef FILTER_PICTURE_JOB_OPTIONS_H_
#define FILTER_PICTURE_JOB_OPTIONS_H_

#include <cups/cups.h>

class JobOptions {
 public:
  explicit JobOptions(const char* text) : count_(cupsParseOptions(text, 0, &options_)) {}
  ~JobOptions() { cupsFreeOptions(count_, options_); }
  JobOptions(const JobOptions&) = delete;
  JobOptions& operator=(const JobOptions&) = delete;
  JobOptions(JobOptions&&) = delete;
  JobOptions& operator=(JobOptions&&) = delete;

  const cups_option_t* begin() const { return options_; }
  const cups_option_t* end() const { return options_ + count_; }
  int count() const { return count_; }
  cups_option_t* list() const { return options_; }

 private:
  cups_option_t* options_ = nullptr;
  int count_;
};

#endif  // FILTER_PICTURE_JOB_OPTIONS_H_
