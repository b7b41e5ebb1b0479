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
        return self.print_each([(path, options) for options in jobs])

    def print_each(self, documents_and_options: list[tuple[pathlib.Path, Options]]
                   ) -> list[Checked]:
        """All jobs over several queues at once; each is checked against the model."""
        queues = [self.queue() for _ in range(QUEUES)]
        jobs = [options for _, options in documents_and_options]
        numbers = [self.submit(queues[i % QUEUES], path, options)
                   for i, (path, options) in enumerate(documents_and_options)]
        received = [queues[i % QUEUES].printer.wait_jobs(i // QUEUES + 1)[i // QUEUES].data
                    for i in range(len(jobs))]

        def check(i: int) -> Checked:
            return self.check(queues[i % QUEUES], numbers[i], received[i], jobs[i])

        with concurrent.futures.ThreadPoolExecutor(MODELS) as pool:
            return list(pool.map(check, range(len(jobs))))

    def raster_of(self, document: pathlib.Path) -> pathlib.Path:
        """The small page as the converters hand it to the filter."""
        queue = self.queue()
        job = self.submit(queue, document, SMALL_PAGE)
        received = queue.printer.wait_jobs(1)
        self.cups.wait_job(job)
        path = self.folder / "page.ras"
        path.write_bytes((self.cups.tap / f"{queue.name}-{job}.ras").read_bytes())
        self.check(queue, job, received[0].data, SMALL_PAGE)
        return path

    def test_every_value(self) -> None:
        """The last value of an option with a document; the converters do not know the option,
        so the others come with a page that is there, unless they change the paper."""
        jobs: list[tuple[pathlib.Path, Options]] = []
        keys: list[str] = []
        document = documents.marked_pdf(self.folder / "mark.pdf", 40, 20, 3)
        raster = self.raster_of(document)
        for option in driver_file.OPTIONS:
            *others, last = self.driver.choices(option)
            for value in (*others, last):
                chosen = {**SMALL_PAGE, "HalftoneType": "Ordered",
                          **COMPANIONS.get(option, {}), option: value}
                changes_paper = chosen["PageSize"] != driver_file.SMALL
                jobs.append((document if value == last or changes_paper else raster, chosen))
                keys.append(option)
        self.assertGreater(len(jobs), 100)
        streams: dict[str, list[bytes]] = collections.defaultdict(list)
        for option, checked in zip(keys, self.print_each(jobs), strict=True):
            streams[option].append(b"".join(item.data for item in checked.stream.items))
        for option, sent in streams.items():
            # No value is taken for another.
            self.assertEqual(len(set(sent)), STREAMS.get(option, len(sent)), option)

    def test_every_halftone_on_a_photo(self) -> None:
        document = documents.photo_pdf(self.folder / "photo.pdf", 40, 20, 72)
        halftones = self.driver.choices("HalftoneType")
        self.assertEqual(len(halftones), 10)
        seen = set()
        for checked in self.print_all(document, [{**SMALL_PAGE, "HalftoneType": name}
                                                 for name in halftones]):
            self.assert_square(checked.stream.rows, checked.raster[0])
            seen.add(b"".join(checked.stream.rows))
        self.assertEqual(len(seen), 10)

    def test_blank_page_in_every_halftone(self) -> None:
        document = documents.blank_pdf(self.folder / "blank.pdf", 40, 20)
        for checked in self.print_all(document, [{**SMALL_PAGE, "HalftoneType": name}
                                                 for name in self.driver.choices("HalftoneType")]):
            self.assertGreater(len(checked.stream.rows), 230)
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
