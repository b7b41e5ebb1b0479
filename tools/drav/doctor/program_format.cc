// SPDX-License-Identifier: Apache-2.0
// The ELF identification and header fields of the System V ABI, "Object Files".
#include "tools/drav/doctor/program_format.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

namespace {

constexpr size_t kHeadBytes = 20;   // up to and with e_machine
constexpr size_t kClassOffset = 4;  // 1: 32-bit, 2: 64-bit
constexpr size_t kDataOffset = 5;   // 1: least significant byte first, 2: most
constexpr size_t kMachineOffset = 18;

struct MachineName {
  uint16_t number;
  const char* name;
};
constexpr std::array kMachines = {
    MachineName{3, "x86"},         MachineName{8, "MIPS"},   MachineName{20, "PowerPC"},
    MachineName{21, "PowerPC"},    MachineName{22, "S/390"}, MachineName{40, "ARM"},
    MachineName{62, "x86-64"},     MachineName{183, "ARM"},  MachineName{243, "RISC-V"},
    MachineName{258, "LoongArch"},
};

struct FileCloser {
  void operator()(std::FILE* file) const { (void)std::fclose(file); }
};

std::string machineText(const std::array<uint8_t, kHeadBytes>& head) {
  const bool bigEndian = head[kDataOffset] == 2;
  const unsigned first = head[kMachineOffset];
  const unsigned second = head[kMachineOffset + 1];
  const unsigned number = bigEndian ? first << 8U | second : second << 8U | first;
  std::string name = "machine " + std::to_string(number);
  for (const MachineName& machine : kMachines)
    if (machine.number == number) name = machine.name;
  return std::string(head[kClassOffset] == 2 ? "64-bit " : "32-bit ") + name +
         (bigEndian ? ", big-endian" : "");
}

}  // namespace

bool readProgramFormat(const std::string& path, ProgramFormat& format, std::string& error) {
  format = {};
  const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
  if (!file) {
    error = path + ": " + std::strerror(errno);
    return false;
  }
  std::array<uint8_t, kHeadBytes> head = {};
  const size_t got = std::fread(head.data(), 1, head.size(), file.get());
  if (got == head.size() && std::memcmp(head.data(), "\177ELF", 4) == 0) {
    format = {ProgramFormat::Kind::kElf, machineText(head)};
  } else if (got >= 2 && head[0] == '#' && head[1] == '!') {
    format.kind = ProgramFormat::Kind::kScript;
  }
  return true;
}

bool ownProgramFormat(ProgramFormat& format) {
  std::string error;
  return readProgramFormat("/proc/self/exe", format, error) &&
         format.kind == ProgramFormat::Kind::kElf;
}
