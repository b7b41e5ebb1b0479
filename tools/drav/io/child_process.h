// SPDX-License-Identifier: Apache-2.0
// Runs another program with limits and reads what it prints.
#ifndef TOOLS_DRAV_IO_CHILD_PROCESS_H_
#define TOOLS_DRAV_IO_CHILD_PROCESS_H_

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

struct ChildCommand {
  std::string program;                 // path; no shell and no search is involved
  std::vector<std::string> arguments;  // behind the program's name
  std::vector<std::pair<std::string, std::string>> environment;  // set over our own

  // For each process that the program starts as well.
  uint64_t memoryBytes = uint64_t{4} << 30U;
  uint64_t fileBytes = uint64_t{4} << 30U;  // of any file that it writes
  uint64_t cpuSeconds = 300;
  // For all of it: the longest time without any output.
  int silenceMilliseconds = 120'000;
};

// One program, in a process group of its own, with standard input from nowhere and
// no other descriptor of ours. Whatever is left of the group is killed with this.
// Waiting ends at once when an Interruption is requested.
class ChildProcess {
 public:
  ChildProcess() = default;
  ~ChildProcess() { kill(); }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ChildProcess(ChildProcess&&) = delete;
  ChildProcess& operator=(ChildProcess&&) = delete;

  // False with one line in `error` when the program cannot be run.
  [[nodiscard]] bool start(const ChildCommand& command, std::string& error);

  // Called every so often while the program is waited for.
  void setIdle(std::function<void()> idle) { idle_ = std::move(idle); }

  // The next bytes of its standard output, at most `size` > 0: how many, 0 at the
  // end, -1 when there will be none because it was killed; see failure().
  ssize_t read(uint8_t* buffer, size_t size);

  // Reads its outputs to their ends and waits for it. True when it ended with status
  // 0; else failure() tells why.
  [[nodiscard]] bool finish();

  // Ends the program and all that it started.
  void kill();

  // Why it was killed or how it ended: one line, such as "ended with status 3". Empty
  // when it did well, or runs.
  const std::string& failure() const { return failure_; }

  // What it wrote to standard error; the first and the last of it when that was much.
  const std::string& messages() const { return messages_; }

 private:
  bool waitForOutput();
  void readMessages();
  void reap(bool forced);
  void closePipes();

  std::string program_;
  pid_t process_ = -1;
  int output_ = -1;
  int errors_ = -1;
  int silenceMilliseconds_ = 0;
  int status_ = 0;
  std::string failure_;
  std::string messages_;
  std::function<void()> idle_;
};

// Path of a program: what the environment variable `variable` says, which may be the
// empty text for none, else the first executable `name` in PATH or in the folders of
// the system's own programs. Empty when there is none.
std::string findProgram(const std::string& name, const char* variable);

#endif  // TOOLS_DRAV_IO_CHILD_PROCESS_H_
