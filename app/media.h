// SPDX-License-Identifier: Apache-2.0
// The papers of a model by their names and sizes in IPP.
#ifndef APP_MEDIA_H_
#define APP_MEDIA_H_

#include <string>
#include <vector>

#include "filter/driver_table.h"
#include "filter/picture/picture_paper.h"

namespace app {

// Lengths in hundredths of millimetres, as IPP counts them.
struct Medium {
  std::string name;   // as IPP names it
  std::string paper;  // as PageSize names it
  int width = 0;
  int length = 0;
};

inline constexpr int kShortest = 2'000;
inline constexpr int kLongest = 300'000;

// The model's papers, in its order; they live as long as the program.
const std::vector<Medium>& mediaOf(const PrinterModel& model);

// The model's own paper first put into a queue.
const Medium& standardMedium(const PrinterModel& model);

// Of papers that no list names.
int widestPaper(const PrinterModel& model);

// The listed paper of that size, to half a millimetre; else a roll of that width, with its
// name made as the others are.
Medium mediumOfSize(const PrinterModel& model, int width, int length);

// The page of a document on that paper, as the filter for pictures makes it.
PicturePaper picturePaper(const PrinterModel& model, const Medium& medium);

// What lies beyond the head at the right.
int rightMargin(const PrinterModel& model, const Medium& medium);

// Rows of the longest page.
uint32_t mostRows(const PrinterModel& model);

}  // namespace app

#endif  // APP_MEDIA_H_
