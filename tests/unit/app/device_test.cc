// SPDX-License-Identifier: Apache-2.0
#include "app/device.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "app/device_state.h"

namespace app {
namespace {

namespace fs = std::filesystem;

bool never() { return false; }

TEST(DeviceUri, SocketsHaveAHostAndAPort) {
  const auto plain = parseDeviceUri("socket://192.0.2.10");
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->host, "192.0.2.10");
  EXPECT_EQ(plain->port, 9100);
  EXPECT_TRUE(plain->answersStatus);
  const auto full = parseDeviceUri("socket://printer.example:9101/?status=no");
  ASSERT_TRUE(full);
  EXPECT_EQ(full->host, "printer.example");
  EXPECT_EQ(full->port, 9101);
  EXPECT_FALSE(full->answersStatus);
  // One device, whatever its options.
  EXPECT_EQ(parseDeviceUri("socket://192.0.2.10:9100/?status=no")->uri, plain->uri);
}

TEST(DeviceUri, APrinterOnUsbIsTheSameWhetherItIsAskedOrNot) {
  for (const std::string uri : {"usb://Drav/Stencil%20A4?serial=A1", "usb://Maker/POS58"}) {
    const auto asked = parseDeviceUri(uri);
    ASSERT_TRUE(asked);
    EXPECT_EQ(asked->kind, DeviceKind::kUsb);
    EXPECT_EQ(asked->uri, uri);
    EXPECT_TRUE(asked->answersStatus);
    for (const char* start : {"?", "&"}) {
      const auto left = parseDeviceUri(uri + start + "status=no");
      ASSERT_TRUE(left);
      EXPECT_EQ(left->uri, uri);
      EXPECT_FALSE(left->answersStatus);
    }
  }
}

TEST(DeviceUri, FilesHaveAPath) {
  const auto printer = parseDeviceUri("lp:/dev/usb/lp0");
  ASSERT_TRUE(printer);
  EXPECT_EQ(printer->kind, DeviceKind::kPrinterFile);
  EXPECT_EQ(printer->path, "/dev/usb/lp0");
  EXPECT_EQ(parseDeviceUri("lp:///dev/usb/lp0")->path, "/dev/usb/lp0");
  const auto file = parseDeviceUri("file:///tmp/out");
  ASSERT_TRUE(file);
  EXPECT_EQ(file->kind, DeviceKind::kFile);
  EXPECT_EQ(file->path, "/tmp/out");
  EXPECT_FALSE(file->answersStatus);
}

TEST(DeviceUri, OtherTextsAreNone) {
  for (const char* uri : {"", "socket://", "socket:", "lp:relative", "file://", "ipp://192.0.2.1",
                          "http://192.0.2.1", "dnssd://x", "snmp://x", "/dev/usb/lp0"})
    EXPECT_FALSE(parseDeviceUri(uri)) << uri;
}

class UsbTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "usbXXXXXX";
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    top_ = name;
  }
  void TearDown() override { fs::remove_all(top_); }

  // As the kernel lays it out: the class names the interface, above which is the device.
  void add(const std::string& name, const std::string& id, const std::string& make,
           const std::string& model, const std::string& serial) {
    const fs::path device = top_ / "devices" / name;
    fs::create_directories(device / "interface");
    fs::create_directories(top_ / "usbmisc" / name);
    fs::create_directory_symlink(device / "interface", top_ / "usbmisc" / name / "device");
    const auto write = [](const fs::path& file, const std::string& text) {
      if (!text.empty()) std::ofstream(file) << text << '\n';
    };
    write(device / "interface" / "ieee1284_id", id);
    write(device / "manufacturer", make);
    write(device / "product", model);
    write(device / "serial", serial);
  }

  fs::path top_;
};

