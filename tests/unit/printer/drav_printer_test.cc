// SPDX-License-Identifier: Apache-2.0
#include "printer/drav_printer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <type_traits>

#include "printer/receipt_ep_printer.h"
#include "tests/model/pages.h"
#include "tests/support/files.h"
#include "tests/unit/printer/printer_fixture.h"

namespace {

using testing::ElementsAre;

void expectStartValues(ReceiptEpPrinter& printer) {
  EXPECT_EQ(printer.GetPrintWidth(), 0);
  EXPECT_EQ(printer.getPageHeader(), nullptr);
  EXPECT_EQ(printer.getAntiWrinkle(), 0);
  EXPECT_FALSE(printer.getUseQZDithering());
  EXPECT_EQ(printer.getMaxMediaWidth(), 0);
  EXPECT_EQ(printer.getVBarcodeOpt(), 0);
  EXPECT_EQ(printer.getBrightness(), 0);
  EXPECT_EQ(printer.getContrast(), 0);
  EXPECT_EQ(printer.getPrintSpeed(), 7);
  EXPECT_EQ(printer.getPrintDensity(), 8);
  EXPECT_EQ(printer.getHalftoneType(), DitherType::None);
  EXPECT_FALSE(printer.isNegativePrint());
  EXPECT_FALSE(printer.isRotate180Print());
  EXPECT_FALSE(printer.isMirrorPrint());
  EXPECT_EQ(printer.getRemoveBlankEdges(), 0);
  EXPECT_EQ(printer.getSkipRightPixels(), 0U);
  EXPECT_EQ(printer.getUserData(), nullptr);
  EXPECT_EQ(printer.getResolution(), 300);
  EXPECT_THAT(printer.getOutputStreams(), ElementsAre(stdout));
  EXPECT_EQ(printer.bandsSent(), 0U);
  EXPECT_FALSE(printer.rasterInterrupted());
}

TEST(FreshPrinterTest, HasItsStartValuesAndPrintsToStandardOutputAlone) {
  ReceiptEpPrinter printer;
  expectStartValues(printer);
}

TEST(FreshPrinterTest, StartValuesDoNotDependOnTheStorage) {
  alignas(ReceiptEpPrinter) unsigned char storage[sizeof(ReceiptEpPrinter)];
  for (const int filling : {0x00, 0xFF, 0x5A}) {
    std::memset(storage, filling, sizeof storage);
    auto* printer = new (storage) ReceiptEpPrinter;
    expectStartValues(*printer);
    printer->~ReceiptEpPrinter();
  }
}

TEST(FreshPrinterTest, ClassesFormTheHierarchyOfAPrinter) {
  EXPECT_TRUE(std::is_abstract_v<DravPrinter>);
  EXPECT_TRUE(std::has_virtual_destructor_v<DravPrinter>);
  EXPECT_TRUE((std::is_base_of_v<DravPrinter, ReceiptEpPrinter>));
  EXPECT_EQ(sizeof(ReceiptEpPrinter), sizeof(DravPrinter)) << "the concrete printer adds no data";
}

TEST(FreshPrinterTest, CopyrightTextIsAManufacturerMark) {
  EXPECT_STREQ(DravPrinter::getCopyRight(), "MFT:44726176");
  EXPECT_EQ(DravPrinter::getCopyRight(), DravPrinter::getCopyRight());
}

class PrinterSettersTest : public PrinterFixture {};

TEST_F(PrinterSettersTest, BrightnessAndContrastAreClampedToAHundred) {
  struct Row {
    int given;
    int stored;
  };
  for (const Row& row : {Row{-101, -100}, Row{-100, -100}, Row{-99, -99}, Row{0, 0}, Row{99, 99},
                         Row{100, 100}, Row{101, 100}, Row{INT_MIN, -100}, Row{INT_MAX, 100}}) {
    EXPECT_EQ(printer_.setBrightness(row.given).getBrightness(), row.stored) << row.given;
    EXPECT_EQ(printer_.setContrast(row.given).getContrast(), row.stored) << row.given;
    EXPECT_EQ(model::clampTone(row.given), row.stored) << row.given;
  }
}

TEST_F(PrinterSettersTest, SpeedIsReadFromTextAndClamped) {
  struct Row {
    const char* given;
    int stored;
  };
  for (const Row& row :
       {Row{"0", 1}, Row{"abc", 1}, Row{"", 1}, Row{"-3", 1}, Row{"1", 1}, Row{"7", 7},
        Row{"12mm", 12}, Row{" 9", 9}, Row{"15", 15}, Row{"16", 15}, Row{"1000", 15}}) {
    EXPECT_EQ(printer_.setPrintSpeed(row.given).getPrintSpeed(), row.stored) << row.given;
    EXPECT_EQ(model::parseSpeed(row.given), row.stored) << row.given;
  }
  printer_.setPrintSpeed("9");
  EXPECT_EQ(printer_.setPrintSpeed(nullptr).getPrintSpeed(), 1) << "no text is no speed";
}

TEST_F(PrinterSettersTest, DensityMayBeZero) {
  struct Row {
    int given;
    int stored;
  };
  for (const Row& row : {Row{-1, 0}, Row{0, 0}, Row{1, 1}, Row{8, 8}, Row{15, 15}, Row{16, 15},
                         Row{INT_MIN, 0}, Row{INT_MAX, 15}}) {
    EXPECT_EQ(printer_.setPrintDensity(row.given).getPrintDensity(), row.stored) << row.given;
    EXPECT_EQ(model::clampDensity(row.given), row.stored) << row.given;
  }
}

TEST_F(PrinterSettersTest, OtherSettersStoreWhatTheyGet) {
  EXPECT_EQ(printer_.SetPrintWidth(-7).GetPrintWidth(), -7);
  EXPECT_EQ(printer_.SetPrintWidth(LONG_MAX).GetPrintWidth(), LONG_MAX);
  EXPECT_EQ(printer_.setPageHeader(&header_).getPageHeader(), &header_);
  EXPECT_EQ(printer_.setAntiWrinkle(-3).getAntiWrinkle(), -3);
  EXPECT_EQ(printer_.setAntiWrinkle(99).getAntiWrinkle(), 99);
  EXPECT_TRUE(printer_.setUseQZDithering(true).getUseQZDithering());
  EXPECT_EQ(printer_.setMaxMediaWidth(-1).getMaxMediaWidth(), -1);
  EXPECT_EQ(printer_.setVBarcodeOpt(12).getVBarcodeOpt(), 12);
  EXPECT_EQ(printer_.setHalftoneType(static_cast<DitherType>(77)).getHalftoneType(),
            static_cast<DitherType>(77));
  EXPECT_TRUE(printer_.setNegativePrint(true).isNegativePrint());
  EXPECT_TRUE(printer_.setRotate180Print(true).isRotate180Print());
  EXPECT_TRUE(printer_.setMirrorPrint(true).isMirrorPrint());
  EXPECT_EQ(printer_.setRemoveBlankEdges(0xFF).getRemoveBlankEdges(), 0xFF);
  EXPECT_EQ(printer_.setSkipRightPixels(ULONG_MAX).getSkipRightPixels(), ULONG_MAX);
  int owned = 0;
  auto* data = reinterpret_cast<DravPrinter::UserData*>(&owned);
  EXPECT_EQ(printer_.setUserData(data).getUserData(), data);
}

TEST_F(PrinterSettersTest, EachSetterReturnsThePrinter) {
  DravPrinter* self = &printer_;
  EXPECT_EQ(&printer_.SetPrintWidth(1), self);
  EXPECT_EQ(&printer_.setBrightness(1), self);
  EXPECT_EQ(&printer_.setPrintSpeed("1"), self);
  EXPECT_EQ(&printer_.setUserData(nullptr), self);
}

class PrinterOutputTest : public PrinterFixture {
 protected:
  void addRecord() { printer_.getOutputStreams().push_back(record_.get()); }

