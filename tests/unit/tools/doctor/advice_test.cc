// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/advice.h"

#include <gmock/gmock.h>

#include <cerrno>

namespace {

using testing::HasSubstr;

TEST(Advice, FindsTheProgramThatTheSchedulerMissed) {
  EXPECT_EQ(missingProgram("Unable to start filter \"gstoraster\" - No such file or directory."),
            "gstoraster");
  EXPECT_EQ(missingProgram("File \"/usr/lib/cups/filter/pdftopdf\" not available: No such file"),
            "pdftopdf");
  // As the error log has it, behind the queue's name.
  EXPECT_EQ(missingProgram("q: File \\\"/usr/lib/cups/filter/texttopdf\\\" not available: x"),
            "texttopdf");
}

TEST(Advice, FindsNoProgramInOtherMessages) {
  for (const char* message :
       {"", "Unable to start filter ",
        " not available: ", "\" not available: ", "\\\" not available: x",
        "File \"a b\" not available: x", "Filter failed", "Unable to start filter \"../x\" - y"})
    EXPECT_EQ(missingProgram(message), "") << message;
}

TEST(Advice, NamesThePackageOfAProgram) {
  EXPECT_EQ(reinstallProgramCommand("rastertodrav"), reinstallCommand());
#ifndef __APPLE__
  EXPECT_THAT(reinstallProgramCommand("gs"), HasSubstr("ghostscript"));
  for (const char* name : {"gstoraster", "pdftopdf", "pdftoraster", "imagetoraster", "texttopdf"})
    EXPECT_EQ(reinstallProgramCommand(name),
              "sudo apt-get install --reinstall cups-filters cups-filters-core-drivers");
  EXPECT_THAT(reinstallProgramCommand("unheardof"), HasSubstr("unheardof"));
#endif
}

TEST(Advice, TellsWantOfRightsFromAbsence) {
  EXPECT_TRUE(isClosedToUs(EACCES));
  EXPECT_TRUE(isClosedToUs(EPERM));
  EXPECT_FALSE(isClosedToUs(ENOENT));
  EXPECT_FALSE(isClosedToUs(0));
  EXPECT_EQ(uncheckedText("/x: Permission denied"),
            "not checked: run with sudo (/x: Permission denied)");
}

}  // namespace