TEST_F(UsbTest, PrintersAreListedWithAndWithoutAReadableId) {
  add("lp0", "MFG:Drav;CMD:ESC/POS;MDL:Stencil A4;CLS:PRINTER;", "Maker", "Thing", "A1");
  add("lp1", "", "Cheap Maker", "POS58", "");
  add("lp2", "", "", "", "");
  add("hiddev0", "MFG:No;MDL:Printer;", "", "", "");
  const auto found = usbPrinters(top_ / "usbmisc");
  ASSERT_EQ(found.size(), 3U);
  EXPECT_EQ(found[0].uri, "usb://Drav/Stencil%20A4?serial=A1");
  EXPECT_EQ(found[0].path, "/dev/usb/lp0");
  EXPECT_EQ(found[1].uri, "usb://Cheap%20Maker/POS58");
  EXPECT_EQ(found[2].uri, "lp:/dev/usb/lp2");
  for (const UsbPrinter& one : found) EXPECT_TRUE(parseDeviceUri(one.uri)) << one.uri;
}

TEST_F(UsbTest, AMachineWithoutThemHasNone) { EXPECT_TRUE(usbPrinters(top_ / "nothing").empty()); }

// A listener on this machine.
class SocketTest : public testing::Test {
 protected:
  void SetUp() override {
    listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ASSERT_EQ(::bind(listener_, reinterpret_cast<sockaddr*>(&address), size), 0);
    ASSERT_EQ(::listen(listener_, 1), 0);
    ASSERT_EQ(::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size), 0);
    address_ = *parseDeviceUri("socket://127.0.0.1:" + std::to_string(ntohs(address.sin_port)));
  }
  void TearDown() override { ::close(listener_); }

  int listener_ = -1;
  DeviceAddress address_;
};

TEST_F(SocketTest, SendsAllAndHearsAnswers) {
  std::string error;
  const auto connection = Connection::open(address_, never, error);
  ASSERT_NE(connection, nullptr) << error;
  const int peer = ::accept(listener_, nullptr, nullptr);
  ASSERT_TRUE(connection->write(std::array{'a', 'b', 'c'}, never));
  std::array<char, 8> got{};
  EXPECT_EQ(::read(peer, got.data(), got.size()), 3);
  std::array<uint8_t, 4> answer{};
  EXPECT_EQ(connection->read(answer, 10), 0U);
  ASSERT_EQ(::write(peer, "xy", 2), 2);
  EXPECT_EQ(connection->read(answer, 1000), 2U);
  EXPECT_TRUE(connection->finish(never));
  ::close(peer);
}

TEST_F(SocketTest, AWriteThatIsGivenUpEndsSoon) {
  std::string error;
  const auto connection = Connection::open(address_, never, error);
  ASSERT_NE(connection, nullptr) << error;
  const std::vector<char> much(size_t{16} << 20U);  // which nobody reads
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(connection->write(much, [] { return true; }));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(6));
}

TEST_F(SocketTest, AConnectionThatIsResetHasNotFinished) {
  std::string error;
  const auto connection = Connection::open(address_, never, error);
  ASSERT_NE(connection, nullptr) << error;
  const int peer = ::accept(listener_, nullptr, nullptr);
  ASSERT_TRUE(connection->write(std::array{'a'}, never));
  const linger reset = {1, 0};
  ASSERT_EQ(::setsockopt(peer, SOL_SOCKET, SO_LINGER, &reset, sizeof reset), 0);
  ::close(peer);
  EXPECT_FALSE(connection->finish(never));
}

TEST_F(SocketTest, NobodyThereIsAnError) {
  ::close(listener_);
  std::string error;
  EXPECT_EQ(Connection::open(address_, never, error), nullptr);
  EXPECT_FALSE(error.empty());
}

TEST(DeviceState, OneAtATime) {
  DeviceState& state = DeviceState::of(*parseDeviceUri("socket://192.0.2.99"));
  EXPECT_EQ(&state, &DeviceState::of(*parseDeviceUri("socket://192.0.2.99/?status=no")));
  ASSERT_TRUE(state.acquire(never));
  EXPECT_FALSE(state.tryAcquire());
  EXPECT_FALSE(state.acquire([] { return true; }));
  std::thread other([&state] { EXPECT_TRUE(state.acquire(never)); });
  state.release();
  other.join();
  state.release();
  EXPECT_TRUE(state.tryAcquire());
  state.release();
}

}  // namespace
}  // namespace app
