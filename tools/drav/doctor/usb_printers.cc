// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/usb_printers.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <set>
#include <system_error>

namespace {

namespace fs = std::filesystem;

constexpr const char* kDevices = "/sys/bus/usb/devices";
constexpr const char* kPrinterClass = "07";  // bInterfaceClass

// The first line of one of the kernel's small files; "" for none.
std::string lineOf(const fs::path& file) {
  std::ifstream stream(file);
  std::string line;
  std::getline(stream, line);
  return line;
}

std::string describe(const fs::path& device) {
  constexpr std::array<const char*, 3> kParts = {"manufacturer", "product", "serial"};
  std::string text;
  for (const char* part : kParts) {
    const std::string value = lineOf(device / part);
    if (!value.empty()) text += (text.empty() ? "" : " ") + value;
  }
  return text.empty() ? device.filename().string() : text;
}

}  // namespace

std::vector<std::string> listUsbPrinters(const Installation& installation) {
  const fs::path folder = installation.onDisk(kDevices);
  std::set<std::string> devices;  // one may have several such interfaces
  std::error_code code;
  for (fs::directory_iterator entry(folder, code), end; !code && entry != end;
       entry.increment(code)) {
    // Device 1-2 has the interfaces 1-2:1.0, 1-2:1.1 and so on.
    const std::string name = entry->path().filename();
    const size_t colon = name.find(':');
    if (colon != std::string::npos && lineOf(entry->path() / "bInterfaceClass") == kPrinterClass)
      devices.insert(name.substr(0, colon));
  }
  std::vector<std::string> printers;
  printers.reserve(devices.size());
  for (const std::string& device : devices) printers.push_back(describe(folder / device));
  std::sort(printers.begin(), printers.end());
  return printers;
}
