// SPDX-License-Identifier: Apache-2.0
// The input is a sequence of calls on two images, arguments and all. After every
// call the images and the plain models of them agree in each byte and answer.
#include <array>
#include <cstdint>
#include <iostream>
#include <string>

#include "tests/fuzz/byte_feed.h"
#include "tests/support/image_calls.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr int kMostCalls = 200;
  ByteFeed feed({data, size});
  ImagePair pair;
  std::array<model::PaletteImage, 2> models;
  for (int step = 0; step < kMostCalls && !feed.empty(); ++step) {
    const ImageCall call = drawImageCall(feed, pair.images);
    const uint64_t wanted =
        performImageCall<model::PaletteImage, model::tagRGBQUAD>(call, models.data());
    const uint64_t got = performImageCall<PaletteImage, tagRGBQUAD>(call, pair.images);
    std::string difference = wanted == got ? "" : "answer";
    for (size_t i = 0; i < 2 && difference.empty(); ++i) {
      difference = imageDifference(models[i], pair.images[i]);
    }
    if (!difference.empty()) std::cerr << "step " << step << ", " << call << '\n';
    require(difference.empty(), difference.c_str());
  }
  return 0;
}
