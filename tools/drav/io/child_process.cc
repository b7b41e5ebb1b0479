// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "tools/drav/io/interruption.h"

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr int kTickMilliseconds = 100;  // between two looks at the clock and the flag
constexpr int kGraceMilliseconds = 2'000;
constexpr size_t kMaxMessages = size_t{1} << 16U;
constexpr rlim_t kMaxDescriptors = 4096;

std::string systemText(int code) { return std::strerror(code); }

// A pipe whose ends no other program inherits.
bool openPipe(std::array<int, 2>& ends) {
  if (::pipe(ends.data()) != 0) return false;
  for (const int end : ends) (void)::fcntl(end, F_SETFD, FD_CLOEXEC);
  return true;
}

void closeEnd(int& descriptor) {
  if (descriptor >= 0) ::close(descriptor);
  descriptor = -1;
}

struct Pipes {
  std::array<int, 2> output = {-1, -1};
  std::array<int, 2> errors = {-1, -1};
  std::array<int, 2> report = {-1, -1};  // of an exec that failed

  Pipes() = default;
  ~Pipes() {
    for (auto* pair : {&output, &errors, &report})
      for (int& end : *pair) closeEnd(end);
  }
  Pipes(const Pipes&) = delete;
  Pipes& operator=(const Pipes&) = delete;
  Pipes(Pipes&&) = delete;
  Pipes& operator=(Pipes&&) = delete;

  bool open() { return openPipe(output) && openPipe(errors) && openPipe(report); }
};

// argv or envp of a child. The texts must outlive it.
std::vector<char*> pointers(const std::vector<std::string>& texts) {
  std::vector<char*> list;
  list.reserve(texts.size() + 1);
  for (const std::string& text : texts) list.push_back(const_cast<char*>(text.c_str()));
  list.push_back(nullptr);
  return list;
}

extern "C" char** environ;  // NOLINT(readability-redundant-declaration): not everywhere

std::vector<std::string> environmentWith(
    const std::vector<std::pair<std::string, std::string>>& changes) {
  std::vector<std::string> texts;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string_view text = *entry;
    const std::string_view name = text.substr(0, text.find('='));
    const bool changed = std::any_of(changes.begin(), changes.end(),
                                     [name](const auto& change) { return change.first == name; });
    if (!changed) texts.emplace_back(text);
  }
  for (const auto& [name, value] : changes) texts.emplace_back(name).append("=").append(value);
  return texts;
}

void limit(decltype(RLIMIT_CORE) resource, uint64_t most) {
  struct rlimit current = {};
  if (::getrlimit(resource, &current) != 0) return;
  current.rlim_cur = std::min<rlim_t>(current.rlim_max, static_cast<rlim_t>(most));
  current.rlim_max = current.rlim_cur;
  (void)::setrlimit(resource, &current);
}

// All that happens between fork and exec: system calls only.
[[noreturn]] void becomeProgram(const ChildCommand& command, const Pipes& pipes, char* const* argv,
                                char* const* envp) {
  (void)::setpgid(0, 0);
  for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ, SIGQUIT, SIGCHLD})
    (void)::signal(signalNumber, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  (void)::sigprocmask(SIG_SETMASK, &none, nullptr);

  const int nothing = ::open("/dev/null", O_RDONLY);
  int code = 0;
  if (nothing < 0 || ::dup2(nothing, STDIN_FILENO) < 0 ||
      ::dup2(pipes.output[1], STDOUT_FILENO) < 0 || ::dup2(pipes.errors[1], STDERR_FILENO) < 0)
    code = errno;
  struct rlimit descriptors = {};
  (void)::getrlimit(RLIMIT_NOFILE, &descriptors);
  const auto end = static_cast<int>(std::min(descriptors.rlim_cur, kMaxDescriptors));
  for (int descriptor = STDERR_FILENO + 1; descriptor < end; ++descriptor)
    if (descriptor != pipes.report[1]) ::close(descriptor);

  limit(RLIMIT_CORE, 0);
  limit(RLIMIT_AS, command.memoryBytes);
  limit(RLIMIT_FSIZE, command.fileBytes);
  limit(RLIMIT_CPU, command.cpuSeconds);
  if (code == 0) {
    ::execve(argv[0], argv, envp);
    code = errno;
  }
  if (::write(pipes.report[1], &code, sizeof code) < 0) ::_exit(126);
  ::_exit(127);
}

int millisecondsSince(SteadyClock::time_point start) {
  return static_cast<int>(
      std::chrono::duration_cast<std::chrono::milliseconds>(SteadyClock::now() - start).count());
}

}  // namespace

bool ChildProcess::start(const ChildCommand& command, std::string& error) {
  kill();
  failure_.clear();
  messages_.clear();
  program_ = command.program.substr(command.program.rfind('/') + 1);
  silenceMilliseconds_ = command.silenceMilliseconds;

  std::vector<std::string> arguments = {command.program};
  arguments.insert(arguments.end(), command.arguments.begin(), command.arguments.end());
  const std::vector<std::string> environment = environmentWith(command.environment);
  const std::vector<char*> argv = pointers(arguments);
  const std::vector<char*> envp = pointers(environment);

  Pipes pipes;
  const bool opened = pipes.open();
  const pid_t process = opened ? ::fork() : -1;
  if (process == 0) becomeProgram(command, pipes, argv.data(), envp.data());
  if (process < 0) {
    error = program_ + " cannot be started: " + systemText(errno);
    return false;
  }
  (void)::setpgid(process, process);  // whoever of the two comes first
  process_ = process;
  closeEnd(pipes.report[1]);
  int code = 0;
  ssize_t got = 0;
  do got = ::read(pipes.report[0], &code, sizeof code);
  while (got < 0 && errno == EINTR);
  if (got > 0) {
    reap(true);
    error = program_ + " cannot be run: " + systemText(code);
    return false;
  }
  output_ = std::exchange(pipes.output[0], -1);
  errors_ = std::exchange(pipes.errors[0], -1);
  (void)::fcntl(errors_, F_SETFL, O_NONBLOCK);
  return true;
}

