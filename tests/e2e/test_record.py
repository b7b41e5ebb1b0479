# SPDX-License-Identifier: Apache-2.0
"""The command record: its name, its content, and records that cannot be had."""
import datetime
import os
import pathlib
import random
import re
import stat

import cups_raster
import escpos_stream
import filter_case
import ppd_text
import private_spool
from filter_case import DOTS_BAND, DOTS_PAGE, FilterCase, Outcome, dots_job


def record_ppd(prefix: str | None, choice: str = "1", **options: str) -> str:
    attributes = {} if prefix is None else {"dravFilterOutputFile": prefix}
    return ppd_text.ppd_text({"RecordPrinterCommands": (choice, "0", "1"), **options}, attributes)


def coming_seconds(count: int) -> list[datetime.datetime]:
    """This second and those after it, in the filter's time zone."""
    now = datetime.datetime.now(filter_case.LOCAL)
    return [now + datetime.timedelta(seconds=number) for number in range(count)]


class RecordTest(FilterCase):
    def records(self) -> list[pathlib.Path]:
        return sorted(path for path in self.folder.rglob("*.bin"))

    def test_name_and_content(self) -> None:
        start = datetime.datetime.now(filter_case.LOCAL).replace(microsecond=0)
        ppd = record_ppd(f"{self.folder}/cmds", docCutType="2", PageBuzzerSetting="1")
        outcome = self.run_pages(DOTS_PAGE, DOTS_PAGE, ppd=ppd)
        end = datetime.datetime.now(filter_case.LOCAL)
        self.assertEqual((outcome.status, outcome.errors), (0, []))
        [record] = self.records()
        self.assertRegex(record.name, r"^cmds-\d{14}\.bin$")
        made = datetime.datetime.strptime(record.name, "cmds-%Y%m%d%H%M%S.bin")
        self.assertTrue(start <= made.replace(tzinfo=filter_case.LOCAL) <= end)
        self.assertEqual(record.read_bytes(), DOTS_BAND * 2)
        self.assertEqual(outcome.having("DEBUG:Filter data output to"),
                         [f"DEBUG:Filter data output to: {record}"])

    def test_holds_every_band_of_the_stream(self) -> None:
        rng = random.Random(5)
        pages = [cups_raster.grey([rng.randbytes(width) for _ in range(height)])
                 for width, height in ((300, 200), (37, 97), (800, 5))]
        outcome = self.run_pages(*pages, ppd=record_ppd("cmds", HalftoneType="Sierra"))
        bands = [item.data for item in self.decode(outcome).items if item.name == "band"]
        self.assertEqual(len(bands), 3 + 2 + 1)
        self.assertEqual(self.records()[0].read_bytes(), b"".join(bands))

    def test_same_print_with_and_without_it(self) -> None:
        self.assert_job(self.run_pages(DOTS_PAGE, ppd=record_ppd("cmds")), dots_job())

    def test_choices_of_0_and_below_make_none(self) -> None:
        for choice in ("0", "-1", "No"):
            with self.subTest(choice):
                outcome = self.run_pages(DOTS_PAGE, ppd=record_ppd("cmds", choice))
                self.assert_job(outcome, dots_job())
                self.assertEqual(self.records(), [])
                self.assertNotIn("Filter data output", outcome.stderr)

    def test_job_option(self) -> None:
        outcome = self.run_pages(DOTS_PAGE, ppd=record_ppd("cmds", "0"),
                                 options="RecordPrinterCommands=1")
        self.assert_job(outcome, dots_job())
        self.assertEqual(self.records()[0].read_bytes(), DOTS_BAND)

    def test_missing_prefix(self) -> None:
        for prefix in (None, ""):
            with self.subTest(prefix=prefix):
                self.assert_job(self.run_pages(DOTS_PAGE, ppd=record_ppd(prefix)), dots_job())
                [record] = self.records()
                self.assertEqual(record.parent, self.folder)
                self.assertRegex(record.name, r"^-\d{14}\.bin$")
                record.unlink()

    def test_job_without_pages(self) -> None:
        outcome = self.run_filter(b"", ppd=record_ppd("cmds"))
        self.assertEqual(outcome.status, 1)
        self.assertEqual(self.records()[0].read_bytes(), b"")

    def test_readable_by_its_owner_alone(self) -> None:
        for umask in (0, 0o22):
            outcome = self.run_filter(cups_raster.stream([DOTS_PAGE]), ppd=record_ppd("cmds"),
                                      umask=umask)
            self.assert_job(outcome, dots_job())
            [record] = self.records()
            self.assertEqual(stat.S_IMODE(record.stat().st_mode), 0o600)
            record.unlink()

    def assert_printed_without(self, ppd: str) -> Outcome:
        """One error line, and the job prints all the same."""
        outcome = self.run_pages(DOTS_PAGE, DOTS_PAGE, ppd=ppd)
        self.assertEqual(outcome.stdout, dots_job(2))
        self.assertEqual(outcome.status, 0)
        self.assertEqual(len(outcome.errors), 1, outcome.stderr)
        self.assertEqual(outcome.lines[-1], "DEBUG:Ready to print.")
        return outcome

    def test_that_cannot_be_opened(self) -> None:
        (self.folder / "file").write_bytes(b"")
        for prefix in ("/nonexistent/cmds", f"{self.folder}/file/cmds",
                       "\n".join(["a" * 150] * 2)):
            with self.subTest(prefix):
                outcome = self.assert_printed_without(record_ppd(prefix))
                self.assertEqual(len(outcome.having("DEBUG:Filter data output to: ")), 1)
                self.assertEqual(self.records(), [])

    def test_name_that_is_too_long(self) -> None:
        # Values may span lines, and so grow beyond what any path may have.
        for lines in (20, 60):
            with self.subTest(lines=lines):
                outcome = self.assert_printed_without(
                    record_ppd("\n".join(["b" * 200] * lines)))
                self.assertEqual(outcome.having("DEBUG:Filter data output to: "), [])
                self.assertEqual(self.records(), [])

    def test_name_is_never_cut_short(self) -> None:
        # Every folder exists: wherever a buffer ends, what is left could be opened.
        for folders in (0, 1, 3, 6, 12):
            prefix = "\n".join(["d" * 150 + "/"] * folders + ["r" * 150])
            (self.folder / prefix).parent.mkdir(parents=True, exist_ok=True)
            with self.subTest(characters=len(prefix)):
                outcome = self.run_pages(DOTS_PAGE, ppd=record_ppd(prefix))
                self.assertEqual((outcome.status, outcome.stdout), (0, dots_job()))
                made = [str(path.relative_to(self.folder)) for path in self.folder.rglob("*")
                        if path.is_file() and path.name != "printer.ppd"]
                if len(prefix) < 200 or made:
                    self.assertEqual(outcome.errors, [])
                    self.assertEqual(len(made), 1)
                    self.assertRegex(made[0], "^" + re.escape(prefix) + r"-\d{14}\.bin$")
                    (self.folder / made[0]).unlink()
                else:
                    self.assertEqual(len(outcome.errors), 1)

    def test_symbolic_link_is_not_followed(self) -> None:
        for target in (self.write("target", b"precious"), self.folder / "missing"):
            with self.subTest(target.name):
                for moment in coming_seconds(20):
                    link = self.folder / f"cmds-{moment:%Y%m%d%H%M%S}.bin"
                    link.symlink_to(target)
                self.assert_printed_without(record_ppd("cmds"))
                self.assertTrue(all(record.is_symlink() for record in self.records()))
                for record in self.records():
                    record.unlink()
        self.assertEqual((self.folder / "target").read_bytes(), b"precious")
        self.assertFalse((self.folder / "missing").exists())

    @private_spool.needs_mounts
    def test_full_disk(self) -> None:
        page = cups_raster.grey([b"\xff" * 800] * 96)  # 9,608 bytes of band
        bands = filter_case.band(100, b"\xff" * 9600)
        start, end = filter_case.ZEROS + filter_case.JOB_SETUP, filter_case.JOB_END
        disk = self.folder / "disk"
        disk.mkdir()
        for filler in (0, 4096):
            with self.subTest(filler=filler), private_spool.scratch_memory(disk, "size=4k"):
                (disk / "filler").write_bytes(bytes(filler))
                outcome = self.run_pages(page, page, page, ppd=record_ppd("disk/cmds"))
                self.assertEqual(outcome.stdout,
                                 start + (bands + filter_case.PAGE_END) * 3 + end)
                self.assertEqual(outcome.status, 0)
                self.assertEqual(len(outcome.errors), 1, outcome.stderr)
                self.assertEqual(outcome.lines[-1], "DEBUG:Ready to print.")
                [record] = self.records()
                self.assertTrue((bands * 3).startswith(record.read_bytes()))

    @private_spool.needs_mounts
    def test_disk_that_fills_up_at_the_end(self) -> None:
        disk = self.folder / "disk"
        disk.mkdir()
        with private_spool.scratch_memory(disk, "size=4k"):
            (disk / "filler").write_bytes(bytes(4096))
            self.assert_printed_without(record_ppd("disk/cmds"))

    def test_record_that_was_cut_off_by_a_failed_page(self) -> None:
        page = cups_raster.page(8, 1, b"\xff", cupsBitsPerColor=1, cupsBitsPerPixel=1,
                                cupsBytesPerLine=1)
        outcome = self.run_pages(DOTS_PAGE, page, ppd=record_ppd("cmds"))
        self.assertEqual(outcome.status, 1)
        [record] = self.records()
        self.assertEqual(len(escpos_stream.decode_bands(record.read_bytes()).rows), 1)

    def test_nothing_else_is_left_behind(self) -> None:
        self.run_pages(DOTS_PAGE, ppd=record_ppd("cmds"))
        [record] = self.records()
        self.assertEqual(sorted(os.listdir(self.folder)), sorted([record.name, "printer.ppd"]))


if __name__ == "__main__":
    filter_case.main()
