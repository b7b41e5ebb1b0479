// SPDX-License-Identifier: Apache-2.0
// The two stencil halftones: worked page, pages on which a stage has no answer,
// agreement with a plain model, failing allocations.
#include "tattoo/pipeline.h"

#include <new>
#include <ostream>
#include <string>

#include "tattoo/error_diffusion.h"
#include "tattoo/gamma.h"
#include "tattoo/threshold.h"
#include "tattoo/unsharp.h"
#include "tests/model/tattoo.h"
#include "tests/support/failing_allocations.h"
#include "tests/unit/tattoo/tattoo_support.h"

#ifndef DRAV_TEST_WRAPS_ALLOCATIONS
#define DRAV_TEST_WRAPS_ALLOCATIONS 0
#endif

namespace {

using Pipeline = QZImage (*)(const QZImage&);
using ModelPipeline = model::QzPicture (*)(const model::QzPicture&);

struct Variant {
  const char* name;
  Pipeline run;
  ModelPipeline runModel;
};

void PrintTo(const Variant& variant, std::ostream* out) { *out << variant.name; }

class TattooPipeline : public testing::TestWithParam<Variant> {
 protected:
  static testing::AssertionResult matchesModel(const model::QzPicture& page) {
    const auto colour = static_cast<QZ_IMG_COLOR>(page.colour);
    const QZImage source(page.width, page.height, colour, page.data.data());
    const QZImage got = GetParam().run(source);
    const model::QzPicture wanted = GetParam().runModel(page);
    if (!sameBytes(page.data, bytesOf(source))) {
      return testing::AssertionFailure() << "the argument was changed";
    }
    if (got.width != wanted.width || got.height != wanted.height || got.color != wanted.colour ||
        got.channels != wanted.channels) {
      return testing::AssertionFailure() << "size, colour or channels differ";
    }
    return sameBytes(wanted.data, bytesOf(got));
  }

