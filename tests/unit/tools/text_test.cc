// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/text.h"

#include <gtest/gtest.h>

namespace {

TEST(PrintablePath, IsOneLineWhateverItHolds) {
  EXPECT_EQ(printablePath("gr\xC3\xBC\xC3\x9F e"), "gr\xC3\xBC\xC3\x9F e");
  EXPECT_EQ(printablePath("a\nb\x1B[31m\x7F"), "a?b?[31m?");
}

TEST(Size, IsToldInDecimalUnits) {
  EXPECT_EQ(sizeText(0), "0 bytes");
  EXPECT_EQ(sizeText(1), "1 byte");
  EXPECT_EQ(sizeText(999), "999 bytes");
  EXPECT_EQ(sizeText(1000), "1.0 kB");
  EXPECT_EQ(sizeText(999'949), "999.9 kB");
  EXPECT_EQ(sizeText(999'950), "1.0 MB");
  EXPECT_EQ(sizeText(8'700'000), "8.7 MB");
  EXPECT_EQ(sizeText(UINT64_MAX), "18.4 EB");
}

TEST(ShellWord, IsQuotedWhenItMustBe) {
  EXPECT_EQ(shellWord("/usr/lib/cups-x_1.2:a,b=c@d%20"), "/usr/lib/cups-x_1.2:a,b=c@d%20");
  EXPECT_EQ(shellWord(""), "''");
  EXPECT_EQ(shellWord("a b"), "'a b'");
  EXPECT_EQ(shellWord("$(x);`y`&*?~!"), "'$(x);`y`&*?~!'");
  EXPECT_EQ(shellWord("it's"), "'it'\\''s'");
  EXPECT_EQ(shellWord("a\nb"), "'a\nb'");
}

}  // namespace
