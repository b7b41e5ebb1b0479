// SPDX-License-Identifier: Apache-2.0
#include "documents/reader/confinement.h"

#include <sys/resource.h>

#include <algorithm>

#include "documents/reader_protocol.h"

#ifdef DRAV_HAVE_SECCOMP
#include <fcntl.h>
#include <sched.h>
#include <seccomp.h>

#include <array>
#include <cerrno>
#endif
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace documents {
namespace {

constexpr rlim_t kMostDescriptors = 64;

void limit(decltype(RLIMIT_CORE) resource, rlim_t most) {
  struct rlimit current = {};
  if (::getrlimit(resource, &current) != 0) return;
  current.rlim_cur = current.rlim_max = std::min(current.rlim_max, most);
  (void)::setrlimit(resource, &current);
}

#ifdef DRAV_HAVE_SECCOMP

// Names that a processor lacks are passed over by libseccomp.
constexpr std::array kForbidden = {
    // network
    SCMP_SYS(socket), SCMP_SYS(socketpair), SCMP_SYS(connect), SCMP_SYS(bind), SCMP_SYS(listen),
    SCMP_SYS(accept), SCMP_SYS(accept4), SCMP_SYS(sendto), SCMP_SYS(sendmsg), SCMP_SYS(sendmmsg),
    SCMP_SYS(io_uring_setup),
    // programs and processes
    SCMP_SYS(execve), SCMP_SYS(execveat), SCMP_SYS(fork), SCMP_SYS(vfork), SCMP_SYS(ptrace),
    SCMP_SYS(process_vm_readv), SCMP_SYS(process_vm_writev), SCMP_SYS(kill), SCMP_SYS(tkill),
    SCMP_SYS(unshare), SCMP_SYS(setns), SCMP_SYS(mount), SCMP_SYS(bpf), SCMP_SYS(keyctl),
    // files
    SCMP_SYS(creat), SCMP_SYS(unlink), SCMP_SYS(unlinkat), SCMP_SYS(rename), SCMP_SYS(renameat),
    SCMP_SYS(renameat2), SCMP_SYS(mkdir), SCMP_SYS(mkdirat), SCMP_SYS(rmdir), SCMP_SYS(link),
    SCMP_SYS(linkat), SCMP_SYS(symlink), SCMP_SYS(symlinkat), SCMP_SYS(mknod), SCMP_SYS(mknodat),
    SCMP_SYS(truncate), SCMP_SYS(ftruncate), SCMP_SYS(fallocate), SCMP_SYS(chmod), SCMP_SYS(fchmod),
    SCMP_SYS(fchmodat), SCMP_SYS(chown), SCMP_SYS(fchown), SCMP_SYS(lchown), SCMP_SYS(fchownat),
    SCMP_SYS(utimensat), SCMP_SYS(setxattr), SCMP_SYS(memfd_create)};

// Opening a file for anything but reading.
bool forbidWriting(scmp_filter_ctx filter, int call, unsigned flagsAt) {
  constexpr std::array<scmp_datum_t, 4> kBits = {O_WRONLY, O_RDWR, O_CREAT, O_TRUNC};
  return std::all_of(kBits.begin(), kBits.end(), [=](scmp_datum_t bit) {
    const scmp_arg_cmp flags = {flagsAt, SCMP_CMP_MASKED_EQ, bit, bit};
    return ::seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(EACCES), call, 1, &flags) == 0;
  });
}

bool addRules(scmp_filter_ctx filter) {
  for (const int call : kForbidden)
    if (::seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(EACCES), call, 0, nullptr) != 0)
      return false;
  // Threads are made by clone with this flag. What clone3 and openat2 want stands in memory
  // that a filter cannot read; the C library falls back.
  const scmp_arg_cmp noThread = {0, SCMP_CMP_MASKED_EQ, CLONE_THREAD, 0};
  return ::seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(EACCES), SCMP_SYS(clone), 1, &noThread) ==
             0 &&
         ::seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3), 0, nullptr) ==
             0 &&
         ::seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(openat2), 0, nullptr) ==
             0 &&
         forbidWriting(filter, SCMP_SYS(open), 1) && forbidWriting(filter, SCMP_SYS(openat), 2);
}

#endif

}  // namespace

void limitResources() {
  limit(RLIMIT_CORE, 0);
  limit(RLIMIT_FSIZE, 0);
  limit(RLIMIT_NOFILE, kMostDescriptors);
  limit(RLIMIT_CPU, kReaderSeconds);
#ifndef DRAV_SANITIZED  // a sanitizer's own tables are larger
  limit(RLIMIT_DATA, kReaderBytes);
#endif
#ifdef __GLIBC__
  (void)::mallopt(M_ARENA_MAX, 2);  // each reserves 64 MiB, which would count
#endif
}

bool confineSystemCalls() {
#ifdef DRAV_HAVE_SECCOMP
  const scmp_filter_ctx filter = ::seccomp_init(SCMP_ACT_ALLOW);
  if (filter == nullptr) return false;
  const bool holds = addRules(filter) && ::seccomp_load(filter) == 0;
  ::seccomp_release(filter);
  return holds;
#else
  return false;
#endif
}

}  // namespace documents
