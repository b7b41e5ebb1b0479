# SPDX-License-Identifier: Apache-2.0
"""Folders, files and rights that are not as they should be.

The job ends with a line in the error log that says why, or prints although
something beside it failed; and the queue prints the next job.
"""
import os
import pathlib
import shutil
import tempfile
import unittest

import cups_case
import documents
import driver_file
import escpos_stream
import ipp
import private_cups
import private_spool
from cups_case import CupsCase, Queue

SMALL_PAGE = {"PageSize": driver_file.SMALL}
CONSULT = "E Job stopped due to filter errors; please consult the {log} file for details."
NOT_STARTED = "E Stopping job because the scheduler could not execute a filter."


class FaultCase(CupsCase):
    def setUp(self) -> None:
        super().setUp()
        self.driver = self.driver.with_small_page()
        self.document = documents.marked_pdf(self.folder / "mark.pdf", 40, 20, 30)

    def print_well(self, queue: Queue) -> None:
        self.print_and_check(queue, self.document, SMALL_PAGE)

    def stopped_job(self, queue: Queue) -> int:
        """A job that fails; its printer gets nothing, and the queue goes on taking jobs."""
        before = len(queue.printer.connections)
        job = self.submit(queue, self.document, SMALL_PAGE)
        self.assertEqual(self.cups.wait_job(job, *ipp.ENDED, ipp.STOPPED), ipp.STOPPED)
        self.cups.wait(lambda: self.cups.printer_state(queue.name) == ipp.PRINTER_IDLE, "idle")
        self.assertEqual(len(queue.printer.connections), before)
        return job

    def restart(self, queue: Queue, job: int) -> None:
        """Once the cause is gone a stopped job prints after all."""
        before = len(queue.printer.connections)
        self.cups.run("lp", "-i", str(job), "-H", "restart")
        received = queue.printer.wait_jobs(before + 1)[-1]
        self.check(queue, job, received.data, SMALL_PAGE)

    def assert_line(self, lines: list[str], line: str) -> None:
        """The line is there once, at its level."""
        self.assertEqual(lines.count(line), 1, "\n".join(lines))

    def consult(self) -> str:
        return CONSULT.format(log=self.cups.error_log)


class RecordTest(FaultCase):
    """Jobs whose command record cannot be kept print all the same."""

    def check_record(self, prefix: str, error: str) -> None:
        queue = self.queue(self.driver.with_attribute("dravFilterOutputFile", prefix))
        options = {**SMALL_PAGE, "RecordPrinterCommands": "1"}
        job = self.submit(queue, self.document, options)
        self.check(queue, job, queue.printer.wait_jobs(1)[0].data, options)
        lines = self.lines(job)
        self.assertEqual(len(lines), 1, lines)
        self.assertRegex(lines[0], f"^E {error} {prefix}-\\d{{14}}\\.bin!$")
        self.print_well(queue)

    def test_no_folder(self) -> None:
        self.check_record(f"{self.cups.root}/nowhere/drav", "Unable to open command record file")

    def test_folder_of_somebody_else(self) -> None:
        self.check_record(f"{self.cups.root}/log/drav", "Unable to open command record file")

    @private_spool.needs_mounts
    def test_full_folder(self) -> None:
        folder = self.cups.root / "small"
        folder.mkdir()
        with private_spool.scratch_memory(folder, "size=8k,mode=1777"):
            self.check_record(f"{folder}/drav", "Unable to write to command record file")


