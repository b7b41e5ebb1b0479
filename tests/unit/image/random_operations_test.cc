// SPDX-License-Identifier: Apache-2.0
// Random sequences of operations with plain and hostile arguments, on the image
// and on a plain model of it: every byte and every answer must agree.
#include <cstdint>

#include "tests/model/palette_image.h"
#include "tests/support/image_calls.h"
#include "tests/unit/image/image_support.h"

namespace {

class RandomOperations : public testing::TestWithParam<uint64_t> {};

TEST_P(RandomOperations, MatchTheModelByteForByte) {
  model::Random random(GetParam());
  int worked = 0;
  for (int sequence = 0; sequence < 40; ++sequence) {
    ImagePair pair;
    PaletteImage* images = pair.images;
    model::PaletteImage models[2];
    for (int step = 0; step < 120; ++step) {
      const ImageCall call = drawImageCall(random, images);
      SCOPED_TRACE(testing::Message() << "seed " << GetParam() << ", sequence " << sequence
                                      << ", step " << step << ", " << call);
      const uint64_t wanted =
          performImageCall<model::PaletteImage, model::tagRGBQUAD>(call, models);
      const uint64_t got = performImageCall<PaletteImage, tagRGBQUAD>(call, images);
      ASSERT_EQ(wanted, got);
      for (int i = 0; i < 2; ++i) ASSERT_EQ(imageDifference(models[i], images[i]), "") << i;
      if (images[call.subject].IsValid()) ++worked;
    }
  }
  EXPECT_GT(worked, 2000) << "most calls must meet an image that holds something";
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomOperations, testing::Range(uint64_t{1}, uint64_t{13}));

}  // namespace
