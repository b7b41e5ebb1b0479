// SPDX-License-Identifier: Apache-2.0
#include "documents/page_options.h"

#include <gmock/gmock.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace documents {
namespace {

class PageOptionsTest : public testing::Test {
 protected:
  bool take(std::string_view name, std::string_view value) {
    return takePageOption(name, value, wish_, notes_);
  }

  PageWish wish_;
  std::vector<Note> notes_;
};

TEST_F(PageOptionsTest, PrintScaling) {
  EXPECT_EQ(wish_.scaling, PrintScaling::kAutoFit);
  for (const auto& [name, scaling] :
       {std::pair{"auto", PrintScaling::kAuto}, std::pair{"fit", PrintScaling::kFit},
        std::pair{"fill", PrintScaling::kFill}, std::pair{"none", PrintScaling::kNone},
        std::pair{"auto-fit", PrintScaling::kAutoFit}}) {
    EXPECT_TRUE(take("print-scaling", name));
    EXPECT_EQ(wish_.scaling, scaling) << name;
  }
  EXPECT_TRUE(notes_.empty());
}

TEST_F(PageOptionsTest, Numbers) {
  EXPECT_TRUE(take("scaling", "150") && take("ppi", "100x200") && take("natural-scaling", "40"));
  EXPECT_EQ(wish_.percent, 150U);
  EXPECT_EQ(wish_.naturalPercent, 40U);
  EXPECT_EQ(wish_.ppi->x, 100);
  EXPECT_EQ(wish_.ppi->y, 200);
  EXPECT_TRUE(take("ppi", "72"));
  EXPECT_EQ(wish_.ppi->y, 72);
  EXPECT_TRUE(notes_.empty());
}

TEST_F(PageOptionsTest, TurnsAsTheProtocolNumbersThem) {
  EXPECT_FALSE(wish_.turn);
  for (const auto& [value, turn] : {std::pair{"3", Turn::kNone}, std::pair{"4", Turn::kLeft},
                                    std::pair{"5", Turn::kRight}, std::pair{"6", Turn::kHalf}}) {
    EXPECT_TRUE(take("orientation-requested", value));
    EXPECT_EQ(wish_.turn, turn) << value;
  }
  EXPECT_TRUE(take("orientation-requested", "7"));
  EXPECT_FALSE(wish_.turn);
}

TEST_F(PageOptionsTest, TruthAsLibcupsGivesIt) {
  EXPECT_TRUE(take("mirror", "true") && take("fit-to-page", "") && take("landscape", "yes"));
  EXPECT_TRUE(wish_.mirror && wish_.fitToPage && wish_.landscape);
  EXPECT_TRUE(take("mirror", "false") && take("fit-to-page", "no") && take("landscape", "off"));
  EXPECT_FALSE(wish_.mirror || wish_.fitToPage || wish_.landscape);
}

TEST_F(PageOptionsTest, Positions) {
  EXPECT_TRUE(take("position", "bottom-left"));
  EXPECT_EQ(wish_.across, Position::kStart);
  EXPECT_EQ(wish_.along, Position::kEnd);
  EXPECT_TRUE(take("position", "top"));
  EXPECT_EQ(wish_.across, Position::kCenter);
  EXPECT_EQ(wish_.along, Position::kStart);
}

TEST_F(PageOptionsTest, ValuesThatMeanNothingAreToldAndChangeNothing) {
  const std::vector<std::pair<const char*, const char*>> bad = {{"print-scaling", "Fit"},
                                                                {"scaling", "0"},
                                                                {"scaling", "1001"},
                                                                {"scaling", "5%"},
                                                                {"natural-scaling", "0"},
                                                                {"ppi", "0"},
                                                                {"ppi", "300x"},
                                                                {"ppi", "9601"},
                                                                {"position", "middle"},
                                                                {"mirror", "maybe"},
                                                                {"landscape", "2"},
                                                                {"fit-to-page", "x"},
                                                                {"ppi", "-1"},
                                                                {"orientation-requested", "2"},
                                                                {"orientation-requested", "8"}};
  for (const auto& [name, value] : bad) EXPECT_TRUE(take(name, value)) << name << value;
  EXPECT_EQ(notes_.size(), bad.size());
  EXPECT_EQ(notes_[0].kind, NoteKind::kOptionIgnored);
  EXPECT_EQ(notes_[0].text, "the option print-scaling=Fit means nothing here");
  EXPECT_EQ(wish_.scaling, PrintScaling::kAutoFit);
  EXPECT_FALSE(wish_.percent || wish_.naturalPercent || wish_.ppi || wish_.turn || wish_.mirror ||
               wish_.landscape || wish_.fitToPage);
}

TEST_F(PageOptionsTest, OtherOptionsAreNotOurs) {
  EXPECT_FALSE(take("HalftoneType", "Tattoo") || take("media", "A4") || take("", ""));
  EXPECT_TRUE(notes_.empty());
}

TEST(ForeignOptions, AreToldWithWhatToUseInstead) {
  const auto told = [](const char* name, const char* value) {
    std::vector<Note> notes;
    noteForeignOption(name, value, notes);
    EXPECT_LE(notes.size(), 1U);
    if (notes.empty()) return std::string();
    EXPECT_EQ(notes[0].kind, NoteKind::kOptionIgnored);
    return notes[0].text;
  };
  EXPECT_EQ(told("gamma", "1700"),
            "the option gamma=1700 does nothing here; use drav prepare --gamma");
  EXPECT_EQ(told("fitplot", "true"), "the option fitplot=true does nothing here; use fit-to-page");
  for (const auto& [name, neutral, other] :
       {std::tuple{"gamma", "1000", "1"}, std::tuple{"hue", "0", "90"},
        std::tuple{"saturation", "100", "0"}, std::tuple{"brightness", "100", "120"},
        std::tuple{"profile", "", "/a.icc"}, std::tuple{"fitplot", "no", "yes"},
        std::tuple{"fill", "false", "true"}, std::tuple{"crop-to-fit", "off", "true"},
        std::tuple{"page-left", "0", "36"}, std::tuple{"page-right", "0", "36"},
        std::tuple{"page-top", "0", "36"}, std::tuple{"page-bottom", "0", "36"},
        std::tuple{"page-border", "none", "single"}, std::tuple{"page-label", "", "secret"}}) {
    EXPECT_EQ(told(name, neutral), "") << name;
    EXPECT_TRUE(
        told(name, other)
            .starts_with(std::string("the option ") + name + "=" + other + " does nothing here; "))
        << name;
  }
  for (const auto& [name, value] : {std::pair{"Brightness", "120"}, std::pair{"brightness", "-10"},
                                    std::pair{"brightness", "15"}, std::pair{"scaling", "50"},
                                    std::pair{"media", "A4"}, std::pair{"", ""}})
    EXPECT_EQ(told(name, value), "") << name;
}

}  // namespace
}  // namespace documents
