// SPDX-License-Identifier: Apache-2.0
// What the page wishes of a drawing, out of the fields of a request.
#ifndef APP_WEB_WISH_FIELDS_H_
#define APP_WEB_WISH_FIELDS_H_

#include <string>
#include <utility>
#include <vector>

#include "app/option_attributes.h"
#include "app/web/page_proof.h"
#include "app/web/request.h"

namespace app {

struct DrawingWish {
  PageWanted page;
  // Attributes of the model's options, each with a value that stands for a choice.
  std::vector<std::pair<const OptionAttribute*, std::string>> options;
  int copies = 1;
  std::string name;  // of the job
};

// Besides "upload" and "queue", which are the caller's. Fields:
//   paper=WIDTHxLENGTH in hundredths of millimetres
//   length=N in hundredths of millimetres, of the page on a roll
//   size=auto, fill, or the drawing's width in hundredths of millimetres
//   turn=auto, 0, 90, 180, 270; clean, lines=true, false
//   page=N of the document; copies=N; name=TEXT
//   the attributes of app/option_attributes.h
// False with one line in `error` for an unknown field, or one with a bad value.
[[nodiscard]] bool readWish(const Fields& fields, const PrinterModel& model, DrawingWish& wish,
                            std::string& error);

}  // namespace app

#endif  // APP_WEB_WISH_FIELDS_H_
