// SPDX-License-Identifier: Apache-2.0
#include "common/child_process.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "common/temporary_file.h"

namespace {

constexpr int kTickMilliseconds = 100;  // between two looks at the clock and the flag
constexpr std::chrono::milliseconds kGrace{2'000};
constexpr size_t kMaxMessages = size_t{1} << 16U;
constexpr rlim_t kMaxDescriptors = 4096;
constexpr const char* kBarePath = "PATH=/usr/bin:/bin:/usr/sbin:/sbin";

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
  int input = -1;  // no pipe: a file that holds all of it
  std::array<int, 2> output = {-1, -1};
  std::array<int, 2> errors = {-1, -1};  // unless they join the output
  std::array<int, 2> report = {-1, -1};  // of an exec that failed

  Pipes() = default;
  ~Pipes() {
    closeEnd(input);
    for (auto* pair : {&output, &errors, &report})
      for (int& end : *pair) closeEnd(end);
  }
  Pipes(const Pipes&) = delete;
  Pipes& operator=(const Pipes&) = delete;
  Pipes(Pipes&&) = delete;
  Pipes& operator=(Pipes&&) = delete;

  // False with errno.
  bool open(const ChildCommand& command) {
    return openInput(command) && openPipe(output) && openPipe(report) &&
           (command.joinsErrors || openPipe(errors));
  }

 private:
  bool openInput(const ChildCommand& command) {
    if (command.inputDescriptor >= 0) {
      input = ::fcntl(command.inputDescriptor, F_DUPFD_CLOEXEC, 0);
      return input >= 0;
    }
    const std::string& text = command.input;
    if (text.empty()) {
      input = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
      return input >= 0;
    }
    std::string error;
    input = openAnonymousFile(text.data(), text.size(), error);
    return input >= 0;
  }
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

std::vector<std::string> environmentOf(const ChildCommand& command) {
  const auto& changes = command.environment;
  std::vector<std::string> texts;
  if (command.bareEnvironment) texts.emplace_back(kBarePath);
  for (char** entry = environ; !command.bareEnvironment && *entry != nullptr; ++entry) {
    const std::string_view text = *entry;
    const std::string_view name = text.substr(0, text.find('='));
    const bool changed = std::any_of(changes.begin(), changes.end(),
                                     [name](const auto& change) { return change.first == name; });
    if (!changed) texts.emplace_back(text);
  }
  for (const auto& [name, value] : changes) texts.emplace_back(name).append("=").append(value);
  return texts;
}

// GCOVR_EXCL_START: what counts lines may write to no file there, and ends with the exec.
void limit(decltype(RLIMIT_CORE) resource, uint64_t most) {
  struct rlimit current = {};
  if (::getrlimit(resource, &current) != 0) return;
  current.rlim_cur = std::min<rlim_t>(current.rlim_max, static_cast<rlim_t>(most));
  current.rlim_max = current.rlim_cur;
  (void)::setrlimit(resource, &current);
}

// Whose place to take. Root's own group list goes as well.
bool takePlace(const ChildCommand& command) {
  if (::geteuid() != 0 || !command.uid || !command.gid) return true;
  const gid_t gid = *command.gid;
  return ::setgroups(1, &gid) == 0 && ::setgid(gid) == 0 && ::setuid(*command.uid) == 0;
}

// What the program finds around it, made between fork and exec. False with errno.
bool enterRun(const ChildCommand& command, const Pipes& pipes) {
  const int errors = command.joinsErrors ? pipes.output[1] : pipes.errors[1];
  if (::dup2(pipes.input, STDIN_FILENO) < 0 || ::dup2(pipes.output[1], STDOUT_FILENO) < 0 ||
      ::dup2(errors, STDERR_FILENO) < 0)
    return false;
  struct rlimit descriptors = {};
  (void)::getrlimit(RLIMIT_NOFILE, &descriptors);
  const auto end = static_cast<int>(std::min(descriptors.rlim_cur, kMaxDescriptors));
  for (int descriptor = STDERR_FILENO + 1; descriptor < end; ++descriptor)
    if (descriptor != pipes.report[1]) ::close(descriptor);

  limit(RLIMIT_CORE, 0);
  limit(RLIMIT_AS, command.memoryBytes);
  limit(RLIMIT_FSIZE, command.fileBytes);
  limit(RLIMIT_CPU, command.cpuSeconds);
  return (command.folder.empty() || ::chdir(command.folder.c_str()) == 0) && takePlace(command);
}

// Why the program does not run.
struct Refusal {
  ChildEnd end;
  int code;
};

// All that happens between fork and exec: system calls only.
[[noreturn]] void becomeProgram(const ChildCommand& command, const Pipes& pipes, char* const* argv,
                                char* const* envp) {
  (void)::setpgid(0, 0);
  for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ, SIGQUIT, SIGCHLD})
    (void)::signal(signalNumber, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  (void)::sigprocmask(SIG_SETMASK, &none, nullptr);

  Refusal refusal = {ChildEnd::kNotTried, 0};
  if (enterRun(command, pipes)) {
    refusal.end = ChildEnd::kNotStarted;
    // Not execvp, which hands to a shell what the system does not take.
    (void)::execve(argv[0], argv, envp);
  }
  refusal.code = errno;
  if (::write(pipes.report[1], &refusal, sizeof refusal) < 0) ::_exit(126);
  ::_exit(127);
}
// GCOVR_EXCL_STOP

}  // namespace

