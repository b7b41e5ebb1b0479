# SPDX-License-Identifier: Apache-2.0
"""Measures a scheduler with many queues, on the driver as it ships; prints tables.

    measure.py BUILD-FOLDER     (see scripts/measure-scale)

Printers answer at once, so the numbers are what the computer can feed.
"""
import os
import pathlib
import platform
import sys
import tempfile
import threading
import time
from collections.abc import Callable

import cups_case
import documents
import fake_printer
import ipp
import private_cups
import private_network
import private_spool

RECEIPT = ["PageSize=X80MMY200MM", "HalftoneType=FloydSteinberg", "docCutType=1"]
STENCIL = ["PageSize=A4", "HalftoneType=Tattoo"]
QUEUES = (1, 2, 4, 8)
MANY = 200  # queues that exist and are idle
# Programs of a job, in the order of the chain.
CHAIN = ("pdftopdf", "gstoraster", "gs", "rastertodrav", "socket")


def resident_peak(pid: str) -> int:
    """The most memory that a process has had at a time, in KiB."""
    for line in pathlib.Path(f"/proc/{pid}/status").read_text("ascii", "replace").splitlines():
        if line.startswith("VmHWM:"):
            return int(line.split()[1])
    return 0


class MemoryWatch(threading.Thread):
    """Peaks of all descendants of a process, by program name."""

    def __init__(self, root: int) -> None:
        super().__init__(daemon=True)
        self._root = root
        self._done = threading.Event()
        self.peaks: dict[str, int] = {}

    def _descendants(self) -> list[str]:
        parents = {}
        for stat in pathlib.Path("/proc").glob("[0-9]*/stat"):
            try:
                fields = stat.read_text("ascii", "replace").rpartition(")")[2].split()
            except OSError:
                continue
            parents[stat.parent.name] = fields[1]
        out = []
        for pid in parents:
            above = parents[pid]
            while above in parents and above != str(self._root):
                above = parents[above]
            if above == str(self._root):
                out.append(pid)
        return out

    def run(self) -> None:
        while not self._done.is_set():
            for pid in self._descendants():
                try:
                    name = pathlib.Path(os.readlink(f"/proc/{pid}/exe")).name
                    self.peaks[name] = max(self.peaks.get(name, 0), resident_peak(pid))
                except OSError:
                    continue
            time.sleep(0.002)

    def stop(self) -> dict[str, int]:
        self._done.set()
        self.join()
        return self.peaks


