// SPDX-License-Identifier: Apache-2.0
#include "app/device.h"

#include <cups/http.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <netdb.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>

#include "common/scope_guard.h"

namespace app {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int kRawPort = 9100;
constexpr std::string_view kNoStatus = "status=no";
constexpr int kSlice = 50;  // milliseconds that a wait lasts before the caller is asked
constexpr milliseconds kConnectTime{3000};
constexpr milliseconds kGraceTime{4000};    // for bytes under way when a job is given up
constexpr milliseconds kFinishTime{30000};  // for the last bytes of a job
// What is under way to a printer is printed even when the job is cancelled.
constexpr int kSendBuffer = 64 * 1024;

bool waitFor(int descriptor, short events, int time) {
  pollfd one = {descriptor, events, 0};
  return ::poll(&one, 1, time) > 0;
}

// One address. -1 with errno.
int connectTo(const addrinfo& address, const GiveUp& giveUp) {
  const int descriptor =
      ::socket(address.ai_family, address.ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (descriptor < 0) return -1;
  (void)::setsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &kSendBuffer, sizeof kSendBuffer);
  int failure = ::connect(descriptor, address.ai_addr, address.ai_addrlen) == 0 ? 0 : errno;
  const auto end = Clock::now() + kConnectTime;
  while (failure == EINPROGRESS) {
    if (giveUp()) {
      failure = ECANCELED;
    } else if (waitFor(descriptor, POLLOUT, kSlice)) {
      socklen_t size = sizeof failure;
      (void)::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &failure, &size);
    } else if (Clock::now() > end) {
      failure = ETIMEDOUT;
    }
  }
  if (failure == 0) return descriptor;
  ::close(descriptor);
  errno = failure;
  return -1;
}

int openSocket(const DeviceAddress& address, const GiveUp& giveUp, std::string& error) {
  addrinfo hints = {};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  const int status =
      ::getaddrinfo(address.host.c_str(), std::to_string(address.port).c_str(), &hints, &list);
  if (status != 0) {
    error = ::gai_strerror(status);
    return -1;
  }
  const ScopeGuard release([list] { ::freeaddrinfo(list); });
  int descriptor = -1;
  for (const addrinfo* one = list; one != nullptr && descriptor < 0 && !giveUp();
       one = one->ai_next) {
    descriptor = connectTo(*one, giveUp);
    if (descriptor < 0) error = std::strerror(errno);
  }
  return descriptor;
}

int openFile(const std::string& path, bool isPrinter, std::string& error) {
  constexpr int kAlways = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  int descriptor =
      ::open(path.c_str(), isPrinter ? O_RDWR | kAlways : O_WRONLY | O_APPEND | kAlways);
  if (descriptor < 0 && isPrinter && errno == EACCES)
    descriptor = ::open(path.c_str(), O_WRONLY | kAlways);
  if (descriptor < 0) error = std::strerror(errno);
  return descriptor;
}

std::string readLine(const std::filesystem::path& file) {
  std::ifstream stream(file);
  std::string line;
  std::getline(stream, line);
  return line;
}

// The value of one of the keys in an IEEE 1284 text.
std::string idValue(const std::string& id, std::initializer_list<const char*> keys) {
  for (size_t at = 0; at < id.size();) {
    const size_t end = std::min(id.find(';', at), id.size());
    const std::string pair = id.substr(at, end - at);
    for (const char* key : keys)
      if (pair.starts_with(std::string(key) + ":")) return pair.substr(std::strlen(key) + 1);
    at = end + 1;
  }
  return "";
}

std::string usbUri(const std::string& make, const std::string& model, const std::string& serial) {
  std::array<char, 1024> uri{};
  const std::string resource = "/" + model + (serial.empty() ? "" : "?serial=" + serial);
  httpAssembleURI(HTTP_URI_CODING_ALL, uri.data(), static_cast<int>(uri.size()), "usb", nullptr,
                  make.c_str(), 0, resource.c_str());
  return uri.data();
}

std::string usbPath(const std::string& uri) {
  for (const UsbPrinter& one : usbPrinters())
    if (one.uri == uri) return one.path;
  return "";
}

}  // namespace

std::vector<UsbPrinter> usbPrinters(const std::string& classes) {
  std::vector<UsbPrinter> found;
  std::error_code failure;
  for (const auto& entry : std::filesystem::directory_iterator(classes, failure)) {
    const std::string name = entry.path().filename();
    if (!name.starts_with("lp")) continue;
    const std::filesystem::path interface = entry.path() / "device";
    const std::filesystem::path device = interface / "..";
    UsbPrinter one;
    one.path = "/dev/usb/" + name;
    one.id = readLine(interface / "ieee1284_id");
    std::string make = idValue(one.id, {"MFG", "MANUFACTURER"});
    std::string model = idValue(one.id, {"MDL", "MODEL"});
    if (make.empty()) make = readLine(device / "manufacturer");
    if (model.empty()) model = readLine(device / "product");
    one.uri = make.empty() || model.empty() ? "lp:" + one.path
                                            : usbUri(make, model, readLine(device / "serial"));
    found.push_back(one);
  }
  std::sort(found.begin(), found.end(),
            [](const UsbPrinter& a, const UsbPrinter& b) { return a.path < b.path; });
  return found;
}

