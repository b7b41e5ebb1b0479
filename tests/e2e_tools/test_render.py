#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs `drav render` on jobs made here and reads its pictures back.

    test_render.py DRAV VERSION
"""
import os
import pathlib
import random
import resource
import shutil
import signal
import stat
import struct
import subprocess
import sys
import tempfile
import threading
import unittest
import zlib

import harness

DRAV = ""
VERSION = ""
NOBODY = 65534
START = bytes(64) + bytes.fromhex("1b40 1f1b1f131408 1b240100")
PAGE_END = bytes.fromhex("1b4aa0")
JOB_END = bytes.fromhex("1b76")


def band(rows):
    """A raster band of packed rows of one length."""
    return b"\x1dv0\0" + struct.pack("<HH", len(rows[0]), len(rows)) + b"".join(rows)


def page(rows):
    bands = (band(rows[top:top + 96]) for top in range(0, len(rows), 96))
    return b"".join(bands) + PAGE_END


def noise_rows(seed, width, count):
    source = random.Random(seed)
    return [source.randbytes(width) for _ in range(count)]


def read_png(data):
    """Width and unpacked rows of a 1-bit grey PNG; a 1 stands for black."""
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        raise ValueError("no PNG signature")
    at, chunks = 8, []
    while at < len(data):
        length, name = struct.unpack_from(">I4s", data, at)
        body = data[at + 8:at + 8 + length]
        (crc,) = struct.unpack_from(">I", data, at + 8 + length)
        if crc != zlib.crc32(name + body):
            raise ValueError(f"checksum of {name}")
        chunks.append((name, body))
        at += 12 + length
    if chunks[0][0] != b"IHDR" or chunks[-1] != (b"IEND", b""):
        raise ValueError("chunks out of order")
    width, height, *form = struct.unpack(">IIBBBBB", chunks[0][1])
    if form != [1, 0, 0, 0, 0]:
        raise ValueError(f"not a plain 1-bit grey picture: {form}")
    packed = zlib.decompress(b"".join(body for name, body in chunks if name == b"IDAT"))
    size = (width + 7) // 8
    if len(packed) != height * (size + 1):
        raise ValueError(f"{len(packed)} bytes for {height} rows of {size}")
    rows, above = [], bytes(size)
    for y in range(height):
        kind, *line = packed[y * (size + 1):(y + 1) * (size + 1)]
        row = bytearray(line)
        for x in range(size):
            left = row[x - 1] if x else 0
            corner = above[x - 1] if x else 0
            guess = left + above[x] - corner
            paeth = min((left, above[x], corner), key=lambda value: abs(guess - value))
            add = (0, left, above[x], (left + above[x]) // 2, paeth)[kind]
            row[x] = (row[x] + add) & 255
        above = bytes(row)
        rows.append(bytes(value ^ 255 for value in row))
    return width, rows


class RenderTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="drav-render-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.job = self.folder / "job.bin"
        self.out = self.folder / "out.png"

    def run_drav(self, *arguments, stdin=b"", **more):
        return subprocess.run([DRAV, *map(str, arguments)], input=stdin, capture_output=True,
                              timeout=120, check=False, **more)

    def render(self, stream):
        self.job.write_bytes(stream)
        result = self.run_drav("render", self.job, self.out)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        width, rows = read_png(self.out.read_bytes())
        self.assertRegex(result.stdout.decode(),
                         rf"\A{width} x {len(rows)} dots, [1-9][0-9]* bands\n\Z")
        return width, rows

    def test_the_summary_counts_the_bands(self):
        self.job.write_bytes(band([b"\x01"] * 96) + band([b"\x01"] * 96) + band([b"\x01\x80"] * 8))
        result = self.run_drav("render", self.job, self.out)
        self.assertEqual(result.stdout, b"16 x 200 dots, 3 bands\n")

    def assert_failed(self, result, *words, left=("job.bin",)):
        """Status 2, one line that holds `words`, and no file besides `left`."""
        self.assertEqual(result.returncode, 2, result.stderr)
        self.assertEqual(result.stdout, b"")
        self.assertRegex(result.stderr.decode(), r"\Adrav: [^\n]+\n\Z")
        for word in words:
            self.assertIn(word, result.stderr.decode())
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), sorted(left))

    # What is drawn

    def test_dots_of_a_page(self):
        rows = noise_rows(1, 300, 200)
        width, drawn = self.render(START + page(rows) + JOB_END)
        self.assertEqual(width, 2400)
        self.assertEqual(drawn, rows)

    def test_pages_and_jobs_under_each_other(self):
        pages = [noise_rows(seed, 75, count) for seed, count in ((2, 1), (3, 96), (4, 97), (5, 200))]
        cut = bytes.fromhex("0a0a0a0a 1d5601")
        stream = (START + page(pages[0]) + page(pages[1]) + cut + JOB_END +
                  START + bytes.fromhex("1b70004040 1b420203 1b6101 1c700100 1b6100") +
                  page(pages[2]) + page(pages[3]) +
                  bytes.fromhex("1b4a78 1b6403 0a0a0a0a 1d5600") + JOB_END)
        width, drawn = self.render(stream)
        self.assertEqual(width, 600)
        self.assertEqual(drawn, sum(pages, []))

    def test_narrow_rows_are_white_on_the_right(self):
        narrow, wide = noise_rows(6, 118, 100), noise_rows(7, 120, 3)
        width, drawn = self.render(START + page(narrow) + page(wide) + page(narrow) + JOB_END)
        self.assertEqual(width, 960)
        self.assertEqual(drawn, [row + b"\0\0" for row in narrow] + wide +
                         [row + b"\0\0" for row in narrow])

    def test_command_record(self):
        rows = noise_rows(8, 9, 130)
        _, drawn = self.render(band(rows[:96]) + band(rows[96:]))
        self.assertEqual(drawn, rows)

    def test_one_dot(self):
        self.assertEqual(self.render(band([b"\x80"])), (8, [b"\x80"]))

    def test_older_picture_is_replaced(self):
        self.out.write_bytes(b"older")
        self.assertEqual(self.render(band([b"\x11"])), (8, [b"\x11"]))

    # Where it comes from and goes to

    def test_standard_input(self):
        rows = noise_rows(9, 300, 4000)
        result = self.run_drav("render", "-", self.out, stdin=START + page(rows) + JOB_END)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        self.assertEqual(read_png(self.out.read_bytes())[1], rows)

    def test_named_pipe(self):
        rows = noise_rows(10, 300, 4000)
        os.mkfifo(self.job)
        stream = START + page(rows) + JOB_END
        writer = threading.Thread(target=self.job.write_bytes, args=(stream,))
        writer.start()
        result = self.run_drav("render", self.job, self.out)
        writer.join()
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        self.assertEqual(read_png(self.out.read_bytes())[1], rows)

    def test_output_in_the_current_folder(self):
        self.job.write_bytes(band([b"\x42"]))
        result = self.run_drav("render", "job.bin", "out.png", cwd=self.folder)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        self.assertEqual(read_png(self.out.read_bytes()), (8, [b"\x42"]))
        self.assertEqual(stat.S_IMODE(self.out.stat().st_mode) & 0o400, 0o400)

    # Bad input

    def check_bad(self, stream, *words):
        self.job.write_bytes(stream)
        self.assert_failed(self.run_drav("render", self.job, self.out), *words)
        self.out.write_bytes(b"older")
        self.assert_failed(self.run_drav("render", self.job, self.out), *words,
                           left=("job.bin", "out.png"))
        self.assertEqual(self.out.read_bytes(), b"older")
        self.out.unlink()

    def test_nothing_to_draw(self):
        self.check_bad(b"", "job.bin: no raster rows")
        self.check_bad(START + JOB_END, "job.bin: no raster rows")

    def test_noise(self):
        for seed in range(20):
            self.check_bad(b"\x99" + random.Random(seed).randbytes(5000), "offset 0: unknown bytes 99")

    def test_damage_behind_good_pages(self):
        good = START + page(noise_rows(11, 20, 100))
        self.check_bad(good + b"\x1b\x07", f"offset {len(good)}: unknown bytes 1B 07")
        self.check_bad(good + bytes(64), f"offset {len(good)}: 64 zero bytes")

    def test_cut_streams(self):
        good = START + page(noise_rows(12, 20, 10))
        start = len(START)
        for end in (start + 1, start + 7, start + 8, start + 9, start + 17):
            self.check_bad(good[:end], f"offset {start}: the stream ends inside")

    def test_whole_rows_of_a_cut_job_are_drawn(self):
        rows = noise_rows(12, 20, 150)
        good = START + page(rows)
        second = len(START) + 8 + 96 * 20
        for end, missing, drawn in ((second + 8 + 45, "GS v 0, which takes 1088 bytes", 98),
                                    (second + 8 + 19, "GS v 0, which takes 1088 bytes", 96),
                                    (second + 3, "a command, after 1D 76 30", 96),
                                    (len(good) - 1, "ESC J, which takes 3 bytes", 150)):
            self.job.write_bytes(good[:end])
            at = len(good) - 3 if drawn == 150 else second
            for more, word in (((), "dots"), (("--paper", "--dpi", "300"), "mm of paper")):
                self.out.unlink(missing_ok=True)
                done = self.run_drav("render", self.job, self.out, *more)
                self.assertEqual(done.returncode, 1, done.stderr)
                self.assertIn(word, done.stdout.decode())
                self.assertRegex(done.stderr.decode(), r"\Adrav: note: the job is cut off, and only its "
                                 rf"whole rows are drawn: offset {at}: the stream ends inside {missing}[^\n]*\n\Z")
                self.assertEqual(read_png(self.out.read_bytes())[1][:150], rows[:drawn])

    def test_files_of_other_kinds(self):
        for stream in (b"%PDF-1.7\n", b"\x89PNG\r\n\x1a\n", b"\x7fELF", b"3SaR" + bytes(1796)):
            self.check_bad(stream, "offset 0: unknown bytes")

    def test_hostile_headers_take_little_memory_and_time(self):
        wide = band([bytes(65535)])
        for stream in (b"\x1dv0\0" + b"\xff" * 4, wide + band([b"\0"] * 60000)):
            self.job.write_bytes(stream)
            command = [DRAV, "render", str(self.job), str(self.out)]
            with subprocess.Popen(command, stderr=subprocess.DEVNULL) as child:
                _, status, usage = os.wait4(child.pid, 0)
                child.returncode = os.waitstatus_to_exitcode(status)
            self.assertEqual(child.returncode, 2)
            self.assertLess(usage.ru_maxrss, 250_000)
            self.assertLess(usage.ru_utime, 10)
            self.assertFalse(self.out.exists())

    def test_input_that_cannot_be_read(self):
        self.assert_failed(self.run_drav("render", self.folder, self.out), "Is a directory", left=())
        self.assert_failed(self.run_drav("render", self.job, self.out), "No such file", left=())
        self.assert_failed(self.run_drav("render", self.folder / "a\nb", self.out), "a?b", left=())
        closed = subprocess.run(f"'{DRAV}' render - '{self.out}' <&-", shell=True, timeout=60,
                                capture_output=True, check=False)
        self.assert_failed(closed, "standard input", left=())

    def test_output_that_cannot_be_written(self):
        self.job.write_bytes(band([b"\x42"]))
        for out, word in ((self.folder, "is a folder"), (self.folder / "none" / "a.png", "No such"),
                          (self.job / "a.png", "Not a directory"), ("/dev/full", "not a regular"),
                          ("", "must be named"), ("-", "must be named")):
            self.assert_failed(self.run_drav("render", self.job, out), word)
        self.assertTrue(stat.S_ISCHR(os.stat("/dev/full").st_mode))

    @unittest.skipIf("DRAV_COUNTED" in os.environ, "the counts fail to be written, too, and say so")
    def test_folder_without_rights(self):
        drav = self.folder / "drav"
        shutil.copy(DRAV, drav)
        self.job.write_bytes(band([b"\x42"]))
        self.folder.chmod(0o555)
        self.addCleanup(self.folder.chmod, 0o700)
        user = {"user": NOBODY} if os.geteuid() == 0 else {}
        result = subprocess.run([drav, "render", self.job, self.out], capture_output=True,
                                timeout=60, check=False, **user)
        self.assert_failed(result, "out.png: Permission denied", left=("job.bin", "drav"))

    @unittest.skipIf("DRAV_COUNTED" in os.environ, "the counts fail to be written, too, and say so")
    def test_disk_that_fills_up(self):
        self.job.write_bytes(START + page(noise_rows(13, 300, 4000)) + JOB_END)

        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (200_000, 200_000))

        result = self.run_drav("render", self.job, self.out, preexec_fn=limit)
        self.assert_failed(result, "out.png: File too large")

    def test_interrupted_run_leaves_nothing(self):
        self.job.write_bytes(START + page(noise_rows(14, 300, 40000)) + JOB_END)
        with subprocess.Popen([DRAV, "render", str(self.job), str(self.out)]) as child:
            while not any(path.name.startswith(".out") for path in self.folder.iterdir()):
                self.assertIsNone(child.poll(), "ended before it could be interrupted")
            child.send_signal(signal.SIGTERM)
            self.assertEqual(child.wait(timeout=60), -signal.SIGTERM)
        self.assertEqual([path.name for path in self.folder.iterdir()], ["job.bin"])

    # Usage

    def test_usage(self):
        for arguments in ((), ("rendr",), ("render",), ("render", "a"), ("--nonsense",),
                          ("render", "a", "b", "c"), ("render", "-x", "a", "b")):
            self.assert_failed(self.run_drav(*arguments), left=())

    def test_version_and_help(self):
        version = self.run_drav("--version")
        self.assertEqual((version.returncode, version.stderr), (0, b""))
        self.assertEqual(version.stdout.decode(), f"drav {VERSION}\n")
        for arguments in (("--help",), ("render", "--help")):
            result = self.run_drav(*arguments)
            self.assertEqual((result.returncode, result.stderr), (0, b""))
            self.assertIn(b"drav render job.bin job.png", result.stdout)
        with open("/dev/full", "wb") as full:
            result = subprocess.run([DRAV, "--help"], stdout=full, stderr=subprocess.PIPE,
                                    timeout=60, check=False)
        self.assertEqual(result.returncode, 2)


if __name__ == "__main__":
    DRAV, VERSION = os.path.abspath(sys.argv[1]), sys.argv[2]
    harness.run_tests(sys.argv[:1] + sys.argv[3:])