// False, with the end that it is and one line in `error`.
bool ChildProcess::refuse(ChildEnd end, int code, const char* what, std::string& error) {
  end_ = end;
  code_ = code;
  error = failure_ = program_ + what + systemText(code);
  return false;
}

bool ChildProcess::start(const ChildCommand& command, std::string& error) {
  kill();
  failure_.clear();
  messages_.clear();
  end_ = ChildEnd::kNone;
  program_ = command.program.substr(command.program.rfind('/') + 1);
  silence_ = std::chrono::milliseconds(command.silenceMilliseconds);
  stopRequested_ = command.stopRequested;
  deadline_ = Clock::now() + std::chrono::milliseconds(command.mostMilliseconds);

  std::vector<std::string> arguments = {command.program};
  arguments.insert(arguments.end(), command.arguments.begin(), command.arguments.end());
  const std::vector<std::string> environment = environmentOf(command);
  const std::vector<char*> argv = pointers(arguments);
  const std::vector<char*> envp = pointers(environment);

  Pipes pipes;
  const pid_t process = pipes.open(command) ? ::fork() : -1;
  if (process == 0) becomeProgram(command, pipes, argv.data(), envp.data());
  if (process < 0) return refuse(ChildEnd::kNotTried, errno, " cannot be started: ", error);
  (void)::setpgid(process, process);  // whoever of the two comes first
  process_ = process;
  closeEnd(pipes.report[1]);
  Refusal refusal = {};
  ssize_t got = 0;
  do got = ::read(pipes.report[0], &refusal, sizeof refusal);
  while (got < 0 && errno == EINTR);
  if (got > 0) {
    reap(true);
    return refuse(refusal.end, refusal.code, " cannot be run: ", error);
  }
  output_ = std::exchange(pipes.output[0], -1);
  errors_ = std::exchange(pipes.errors[0], -1);
  if (errors_ >= 0) (void)::fcntl(errors_, F_SETFL, O_NONBLOCK);
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

// The first reason to end it is the one that is told.
void ChildProcess::stopFor(ChildEnd end, const std::string& what) {
  if (!failure_.empty()) return;
  end_ = end;
  failure_ = what;
}

// Whether it has been silent for too long since then, or runs for too long.
bool ChildProcess::overdue(Clock::time_point since) const {
  const auto now = Clock::now();
  return now - since > silence_ || now > deadline_;
}

// Waits until there is something to read on the standard output, its end included.
bool ChildProcess::waitForOutput() {
  const auto start = Clock::now();
  for (;;) {
    std::array<pollfd, 2> watched = {pollfd{output_, POLLIN, 0}, pollfd{errors_, POLLIN, 0}};
    const int ready = ::poll(watched.data(), watched.size(), kTickMilliseconds);
    if (shallStop()) {
      stopFor(ChildEnd::kInterrupted, "interrupted");
    } else if (ready < 0 && errno != EINTR) {
      stopFor(ChildEnd::kNotTried, program_ + " cannot be watched: " + systemText(errno));
    } else if (Clock::now() > deadline_) {
      stopFor(ChildEnd::kTimedOut, program_ + " took too long and was ended");
    } else if (overdue(start)) {
      stopFor(ChildEnd::kTimedOut, program_ + " gave nothing for " +
                                       std::to_string(silence_.count() / 1000) +
                                       " s and was ended");
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
  return failure_.empty();
}

// Waits for the program to end by itself; `forced`, or when it takes too long, or on
// an interruption, ends it. What is left of its group is killed in any case.
void ChildProcess::reap(bool forced) {
  auto start = Clock::now();
  if (forced) (void)::kill(-process_, SIGTERM);
  for (;;) {
    // It stays a zombie for now, so that its number is nobody else's yet.
    siginfo_t ended = {};
    const int waited =
        ::waitid(P_PID, static_cast<id_t>(process_), &ended, WEXITED | WNOHANG | WNOWAIT);
    if ((waited == 0 && ended.si_pid == process_) || (waited < 0 && errno != EINTR)) break;
    if (errors_ >= 0) readMessages();
    if (!forced && (shallStop() || overdue(start))) {
      if (shallStop())
        stopFor(ChildEnd::kInterrupted, "interrupted");
      else
        stopFor(ChildEnd::kTimedOut, program_ + " does not end");
      forced = true;
      start = Clock::now();
      (void)::kill(-process_, SIGTERM);
    } else if (forced && Clock::now() - start > kGrace) {
      (void)::kill(-process_, SIGKILL);
    }
    (void)::poll(nullptr, 0, 5);
  }
  (void)::kill(-process_, SIGKILL);
  int status = 0;
  while (::waitpid(process_, &status, 0) < 0 && errno == EINTR) {
  }
  process_ = -1;
  if (failure_.empty()) tellEnd(status);
  if (errors_ >= 0) readMessages();
  closePipes();
}

void ChildProcess::tellEnd(int status) {
  if (WIFSIGNALED(status)) {
    code_ = WTERMSIG(status);
    stopFor(ChildEnd::kSignalled, program_ + " was ended by signal " + std::to_string(code_));
    return;
  }
  end_ = ChildEnd::kExited;
  code_ = WEXITSTATUS(status);
  if (code_ != 0) failure_ = program_ + " ended with status " + std::to_string(code_);
}

ChildProcess::~ChildProcess() {
  try {
    kill();
  } catch (...) {  // no memory for what it still said: it ends all the same
    (void)::kill(-process_, SIGKILL);
    (void)::waitpid(process_, nullptr, 0);
    closePipes();
  }
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
  if (const char* chosen = variable != nullptr ? std::getenv(variable) : nullptr) return chosen;
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
