# SPDX-License-Identifier: Apache-2.0
"""Runs drav-printer-app with folders and a port of its own."""
import os
import pathlib
import signal
import socket
import struct
import subprocess
import tempfile
import time
import unittest

from cups_raster import BIG, K, LITTLE, Page, compress, page, stream
from ipp_client import ABORTED, CANCELED, COMPLETED, Attribute, Client
from sink import Sink

APP = os.environ["DRAV_PRINTER_APP"]
FILTER = os.environ["DRAV_FILTER"]
PICTURE_FILTER = os.environ["DRAV_PICTURE_FILTER"]
PPDS = pathlib.Path(os.environ["DRAV_PPDS"])
RASTER, PICTURE = "image/pwg-raster", "image/x-portable-anymap"
ENDS = (CANCELED, ABORTED, COMPLETED)


def free_port() -> int:
    with socket.socket() as one:
        one.bind(("127.0.0.1", 0))
        return one.getsockname()[1]


class Server:
    """One server; `folder` keeps what outlives it."""

    host = "127.0.0.1"
    always: tuple[str, ...] = ("log-level=debug",)  # options, besides those that tests choose

    def __init__(self, folder: pathlib.Path, *options: str) -> None:
        self.folder = folder
        self.port = free_port()
        self.options = options
        self.state = folder / "state"
        self.log = folder / "log"
        # The commands find the server by a socket in one of these.
        self.environment = os.environ | {"SNAP_COMMON": str(folder), "TMPDIR": str(folder),
                                         "HOME": str(folder),
                                         "STATE_DIRECTORY": str(folder / "default")}
        self.process: subprocess.Popen | None = None
        self.start()

    def start(self) -> None:
        self.launch()
        self.wait_ready()

    def launch(self) -> None:
        command = [APP, "server", "-o", f"server-port={self.port}",
                   "-o", f"spool-directory={self.folder}/spool", "-o", f"state-file={self.state}"]
        for option in (*self.always, *self.options):
            command += ["-o", option]
        with self.log.open("ab") as log:
            self.process = subprocess.Popen(command, env=self.environment, stderr=log,
                                            cwd=self.folder)

    def wait_ready(self) -> None:
        """Until programs reach it by its port, and its commands by its socket."""
        end = time.monotonic() + 20
        while not (self._answers(socket.AF_INET, (self.host, self.port)) and
                   any(self._answers(socket.AF_UNIX, str(one))
                       for one in self.folder.glob("*.sock"))):
            assert self.process is not None
            if self.process.poll() is not None or time.monotonic() > end:
                self.process.kill()
                raise AssertionError("the server does not start:\n" + self.log.read_text())
            time.sleep(0.02)

    @staticmethod
    def _answers(family: int, address: tuple[str, int] | str) -> bool:
        with socket.socket(family) as one:
            return one.connect_ex(address) == 0

    def run(self, *arguments: str, status: int = 0) -> str:
        # PAPPL's commands end without giving back what they took.
        result = subprocess.run([APP, *arguments], capture_output=True,
                                env=self.environment | {"LSAN_OPTIONS": "detect_leaks=0"},
                                text=True, timeout=30, check=False)
        if result.returncode != status:
            raise AssertionError(f"{arguments}: {result.returncode}\n{result.stdout}"
                                 f"{result.stderr}\n{self.log.read_text()[-3000:]}")
        return result.stdout + result.stderr

    def add(self, name: str, uri: str, model: str = "dravsa43") -> Client:
        self.run("add", "-d", name, "-v", uri, "-m", model)
        return self.client(name)

    def client(self, name: str) -> Client:
        return Client(self.port, f"/ipp/print/{name}")

    def wait_state(self, *words: str) -> None:
        """Until the state file says all of them."""
        end = time.monotonic() + 10
        while not self.state.exists() or not all(one in self.state.read_text() for one in words):
            if time.monotonic() > end:
                raise AssertionError(f"the state file does not say {words}")
            time.sleep(0.05)

    def stop(self, number: int = signal.SIGTERM) -> float:
        """Seconds that it took to end."""
        assert self.process is not None
        start = time.monotonic()
        self.process.send_signal(number)
        self.process.wait(30)
        return time.monotonic() - start

    @property
    def lives(self) -> bool:
        return self.process is not None and self.process.poll() is None


