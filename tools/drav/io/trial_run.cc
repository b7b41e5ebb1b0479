// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/trial_run.h"

#include <algorithm>
#include <array>

#include "tools/drav/io/interruption.h"

ChildCommand trialCommand(const std::string& program, const std::vector<std::string>& arguments) {
  ChildCommand command;
  command.program = program;
  command.arguments = arguments;
  command.stopRequested = Interruption::requested;
  command.bareEnvironment = true;
  command.folder.assign(1, '/');
  command.memoryBytes = UINT64_MAX;
  command.fileBytes = 0;
  command.cpuSeconds = 5;
  command.mostMilliseconds = 5000;
  return command;
}

TrialResult runTrial(ChildCommand command) {
  constexpr size_t kMaxOutput = 64U << 10U;
  command.joinsErrors = true;
  TrialResult result;
  ChildProcess child;
  std::string error;
  if (child.start(command, error)) {
    std::array<uint8_t, 4096> chunk{};
    for (ssize_t got = 0; (got = child.read(chunk.data(), chunk.size())) > 0;) {
      const size_t room = kMaxOutput - result.output.size();
      result.output.append(reinterpret_cast<const char*>(chunk.data()),
                           std::min(static_cast<size_t>(got), room));
    }
    (void)child.finish();
  }
  result.end = child.end();
  result.code = child.code();
  return result;
}