class PictureTest(FaultCase):
    """Jobs whose diagnostic pictures cannot be kept print all the same."""

    def check_pictures(self, folder: pathlib.Path, options: str, complaints: int) -> None:
        queue = self.queue()
        with private_spool.scratch_memory(folder, options):
            checked = len(queue.printer.connections)
            job = self.submit(queue, self.document, SMALL_PAGE)
            self.check(queue, job, queue.printer.wait_jobs(checked + 1)[-1].data, SMALL_PAGE)
        log = "\n".join(self.cups.job_log(job))
        self.assertEqual(log.count("DravPrinter::saveImage: unable to open the file"), complaints)
        self.assertEqual(self.lines(job), [])
        self.print_well(queue)

    @private_spool.needs_mounts
    def test_missing_folder(self) -> None:
        self.check_pictures(private_spool.SPOOL.parent, "mode=0755", 2)

    @private_spool.needs_mounts
    def test_read_only_folder(self) -> None:
        self.check_pictures(private_spool.SPOOL, "ro,mode=1777", 2)

    @private_spool.needs_mounts
    def test_folder_of_somebody_else(self) -> None:
        self.check_pictures(private_spool.SPOOL, "mode=0755", 2)

    @private_spool.needs_mounts
    def test_full_folder(self) -> None:
        # The files can be made, but a picture of 110 KB does not fit.
        self.check_pictures(private_spool.SPOOL, "size=64k,mode=1777", 0)


class PpdTest(FaultCase):
    def check_ppd(self, queue: Queue) -> int:
        job = self.stopped_job(queue)
        lines = self.lines(job, "EC")
        self.assert_line(lines, f'E Unable to open PPD file \\"{queue.ppd}\\"!')
        self.assert_line(lines, self.consult())
        return job

    def test_ppd_disappears(self) -> None:
        queue = self.queue()
        self.print_well(queue)
        away = queue.ppd.with_suffix(".away")
        queue.ppd.rename(away)
        job = self.check_ppd(queue)
        away.rename(queue.ppd)
        self.print_well(queue)
        self.restart(queue, job)

    def test_ppd_that_filters_may_not_read(self) -> None:
        queue = self.queue()
        queue.ppd.chmod(0o600)
        os.chown(queue.ppd, 0, 0)
        self.check_ppd(queue)
        queue.ppd.chmod(0o644)
        self.print_well(queue)

    def test_ppd_that_is_none(self) -> None:
        queue = self.queue()
        text = queue.ppd.read_bytes()
        queue.ppd.write_bytes(b"no PPD at all\n")
        self.check_ppd(queue)
        queue.ppd.write_bytes(text)
        self.print_well(queue)


class FilterFileTest(FaultCase):
    """A filter that the scheduler does not start, or cannot."""

    def filter_queue(self, name: str) -> tuple[pathlib.Path, Queue]:
        path = self.cups.install_filter(cups_case.variable("DRAV_FILTER"), name)
        return path, self.queue(self.driver.with_filter(driver_file.TAPPED, name))

    def test_wrong_owner_or_mode(self) -> None:
        for name, owner, mode in (("world", 0, 0o777), ("group", 0, 0o775), ("owner", 7, 0o755)):
            with self.subTest(name):
                path, queue = self.filter_queue(f"drav-{name}")
                os.chown(path, owner, -1)
                path.chmod(mode)
                job = self.stopped_job(queue)
                self.assertIn(f'{queue.name}: File \\"{path}\\" has insecure permissions '
                              f"(0100{mode:o}/uid={owner}/gid=0).", self.cups.log())
                self.assertEqual(self.printer_reasons(queue), ["cups-insecure-filter-warning"])
                self.assert_line(self.lines(job), NOT_STARTED)
                os.chown(path, 0, -1)
                path.chmod(0o755)
                self.print_well(queue)
                self.restart(queue, job)

    def printer_reasons(self, queue: Queue) -> list[object]:
        attributes = ipp.printer_attributes(self.cups.socket, queue.name)
        return attributes["printer-state-reasons"]

    def test_not_executable(self) -> None:
        path, queue = self.filter_queue("drav-mode")
        path.chmod(0o644)
        job = self.stopped_job(queue)
        self.assertRegex("\n".join(self.cups.job_log(job)),
                         f"{path}\\) stopped with status 113 \\(Permission denied\\)")
        self.assertEqual(self.lines(job), [self.consult()])
        path.chmod(0o755)
        self.print_well(queue)

    def test_made_for_another_machine(self) -> None:
        path, queue = self.filter_queue("drav-machine")
        path.write_bytes(b"\x7fELF for another machine")
        job = self.stopped_job(queue)
        self.assertRegex("\n".join(self.cups.job_log(job)),
                         f"{path}\\) stopped with status 108 \\(Exec format error\\)")
        self.assertEqual(self.lines(job), [self.consult()])
        shutil.copyfile(cups_case.variable("DRAV_FILTER"), path)
        self.print_well(queue)

    def test_missing(self) -> None:
        path, queue = self.filter_queue("drav-missing")
        path.unlink()
        job = self.stopped_job(queue)
        self.assertEqual(self.lines(job), [
            'E Unable to start filter "drav-missing" - No such file or directory.', NOT_STARTED])
        self.cups.install_filter(cups_case.variable("DRAV_FILTER"), "drav-missing")
        self.print_well(queue)

    def test_missing_converter(self) -> None:
        queue = self.queue()
        for name in ("pdftopdf", "gstoraster"):
            with self.subTest(name):
                target = (self.cups.filters / name).resolve()
                (self.cups.filters / name).unlink()
                job = self.stopped_job(queue)
                self.assertEqual(self.lines(job), [
                    f'E Unable to start filter "{name}" - No such file or directory.',
                    NOT_STARTED])
                (self.cups.filters / name).symlink_to(target)
                self.print_well(queue)


