// SPDX-License-Identifier: Apache-2.0
// A whole job: what the filter writes for a list of pages under given options.
#ifndef TESTS_MODEL_STREAM_H_
#define TESTS_MODEL_STREAM_H_

#include <cstdint>
#include <string>
#include <vector>

#include "tests/model/pages.h"

namespace model {

// The options that a job prints with. The defaults are those of a driver file that lacks the key.
struct JobSettings {
  double maxMediaWidth = 0.0;  // points; 0 = no limit
  int32_t pageCutType = -1;    // 0 none, 1 partial, 2 full
  int32_t docCutType = -1;
  int32_t feedCutAfterJobEnd = -1;
  int32_t cashDrawer1Setting = -1;  // 1 job start, 2 job end
  int32_t cashDrawer2Setting = -1;
  int32_t documentBuzzerSetting = -1;  // 1 job start, 2 job end
  int32_t pageBuzzerSetting = -1;      // 1 page start, 2 page end
  int32_t buzzerOnTime = -1;
  int32_t buzzerRepeat = -1;
  int32_t docTopLogoID = -1;
  int32_t docTopLogoMode = -1;
  int32_t docTopLogoPosition = -1;
  int32_t docBottomLogoID = -1;
  int32_t docBottomLogoMode = -1;
  int32_t docBottomLogoPosition = -1;
  int32_t brightness = 0;
  int32_t printDensity = 0;
  int32_t halftoneType = 0;
  bool stencilMirror = false;
  bool halfTurn = false;
  bool invertPage = false;
  int32_t contrast = 0;    // 0 to 50
  int32_t paperFrame = 0;  // 0 none, 1 to 5
  Trim trimPaper = Trim::nothing;
  bool keepPictures = true;
  std::string recordFileName;  // empty = no record file
  bool savesFail = false;      // the folder of the picture files cannot be written
};

// A page of the raster stream.
struct RasterPage {
  uint32_t cupsWidth = 0;
  uint32_t bytesPerLine = 0;
  uint32_t height = 0;
  uint32_t hwResolution = 300;  // horizontal, dots per inch
  uint32_t hwResolutionY = 300;
  uint32_t bitsPerPixel = 8;
  uint32_t numCopies = 1;
  uint32_t colorSpace = 3;
  std::string pageSizeName;
  // bytesPerLine * height bytes. Fewer bytes stand for a stream that was cut off.
  std::vector<uint8_t> pixels;
};

struct JobResult {
  std::vector<uint8_t> stdoutBytes;
  std::vector<uint8_t> recordBytes;
  std::vector<SavedImage> saved;
  // From the record file line on. Addresses appear as "<pointer>" and "<null>", paths of picture
  // files as "<path>", and the two lines whose wording is free as kRefusedText and kInvertedText.
  std::vector<std::string> log;
  int exitStatus = 1;
};

inline const char* const kRefusedText = "<refused page>";
inline const char* const kInvertedText = "<may print inverted>";

// The option records by the names of their fields; false for an unknown name.
bool setJobField(JobSettings& settings, const std::string& name, const std::string& value);

// The halftone type of an option text: exact names only, anything else is 0.
int32_t halftoneTypeFromName(const std::string& name);

// Width limit in dots, cut off to a whole number; 0 when there is none.
uint64_t maxMediaLinePixels(double maxMediaWidth, uint32_t resolution);
uint64_t skipPixels(double maxMediaWidth, uint32_t resolution, uint32_t bytesPerLine);

// The command sequences around the page images.
std::vector<uint8_t> jobSetupBytes(const JobSettings& settings);
std::vector<uint8_t> pageSetupBytes(const JobSettings& settings);
std::vector<uint8_t> endPageBytes(const JobSettings& settings);
std::vector<uint8_t> endJobBytes(const JobSettings& settings);

JobResult runJob(const JobSettings& settings, const std::vector<RasterPage>& pages);

}  // namespace model

#endif  // TESTS_MODEL_STREAM_H_
