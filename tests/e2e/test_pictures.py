# SPDX-License-Identifier: Apache-2.0
"""The two diagnostic pictures a page: names, bytes, modes, and folders that refuse them."""
import datetime
import os
import pathlib
import re
import stat
import struct

import cups_raster
import filter_case
import ppd_text
import private_spool
from filter_case import DOTS_PAGE, SPOOL, FilterCase, Outcome, dots_job

RAMP = b"".join(bytes([i, i, i, 0]) for i in range(256))


def picture(width: int, height: int, pixels: bytes) -> bytes:
    """The whole file: a row is declared as padded to 4 bytes, the pixels follow as they lie."""
    size = (width + 3) // 4 * 4 * height
    return struct.pack("<2sIHHIIiiHHIIiiII", b"BM", 1078 + size, 0, 0, 1078, 40, width, height,
                       1, 8, 0, size, 0, 0, 256, 256) + RAMP + pixels


def name_of(kind: str, moment: datetime.datetime, counter: int) -> str:
    return (f"{kind}_{moment.year}-{moment.month}-{moment.day}_{moment.hour}_{moment.minute}"
            f"_{moment.second}_{counter}.bmp")


class ContentTest(FilterCase):
    def test_page_of_8_by_1(self) -> None:
        self.assert_job(self.run_pages(DOTS_PAGE), dots_job())
        origin, dithered = self.pictures().values()
        self.assertEqual(origin.read_bytes(), picture(8, 1, b"\xff" * 8))
        self.assertEqual(dithered.read_bytes(), picture(8, 1, b"\1" * 8))

    def test_pixels_are_written_without_row_padding(self) -> None:
        # Declared as 24 bytes of pixels, of which 20 follow. The finished page has rows
        # of 12 in memory, so that its second row is cut short and comes two late.
        rows = [bytes([0, 255] * 5), bytes([255] * 10)]
        self.assertEqual(self.run_pages(cups_raster.grey(rows)).status, 0)
        origin, dithered = (path.read_bytes() for path in self.pictures().values())
        self.assertEqual(origin, picture(10, 2, b"".join(rows)))
        self.assertEqual(struct.unpack_from("<I", origin, 2), (1102,))
        self.assertEqual(struct.unpack_from("<I", origin, 34), (24,))
        self.assertEqual(len(origin), 1098)
        self.assertEqual(dithered, picture(10, 2, b"\0\1" * 5 + b"\0\0" + b"\1" * 8))

    def test_tattoo_stencil_is_black_and_white(self) -> None:
        page = cups_raster.grey([bytes([0, 36, 72, 109, 145, 182, 218, 255])] * 8)
        outcome = self.run_pages(page, ppd=ppd_text.ppd_text({"HalftoneType": "Tattoo"}))
        self.assertEqual(outcome.status, 0)
        origin, dithered = (path.read_bytes() for path in self.pictures().values())
        self.assertEqual(origin, picture(8, 8, page.pixels))
        rows = "xxxooooo xxxxoooo xxxooooo xxxooooo xxxooooo xxxxoooo xxxooooo xxxooooo"
        pixels = bytes(255 if dot == "o" else 0 for dot in rows.replace(" ", ""))
        self.assertEqual(dithered, picture(8, 8, pixels))

    def test_input_is_saved_before_brightness(self) -> None:
        page = cups_raster.grey([bytes(range(0, 256, 2))])
        self.run_pages(page, ppd=ppd_text.ppd_text({"Brightness": "20"}))
        self.assertEqual(self.pictures()[0].read_bytes(), picture(128, 1, page.pixels))

    def test_picture_narrower_than_its_rows(self) -> None:
        page = cups_raster.page(6, 2, bytes(range(1, 33)), cupsBytesPerLine=16)
        self.assertEqual(self.run_pages(page).status, 0)
        self.assertEqual(self.pictures()[0].read_bytes(), picture(6, 2, bytes(range(1, 13))))


