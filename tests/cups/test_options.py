# SPDX-License-Identifier: Apache-2.0
"""Every option of the driver at each of its values, through the scheduler."""
import collections
import concurrent.futures
import pathlib

import cups_case
import documents
import driver_file
import escpos_stream
import private_spool
from cups_case import Checked, CupsCase, Options

SMALL_PAGE = {"PageSize": driver_file.SMALL}
QUEUES = 4   # jobs of one queue follow each other, so this many run at a time
MODELS = 2   # runs of the model at a time

# What an option needs besides, to have anything to say.
COMPANIONS: dict[str, Options] = {
    "BuzzerOnTime": {"DocumentBuzzerSetting": "1"},
    "BuzzerRepeat": {"PageBuzzerSetting": "2"},
    "DocTopLogoMode": {"DocTopLogoID": "1"},
    "DocTopLogoPosition": {"DocTopLogoID": "2"},
    "DocBottomLogoMode": {"DocBottomLogoID": "1"},
    "DocBottomLogoPosition": {"DocBottomLogoID": "2"},
    "PageSize": {"HalftoneType": "None"},
    "PaperFrame": {"PageSize": "Tattoo_A6", "HalftoneType": "None"},
}
# How many streams the values of an option give, where it is not one for each: the printer is
# not told of the first ones, and Tattoo_A6 has room for the frames 1 and 2.
STREAMS = {"PageType": 1, "RecordPrinterCommands": 1, "KeepPictures": 1, "PaperFrame": 3}


class OptionsTest(CupsCase):
    def setUp(self) -> None:
        super().setUp()
        self.driver = self.driver.with_small_page()

    def print_all(self, path: pathlib.Path, jobs: list[Options]) -> list[Checked]:
        """All jobs over several queues at once; each is checked against the model."""
        queues = [self.queue() for _ in range(QUEUES)]
        numbers = [self.submit(queues[i % QUEUES], path, options)
                   for i, options in enumerate(jobs)]
        received = [queues[i % QUEUES].printer.wait_jobs(i // QUEUES + 1)[i // QUEUES].data
                    for i in range(len(jobs))]

        def check(i: int) -> Checked:
            return self.check(queues[i % QUEUES], numbers[i], received[i], jobs[i])

        with concurrent.futures.ThreadPoolExecutor(MODELS) as pool:
            return list(pool.map(check, range(len(jobs))))

    def test_every_value(self) -> None:
        jobs: list[Options] = []
        keys: list[str] = []
        for option in driver_file.OPTIONS:
            for value in self.driver.choices(option):
                jobs.append({**SMALL_PAGE, "HalftoneType": "Ordered",
                             **COMPANIONS.get(option, {}), option: value})
                keys.append(option)
        self.assertGreater(len(jobs), 100)
        document = documents.marked_pdf(self.folder / "mark.pdf", 40, 20, 3)
        streams: dict[str, list[bytes]] = collections.defaultdict(list)
        for option, checked in zip(keys, self.print_all(document, jobs), strict=True):
            streams[option].append(b"".join(item.data for item in checked.stream.items))
        for option, sent in streams.items():
            # No value is taken for another.
            self.assertEqual(len(set(sent)), STREAMS.get(option, len(sent)), option)

    def test_every_halftone_on_a_photo(self) -> None:
        document = documents.photo_pdf(self.folder / "photo.pdf", 80, 200, 72)
        halftones = self.driver.choices("HalftoneType")
        self.assertEqual(len(halftones), 10)
        seen = set()
        for checked in self.print_all(document, [{"PageSize": "X80MMY200MM", "HalftoneType": name}
                                                 for name in halftones]):
            self.assert_square(checked.stream.rows, checked.raster[0])
            seen.add(b"".join(checked.stream.rows))
        self.assertEqual(len(seen), 10)

    def test_blank_page_in_every_halftone(self) -> None:
        document = documents.blank_pdf(self.folder / "blank.pdf", 80, 200)
        for checked in self.print_all(document, [{"PageSize": "X80MMY200MM", "HalftoneType": name}
                                                 for name in self.driver.choices("HalftoneType")]):
            self.assertGreater(len(checked.stream.rows), 2300)
            self.assertFalse(any(any(row) for row in checked.stream.rows))

    def test_defaults_of_the_queue(self) -> None:
        document = documents.marked_pdf(self.folder / "mark.pdf", 40, 20, 4)
        queue = self.queue()
        self.cups.run("lpadmin", "-p", queue.name, "-o", "docCutType=2", "-o", "PrintDensity=3",
                      "-o", "HalftoneType=Sierra", "-o", f"PageSize={driver_file.SMALL}",
                      "-o", "Brightness=-10")
        changed = cups_case.Queue(queue.name, driver_file.DriverFile.load(queue.ppd), queue.ppd,
                                  queue.printer)
        self.assertEqual(changed.driver.default("docCutType"), "2")
        checked = self.print_and_check(changed, document)
        self.assertEqual(checked.settings["halftoneName"], "Sierra")
        self.assertIn("full cut", checked.stream.names())

    def test_record(self) -> None:
        document = documents.marked_pdf(self.folder / "mark.pdf", 40, 20, 5, pages=2)
        elsewhere = self.driver.with_attribute("dravFilterOutputFile", f"{self.cups.tap}/kept")
        for driver, folder, stem in ((self.driver, private_spool.SPOOL, "drav"),
                                     (elsewhere, self.cups.tap, "kept")):
            for choice, records in (("0", 0), ("1", 1)):
                with self.subTest(stem, choice=choice):
                    checked = self.print_and_check(self.queue(driver), document,
                                                   {**SMALL_PAGE, "RecordPrinterCommands": choice})
                    found = list(folder.glob(f"{stem}-*.bin"))
                    self.assertEqual(len(found), records)
                    for path in found:
                        self.assertEqual(escpos_stream.decode_bands(path.read_bytes()).rows,
                                         checked.stream.rows)
                        path.unlink()

    def test_printable_widths(self) -> None:
        document = documents.marked_pdf(self.folder / "mark.pdf", 40, 20, 6)
        widths = {}
        for points in (None, "50", "110", "113.2"):
            with self.subTest(points=points):
                driver = self.driver.with_attribute("MaxMediaWidth", points)
                checked = self.print_and_check(self.queue(driver), document, SMALL_PAGE)
                widths[points] = len(checked.stream.rows[0])
        # Of 472 columns, those within 208 dots (50 points), and so on, in whole bytes.
        self.assertEqual(widths, {None: 59, "50": 26, "110": 58, "113.2": 59})


if __name__ == "__main__":
    cups_case.main()
