# SPDX-License-Identifier: Apache-2.0
"""Record and pictures together where nothing can be stored, and rasters that are cut off."""
import datetime
import os
import random
import re
import resource
import unittest
from collections.abc import Callable

import cups_raster
import filter_case
import ppd_text
import private_spool
from filter_case import SPOOL, FilterCase, Outcome

PAGES = [cups_raster.grey([bytes((x * y) % 256 for x in range(width))
                           for y in range(1, height + 1)])
         for width, height in ((400, 200), (104, 97), (240, 60))]
RASTER = cups_raster.stream(PAGES)
RECORD_PPD = ppd_text.ppd_text({"RecordPrinterCommands": "1", "HalftoneType": "Tattoo",
                                "docCutType": "1"}, {"dravFilterOutputFile": f"{SPOOL}/cmds"})


class StorageCase(FilterCase):
    """Everything that the filter stores goes to the spool's folder."""

    def setUp(self) -> None:
        super().setUp()
        outcome = self.job()
        self.assertEqual((outcome.status, outcome.errors), (0, []))
        self.whole = outcome.stdout
        self.files = self.stored()
        self.assertEqual(sorted(self.files), [*map(str, range(6)), "cmds"])
        self.clear_spool()

    def job(self, *, prepare: Callable[[], None] | None = None, named: bool = False) -> Outcome:
        if not named:
            return self.run_filter(RASTER, ppd=RECORD_PPD, prepare=prepare)
        path = self.write("job.ras", RASTER)
        return self.run_filter(b"", ppd=RECORD_PPD, prepare=prepare,
                               arguments=self.arguments("", "1", str(path)))

    def stored(self) -> dict[str, bytes]:
        """The files by what they are: the record as "cmds", a picture by its counter."""
        out = {}
        for path in private_spool.own_files():
            found = re.fullmatch(r"(cmds)-\d{14}\.bin|(?:origin|dithered)_[-_0-9]+_(\d+)\.bmp",
                                 path.name)
            if path.name != "filler":
                assert found is not None, f"unexpected file {path}"
                out[found[1] or found[2]] = path.read_bytes()
        return out

    def assert_printed(self, outcome: Outcome) -> None:
        self.assertEqual(outcome.stdout, self.whole)
        self.assertEqual(outcome.status, 0)
        self.assertEqual(outcome.lines[-1], "DEBUG:Ready to print.")

    def saves_refused(self, outcome: Outcome) -> int:
        return len(outcome.having(f"DravPrinter::saveImage: unable to open the file {SPOOL}/"))

    def assert_nothing_elsewhere(self) -> None:
        allowed = {"printer.ppd", "job.ras"}
        self.assertEqual([name for name in os.listdir(self.folder) if name not in allowed], [])


class FullTest(StorageCase):
    @private_spool.needs_mounts
    def test_file_system_of_any_size(self) -> None:
        cut_short = set()
        for kib in range(4, 260, 12):
            with self.subTest(kib=kib), private_spool.scratch_memory(SPOOL, f"size={kib}k"):
                outcome = self.job()
                self.assert_printed(outcome)
                stored = self.stored()
                self.assertEqual(sorted(stored), sorted(self.files))
                for name, content in stored.items():
                    self.assertTrue(self.files[name].startswith(content), name)
                    if content != self.files[name]:
                        cut_short.add(name)
                failed = stored["cmds"] != self.files["cmds"]
                self.assertEqual(len(outcome.errors), int(failed), outcome.errors)
                if failed:
                    self.assertRegex(outcome.errors[0], "^ERROR:Unable to write to command "
                                     rf"record file {SPOOL}/cmds-\d+\.bin!$")
                self.assertEqual(self.saves_refused(outcome), 0)
        self.assertEqual(cut_short, set(self.files))
        self.assert_nothing_elsewhere()

    @private_spool.needs_mounts
    def test_no_room_at_all(self) -> None:
        with private_spool.scratch_memory(SPOOL, "size=4k"):
            (SPOOL / "filler").write_bytes(bytes(4096))
            outcome = self.job()
            self.assertEqual(set(self.stored().values()), {b""})
        self.assert_printed(outcome)
        self.assertEqual(len(outcome.errors), 1)

    @private_spool.needs_mounts
    def test_no_further_file(self) -> None:
        # The folder and one more take up the inodes.
        with private_spool.scratch_memory(SPOOL, "size=1m,nr_inodes=2"):
            outcome = self.job()
            self.assertEqual(self.stored(), {"cmds": self.files["cmds"]})
        self.assert_printed(outcome)
        self.assertEqual(outcome.errors, [])
        self.assertEqual(self.saves_refused(outcome), 6)


class ReadOnlyTest(StorageCase):
    @private_spool.needs_mounts
    def test_read_only_file_system(self) -> None:
        with private_spool.scratch_memory(SPOOL, "ro,size=1m"):
            outcome = self.job()
            self.assertEqual(self.stored(), {})
        self.assert_printed(outcome)
        self.assertEqual(len(outcome.errors), 1)
        self.assertRegex(outcome.errors[0],
                         rf"^ERROR:Unable to open command record file {SPOOL}/cmds-\d+\.bin!$")
        self.assertEqual(self.saves_refused(outcome), 6)
        self.assert_nothing_elsewhere()


