// SPDX-License-Identifier: Apache-2.0
// A printer at the end of a socket or of a device file.
//
// The waits of PAPPL's own devices cannot be ended: 30 s for a connection, 10 s for an
// answer, and a write takes as long as the printer likes. Here each wait is cut into
// pieces, and the caller is asked between them whether to go on.
#ifndef APP_DEVICE_H_
#define APP_DEVICE_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace app {

enum class DeviceKind : uint8_t { kSocket, kUsb, kPrinterFile, kFile };

struct DeviceAddress {
  DeviceKind kind = DeviceKind::kSocket;
  std::string host;           // of a socket
  int port = 0;               // of a socket
  std::string path;           // of a file
  std::string uri;            // without options; what tells devices apart
  bool answersStatus = true;  // false with the option "status=no", and for files
};

// socket://HOST[:PORT], usb://MAKE/MODEL[?serial=NUMBER], lp:/dev/usb/lp0 and file:///PATH,
// each with "status=no" at its end or without. Nothing for any other text.
std::optional<DeviceAddress> parseDeviceUri(const std::string& uri);

// A printer that the kernel's driver usblp knows.
struct UsbPrinter {
  std::string uri;   // usb://...
  std::string path;  // /dev/usb/lp0
  std::string id;    // IEEE 1284; empty where the printer tells none
};
// All of them; `classes` is the kernel's list.
std::vector<UsbPrinter> usbPrinters(const std::string& classes = "/sys/class/usbmisc");

using GiveUp = std::function<bool()>;  // true ends a wait

class Connection {
 public:
  // Null with one line in `error`.
  static std::unique_ptr<Connection> open(const DeviceAddress& address, const GiveUp& giveUp,
                                          std::string& error);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  Connection(Connection&&) = delete;
  Connection& operator=(Connection&&) = delete;

  // Sends all of it. After `giveUp` has become true, a printer that still takes bytes gets
  // some seconds to take what is on its way, so that bands end whole. False when the
  // connection has failed or is given up.
  bool write(std::span<const char> bytes, const GiveUp& giveUp);

  // Bytes that come within that time, at most as many as fit; 0 for none.
  size_t read(std::span<uint8_t> bytes, int milliseconds);

  // Throws away what has come and was not read. False when the connection has failed.
  bool drain();

  // Waits until the printer has got all of it. False when it has not, or when `giveUp`
  // says so.
  bool finish(const GiveUp& giveUp);

 private:
  Connection(int descriptor, bool isSocket) : descriptor_(descriptor), isSocket_(isSocket) {}

  const int descriptor_;
  const bool isSocket_;
};

}  // namespace app

#endif  // APP_DEVICE_H_
