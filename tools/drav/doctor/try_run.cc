// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/try_run.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <memory>

namespace {

constexpr size_t kMaxOutput = 64U << 10U;
constexpr rlim_t kProcessorSeconds = 5;
constexpr const char* kPath = "PATH=/usr/bin:/bin:/usr/sbin:/sbin";
constexpr std::array kFolders = {"/usr/bin/", "/bin/", "/usr/sbin/", "/sbin/"};

using Clock = std::chrono::steady_clock;

struct FileCloser {
  void operator()(std::FILE* file) const { (void)std::fclose(file); }
};

class Pipe {
 public:
  Pipe() {
    if (::pipe(ends_.data()) != 0) ends_ = {-1, -1};
    for (const int end : ends_)
      if (end >= 0) (void)::fcntl(end, F_SETFD, FD_CLOEXEC);
  }
  ~Pipe() {
    closeEnd(0);
    closeEnd(1);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  Pipe(Pipe&&) = delete;
  Pipe& operator=(Pipe&&) = delete;

  int readEnd() const { return ends_[0]; }
  int writeEnd() const { return ends_[1]; }
  void closeEnd(size_t end) {
    if (ends_[end] >= 0) ::close(ends_[end]);
    ends_[end] = -1;
  }

 private:
  std::array<int, 2> ends_ = {-1, -1};
};

// What the child reports when it cannot run the program.
struct Failure {
  TryResult::End end;
  int code;
};

bool limit(int resource, rlim_t most) {
  const rlimit limits = {most, most};
  return ::setrlimit(resource, &limits) == 0;
}

// In the child: everything between fork and exec. Only calls that are safe there.
bool enterRun(const TryRun& run, int input, int output) {
  if (::setpgid(0, 0) != 0 || ::chdir("/") != 0) return false;
  if (::dup2(input, STDIN_FILENO) < 0 || ::dup2(output, STDOUT_FILENO) < 0 ||
      ::dup2(output, STDERR_FILENO) < 0)
    return false;
  if (!limit(RLIMIT_CPU, kProcessorSeconds) || !limit(RLIMIT_CORE, 0) || !limit(RLIMIT_FSIZE, 0))
    return false;
  for (const int signalNumber : {SIGPIPE, SIGXFSZ, SIGINT, SIGTERM, SIGHUP})
    (void)::signal(signalNumber, SIG_DFL);
  if (::geteuid() != 0 || !run.uid || !run.gid) return true;
  const gid_t gid = *run.gid;
  return ::setgroups(1, &gid) == 0 && ::setgid(gid) == 0 && ::setuid(*run.uid) == 0;
}

// Where a program is: a name without a slash in the system's folders.
std::string findProgram(const std::string& name) {
  if (name.find('/') != std::string::npos) return name;
  for (const char* folder : kFolders)
    if (::access((folder + name).c_str(), X_OK) == 0) return folder + name;
  return name;
}

[[noreturn]] void runChild(const TryRun& run, const char* program, char* const* argv, int input,
                           int output, int report) {
  Failure failure = {TryResult::End::kNotTried, 0};
  if (enterRun(run, input, output)) {
    failure.end = TryResult::End::kNotStarted;
    std::string path = kPath;
    const std::array<char*, 2> environment = {path.data(), nullptr};
    // Not execvp, which hands to a shell what the system does not take.
    (void)::execve(program, argv, environment.data());
  }
  failure.code = errno;
  const ssize_t written = ::write(report, &failure, sizeof failure);
  ::_exit(written == sizeof failure ? 127 : 126);
}

// Reads what the program says until it closes its output, or until the deadline.
bool readOutput(int descriptor, Clock::time_point deadline, std::string& output) {
  for (;;) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) return false;
    pollfd waiting = {descriptor, POLLIN, 0};
    if (::poll(&waiting, 1, static_cast<int>(left)) <= 0) continue;
    std::array<char, 4096> chunk = {};
    const ssize_t got = ::read(descriptor, chunk.data(), chunk.size());
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return true;
    const size_t room = kMaxOutput - output.size();
    output.append(chunk.data(), std::min(static_cast<size_t>(got), room));
  }
}

// Waits until the child has ended, which it leaves for waitpid to collect; false
// when the deadline comes first.
bool waitUntil(pid_t child, Clock::time_point deadline) {
  constexpr useconds_t kStep = 2000;
  for (;;) {
    siginfo_t info = {};
    const int code = ::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT);
    if (code != 0 ? errno != EINTR : info.si_pid == child) return true;
    if (Clock::now() >= deadline) return false;
    ::usleep(kStep);
  }
}

TryResult follow(pid_t child, Pipe& output, Pipe& report, int timeoutMilliseconds) {
  TryResult result;
  const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
  Failure failure = {};
  int status = 0;
  // Closed by the exec, so that this waits for no more than that.
  const bool failed = ::read(report.readEnd(), &failure, sizeof failure) == sizeof failure;
  const bool inTime =
      readOutput(output.readEnd(), deadline, result.output) && waitUntil(child, deadline);
  // Not collected yet, so that the group's number is still its own.
  (void)::kill(-child, SIGKILL);
  (void)::kill(child, SIGKILL);
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (failed) {
    result.end = failure.end;
    result.code = failure.code;
  } else if (!inTime) {
    result.end = TryResult::End::kTimedOut;
  } else if (WIFSIGNALED(status)) {
    result.end = TryResult::End::kSignalled;
    result.code = WTERMSIG(status);
  } else {
    result.end = TryResult::End::kExited;
    result.code = WEXITSTATUS(status);
  }
  return result;
}

}  // namespace

TryResult tryRun(const TryRun& run) {
  TryResult result;
  Pipe output;
  Pipe report;
  const std::unique_ptr<std::FILE, FileCloser> input(std::tmpfile());
  if (!input || output.writeEnd() < 0 || report.writeEnd() < 0) {
    result.code = errno;
    return result;
  }
  if (std::fwrite(run.input.data(), 1, run.input.size(), input.get()) != run.input.size() ||
      std::fflush(input.get()) != 0 || ::lseek(::fileno(input.get()), 0, SEEK_SET) != 0) {
    result.code = EIO;
    return result;
  }
  const std::string program = findProgram(run.command.at(0));
  std::vector<std::string> words = run.command;
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  const pid_t child = ::fork();
  if (child < 0) {
    result.code = errno;
    return result;
  }
  if (child == 0) {
    runChild(run, program.c_str(), argv.data(), ::fileno(input.get()), output.writeEnd(),
             report.writeEnd());
  }
  output.closeEnd(1);
  report.closeEnd(1);
  return follow(child, output, report, run.timeoutMilliseconds);
}
