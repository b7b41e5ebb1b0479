# SPDX-License-Identifier: Apache-2.0
"""The lines of a whole job on standard error, word for word."""
import re
import socket
import subprocess

import cups_raster
import filter_case
import ppd_text
from filter_case import FilterCase

POINTER = "(?:0x)?[0-9a-f]+"
NULL_POINTER = r"(?:\(nil\)|0x0)"


class LogTest(FilterCase):
    def assert_lines(self, got: list[str], want: str) -> None:
        """Compares line by line; <pointer>, <number> and <null> stand for addresses."""
        patterns = []
        for line in want.splitlines():
            pattern = re.escape(line).replace("<pointer>", POINTER)
            patterns.append(pattern.replace("<null>", NULL_POINTER).replace("<number>", r"\d+"))
        for number, (line, pattern) in enumerate(zip(got, patterns), start=1):
            self.assertRegex(line, f"^{pattern}$", f"line {number}")
        self.assertEqual(len(got), len(patterns), got[len(patterns):])

    def test_classic_page(self) -> None:
        # Blank rows are counted on rows of 8 bytes that lie the picture's width, 6, apart.
        page = cups_raster.page(6, 4, bytes(12) + b"\xff" * 4 + bytes(16), cupsBytesPerLine=8,
                                NumCopies=2)
        outcome = self.run_pages(page)
        self.assertEqual(outcome.status, 0)
        self.assertTrue(outcome.stderr.endswith("\n"))
        self.assert_lines(outcome.lines, """\
DEBUG:PAGE: 1 2
DEBUG:Calc skip pixels : maxMediaLinePixels(0), cupsBytesPerLine(8)
DEBUG:printImage: Start processing image, input width: 6, height: 4, bytes per line: 8
DEBUG:printImage: Memory allocated successfully, size: 32 bytes
DEBUG:printImage: Removal of bottom blank edges detected, number of bottom blank lines: 3
DEBUG:printImage: Removal of top blank edges detected, number of top blank lines: 0
DEBUG:printImage: Saving original image, file path will be generated based on time
DEBUG:printImage: Memory for processing result allocated successfully, size: 32 bytes
DEBUG:PageProcess: QZ dithering is disabled
DEBUG:PageProcess: Successfully created PaletteImage from array with stride 8
DEBUG:PageProcess: Applied default dithering and increased bit depth
DEBUG:PageProcess: negativePrint_ 0
DEBUG:PageProcess: Filled the output buffer with processed pixels, length: 32
DEBUG:printImage: Adjusted image height to 3, pointer offset by 0 bytes
DEBUG:printImage: Processed image information - pointer address: <number>, width: 8, height: 4, \
bytes per line: 6, number of top blank lines: 0, number of bottom blank lines: 3, \
adjusted height: 3
DEBUG:printImage: Saving processed image, file path will be generated based on time
DEBUG:printImage: Starting to print the processed image
DEBUG:GrayToMono, bpl(8), h(4), skipPixels(0), wb(8)
DEBUG:printImage: Freed the allocated memory, address: <null>
DEBUG:printImage: Freed the memory for processing result, address: <pointer>
DEBUG:printImage: Image processing completed
DEBUG:Ready to print.
""")

    def test_job_of_two_tattoo_pages(self) -> None:
        ppd = ppd_text.ppd_text(
            {"docCutType": "1", "HalftoneType": "Tattoo_X8", "Brightness": ("-3", "20"),
             "RecordPrinterCommands": "1"},
            {"MaxMediaWidth": "3", "dravFilterOutputFile": "cmds"})
        inked = cups_raster.grey([bytes(17)] * 2 + [b"\xc8" * 17] * 2 + [bytes(17)])
        blank = cups_raster.grey([bytes(12)] * 3)
        outcome = self.run_pages(inked, blank, ppd=ppd)
        self.assertEqual(outcome.status, 0)
        self.assert_lines(outcome.lines, """\
DEBUG:getOptionChoiceIndex: docCutType = 1
DEBUG:Filter data output to: cmds-<number>.bin
DEBUG:PAGE: 1 1
DEBUG:Calc skip pixels : maxMediaLinePixels(12), cupsBytesPerLine(17)
WARN:drav: page 1: ink lost at the right: 0.2 mm, 11.8 % of the ink
DEBUG:printImage: Start processing image, input width: 17, height: 5, bytes per line: 17
DEBUG:printImage: Memory allocated successfully, size: 85 bytes
DEBUG:printImage: Removal of bottom blank edges detected, number of bottom blank lines: 4
DEBUG:printImage: Removal of top blank edges detected, number of top blank lines: 1
DEBUG:printImage: Saving original image, file path will be generated based on time
DEBUG:printImage: Memory for processing result allocated successfully, size: 85 bytes
DEBUG:PageProcess: QZ dithering is enabled
DEBUG:PageProcess: Successfully created PaletteImage from array with stride 17
DEBUG:PageProcess: Adjusted brightness to -15 and contrast to 0
DEBUG:PageProcess: Copied pixels to the output buffer for QZ dithering, with stride 17, EffWidth 20
DEBUG:PageProcess: Applied QZ dithering with stride 20, width 17
DEBUG:PageProcess: Successfully created a new PaletteImage from QZ dithered data
DEBUG:PageProcess: negativePrint_ 0
DEBUG:PageProcess: Filled the output buffer with processed pixels, length: 100
DEBUG:printImage: Adjusted image height to 3, pointer offset by 17 bytes
DEBUG:printImage: Processed image information - pointer address: <number>, width: 17, height: 5, \
bytes per line: 17, number of top blank lines: 1, number of bottom blank lines: 4, \
adjusted height: 3
DEBUG:printImage: Saving processed image, file path will be generated based on time
DEBUG:printImage: Starting to print the processed image
DEBUG:GrayToMono, bpl(20), h(5), skipPixels(5), wb(15)
DEBUG:printImage: Freed the allocated memory, address: <null>
DEBUG:printImage: Freed the memory for processing result, address: <pointer>
DEBUG:printImage: Image processing completed
DEBUG:PAGE: 2 1
DEBUG:Calc skip pixels : maxMediaLinePixels(12), cupsBytesPerLine(12)
DEBUG:printImage: Start processing image, input width: 12, height: 3, bytes per line: 12
DEBUG:printImage: Memory allocated successfully, size: 36 bytes
DEBUG:printImage: Removal of bottom blank edges detected, number of bottom blank lines: 0
DEBUG:printImage: Removal of top blank edges detected, number of top blank lines: 3
DEBUG:printImage: Saving original image, file path will be generated based on time
DEBUG:printImage: Memory for processing result allocated successfully, size: 36 bytes
DEBUG:PageProcess: QZ dithering is enabled
DEBUG:PageProcess: Successfully created PaletteImage from array with stride 12
DEBUG:PageProcess: Adjusted brightness to -15 and contrast to 0
DEBUG:PageProcess: Copied pixels to the output buffer for QZ dithering, with stride 12, EffWidth 12
DEBUG:PageProcess: Applied QZ dithering with stride 12, width 12
DEBUG:PageProcess: Successfully created a new PaletteImage from QZ dithered data
DEBUG:PageProcess: negativePrint_ 0
DEBUG:PageProcess: Filled the output buffer with processed pixels, length: 36
DEBUG:printImage: Processed image information - pointer address: <number>, width: 12, height: 3, \
bytes per line: 12, number of top blank lines: 3, number of bottom blank lines: 0, \
adjusted height: 3
DEBUG:printImage: Saving processed image, file path will be generated based on time
DEBUG:printImage: Starting to print the processed image
DEBUG:GrayToMono, bpl(12), h(3), skipPixels(0), wb(12)
DEBUG:printImage: Freed the allocated memory, address: <null>
DEBUG:printImage: Freed the memory for processing result, address: <pointer>
DEBUG:printImage: Image processing completed
DEBUG:Ready to print.
""")

    def test_job_without_pages(self) -> None:
        outcome = self.run_filter(b"")
        self.assertEqual(outcome.stderr, "ERROR:No pages found!\n")

    def test_each_line_is_written_as_a_whole(self) -> None:
        # Converters and backend write into the same pipe, between our writes.
        path = self.write("page.ras", cups_raster.stream([filter_case.DOTS_PAGE]))
        reader, writer = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        with reader, writer:
            with writer:
                status = subprocess.run(
                    self.arguments("", "1", str(path)), executable=filter_case.filter_path(),
                    stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=writer.fileno(),
                    env=self.environment(ppd_text.ppd_text({"docCutType": "1"})), check=False,
                    timeout=filter_case.TIMEOUT).returncode
            self.assertEqual(status, 0)
            writes = []
            while write := reader.recv(65536):
                writes.append(write)
        self.assertGreater(len(writes), 20)
        for write in writes:
            self.assertTrue(write.endswith(b"\n") and write.count(b"\n") == 1, write)
            self.assertTrue(write.startswith(b"DEBUG:"), write)

    def test_unsupported_page(self) -> None:
        page = cups_raster.page(8, 1, bytes(2), cupsBitsPerPixel=16, cupsBytesPerLine=16)
        outcome = self.run_pages(page)
        self.assertEqual(outcome.stderr, "ERROR:Unsupported bits per pixel : 16 ! "
                         "Requires 8 bits per pixel!\n")


if __name__ == "__main__":
    filter_case.main()
