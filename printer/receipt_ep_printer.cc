// SPDX-License-Identifier: Apache-2.0
#include "printer/receipt_ep_printer.h"

#include <algorithm>
#include <array>
#include <limits>

namespace {

constexpr uint64_t kBandRows = 96;

// GS v 0, normal density: bytes per row and rows, low byte first.
std::array<uint8_t, 8> bandHeader(uint64_t bytesPerRow, uint64_t rows) {
  const auto byte = [](uint64_t value) { return static_cast<uint8_t>(value & 0xFF); };
  return {0x1D,       0x76,           0x30, 0x00, byte(bytesPerRow), byte(bytesPerRow >> 8),
          byte(rows), byte(rows >> 8)};
}

}  // namespace

void ReceiptEpPrinter::doPrintImage(const unsigned char* pixels, uint64_t bytesPerLine,
                                    uint64_t height, uint64_t /*width*/) {
  constexpr auto kMax = static_cast<uint64_t>(std::numeric_limits<int32_t>::max());
  if (bytesPerLine > kMax || height > kMax) return;
  auto* packed = const_cast<uint8_t*>(pixels);
  const int32_t length =
      GrayToMono(static_cast<int32_t>(bytesPerLine), static_cast<int32_t>(height), packed);
  SendImage(static_cast<uint32_t>(length), height, packed);
}

void ReceiptEpPrinter::SendImage(uint32_t packedLength, uint64_t height, uint8_t* packed) {
  if (height == 0) return;
  const uint64_t bytesPerRow = packedLength / height;
  uint64_t remaining = height;
  while (remaining != 0) {
    if (shouldStopRaster()) return;
    const uint64_t rows = std::min(remaining, kBandRows);
    const std::array<uint8_t, 8> header = bandHeader(bytesPerRow, rows);
    printBytes(header.data(), header.size());
    printBytes(packed, bytesPerRow * rows);
    countBand();
    packed += bytesPerRow * rows;
    remaining -= rows;
  }
}