void ChildProcess::readMessages() {
  std::array<char, 4096> buffer{};
  for (;;) {
    const ssize_t got = ::read(errors_, buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return;  // nothing there now
    if (got == 0) {
      closeEnd(errors_);
      return;
    }
    messages_.append(buffer.data(), static_cast<size_t>(got));
    if (messages_.size() > kMaxMessages)
      messages_.erase(kMaxMessages / 2, messages_.size() - kMaxMessages);
  }
}

// Waits until there is something to read on the standard output, its end included.
bool ChildProcess::waitForOutput() {
  const auto start = SteadyClock::now();
  for (;;) {
    std::array<pollfd, 2> watched = {pollfd{output_, POLLIN, 0}, pollfd{errors_, POLLIN, 0}};
    const int ready = ::poll(watched.data(), watched.size(), kTickMilliseconds);
    if (Interruption::requested()) {
      failure_ = "interrupted";
    } else if (ready < 0 && errno != EINTR) {
      failure_ = program_ + " cannot be watched: " + systemText(errno);
    } else if (millisecondsSince(start) > silenceMilliseconds_) {
      failure_ = program_ + " gave nothing for " + std::to_string(silenceMilliseconds_ / 1000) +
                 " s and was ended";
    }
    if (!failure_.empty()) return false;
    if (ready > 0 && watched[1].revents != 0) readMessages();
    if (ready > 0 && watched[0].revents != 0) return true;
    if (idle_) idle_();
  }
}

ssize_t ChildProcess::read(uint8_t* buffer, size_t size) {
  if (!failure_.empty()) return -1;
  if (output_ < 0) return 0;
  for (;;) {
    if (!waitForOutput()) {
      kill();
      return -1;
    }
    const ssize_t got = ::read(output_, buffer, size);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) closeEnd(output_);
    return std::max<ssize_t>(got, 0);
  }
}

bool ChildProcess::finish() {
  std::array<uint8_t, 4096> unread{};
  while (output_ >= 0)
    if (read(unread.data(), unread.size()) < 0) return false;
  if (process_ >= 0) reap(false);
  if (!failure_.empty()) return false;
  if (WIFEXITED(status_) && WEXITSTATUS(status_) == 0) return true;
  failure_ = program_ + (WIFSIGNALED(status_)
                             ? " was ended by signal " + std::to_string(WTERMSIG(status_))
                             : " ended with status " + std::to_string(WEXITSTATUS(status_)));
  return false;
}

// Waits for the program to end by itself; `forced`, or when it takes too long, or on
// an interruption, ends it. What is left of its group is killed in any case.
void ChildProcess::reap(bool forced) {
  auto start = SteadyClock::now();
  int patience = forced ? kGraceMilliseconds : silenceMilliseconds_;
  if (forced) (void)::kill(-process_, SIGTERM);
  for (;;) {
    // It stays a zombie for now, so that its number is nobody else's yet.
    siginfo_t ended = {};
    const int waited =
        ::waitid(P_PID, static_cast<id_t>(process_), &ended, WEXITED | WNOHANG | WNOWAIT);
    if ((waited == 0 && ended.si_pid == process_) || (waited < 0 && errno != EINTR)) break;
    if (errors_ >= 0) readMessages();
    if (!forced && (Interruption::requested() || millisecondsSince(start) > patience)) {
      failure_ = Interruption::requested() ? "interrupted" : program_ + " does not end";
      forced = true;
      start = SteadyClock::now();
      patience = kGraceMilliseconds;
      (void)::kill(-process_, SIGTERM);
    } else if (forced && millisecondsSince(start) > patience) {
      (void)::kill(-process_, SIGKILL);
    }
    (void)::poll(nullptr, 0, 5);
  }
  (void)::kill(-process_, SIGKILL);
  while (::waitpid(process_, &status_, 0) < 0 && errno == EINTR) {
  }
  process_ = -1;
  if (errors_ >= 0) readMessages();
  closePipes();
}

void ChildProcess::kill() {
  if (process_ >= 0) reap(true);
  closePipes();
}

void ChildProcess::closePipes() {
  closeEnd(output_);
  closeEnd(errors_);
}

std::string findProgram(const std::string& name, const char* variable) {
  if (const char* chosen = std::getenv(variable)) return chosen;
  const char* inherited = std::getenv("PATH");
  std::string path = inherited != nullptr ? inherited : "";
  path += ":/usr/bin:/usr/sbin:/usr/local/sbin:/opt/homebrew/bin:/opt/homebrew/sbin";
  for (size_t at = 0; at <= path.size();) {
    const size_t end = std::min(path.find(':', at), path.size());
    const std::string folder = path.substr(at, end - at);
    at = end + 1;
    std::string file = folder;
    file.append("/").append(name);
    struct stat status = {};
    if (folder.starts_with('/') && ::stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
        ::access(file.c_str(), X_OK) == 0)
      return file;
  }
  return "";
}