class AppCase(unittest.TestCase):
    """Each class has a server and a printer that says nothing."""

    maxDiff = 1000
    options: tuple[str, ...] = ("file-devices=yes",)

    @classmethod
    def setUpClass(cls) -> None:
        folder = tempfile.TemporaryDirectory(prefix="drav-app-")
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        cls.server = Server(cls.folder, *cls.options)
        cls.addClassCleanup(cls.server.stop, signal.SIGKILL)

    @classmethod
    def shared_sink(cls) -> Sink:
        one = Sink()
        cls.addClassCleanup(one.close)
        return one

    def sink(self, **settings) -> Sink:
        one = Sink(**settings)
        self.addCleanup(one.close)
        return one

    def submit(self, client: Client, document: bytes) -> int:
        """The number of a picture job, which the server keeps until it can be printed."""
        status, answer = client.print_job(PICTURE, document)
        self.assertEqual(status, 0, answer)
        return answer["job-id"][0]

    def reasons(self, client: Client) -> set[str]:
        return set(client.printer()["printer-state-reasons"])

    def printed(self, client: Client, format_: str, document: bytes,
                *job: Attribute) -> dict:
        """The job's attributes, once it has ended."""
        status, answer = client.print_job(format_, document, *job)
        self.assertEqual(status & 0xFF00, 0, answer)
        return self.ended(client, answer["job-id"][0])

    def ended(self, client: Client, number: int, timeout: float = 30.0) -> dict:
        end = time.monotonic() + timeout
        while time.monotonic() < end:
            job = client.job(number)
            if job["job-state"][0] in ENDS:
                return job
            time.sleep(0.03)
        raise AssertionError(f"job {number} does not end: {client.job(number)}")

    def assertCompleted(self, job: dict) -> None:
        self.assertEqual(job["job-state"], [COMPLETED], f"{job}\n{self.log_tail()}")

    def assertAborted(self, job: dict) -> None:
        self.assertEqual(job["job-state"], [ABORTED], str(job))
        self.assertTrue(self.server.lives)

    def assertSameBytes(self, got: bytes, want: bytes) -> None:
        at = next((i for i, (a, b) in enumerate(zip(got, want)) if a != b), -1)
        self.assertTrue(got == want, f"{len(got)} bytes, not {len(want)}; they differ at {at}")

    def log_tail(self) -> str:
        lines = self.server.log.read_text(errors="replace").splitlines()
        return "\n".join([line for line in lines if "response:" not in line][-40:])


def filtered(document: bytes, options: str = "", model: str = "dravsa43",
             program: str = FILTER, copies: int = 1) -> bytes:
    """What the filter makes of it with the model's driver file."""
    result = subprocess.run([program, "1", "someone", "a job", str(copies), options],
                            input=document, capture_output=True, check=True, timeout=60,
                            env=os.environ | {"PPD": str(PPDS / f"{model}.ppd")})
    return result.stdout


def drawing(width: int, height: int) -> bytes:
    """Rows of ink levels of which no two are alike."""
    return bytes((x * 3 + y * 7 + (x * y >> 4)) % 256 for y in range(height) for x in range(width))


def as_filter_raster(pages: list[Page], paper: str) -> bytes:
    """The raster that the spooler would hand to the filter."""
    named = [Page(one.pixels, {**one.header, "cupsColorSpace": K, "cupsPageSizeName": paper})
             for one in pages]
    return stream(named, 3, LITTLE)


def ink_page(width: int, height: int, **fields) -> Page:
    return page(width, height, drawing(width, height), **fields)


def white_page(one: Page, **fields) -> Page:
    """The same with 255 for no ink."""
    return Page(bytes(255 - level for level in one.pixels), {**one.header, **fields})


SGRAY = 18  # cupsColorSpace


def pwg(pages: list[Page]) -> bytes:
    """PWG raster (PWG 5102.4)."""
    return stream([Page(one.pixels, {"MediaClass": "PwgRaster", **one.header}) for one in pages],
                  2, BIG)


def urf(pages: list[Page]) -> bytes:
    """Apple raster: pages of 8-bit grey, 255 for no ink."""
    out = b"UNIRAST\0" + struct.pack(">I", len(pages))
    for one in pages:
        width, height = one.header["cupsWidth"], one.header["cupsHeight"]
        out += struct.pack(">BBBB8xIII8x", 8, 0, 1, 4, width, height,
                           one.header["HWResolution"][0])
        out += compress(one.pixels, width)
    return out


def picture(width: int = 60, height: int = 40) -> bytes:
    """A portable map: as large as its pixels."""
    return b"P5 %d %d 255\n" % (width, height) + drawing(width, height)