  static testing::AssertionResult matchesModel(const model::Grey& page) {
    return matchesModel(model::makeQzPicture(page.width, page.height, 0, page.pixels));
  }
};

constexpr Variant kTattoo = {"Tattoo", [](const QZImage& page) { return qzTattooDithering(page); },
                             model::tattooDithering};
constexpr Variant kTattooX8 = {"TattooX8",
                               [](const QZImage& page) { return qzTattooDitheringX8(page); },
                               model::tattooDitheringX8};

std::string variantName(const testing::TestParamInfo<Variant>& variant) {
  return variant.param.name;
}

INSTANTIATE_TEST_SUITE_P(Both, TattooPipeline, testing::Values(kTattoo, kTattooX8), variantName);

// o for white, x for black, a slash between rows.
std::string textOf(const QZImage& image) {
  std::string text;
  for (int32_t i = 0; i < image.width * image.height; ++i) {
    if (i != 0 && i % image.width == 0) text += '/';
    text += image.data[i] == 255 ? 'o' : image.data[i] == 0 ? 'x' : '?';
  }
  return text;
}

constexpr int kStripes[] = {0, 36, 72, 109, 145, 182, 218, 255};

QZImage stripedPage() {
  Bytes pixels;
  for (int y = 0; y < 8; ++y) {
    for (const int level : kStripes) pixels.push_back(static_cast<uint8_t>(level));
  }
  return greyRows(8, pixels);
}

void expectEveryRow(const QZImage& image, const Bytes& row) {
  for (int y = 0; y < image.height; ++y) {
    EXPECT_EQ(Bytes(image.data + y * image.width, image.data + (y + 1) * image.width), row) << y;
  }
}

TEST(TattooWorkedPage, FixedCurve) {
  QZImage page = stripedPage();
  EXPECT_EQ(textOf(qzTattooDithering(page)),
            "xxxooooo/xxxxoooo/xxxooooo/xxxooooo/xxxooooo/xxxxoooo/xxxooooo/xxxooooo");
  EXPECT_EQ(thresh_global_moments(page), 145);
  enh_piecewise_gamma(page, 64, 0.85F, 0.7F);
  expectEveryRow(page, {0, 39, 84, 133, 168, 200, 228, 255});
  expectEveryRow(enh_unsharp_mask(page, 300.0F, 11), {0, 0, 54, 160, 210, 255, 255, 255});
}

TEST(TattooWorkedPage, CurveAroundTheThreshold) {
  QZImage page = stripedPage();
  EXPECT_EQ(textOf(qzTattooDitheringX8(page)),
            "xxoxoxoo/xxooxooo/xxoxoooo/xxooxxoo/xxoxoooo/xxooxooo/xxoxoxoo/xxooxooo");
  enh_piecewise_gamma(page, 145, 0.5F, 1.5F);
  expectEveryRow(page, {0, 72, 102, 125, 145, 166, 204, 255});
  expectEveryRow(enh_unsharp_mask(page, 300.0F, 11), {0, 84, 129, 140, 139, 145, 225, 255});
}

TEST(StencilCurve, LiftedCurveIgnoresTheThreshold) {
  const auto wanted = model::piecewiseGammaTable(64, 0.85F, 0.7F);
  for (int32_t threshold = -1; threshold <= 255; ++threshold) {
    EXPECT_EQ(stencilCurveTable(StencilCurve::lifted, threshold), wanted) << threshold;
  }
}

TEST(StencilCurve, OtherCurveTurnsAroundTheThreshold) {
  for (int32_t threshold = -1; threshold <= 255; ++threshold) {
    EXPECT_EQ(stencilCurveTable(StencilCurve::aroundThreshold, threshold),
              model::piecewiseGammaTable(threshold, 0.5F, 1.5F))
        << threshold;
  }
}

TEST_P(TattooPipeline, NoAreaComesBackAsACopy) {
  for (const QZ_IMG_COLOR colour : {QZ_IMG_GRAY, QZ_IMG_BGR, QZ_IMG_RGBA}) {
    for (const Size& size : {Size{0, 0}, Size{0, 7}, Size{7, 0}}) {
      const QZImage page(size.width, size.height, colour);
      const QZImage result = GetParam().run(page);
      EXPECT_EQ(result.width, size.width);
      EXPECT_EQ(result.height, size.height);
      EXPECT_EQ(result.color, colour) << "not converted to grey";
      EXPECT_EQ(result.channels, page.channels);
      EXPECT_NE(result.data, page.data);
    }
  }
}

TEST_P(TattooPipeline, PagesOfOneGreyLevelFinish) {
  for (int level = 0; level < 256; ++level) {
    ASSERT_TRUE(matchesModel(model::makeGrey(21, 13, static_cast<uint8_t>(level)))) << level;
  }
}

TEST_P(TattooPipeline, BlankStaysBlankAndSolidStaysSolid) {
  const model::Grey blank = model::makeGrey(33, 20, 0);
  const model::Grey solid = model::makeGrey(33, 20, 255);
  EXPECT_TRUE(samePicture(blank, GetParam().run(greyImage(blank))));
  EXPECT_TRUE(samePicture(solid, GetParam().run(greyImage(solid))));
}

TEST_P(TattooPipeline, BlackAndWhitePagesFinishWhateverTheirThreshold) {
  bool threshold255 = false;
  bool threshold0 = false;
  for (uint32_t white = 1; white < 100; ++white) {
    model::Random random(white);
    model::Grey page = model::makeGrey(50, 30, 0);
    for (uint8_t& level : page.pixels) level = random.below(100) < white ? 255 : 0;
    const int32_t threshold = thresh_global_moments(greyImage(page));
    threshold255 = threshold255 || threshold == 255;
    threshold0 = threshold0 || threshold == 0;
    ASSERT_TRUE(matchesModel(page)) << white << " per cent white";
  }
  EXPECT_TRUE(threshold255);
  EXPECT_TRUE(threshold0);
}

TEST_P(TattooPipeline, ThresholdMinusOneIsPassedOn) {
  model::Grey page = model::makeGrey(59, 66, 114);
  for (const int x : {3, 30, 40}) page.set(x, x, 133);
  ASSERT_EQ(page.pixels.size(), 3894U);
  ASSERT_EQ(thresh_global_moments(greyImage(page)), -1);
  EXPECT_TRUE(matchesModel(page));
  EXPECT_EQ(GetParam().run(greyImage(page)).data[0], 255) << "every level is above -1";
}

TEST_P(TattooPipeline, NearlyFlatLightPagesFinish) {
  model::Grey page = model::makeGrey(1280, 800, 255);
  page.set(77, 55, 254);
  ASSERT_EQ(thresh_global_moments(greyImage(page)), 128);
  EXPECT_TRUE(matchesModel(page));
}

TEST_P(TattooPipeline, TwoRunsAreEqual) {
  const QZImage page = greyImage(model::photoPage(90, 70, 9));
  const Bytes before = bytesOf(page);
  const Bytes first = bytesOf(GetParam().run(page));
  EXPECT_TRUE(sameBytes(before, bytesOf(page)));
  EXPECT_TRUE(sameBytes(first, bytesOf(GetParam().run(page))));
  EXPECT_NE(std::count(first.begin(), first.end(), uint8_t{0}), 0);
  EXPECT_EQ(std::count(first.begin(), first.end(), uint8_t{0}) +
                std::count(first.begin(), first.end(), uint8_t{255}),
            6300);
}

TEST_P(TattooPipeline, MatchesTheModelOnManySizesAndContents) {
  for (uint64_t seed = 1; seed <= 8; ++seed) {
    for (const Size& size : kSizes) {
      ASSERT_TRUE(matchesModel(randomPicture(size, seed)))
          << size.width << " x " << size.height << ", seed " << seed;
    }
  }
}

TEST_P(TattooPipeline, MatchesTheModelOnEveryPattern) {
  for (const std::string& name : model::patternNames()) {
    for (uint64_t seed = 1; seed <= 2; ++seed) {
      EXPECT_TRUE(matchesModel(model::patternPage(name, 301, 203, seed)))
          << name << ", seed " << seed;
    }
  }
}

TEST_P(TattooPipeline, MatchesTheModelOnTheWidestPage) {
  EXPECT_TRUE(matchesModel(model::photoPage(2479, 120, 6)));
}

TEST_P(TattooPipeline, MatchesTheModelForEveryLayout) {
  for (const int colour : {0, 1, 2, 3, 4, 7}) {
    const Bytes bytes = model::photoPage(31 * 4, 23, 2).pixels;
    EXPECT_TRUE(matchesModel(model::makeQzPicture(31, 23, colour, bytes))) << colour;
  }
}

TEST_P(TattooPipeline, TwoNegativeSidesStayInsideTheBuffer) {
  // Their product is positive, so this passes for a page.
  const Bytes bytes = {1, 200, 3, 40, 5, 60};
  const QZImage page(-2, -3, QZ_IMG_GRAY, bytes.data());
  const QZImage result = GetParam().run(page);
  EXPECT_EQ(result.width, -2);
  EXPECT_EQ(result.height, -3);
  EXPECT_EQ(bytesOf(page), bytes);
}

#if DRAV_TEST_WRAPS_ALLOCATIONS

TEST_P(TattooPipeline, EveryFailedAllocationReachesTheCaller) {
  const QZImage page = greyImage(model::photoPage(40, 30, 1));
  const Bytes wanted = bytesOf(GetParam().run(page));
  int granted = 0;
  for (bool finished = false; !finished; ++granted) {
    ASSERT_LT(granted, 1000);
    const FailingAllocations failing(granted);
    try {
      const QZImage result = GetParam().run(page);
      finished = true;
      EXPECT_EQ(failing.refused(), 0);
      EXPECT_TRUE(sameBytes(wanted, bytesOf(result)));
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(failing.refused(), 1);
    }
  }
  EXPECT_GT(granted, 4) << "grey, sharpened and result image at least";
}

TEST(QZImageOutOfMemory, FailedAssignmentLosesNothing) {
  QZImage target = greyRows(2, {5, 6});
  const QZImage source = greyRows(3, {1, 2, 3});
  {
    const FailingAllocations failing(0);
    EXPECT_THROW(target = source, std::bad_alloc);
  }
  EXPECT_EQ(target.width, 2);
  EXPECT_EQ(bytesOf(target), (Bytes{5, 6}));
}

#endif

}  // namespace