@unittest.skipIf(filter_case.SANITIZED, "sanitizers need descriptors of their own")
class DescriptorTest(StorageCase):
    """Descriptors beyond the standard three; the loader of libraries needs the first."""

    def granted(self, count: int, named: bool = False) -> Outcome:
        limit = 3 + count
        self.clear_spool()
        return self.job(named=named, prepare=lambda: resource.setrlimit(
            resource.RLIMIT_NOFILE, (limit, limit)))

    def test_raster_on_standard_input(self) -> None:
        outcome = self.granted(1)
        self.assert_printed(outcome)
        self.assertEqual(self.stored(), {"cmds": self.files["cmds"]})
        self.assertEqual(outcome.errors, [])
        self.assertEqual(self.saves_refused(outcome), 6)
        outcome = self.granted(2)
        self.assert_printed(outcome)
        self.assertEqual(self.stored(), self.files)
        self.assertEqual((outcome.errors, self.saves_refused(outcome)), ([], 0))

    def test_raster_in_a_file(self) -> None:
        outcome = self.granted(1, named=True)
        self.assert_failed(outcome, b"", "Unable to open PPD file")
        self.assertEqual(self.stored(), {})
        outcome = self.granted(2, named=True)
        self.assert_printed(outcome)
        self.assertEqual(self.stored(), {"cmds": self.files["cmds"]})
        outcome = self.granted(3, named=True)
        self.assert_printed(outcome)
        self.assertEqual(self.stored(), self.files)
        self.assert_nothing_elsewhere()


class LinkTest(StorageCase):
    def test_links_to_files_of_others_under_every_name(self) -> None:
        """Symbolic and hard links lie under the names of the next twenty seconds."""
        target = self.write("precious", b"precious")
        now = datetime.datetime.now(filter_case.LOCAL)
        names = []
        for second in range(-1, 20):
            moment = now + datetime.timedelta(seconds=second)
            stamp = (f"{moment.year}-{moment.month}-{moment.day}_{moment.hour}_{moment.minute}"
                     f"_{moment.second}")
            names += [f"{'dithered' if number % 2 else 'origin'}_{stamp}_{number}.bmp"
                      for number in range(6)]
            names.append(f"cmds-{moment:%Y%m%d%H%M%S}.bin")
        inside = SPOOL / "filler"
        inside.write_bytes(b"precious")
        for number, name in enumerate(names):
            path = SPOOL / name
            if number % 2:
                path.symlink_to(target)
            else:
                os.link(inside, path)
        outcome = self.job()
        self.assert_printed(outcome)
        self.assertEqual(len(outcome.errors), 1)
        self.assertEqual(self.saves_refused(outcome), 6)
        self.assertEqual((target.read_bytes(), inside.read_bytes()), (b"precious", b"precious"))
        self.assertEqual(len(private_spool.own_files()), len(names) + 1)
        target.unlink()
        self.assert_nothing_elsewhere()


class CutRasterTest(FilterCase):
    """A stream of any form that ends at a random byte, in a whole run of the filter."""

    def test_random_cuts(self) -> None:
        rng = random.Random(77)
        ppd = ppd_text.ppd_text({"PageBuzzerSetting": "1", "BuzzerOnTime": "3",
                                 "BuzzerRepeat": "2", "docCutType": "1"})
        page_start = bytes.fromhex("1B420203")
        start = filter_case.ZEROS + filter_case.JOB_SETUP
        end = filter_case.PARTIAL_CUT + filter_case.JOB_END
        whole = self.run_filter(RASTER, ppd=ppd).stdout
        self.assertEqual(len(self.pictures()), 2 * len(PAGES))
        ends = [match.end() for match in re.finditer(re.escape(filter_case.PAGE_END), whole)]
        self.assertEqual(len(ends), len(PAGES))
        for number in range(60):
            version, order = 1 + number % 3, cups_raster.BYTE_ORDERS[number % 2]
            parts = [cups_raster.page_bytes(page, version, order) for page in PAGES]
            raster = cups_raster.stream(PAGES, version, order)
            cut = rng.randrange(len(raster))
            with self.subTest(version=version, order=order, cut=cut):
                at, done = 4, 0
                while cut >= at + len(parts[done]):
                    at += len(parts[done])
                    done += 1
                begun = cut >= at + cups_raster.HEADER_SIZES[version]
                self.clear_spool()
                outcome = self.run_filter(raster[:cut], ppd=ppd)
                printed = whole[:ends[done - 1]] if done else start
                if not done and not begun:
                    self.assert_failed(outcome, start, "No pages found!")
                else:
                    self.assert_job(outcome, printed + page_start * begun + end)
                self.decode(outcome)
                self.assertEqual(len(self.pictures()), 2 * done)


if __name__ == "__main__":
    filter_case.main()
