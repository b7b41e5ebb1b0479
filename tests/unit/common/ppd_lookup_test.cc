// SPDX-License-Identifier: Apache-2.0
#include "common/ppd_lookup.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/support/files.h"
#include "tests/support/ppd_builder.h"

namespace {

class PpdLookupTest : public testing::Test {
 protected:
  // Opens the file without marking anything.
  void open(const PpdBuilder& builder) {
    builder.write(folder_.file("test.ppd"));
    ppd_.reset(ppdOpenFile(folder_.file("test.ppd").c_str()));
    ASSERT_NE(ppd_, nullptr);
  }
  std::string choiceOf(const char* keyword) {
    const ppd_choice_t* choice = dravPpdGetChoice(ppd_.get(), keyword);
    return choice != nullptr ? choice->choice : "(none)";
  }
  int8_t boolOf(const std::string& choice, int8_t defaultValue) {
    open(PpdBuilder().option("Flag", choice));
    return dravPpdGetChoiceAsBoolDefault(ppd_.get(), "Flag", defaultValue);
  }

  struct PpdCloser {
    void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
  };
  TempFolder folder_;
  std::unique_ptr<ppd_file_t, PpdCloser> ppd_;
};

TEST_F(PpdLookupTest, DefaultChoiceIsTakenWhenNothingIsMarked) {
  open(PpdBuilder().option("Cut", {"0", "1", "2"}, "1"));
  EXPECT_EQ(ppdFindMarkedChoice(ppd_.get(), "Cut"), nullptr);
  EXPECT_EQ(choiceOf("Cut"), "1");
}

TEST_F(PpdLookupTest, MarkedChoiceWinsOverTheDefault) {
  open(PpdBuilder().option("Cut", {"0", "1", "2"}, "1"));
  ppdMarkDefaults(ppd_.get());
  EXPECT_EQ(choiceOf("Cut"), "1");
  ppdMarkOption(ppd_.get(), "Cut", "2");
  EXPECT_EQ(choiceOf("Cut"), "2");
}

TEST_F(PpdLookupTest, MissingOptionHasNoChoice) {
  open(PpdBuilder().option("Cut", "1"));
  EXPECT_EQ(dravPpdGetChoice(ppd_.get(), "Buzzer"), nullptr);
}

TEST_F(PpdLookupTest, DefaultThatIsNoChoiceGivesNone) {
  open(PpdBuilder().option("Cut", {"0", "1"}, "7"));
  ppdMarkDefaults(ppd_.get());
  EXPECT_EQ(dravPpdGetChoice(ppd_.get(), "Cut"), nullptr);
}

TEST_F(PpdLookupTest, TextOfAChoiceOrTheDefaultText) {
  open(PpdBuilder().option("HalftoneType", {"None", "Tattoo"}, "Tattoo"));
  EXPECT_STREQ(dravPpdGetChoiceAsStrDefault(ppd_.get(), "HalftoneType", "none"), "Tattoo");
  EXPECT_STREQ(dravPpdGetChoiceAsStrDefault(ppd_.get(), "Missing", "none"), "none");
  EXPECT_EQ(dravPpdGetChoiceAsStrDefault(ppd_.get(), "Missing", nullptr), nullptr);
}

TEST_F(PpdLookupTest, NumberOfAChoiceOrTheDefaultNumber) {
  open(PpdBuilder()
           .option("Plain", "42")
           .option("Negative", "-15")
           .option("Leading", "7lines")
           .option("Text", "Auto"));
  EXPECT_EQ(dravPpdGetChoiceAsIntDefault(ppd_.get(), "Plain", 5), 42);
  EXPECT_EQ(dravPpdGetChoiceAsIntDefault(ppd_.get(), "Negative", 5), -15);
  EXPECT_EQ(dravPpdGetChoiceAsIntDefault(ppd_.get(), "Leading", 5), 7);
  EXPECT_EQ(dravPpdGetChoiceAsIntDefault(ppd_.get(), "Text", 5), 0);
  EXPECT_EQ(dravPpdGetChoiceAsIntDefault(ppd_.get(), "Missing", 5), 5);
}

TEST_F(PpdLookupTest, BoolKnowsFourWordsInAnyCase) {
  for (const char* word : {"true", "True", "TRUE", "yes", "Yes", "YES"}) {
    EXPECT_EQ(boolOf(word, 0), 1) << word;
  }
  for (const char* word : {"false", "False", "FALSE", "no", "No", "NO"}) {
    EXPECT_EQ(boolOf(word, 1), 0) << word;
  }
}

TEST_F(PpdLookupTest, BoolReadsAnyOtherWordAsAnEightBitNumber) {
  EXPECT_EQ(boolOf("OFF", 1), 0);
  EXPECT_EQ(boolOf("ON", 1), 0);
  EXPECT_EQ(boolOf("Truely", 1), 0);
  EXPECT_EQ(boolOf("2", 1), 2);
  EXPECT_EQ(boolOf("256", 1), 0);
  EXPECT_EQ(boolOf("257", 0), 1);
  EXPECT_EQ(boolOf("128", 0), -128);
  EXPECT_EQ(boolOf("-1", 0), -1);
}

TEST_F(PpdLookupTest, BoolOfAMissingOptionIsTheDefault) {
  open(PpdBuilder());
  EXPECT_EQ(dravPpdGetChoiceAsBoolDefault(ppd_.get(), "Flag", 1), 1);
  EXPECT_EQ(dravPpdGetChoiceAsBoolDefault(ppd_.get(), "Flag", 0), 0);
  EXPECT_EQ(dravPpdGetChoiceAsBoolDefault(ppd_.get(), "Flag", -5), -5);
}

TEST_F(PpdLookupTest, AttributeTextOrTheDefaultText) {
  open(PpdBuilder().attribute("dravFilterOutputFile", "/tmp/cmds").attribute("dravEmpty", ""));
  EXPECT_STREQ(dravPpdGetAttrAsStrDefault(ppd_.get(), "dravFilterOutputFile", nullptr, "none"),
               "/tmp/cmds");
  EXPECT_STREQ(dravPpdGetAttrAsStrDefault(ppd_.get(), "dravMissing", nullptr, "none"), "none");
}

TEST_F(PpdLookupTest, AttributeWithoutAValueGivesTheDefault) {
  open(PpdBuilder().attribute("dravNumber", "12"));
  ppd_attr_t* attribute = ppdFindAttr(ppd_.get(), "dravNumber", nullptr);
  ASSERT_NE(attribute, nullptr);
  char* value = attribute->value;
  attribute->value = nullptr;
  EXPECT_STREQ(dravPpdGetAttrAsStrDefault(ppd_.get(), "dravNumber", nullptr, "none"), "none");
  EXPECT_EQ(dravPpdGetAttrAsFloatDefault(ppd_.get(), "dravNumber", nullptr, 2.5), 2.5);
  attribute->value = value;
}

TEST_F(PpdLookupTest, SpecifierChoosesAmongAttributesOfOneName) {
  open(PpdBuilder().attribute("dravWidth Small", "48").attribute("dravWidth Wide", "72.5"));
  EXPECT_STREQ(dravPpdGetAttrAsStrDefault(ppd_.get(), "dravWidth", "Wide", "none"), "72.5");
  EXPECT_EQ(dravPpdGetAttrAsFloatDefault(ppd_.get(), "dravWidth", "Small", 1.0), 48.0);
  EXPECT_EQ(dravPpdGetAttrAsFloatDefault(ppd_.get(), "dravWidth", "Huge", 1.0), 1.0);
}

TEST_F(PpdLookupTest, AttributeNumberOrTheDefaultNumber) {
  open(PpdBuilder()
           .attribute("MaxMediaWidth", "575.4")
           .attribute("dravText", "wide")
           .attribute("dravNegative", "-1.5e2"));
  EXPECT_EQ(dravPpdGetAttrAsFloatDefault(ppd_.get(), "MaxMediaWidth", nullptr, 0.0), 575.4);
  EXPECT_EQ(dravPpdGetAttrAsFloatDefault(ppd_.get(), "dravText", nullptr, 3.0), 0.0);
  EXPECT_EQ(dravPpdGetAttrAsFloatDefault(ppd_.get(), "dravNegative", nullptr, 3.0), -150.0);
  EXPECT_EQ(dravPpdGetAttrAsFloatDefault(ppd_.get(), "dravMissing", nullptr, 3.0), 3.0);
}

}  // namespace
