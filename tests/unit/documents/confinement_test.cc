// SPDX-License-Identifier: Apache-2.0
// What the picture reader's process can and cannot do once it is confined.
#include "documents/reader/confinement.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

#include "tests/support/sanitizers.h"

namespace {

// Exit status of `action` in a process of its own; -1 when it was killed.
int inChild(int (*action)()) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(action());
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int confined(bool (*isRefused)()) {
  if (!documents::confineSystemCalls()) return 77;
  errno = 0;
  return isRefused() ? 0 : 1;
}

bool isDenied(int result) { return result < 0 && errno == EACCES; }

#ifdef __linux__

TEST(Confinement, NoNetwork) {
  EXPECT_EQ(
      inChild([] { return confined([] { return isDenied(::socket(AF_INET, SOCK_STREAM, 0)); }); }),
      0);
}

TEST(Confinement, NoProcessAndNoProgram) {
  EXPECT_EQ(inChild([] { return confined([] { return isDenied(::fork()); }); }), 0);
  EXPECT_EQ(inChild([] {
              return confined([] {
                char name[] = "true";
                char* const arguments[] = {name, nullptr};
                return isDenied(::execv("/bin/true", arguments));
              });
            }),
            0);
}

TEST(Confinement, NoFileIsMadeOrChanged) {
  for (const auto action : {+[] { return isDenied(::open("/tmp/drav-confined", O_CREAT, 0600)); },
                            +[] { return isDenied(::open("/dev/null", O_WRONLY)); },
                            +[] { return isDenied(::open("/dev/null", O_RDWR)); },
                            +[] { return isDenied(::unlink("/tmp/drav-confined")); }}) {
    static bool (*current)();
    current = action;
    EXPECT_EQ(inChild([] { return confined([] { return current(); }); }), 0);
  }
}

TEST(Confinement, ThreadsAndReadingGoOn) {
  EXPECT_EQ(inChild([] {
              return confined([] {
                int done = 0;
                std::thread([&done] { done = 1; }).join();
                const int file = ::open("/dev/null", O_RDONLY);
                return done == 1 && file >= 0;
              });
            }),
            0);
}

#endif

TEST(Confinement, LimitsAreLowered) {
  EXPECT_EQ(inChild([] {
              documents::limitResources();
              struct rlimit cpu = {};
              struct rlimit files = {};
              (void)::getrlimit(RLIMIT_CPU, &cpu);
              (void)::getrlimit(RLIMIT_FSIZE, &files);
              return cpu.rlim_max == 60 && files.rlim_max == 0 ? 0 : 1;
            }),
            0);
#if defined(__linux__) && !defined(DRAV_TEST_ADDRESS_SANITIZER)
  EXPECT_EQ(inChild([] {
              documents::limitResources();
              struct rlimit data = {};
              (void)::getrlimit(RLIMIT_DATA, &data);
              return data.rlim_max == rlim_t{1} << 30U ? 0 : 1;
            }),
            0);
#endif
}

}  // namespace
