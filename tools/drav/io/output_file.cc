// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/output_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "tools/drav/io/interruption.h"
#include "tools/drav/io/text.h"

namespace {

// Names of the files that a signal handler must remove. It changes only while signals
// are held back, so that the handler finds it whole.
std::vector<const char*>& temporaries() {
  static auto& names = *new std::vector<const char*>;  // a signal may come at exit
  return names;
}

extern "C" void removeTemporariesAndEnd(int signalNumber) {
  for (const char* name : temporaries()) ::unlink(name);
  (void)::signal(signalNumber, SIG_DFL);
  (void)::raise(signalNumber);
}

// Signals that the caller ignores (nohup) stay ignored.
void watchSignals() {
  for (const int signalNumber : kEndingSignals) {
    struct sigaction current = {};
    if (::sigaction(signalNumber, nullptr, &current) != 0 || current.sa_handler != SIG_DFL)
      continue;
    struct sigaction action = {};
    action.sa_handler = removeTemporariesAndEnd;
    sigemptyset(&action.sa_mask);
    (void)::sigaction(signalNumber, &action, nullptr);
  }
}

// Signals wait while this lives, so that none comes between creating the file and
// noting its name.
class SignalPause {
 public:
  SignalPause() {
    sigset_t paused;
    sigemptyset(&paused);
    for (const int signalNumber : kEndingSignals) sigaddset(&paused, signalNumber);
    ::sigprocmask(SIG_BLOCK, &paused, &before_);
  }
  ~SignalPause() { ::sigprocmask(SIG_SETMASK, &before_, nullptr); }
  SignalPause(const SignalPause&) = delete;
  SignalPause& operator=(const SignalPause&) = delete;
  SignalPause(SignalPause&&) = delete;
  SignalPause& operator=(SignalPause&&) = delete;

 private:
  sigset_t before_{};
};

std::string systemText(const std::string& path, int code) {
  return printablePath(path) + ": " + std::strerror(code);
}

// "folder/.name.XXXXXX", a template for mkstemp beside `path`.
std::string temporaryTemplate(const std::string& path) {
  const size_t slash = path.rfind('/');
  const size_t name = slash == std::string::npos ? 0 : slash + 1;
  // A name may be as long as the system allows; the temporary one needs eight more.
  return path.substr(0, name) + "." + path.substr(name).substr(0, 200) + ".XXXXXX";
}

mode_t newFileMode() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return static_cast<mode_t>(0666) & ~mask;
}

}  // namespace

bool OutputFile::open(const std::string& path, std::string& error) {
  discard();
  struct stat status = {};
  if (path.empty() || path == "-") {
    error = "the output must be named, and cannot be standard output";
    return false;
  }
  if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    error = printablePath(path) + ": " +
            (S_ISDIR(status.st_mode) ? "is a folder" : "exists and is not a regular file");
    return false;
  }
  std::string temporary = temporaryTemplate(path);

  watchSignals();
  int descriptor = -1;
  {
    const SignalPause pause;
    descriptor = ::mkstemp(temporary.data());
    if (descriptor < 0) {
      error = systemText(path, errno);
      return false;
    }
    temporary_ = std::move(temporary);
    enlist();
  }
  path_ = path;
  if (::fchmod(descriptor, newFileMode()) == 0) stream_ = ::fdopen(descriptor, "wb");
  if (stream_ == nullptr) {
    error = systemText(path, errno);
    ::close(descriptor);
    discard();
    return false;
  }
  return true;
}

// Both are called while signals are held back.
void OutputFile::enlist() { temporaries().push_back(temporary_.c_str()); }

void OutputFile::strikeOut() {
  std::erase(temporaries(), temporary_.c_str());
  temporary_.clear();
}

bool OutputFile::complete(std::string& error) {
  if (temporary_.empty()) {
    error = "no output is open";
    return false;
  }
  if (stream_ == nullptr) return true;
  std::FILE* stream = std::exchange(stream_, nullptr);
  errno = 0;
  const bool failedBefore = std::ferror(stream) != 0;
  const bool closed = std::fclose(stream) == 0;
  if (!failedBefore && closed) return true;
  error = systemText(path_, errno != 0 ? errno : EIO);
  discard();
  return false;
}

bool OutputFile::commit(std::string& error) {
  if (!complete(error)) return false;
  const SignalPause pause;
  if (std::rename(temporary_.c_str(), path_.c_str()) != 0) {
    error = systemText(path_, errno);
    discard();
    return false;
  }
  strikeOut();
  return true;
}

void OutputFile::discard() {
  if (stream_ != nullptr) (void)std::fclose(std::exchange(stream_, nullptr));
  if (temporary_.empty()) return;
  const SignalPause pause;
  ::unlink(temporary_.c_str());
  strikeOut();
}
