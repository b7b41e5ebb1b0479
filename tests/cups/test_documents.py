# SPDX-License-Identifier: Apache-2.0
"""Documents of every kind through the scheduler's converters and the filter."""
import os
import pathlib
import stat
import subprocess
import unittest

import cups_case
import cups_raster
import documents
import driver_file
import escpos_stream
import private_cups
import private_spool
import raster_file
from cups_case import Checked, CupsCase
from driver_file import DriverFile

RECEIPT = {"PageSize": "X80MMY200MM"}


def dots(checked: Checked) -> int:
    return sum(int.from_bytes(row, "big").bit_count() for row in checked.stream.rows)


class DocumentsTest(CupsCase):
    def test_photo_on_a4(self) -> None:
        document = documents.photo_pdf(self.folder / "photo.pdf", 210, 297, 72)
        queue = self.queue()
        checked = self.print_and_check(queue, document, {"HalftoneType": "Ordered"})
        [page] = checked.raster
        self.assertEqual(page.header["cupsPageSizeName"], "A4")
        self.assertEqual(page.number("cupsColorSpace"), cups_raster.K)
        self.assertEqual(len(checked.stream.rows), page.number("cupsHeight"))
        self.assertIn(page.number("cupsHeight"), (3507, 3508))
        share = dots(checked) / (8 * cups_case.HEAD_BYTES * len(checked.stream.rows))
        self.assertTrue(0.2 < share < 0.8, share)
        self.assert_square(checked.stream.rows, page)

    def test_the_pictures_of_a_page_are_private(self) -> None:
        cups_case.clear_pictures()
        document = documents.marked_pdf(self.folder / "mark.pdf", 80, 200, 1)
        self.print_and_check(self.queue(), document, RECEIPT)
        pictures = sorted(private_spool.own_files())
        self.assertEqual([path.name.partition("_")[0] for path in pictures],
                         ["dithered", "origin"])
        for path in pictures:
            self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o600)
            self.assertEqual(path.owner(), private_cups.SPOOLER)

    def test_three_pages_of_text(self) -> None:
        document = documents.text_pdf(self.folder / "text.pdf", 80, 200, 3)
        checked = self.print_and_check(self.queue(), document, {**RECEIPT, "HalftoneType": "None"})
        pages = escpos_stream.page_rows(checked.stream)
        self.assertEqual(len(pages), 3)
        # Each page has five more lines of text than the one before.
        inked = [sum(any(row) for row in rows) for rows in pages]
        self.assertTrue(0 < inked[0] < inked[1] < inked[2], inked)
        for rows, page in zip(pages, checked.raster):
            self.assert_square(rows, page)

    def test_pictures(self) -> None:
        rows = documents.photo_rows(400, 300)
        source = documents.photo_pdf(self.folder / "photo.pdf", 60, 40, 100)
        queue = self.queue()
        for path in (documents.png(self.folder / "picture.png", rows),
                     documents.jpeg(self.folder / "picture.jpg", source, 100)):
            with self.subTest(path.suffix):
                checked = self.print_and_check(queue, path, {**RECEIPT, "HalftoneType": "Burkes"})
                [page] = checked.raster
                self.assertTrue(900 < page.number("cupsWidth") <= 945, page.header)
                self.assertGreater(dots(checked), 10000)

    def test_plain_text(self) -> None:
        path = self.folder / "note.txt"
        path.write_text("".join(f"{number:3} an order of plain text\n" for number in range(40)))
        checked = self.print_and_check(self.queue(), path, {**RECEIPT, "HalftoneType": "None"})
        self.assertGreater(dots(checked), 10000)

    def test_picture_wider_than_the_head(self) -> None:
        rows = documents.photo_rows(2600, 150) * 20  # portrait, else it is turned
        path = documents.png(self.folder / "wide.png", rows)
        queue = self.queue()
        for options in ({"PageSize": "Letter"}, {"PageSize": "A4"}):
            with self.subTest(**options):
                checked = self.print_and_check(queue, path, {**options, "HalftoneType": "Sierra"})
                self.assertGreater(checked.raster[0].number("cupsWidth"), 2400)
                self.assertEqual({len(row) for row in checked.stream.rows},
                                 {cups_case.HEAD_BYTES})

    def test_two_copies(self) -> None:
        document = documents.marked_pdf(self.folder / "mark.pdf", 80, 200, 2, pages=2)
        picture = documents.png(self.folder / "picture.png", documents.photo_rows(200, 100))
        queue = self.queue()
        for path, collate, pages in ((document, "false", [0, 0, 1, 1]),
                                     (document, "true", [0, 1, 0, 1]), (picture, "false", [0, 0])):
            with self.subTest(path.suffix, collate=collate):
                options = {**RECEIPT, "HalftoneType": "None", "collate": collate}
                checked = self.print_and_check(queue, path, options, "-n", "2")
                printed = escpos_stream.page_rows(checked.stream)
                first: list[list[bytes]] = []
                for rows in printed:
                    if rows not in first:
                        first.append(rows)
                self.assertEqual([first.index(rows) for rows in printed], pages)

    def print_raster(self, queue: cups_case.Queue, width: int) -> escpos_stream.Job:
        """A raster file printed as it is: the filter gets its name as the seventh argument."""
        rows = documents.photo_rows(width, 150)
        path = self.folder / f"page{width}.ras"
        path.write_bytes(cups_raster.stream([cups_raster.grey(rows), cups_raster.grey(rows[:50])]))
        before = len(queue.printer.connections)
        job = self.submit(queue, path, {"HalftoneType": "Stucki"})
        received = queue.printer.wait_jobs(before + 1)[-1]
        self.assertEqual(self.cups.wait_job(job), private_cups.ipp.COMPLETED, self.lines(job))
        log = "\n".join(self.cups.job_log(job))
        self.assertIn("D 2 filters for job:", log)  # ours, and the scheduler's "-" for none
        self.assertRegex(log, r'D argv\[6\]="\S+/d\d+-001"')
        chosen = cups_case.expected.settings(queue.driver, {"HalftoneType": "Stucki"})
        self.assert_same(received.data, cups_case.expected.stream(chosen, raster_file.read(path)))
        return escpos_stream.decode(bytes(received.data))

    def test_raster_file(self) -> None:
        queue = self.queue(DriverFile.load(cups_case.variable("DRAV_PPD")))
        for width in (77, 2397, 2398, 3000):
            with self.subTest(width=width):
                job = self.print_raster(queue, width)
                self.assertEqual({len(row) for row in job.rows}, {min(300, (width + 7) // 8)})


class InstalledTest(CupsCase):
    """The driver as `cmake --install` leaves it, found by its name in the driver list."""

    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        stage = cls.cups.root / "stage"
        subprocess.run([os.environ["DRAV_CMAKE"], "--install", os.environ["DRAV_BUILD"]],
                       env={**os.environ, "DESTDIR": str(stage)}, check=True,
                       stdout=subprocess.DEVNULL, timeout=120)
        [binary] = stage.rglob("rastertodrav")
        [source] = stage.rglob("drav.drv")
        # Moved, not copied: owner and mode stay those of the installation.
        os.rename(binary, cls.cups.filters / "rastertodrav")
        os.rename(source, cls.cups.root / "share/drv/drav.drv")
        for part in stage.rglob("ppdc/*"):
            os.rename(part, cls.cups.root / "share/ppdc" / part.name)

    def test_install_list_add_and_print(self) -> None:
        listed = self.cups.run("lpinfo", "-m").stdout.splitlines()
        models = [line for line in listed if line.startswith("drv:///drav.drv/dravsa43.ppd ")]
        self.assertEqual(len(models), 1, listed)
        printer = self.printer()
        self.cups.add_queue("installed", printer, None, "-m", "drv:///drav.drv/dravsa43.ppd")
        ppd = self.cups.ppds / "installed.ppd"
        installed = cups_case.Queue("installed", DriverFile.load(ppd), ppd, printer)
        # The same document through the pass-through tells what the raster was.
        document = documents.photo_pdf(self.folder / "photo.pdf", 80, 200, 72)
        tapped = self.queue(installed.driver.with_filter(driver_file.TAPPED))
        self.print_and_check(tapped, document, RECEIPT)
        job = self.submit(installed, document, RECEIPT)
        [received] = printer.wait_jobs(1)
        self.assertEqual(self.cups.wait_job(job), private_cups.ipp.COMPLETED, self.lines(job))
        self.assertEqual(self.lines(job), [])
        self.assertEqual(received.data, tapped.printer.connections[0].data)

    def test_without_the_package_for_pictures(self) -> None:
        """Pictures that CUPS knows print as before, others are refused, the queue is sound."""
        queue = self.queue(DriverFile.load(cups_case.variable("DRAV_PPD")))
        path = documents.png(self.folder / "picture.png", documents.photo_rows(200, 100))
        job = self.submit(queue, path, RECEIPT)
        queue.printer.wait_jobs(1)
        self.assertEqual(self.cups.wait_job(job), private_cups.ipp.COMPLETED, self.lines(job))
        self.assertIn("/imagetoraster ", "\n".join(self.cups.job_log(job)))
        unknown = self.folder / "picture.webp"
        unknown.write_bytes(b"RIFF\x1a\0\0\0WEBPVP8L" + bytes(30))
        done = self.cups.run("lp", "-d", queue.name, str(unknown), check=False)
        self.assertNotEqual(done.returncode, 0)
        self.assertIn('Unsupported document-format "image/webp"', done.stdout)
        state = private_cups.ipp.printer_attributes(self.cups.socket, queue.name)
        self.assertEqual((state["printer-state-reasons"], state["printer-state-message"]),
                         (["none"], [""]))


if __name__ == "__main__":
    cups_case.main()