  MemoryStream record_;
};

TEST_F(PrinterOutputTest, BytesGoToEveryStream) {
  addRecord();
  const Bytes bytes = hex("1D 76 30 00 00 FF 0A 0D 1A");
  printer_.printBytes(bytes.data(), bytes.size());
  EXPECT_TRUE(sameBytes(bytes, out_.bytes()));
  EXPECT_TRUE(sameBytes(bytes, record_.bytes()));
}

TEST_F(PrinterOutputTest, StreamsGetTheirBytesInTheOrderOfTheList) {
  // The same stream twice shows that the whole text goes to one stream first.
  printer_.getOutputStreams() = {out_.get(), out_.get()};
  printer_.printStr("abc");
  printer_.printByte(0x00);
  const Bytes pair = hex("01 02");
  printer_.printBytes(pair.data(), pair.size());
  EXPECT_TRUE(sameBytes(hex("61 62 63 61 62 63 00 00 01 02 01 02"), out_.bytes()));
}

TEST_F(PrinterOutputTest, TextIsWrittenAsItStands) {
  addRecord();
  printer_.printStr("100%s%n\n");
  EXPECT_EQ(out_.text(), "100%s%n\n");
  EXPECT_EQ(record_.text(), "100%s%n\n");
}

TEST_F(PrinterOutputTest, SingleBytesKeepAllEightBits) {
  for (int value = 0; value < 256; ++value) printer_.printByte(static_cast<unsigned char>(value));
  const Bytes written = out_.bytes();
  ASSERT_EQ(written.size(), 256U);
  for (size_t i = 0; i < 256; ++i) EXPECT_EQ(written[i], i);
}

TEST_F(PrinterOutputTest, FormattedTextIsTheSameOnEveryStream) {
  addRecord();
  MemoryStream third;
  printer_.getOutputStreams().push_back(third.get());
  EXPECT_EQ(printer_.printFormat("%s %d %.2f", "page", -12, 0.5), 13);
  EXPECT_EQ(out_.text(), "page -12 0.50");
  EXPECT_EQ(record_.text(), "page -12 0.50");
  EXPECT_EQ(third.text(), "page -12 0.50");
}

TEST_F(PrinterOutputTest, EmptyListWritesNothing) {
  printer_.getOutputStreams().clear();
  printer_.printBytes(hex("01").data(), 1);
  printer_.printStr("text");
  printer_.printByte(1);
  EXPECT_EQ(printer_.printFormat("%d", 7), 0);
  EXPECT_TRUE(out_.bytes().empty());
}

TEST_F(PrinterOutputTest, MissingStreamIsPassedOver) {
  printer_.getOutputStreams() = {nullptr, out_.get()};
  printer_.printStr("text");
  printer_.printByte('!');
  EXPECT_EQ(printer_.printFormat("%d", 42), 2);
  printer_.printBytes(hex("3F").data(), 1);
  EXPECT_EQ(out_.text(), "text!42?");
}

TEST_F(PrinterOutputTest, NoBytesAreNoBytes) {
  printer_.printBytes(nullptr, 0);
  printer_.printStr("");
  EXPECT_TRUE(out_.bytes().empty());
}

TEST_F(PrinterOutputTest, FailingStreamDoesNotKeepTheOthersFromTheirBytes) {
  std::FILE* readOnly = std::fopen("/dev/null", "r");
  ASSERT_NE(readOnly, nullptr);
  printer_.getOutputStreams() = {readOnly, out_.get()};
  printer_.printStr("text");
  EXPECT_NE(std::ferror(readOnly), 0);
  EXPECT_EQ(out_.text(), "text");
  std::fclose(readOnly);
}

TEST_F(PrinterOutputTest, NothingFollowsLostBytesByAnyPrimitive) {
  // Full after three bytes. Room that comes back later must not be used.
  std::array<char, 16> room = {};
  std::FILE* torn = fmemopen(room.data(), 3, "wb");
  ASSERT_NE(torn, nullptr);
  std::setvbuf(torn, nullptr, _IONBF, 0);
  std::fputs("abcd", torn);
  ASSERT_NE(std::ferror(torn), 0);
  std::rewind(torn);  // room again, and no error
  std::fputs("ABCD", torn);
  ASSERT_NE(std::ferror(torn), 0);
  ASSERT_EQ(std::fseek(torn, 0, SEEK_SET), 0);
  ASSERT_NE(std::ferror(torn), 0);
  room.fill('.');

  printer_.getOutputStreams() = {torn, out_.get()};
  printer_.printStr("S");
  EXPECT_EQ(room[0], '.');
  printer_.printByte('B');
  EXPECT_EQ(room[0], '.');
  EXPECT_EQ(printer_.printFormat("%d", 12), 2);
  EXPECT_EQ(room[0], '.');
  printer_.printBytes(hex("3F").data(), 1);
  EXPECT_EQ(room[0], '.');
  EXPECT_EQ(out_.text(), "SB12?") << "the others get everything";

  printer_.getOutputStreams() = {out_.get(), torn};
  EXPECT_EQ(printer_.printFormat("%d", 345), 3) << "of the last stream that was written to";
  std::fclose(torn);
}

TEST_F(PrinterOutputTest, StreamsStayOpenWhenThePrinterIsGone) {
  {
    ReceiptEpPrinter printer;
    printer.getOutputStreams() = {out_.get()};
    printer.printStr("first");
  }
  std::fputs(" second", out_.get());
  EXPECT_EQ(out_.text(), "first second");
}

}  // namespace
