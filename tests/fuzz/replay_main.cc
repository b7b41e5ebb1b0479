// SPDX-License-Identifier: Apache-2.0
// Runs a fuzzer's target over the files of the folders that are named, without the
// fuzzing engine: every compiler builds it, and it ends with the first failure.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

std::vector<std::filesystem::path> filesOf(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
    if (entry.is_regular_file()) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

bool replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  if (!file.is_open() || file.bad()) {
    (void)std::fprintf(stderr, "%s: cannot be read\n", path.c_str());
    return false;
  }
  // A copy of the exact size, so that a sanitizer sees a read past the end.
  const std::vector<uint8_t> exact(bytes.begin(), bytes.end());
  (void)std::printf("%s: %zu bytes\n", path.c_str(), exact.size());
  (void)std::fflush(stdout);
  return LLVMFuzzerTestOneInput(exact.data(), exact.size()) == 0;
}

int replayAll(std::span<char* const> folders) {
  size_t count = 0;
  for (const char* folder : folders) {
    for (const auto& path : filesOf(folder)) {
      if (!replay(path)) return 1;
      ++count;
    }
  }
  (void)std::printf("%zu inputs\n", count);
  return count == 0 ? 1 : 0;  // an empty corpus proves nothing
}

}  // namespace

int main(int argc, char* argv[]) {
  try {
    return replayAll(std::span<char* const>(argv, static_cast<size_t>(argc)).subspan(1));
  } catch (const std::exception& error) {
    (void)std::fprintf(stderr, "replay: %s\n", error.what());
    return 1;
  }
}