class NameTest(FilterCase):
    def test_two_a_page_numbered_through_the_job(self) -> None:
        start = datetime.datetime.now(filter_case.LOCAL).replace(microsecond=0)
        self.assert_job(self.run_pages(*[DOTS_PAGE] * 3), dots_job(3))
        end = datetime.datetime.now(filter_case.LOCAL)
        pictures = self.pictures()
        self.assertEqual(list(pictures), [0, 1, 2, 3, 4, 5])
        for counter, path in pictures.items():
            found = re.fullmatch(r"([a-z]+)_(\d+)-(\d+)-(\d+)_(\d+)_(\d+)_(\d+)_\d+\.bmp",
                                 path.name)
            assert found is not None
            self.assertEqual(found[1], "dithered" if counter % 2 else "origin")
            moment = datetime.datetime(*(int(found[i]) for i in range(2, 8)),
                                       tzinfo=filter_case.LOCAL)
            self.assertTrue(start <= moment <= end, path.name)
            self.assertEqual(path.name, name_of(found[1], moment, counter))

    def test_readable_by_their_owner_alone(self) -> None:
        for umask in (0, 0o22):
            self.run_filter(cups_raster.stream([DOTS_PAGE]), umask=umask)
            modes = [stat.S_IMODE(path.stat().st_mode) for path in self.pictures().values()]
            self.assertEqual(modes, [0o600, 0o600])
            self.clear_spool()


class RefusedTest(FilterCase):
    """A picture that cannot be saved is reported, and the page prints."""

    def in_waiting(self, kind: str, counter: int) -> list[pathlib.Path]:
        """The names that a picture may get within the next seconds."""
        now = datetime.datetime.now(filter_case.LOCAL)
        return [SPOOL / name_of(kind, now + datetime.timedelta(seconds=number), counter)
                for number in range(20)]

    def assert_reported(self, outcome: Outcome, *patterns: str) -> None:
        self.assert_job(outcome, dots_job(len(outcome.having("DEBUG:PAGE:"))))
        lines = [line for line in outcome.lines if "saveImage" in line]
        self.assertEqual(len(lines), len(patterns), lines)
        for line, pattern in zip(lines, patterns):
            self.assertRegex(line, "^DravPrinter::saveImage: unable to open the file "
                             rf"{SPOOL}/{pattern}\.bmp$")

    def test_symbolic_link_is_not_followed(self) -> None:
        for target in (self.write("target", b"precious"), self.folder / "missing"):
            with self.subTest(target.name):
                for path in self.in_waiting("origin", 0):
                    path.symlink_to(target)
                self.assert_reported(self.run_pages(DOTS_PAGE), "origin_[-_0-9]+_0")
                [picture_file] = [path for path in private_spool.own_files()
                                  if path.name.startswith("dithered")]
                self.assertTrue(picture_file.name.endswith("_1.bmp"))
                self.assertTrue(all(path.is_symlink() for path in private_spool.own_files()
                                    if path != picture_file))
                self.clear_spool()
        self.assertEqual((self.folder / "target").read_bytes(), b"precious")
        self.assertFalse((self.folder / "missing").exists())

    def test_older_picture_of_the_same_name_is_replaced(self) -> None:
        waiting = self.in_waiting("origin", 0)
        for path in waiting:
            path.write_bytes(bytes(5000))
        self.assert_job(self.run_pages(DOTS_PAGE), dots_job())
        new = [path.read_bytes() for path in waiting if path.read_bytes() != bytes(5000)]
        self.assertEqual(new, [picture(8, 1, b"\xff" * 8)])

    def test_pipe_in_waiting_does_not_hold_up_the_job(self) -> None:
        for path in self.in_waiting("origin", 0):
            os.mkfifo(path)
        outcome = self.run_pages(cups_raster.grey([b"\xff" * 800] * 96))  # above a pipe's capacity
        band = filter_case.band(100, b"\xff" * 9600)
        self.assert_job(outcome, filter_case.ZEROS + filter_case.JOB_SETUP + band
                        + filter_case.PAGE_END + filter_case.JOB_END)

    @private_spool.needs_mounts
    def test_folder_that_cannot_be_written(self) -> None:
        with private_spool.scratch_memory(SPOOL, "ro,size=64k"):
            outcome = self.run_pages(DOTS_PAGE, DOTS_PAGE)
            self.assertEqual(os.listdir(SPOOL), [])
        self.assert_reported(outcome, "origin_[-_0-9]+_0", "dithered_[-_0-9]+_1",
                             "origin_[-_0-9]+_2", "dithered_[-_0-9]+_3")

    @private_spool.needs_mounts
    def test_full_disk(self) -> None:
        with private_spool.scratch_memory(SPOOL, "size=4k"):
            (SPOOL / "filler").write_bytes(bytes(4096))
            outcome = self.run_pages(DOTS_PAGE, DOTS_PAGE)
        self.assert_reported(outcome)


if __name__ == "__main__":
    filter_case.main()
