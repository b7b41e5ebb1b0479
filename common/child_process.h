// SPDX-License-Identifier: Apache-2.0
// Runs another program with limits and reads what it prints.
#ifndef COMMON_CHILD_PROCESS_H_
#define COMMON_CHILD_PROCESS_H_

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

struct ChildCommand {
  std::string program;                 // path; no shell and no search is involved
  std::vector<std::string> arguments;  // behind the program's name
  std::vector<std::pair<std::string, std::string>> environment;  // set over our own
  bool bareEnvironment = false;  // of our own nothing, but a PATH of the system's folders
  std::string folder;            // where it runs; empty for where we are
  std::string input;             // what it reads on standard input; empty for /dev/null
  int inputDescriptor = -1;      // or an open file that it reads there; the caller keeps it
  bool joinsErrors = false;      // its standard error goes where its standard output goes
  // The user and group that it runs as if this process is root's; both or none.
  std::optional<uid_t> uid;
  std::optional<gid_t> gid;

  // For each process that the program starts as well.
  uint64_t memoryBytes = uint64_t{4} << 30U;
  uint64_t fileBytes = uint64_t{4} << 30U;  // of any file that it writes
  uint64_t cpuSeconds = 300;
  // For all of it: the longest time without any output, and the longest time at all.
  int silenceMilliseconds = 120'000;
  int mostMilliseconds = std::numeric_limits<int>::max();
  // Asked every so often while the program is waited for; true ends it.
  std::function<bool()> stopRequested;
};

// How a program ended; `code` goes with it.
enum class ChildEnd {
  kNone,         // it runs, or there is none
  kExited,       // the exit status
  kSignalled,    // the signal
  kTimedOut,     // killed
  kInterrupted,  // killed, since stopRequested said so
  kNotStarted,   // the errno of execve
  kNotTried,     // the errno of what could not be made for it
};

// One program, in a process group of its own, with no descriptor of ours but its
// standard ones. The destructor kills what is left of the group.
class ChildProcess {
 public:
  ChildProcess() = default;
  ~ChildProcess();
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
  // while it runs and when it ended with status 0.
  const std::string& failure() const { return failure_; }
  ChildEnd end() const { return end_; }
  int code() const { return code_; }

  // What it wrote to its standard error; if that was much, only the beginning and
  // the end of it.
  const std::string& messages() const { return messages_; }

 private:
  using Clock = std::chrono::steady_clock;

  bool refuse(ChildEnd end, int code, const char* what, std::string& error);
  bool waitForOutput();
  void readMessages();
  void stopFor(ChildEnd end, const std::string& what);
  bool overdue(Clock::time_point since) const;
  bool shallStop() const { return stopRequested_ && stopRequested_(); }
  void reap(bool forced);
  void tellEnd(int status);
  void closePipes();

  std::string program_;
  pid_t process_ = -1;
  int output_ = -1;
  int errors_ = -1;
  std::chrono::milliseconds silence_{};
  Clock::time_point deadline_;
  ChildEnd end_ = ChildEnd::kNone;
  int code_ = 0;
  std::string failure_;
  std::string messages_;
  std::function<void()> idle_;
  std::function<bool()> stopRequested_;
};

// Path of a program; empty when there is none. If the caller names an environment
// variable and it is set, its value counts, and an empty value means no program. Otherwise
// it is the first executable `name` in PATH or in the folders of the system's own programs.
std::string findProgram(const std::string& name, const char* variable = nullptr);

#endif  // COMMON_CHILD_PROCESS_H_