std::optional<DeviceAddress> parseDeviceUri(const std::string& uri) {
  DeviceAddress out;
  const size_t options = uri.find('?');
  out.uri = uri.substr(0, options);
  const std::string tail = options == uri.npos ? "" : uri.substr(options + 1);
  out.answersStatus = tail.find(kNoStatus) == tail.npos;
  if (out.uri.starts_with("usb://")) {
    out.kind = DeviceKind::kUsb;
    out.uri = uri;  // the serial number is an option of the device's own
    out.answersStatus = !uri.ends_with(kNoStatus);
    if (!out.answersStatus) out.uri.resize(uri.size() - kNoStatus.size() - 1);
    return out;
  }
  for (const auto& [start, kind] :
       {std::pair{"lp:", DeviceKind::kPrinterFile}, std::pair{"file://", DeviceKind::kFile}}) {
    if (!out.uri.starts_with(start)) continue;
    out.kind = kind;
    out.path = out.uri.substr(std::strlen(start));
    if (kind == DeviceKind::kPrinterFile && out.path.starts_with("//")) out.path.erase(0, 2);
    out.answersStatus = out.answersStatus && kind == DeviceKind::kPrinterFile;
    return out.path.starts_with('/') ? std::optional(out) : std::nullopt;
  }
  std::array<char, 32> scheme{};
  std::array<char, 256> user{};
  std::array<char, 256> host{};
  std::array<char, 256> resource{};
  if (httpSeparateURI(HTTP_URI_CODING_ALL, out.uri.c_str(), scheme.data(), scheme.size(),
                      user.data(), user.size(), host.data(), host.size(), &out.port,
                      resource.data(), resource.size()) < HTTP_URI_STATUS_OK ||
      std::strcmp(scheme.data(), "socket") != 0 || host[0] == '\0')
    return std::nullopt;
  out.host = host.data();
  if (out.port == 0) out.port = kRawPort;
  out.uri = "socket://" + out.host + ":" + std::to_string(out.port);
  return out;
}

std::unique_ptr<Connection> Connection::open(const DeviceAddress& address, const GiveUp& giveUp,
                                             std::string& error) {
  const bool isSocket = address.kind == DeviceKind::kSocket;
  int descriptor = -1;
  if (isSocket) {
    descriptor = openSocket(address, giveUp, error);
  } else {
    const std::string path = address.kind == DeviceKind::kUsb ? usbPath(address.uri) : address.path;
    if (path.empty())
      error = "no such printer is connected";
    else
      descriptor = openFile(path, address.kind != DeviceKind::kFile, error);
  }
  if (descriptor < 0) return nullptr;
  return std::unique_ptr<Connection>(new Connection(descriptor, isSocket));
}

Connection::~Connection() { ::close(descriptor_); }

bool Connection::write(std::span<const char> bytes, const GiveUp& giveUp) {
  std::optional<Clock::time_point> end;
  while (!bytes.empty()) {
    const ssize_t sent = isSocket_ ? ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL)
                                   : ::write(descriptor_, bytes.data(), bytes.size());
    if (sent > 0) {
      bytes = bytes.subspan(static_cast<size_t>(sent));
      continue;
    }
    if (sent < 0 && errno == EINTR) continue;
    if (sent < 0 && errno != EAGAIN) return false;
    if (!end && giveUp()) end = Clock::now() + kGraceTime;
    if (end && Clock::now() > *end) return false;
    (void)waitFor(descriptor_, POLLOUT, kSlice);
  }
  return true;
}

size_t Connection::read(std::span<uint8_t> bytes, int milliseconds) {
  if (!waitFor(descriptor_, POLLIN, milliseconds)) return 0;
  const ssize_t got = ::read(descriptor_, bytes.data(), bytes.size());
  return got > 0 ? static_cast<size_t>(got) : 0;
}

bool Connection::drain() {
  std::array<uint8_t, 256> bytes{};
  for (int most = 64; most > 0 && waitFor(descriptor_, POLLIN, 0); --most) {
    const ssize_t got = ::read(descriptor_, bytes.data(), bytes.size());
    if (got < 0 && errno != EINTR && errno != EAGAIN) return false;
    if (got == 0) break;
  }
  return true;
}

// A socket that is closed over bytes that were not read is reset, and the reset throws
// away what the printer has not taken yet.
bool Connection::finish(const GiveUp& giveUp) {
  if (!isSocket_) return true;
  (void)::shutdown(descriptor_, SHUT_WR);
  const auto end = Clock::now() + kFinishTime;
  int left = 0;
  while (drain()) {
    if (::ioctl(descriptor_, SIOCOUTQ, &left) != 0 || left == 0) return drain();
    if (Clock::now() > end || giveUp()) return false;
    (void)::poll(nullptr, 0, kSlice / 5);
  }
  return false;
}

}  // namespace app