class Bench:
    def __init__(self, build: pathlib.Path, folder: pathlib.Path) -> None:
        top = pathlib.Path(__file__).resolve().parents[2]
        self.cups = private_cups.PrivateCups(build / "bin/rastertodrav", top / "ppd/drav.drv",
                                             log_level="warn")
        self.ppd = build / "ppd/dravsa43.ppd"
        self.receipt = top / "examples/receipt.pdf"
        self.stencil = top / "examples/tattoo.pdf"
        self.picture = documents.photo_pdf(folder / "photo.pdf", 210, 297, 150)
        self.cups.start()
        self._made = 0

    def queues(self, count: int) -> list[tuple[str, fake_printer.FakePrinter]]:
        out = []
        for _ in range(count):
            self._made += 1
            printer = fake_printer.FakePrinter()
            self.cups.add_queue(f"printer{self._made}", printer, self.ppd)
            out.append((f"printer{self._made}", printer))
        return out

    def jobs_a_minute(self, queues: list[tuple[str, fake_printer.FakePrinter]], jobs: int,
                      document: pathlib.Path, options: list[str], name: str = "") -> float:
        """Jobs spread over the queues, or sent to the class `name`, from first lp to last byte."""
        before = sum(len(printer.connections) for _, printer in queues)
        start = time.monotonic()
        for i in range(jobs):
            self.cups.submit(name or queues[i % len(queues)][0], document, options)

        def arrived() -> bool:
            return sum(one.ended for _, printer in queues
                       for one in printer.connections) >= before + jobs
        self.cups.wait(arrived, f"{jobs} jobs", timeout=600)
        elapsed = time.monotonic() - start
        cups_case.clear_pictures()
        return jobs / elapsed * 60

    # ---- Tables -----------------------------------------------------------------

    def speed(self) -> None:
        print("| Queues at work | Receipts a minute | A4 stencils a minute |")
        print("|---|---|---|")
        rows: list[tuple[str, int, Callable[[int], str]]] = [
            (str(count), count, lambda _: "") for count in QUEUES]
        rows.append(("4 in a class", 4, self._make_class))
        for label, count, prepare in rows:
            queues = self.queues(count)
            name = prepare(count)
            rates = [self.jobs_a_minute(queues, jobs, document, options, name)
                     for jobs, document, options in ((48, self.receipt, RECEIPT),
                                                     (16, self.stencil, STENCIL))]
            print(f"| {label} | {rates[0]:.0f} | {rates[1]:.0f} |", flush=True)
            for _, printer in queues:
                printer.close()
        print()

    def _make_class(self, count: int) -> str:
        for number in range(self._made - count + 1, self._made + 1):
            self.cups.run("lpadmin", "-p", f"printer{number}", "-c", "counter")
        self.cups.run("cupsenable", "counter")
        self.cups.run("cupsaccept", "counter")
        return "counter"

    def memory(self) -> None:
        [(name, printer)] = self.queues(1)
        columns = []
        sizes = []
        kinds = ((self.receipt, RECEIPT), (self.stencil, STENCIL),
                 (self.picture, ["PageSize=A4", "HalftoneType=Ordered"]))
        for done, (document, options) in enumerate(kinds, start=1):
            watch = MemoryWatch(self.cups.pid)
            watch.start()
            job = self.cups.submit(name, document, options)
            sent = printer.wait_jobs(done)[-1]
            self.cups.wait_job(job, *ipp.ENDED)
            columns.append(watch.stop())
            pictures = sum(path.stat().st_size for path in private_spool.own_files())
            sizes.append((document.stat().st_size, len(sent.data), pictures))
            cups_case.clear_pictures()
        print("| Peak memory, MiB | Receipt | A4 stencil | A4 photo |\n|---|---|---|---|")
        for program in CHAIN:
            cells = [f"{peaks.get(program, 0) / 1024:.1f}" for peaks in columns]
            print(f"| {program} | " + " | ".join(cells) + " |")
        for label, at in (("document, MB", 0), ("sent to the printer, MB", 1),
                          ("diagnostic pictures, MB", 2)):
            print(f"| {label} | " + " | ".join(f"{size[at] / 1e6:.2f}" for size in sizes) + " |")
        print(flush=True)
        printer.close()

    def many_queues(self) -> None:
        before = resident_peak(str(self.cups.pid))
        start = time.monotonic()
        queues = self.queues(MANY)
        added = (time.monotonic() - start) / MANY
        start = time.monotonic()
        self.cups.run("lpstat", "-v")
        listed = time.monotonic() - start
        rate = self.jobs_a_minute(queues, MANY, self.receipt, RECEIPT)
        after = resident_peak(str(self.cups.pid))
        print(f"{MANY} queues: {1000 * added:.0f} ms to add one; `lpstat -v` takes "
              f"{1000 * listed:.0f} ms; cupsd has {after / 1024:.0f} MiB instead of "
              f"{before / 1024:.0f}; a receipt to each of them at once: {rate:.0f} a minute.")
        for _, printer in queues:
            printer.close()


def machine() -> str:
    cpu = next((line.split(":")[1].strip() for line in open("/proc/cpuinfo", encoding="utf-8")
                if line.startswith(("model name", "Model"))), platform.machine())
    return (f"{os.cpu_count()} x {cpu}, {platform.system()} {platform.machine()}, load "
            f"{os.getloadavg()[0]:.1f} when it began; {time.strftime('%Y-%m-%d')}.")


def main() -> None:
    missing = private_cups.missing_part()
    if missing:
        sys.exit(f"no private scheduler on this machine: {missing}")
    private_spool.enter()
    private_network.enter(small_buffers=False)
    print(machine() + "\n", flush=True)
    with tempfile.TemporaryDirectory(prefix="drav-measure-") as folder:
        bench = Bench(pathlib.Path(sys.argv[1]), pathlib.Path(folder))
        try:
            bench.memory()
            bench.speed()
            bench.many_queues()
        finally:
            bench.cups.stop()


if __name__ == "__main__":
    main()
