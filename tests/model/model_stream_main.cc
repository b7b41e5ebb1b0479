// SPDX-License-Identifier: Apache-2.0
// model_stream JOBDIR: the expected output of a job, for tests of the whole filter.
//
// Reads JOBDIR/job.txt, a text file with one entry a line; blank lines and lines that begin with
// "#" are skipped:
//
//   KEY VALUE
//       an option. KEY is a field of JobSettings (pageCutType, docCutType, feedCutAfterJobEnd,
//       cashDrawer1Setting, cashDrawer2Setting, documentBuzzerSetting, pageBuzzerSetting,
//       buzzerOnTime, buzzerRepeat, docTopLogoID, docTopLogoMode, docTopLogoPosition,
//       docBottomLogoID, docBottomLogoMode, docBottomLogoPosition, brightness, printDensity,
//       halftoneType, maxMediaWidth, recordFileName, contrast, paperFrame; stencilMirror, halfTurn,
//       invertPage and keepPictures with True or False; trimPaper with None, End or Both),
//       "halftoneName" with a halftone name, or
//       "savesFail" with 1 when the folder of the picture files cannot be written. Options that
//       are not given keep the value of a driver file that lacks them. recordFileName is the
//       name as the log shows it; any name switches the record on.
//   page WIDTH BYTES_PER_LINE HEIGHT RES_X RES_Y BITS_PER_PIXEL COPIES COLOR_SPACE SIZE_NAME
//        PIXEL_FILE
//       a page, in the order of printing. SIZE_NAME "-" is the empty name. PIXEL_FILE is taken
//       from JOBDIR and holds BYTES_PER_LINE * HEIGHT bytes, fewer for a stream that was cut
//       off; "-" stands for no bytes at all.
//
// Writes into JOBDIR:
//
//   expected.stdout    the printer's byte stream
//   expected.record    the record file, only when recordFileName is given
//   expected.N.bmp     the picture files, N counting from 0 in the order of their making
//   expected.bmplist   one line a picture file: N, then "origin" or "dithered"
//   expected.log       the lines on standard error from the record file line on, with
//                      "<pointer>", "<null>" (the null pointer as %p prints it) and "<path>" for
//                      values that differ from run to run, and with "<refused page>" and
//                      "<may print inverted>" for two texts whose wording is not fixed
//   expected.status    the exit status, as a number and a line end
//
// Exit status: 0 when everything was written, 2 on a wrong call, a bad entry or a file error.

#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "tests/model/stream.h"

namespace {

bool readFile(const std::string& path, std::vector<uint8_t>& bytes) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  const std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  bytes.assign(content.begin(), content.end());
  return true;
}

bool writeFile(const std::string& path, const std::string& content) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(content.data(), static_cast<std::streamsize>(content.size()));
  out.flush();
  return out.good();
}

bool writeFile(const std::string& path, const std::vector<uint8_t>& bytes) {
  return writeFile(path, std::string(bytes.begin(), bytes.end()));
}

bool readPage(std::istringstream& words, const std::string& folder, model::RasterPage& page) {
  std::string sizeName;
  std::string pixelFile;
  if (!(words >> page.cupsWidth >> page.bytesPerLine >> page.height >> page.hwResolution >>
        page.hwResolutionY >> page.bitsPerPixel >> page.numCopies >> page.colorSpace >> sizeName >>
        pixelFile)) {
    return false;
  }
  if (sizeName != "-") page.pageSizeName = sizeName;
  if (pixelFile == "-") return true;
  return readFile(folder + "/" + pixelFile, page.pixels);
}

bool readJob(const std::string& folder, model::JobSettings& settings,
             std::vector<model::RasterPage>& pages) {
  std::ifstream in(folder + "/job.txt");
  if (!in) {
    std::fprintf(stderr, "model_stream: cannot read %s/job.txt\n", folder.c_str());
    return false;
  }
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream words(line);
    std::string key;
    if (!(words >> key) || key[0] == '#') continue;
    bool good = false;
    if (key == "page") {
      model::RasterPage page;
      good = readPage(words, folder, page);
      pages.push_back(page);
    } else {
      std::string value;
      words >> value;
      good = model::setJobField(settings, key, value);
    }
    if (!good) {
      std::fprintf(stderr, "model_stream: bad entry: %s\n", line.c_str());
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) {
    std::fprintf(stderr, "usage: model_stream JOBDIR\n");
    return 2;
  }
  const std::string folder = argv[1];
  model::JobSettings settings;
  std::vector<model::RasterPage> pages;
  if (!readJob(folder, settings, pages)) return 2;

  const model::JobResult job = model::runJob(settings, pages);
  bool good = writeFile(folder + "/expected.stdout", job.stdoutBytes);
  if (!settings.recordFileName.empty()) {
    good = writeFile(folder + "/expected.record", job.recordBytes) && good;
  }
  std::string list;
  for (size_t n = 0; n < job.saved.size(); ++n) {
    const std::string number = std::to_string(n);
    list += number + " " + job.saved[n].kind + "\n";
    good = writeFile(folder + "/expected." + number + ".bmp", job.saved[n].bytes) && good;
  }
  good = writeFile(folder + "/expected.bmplist", list) && good;
  std::string log;
  for (const std::string& entry : job.log) log += entry + "\n";
  good = writeFile(folder + "/expected.log", log) && good;
  good = writeFile(folder + "/expected.status", std::to_string(job.exitStatus) + "\n") && good;
  if (!good) {
    std::fprintf(stderr, "model_stream: cannot write into %s\n", folder.c_str());
    return 2;
  }
  return 0;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "model_stream: %s\n", failure.what());
  return 2;
}
