// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/program_format.h"

#include <gtest/gtest.h>

#include "tests/support/files.h"

namespace {

ProgramFormat formatOf(const Bytes& bytes) {
  const TempFolder folder;
  writeFile(folder.file("program"), bytes);
  ProgramFormat format;
  std::string error;
  EXPECT_TRUE(readProgramFormat(folder.file("program"), format, error)) << error;
  return format;
}

// The head of an ELF file.
Bytes elf(uint8_t bits, uint8_t order, uint8_t first, uint8_t second) {
  Bytes bytes(64);
  bytes[0] = 0x7F;
  bytes[1] = 'E';
  bytes[2] = 'L';
  bytes[3] = 'F';
  bytes[4] = bits;
  bytes[5] = order;
  bytes[18] = first;
  bytes[19] = second;
  return bytes;
}

TEST(ProgramFormat, MachinesOfElfFiles) {
  EXPECT_EQ(formatOf(elf(2, 1, 62, 0)).machine, "64-bit x86-64");
  EXPECT_EQ(formatOf(elf(1, 1, 3, 0)).machine, "32-bit x86");
  EXPECT_EQ(formatOf(elf(2, 1, 183, 0)).machine, "64-bit ARM");
  EXPECT_EQ(formatOf(elf(1, 1, 40, 0)).machine, "32-bit ARM");
  EXPECT_EQ(formatOf(elf(2, 2, 0, 22)).machine, "64-bit S/390, big-endian");
  EXPECT_EQ(formatOf(elf(2, 1, 2, 1)).machine, "64-bit LoongArch");
  EXPECT_EQ(formatOf(elf(2, 1, 0x34, 0x12)).machine, "64-bit machine 4660");
}

TEST(ProgramFormat, OtherFiles) {
  EXPECT_EQ(formatOf({'#', '!', '/'}).kind, ProgramFormat::Kind::kScript);
  EXPECT_EQ(formatOf({}).kind, ProgramFormat::Kind::kUnknown);
  EXPECT_EQ(formatOf({0x7F, 'E', 'L', 'F'}).kind, ProgramFormat::Kind::kUnknown) << "too short";
  ProgramFormat format;
  std::string error;
  EXPECT_FALSE(readProgramFormat("/none", format, error));
  EXPECT_EQ(error, "/none: No such file or directory");
}

#ifdef __linux__
TEST(ProgramFormat, ThisProgramIsOfThisMachine) {
  ProgramFormat own;
  ProgramFormat same;
  std::string error;
  ASSERT_TRUE(ownProgramFormat(own));
  ASSERT_TRUE(readProgramFormat("/proc/self/exe", same, error));
  EXPECT_EQ(own, same);
  EXPECT_EQ(own.machine.rfind(sizeof(void*) == 8 ? "64-bit " : "32-bit ", 0), 0U);
}
#endif

}  // namespace