class FullSpoolTest(FaultCase):
    """A scheduler whose spool is a megabyte in all."""

    @classmethod
    def setUpClass(cls) -> None:
        if not private_spool.may_mount():
            raise unittest.SkipTest("no mount namespace can be made here")
        folder = pathlib.Path(tempfile.mkdtemp(prefix="drav-spool-"))
        cls.addClassCleanup(folder.rmdir)
        folder.chmod(0o755)
        memory = private_spool.scratch_memory(folder, "size=1m,mode=0755")
        memory.__enter__()
        cls.addClassCleanup(memory.__exit__, None, None, None)
        cls.cups = private_cups.PrivateCups(cups_case.variable("DRAV_FILTER"),
                                            cups_case.variable("DRAV_DRIVER"), folder)
        cls.addClassCleanup(cls.cups.stop)
        cls.cups.start()

    def test_document_that_does_not_fit(self) -> None:
        queue = self.queue()
        self.print_well(queue)
        big = self.folder / "big.txt"
        big.write_bytes(b"one of very many lines\n" * 90000)
        done = self.cups.run("lp", "-d", queue.name, str(big), check=False)
        self.assertNotEqual(done.returncode, 0)
        lines = [line for line in self.cups.log().splitlines()
                 if line.startswith("E ") and "No space left on device" in line]
        self.assertEqual(len(lines), 1, lines)
        self.print_well(queue)

    def test_no_room_for_the_converters(self) -> None:
        queue = self.queue()
        photo = documents.photo_pdf(self.folder / "photo.pdf", 40, 20, 150)
        fill = self.cups.spool / "fill"
        free = os.statvfs(self.cups.spool)
        room = 4096 * -(-photo.stat().st_size // 4096) + 16384  # the document and its job file
        fill.write_bytes(bytes(free.f_bavail * free.f_bsize - room))
        job = self.submit(queue, photo, SMALL_PAGE)
        self.assertEqual(self.cups.wait_job(job, *ipp.ENDED, ipp.STOPPED), ipp.STOPPED)
        fill.unlink()
        lines = self.lines(job)
        self.assert_line(lines, "E No pages found!")
        self.assert_line(lines, self.consult())
        # A converter said before why there are none; the printer has the job's start alone.
        self.assertEqual(len(lines), 3, lines)
        [received] = queue.printer.wait_jobs(1)
        self.assertEqual(escpos_stream.decode(bytes(received.data)).names(),
                         ["zeros", "initialise", "density", "position"])
        self.print_well(queue)


if __name__ == "__main__":
    cups_case.main()
