// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/connection.h"

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

namespace {

constexpr int kWaitMilliseconds = 3000;

struct AddressDeleter {
  void operator()(addrinfo* list) const { freeaddrinfo(list); }
};

// 0, or an errno value.
int tryAddress(const addrinfo& address) {
  const int call =
      ::socket(address.ai_family, address.ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (call < 0) return errno;
  int code = ::connect(call, address.ai_addr, address.ai_addrlen) == 0 ? 0 : errno;
  if (code == EINPROGRESS) {
    pollfd waiting = {call, POLLOUT, 0};
    socklen_t size = sizeof code;
    if (::poll(&waiting, 1, kWaitMilliseconds) <= 0) {
      code = ETIMEDOUT;
    } else if (::getsockopt(call, SOL_SOCKET, SO_ERROR, &code, &size) != 0) {
      code = errno;
    }
  }
  ::close(call);
  return code;
}

}  // namespace

bool canConnect(const std::string& host, int port, std::string& error) {
  addrinfo wanted = {};
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int code = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &wanted, &found);
  const std::unique_ptr<addrinfo, AddressDeleter> list(found);
  if (code != 0) {
    error = ::gai_strerror(code);
    return false;
  }
  int last = ECONNREFUSED;
  for (const addrinfo* address = list.get(); address != nullptr; address = address->ai_next) {
    last = tryAddress(*address);
    if (last == 0) return true;
  }
  error = std::strerror(last);
  return false;
}
