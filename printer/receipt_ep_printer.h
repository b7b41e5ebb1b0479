// SPDX-License-Identifier: Apache-2.0
// Receipt printer that takes pages as ESC/POS "GS v 0" raster bit images.
#ifndef PRINTER_RECEIPT_EP_PRINTER_H_
#define PRINTER_RECEIPT_EP_PRINTER_H_

#include "printer/drav_printer.h"

class ReceiptEpPrinter : public DravPrinter {
 public:
  ReceiptEpPrinter() = default;

  // Packs the page in place (the pixels are written through) and sends it.
  // printImage's pages come packed already, past this function: hence final.
  void doPrintImage(const unsigned char* pixels, uint64_t bytesPerLine, uint64_t height,
                    uint64_t width) final;

  // Sends `height` packed rows as bands of at most 96 rows to every output
  // stream. A page without rows sends nothing.
  void SendImage(uint32_t packedLength, uint64_t height, uint8_t* packed);

 protected:
  bool takesPackedRows() const override { return true; }
  void doPrintPacked(uint8_t* packed, uint32_t packedLength, uint64_t height) override {
    SendImage(packedLength, height, packed);
  }
};

#endif  // PRINTER_RECEIPT_EP_PRINTER_H_
