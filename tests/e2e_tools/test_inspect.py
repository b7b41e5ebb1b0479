#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs `drav inspect` on streams made here."""
import concurrent.futures
import json
import os
import random
import shutil
import subprocess
import threading
import time
import unittest
from collections.abc import Iterable
from typing import Any

import tool_case
from test_render import band, page
from tool_case import CUT, DRAV, JOB_END, PAGE_END, PPD, START, ToolCase, job, pale_rows

SANITIZED = os.environ.get("DRAV_SANITIZED", "0") not in ("", "0")
UNOPTIMISED = os.environ.get("DRAV_UNOPTIMISED", "0") not in ("", "0")
SECONDS = 120 if SANITIZED or UNOPTIMISED else 30
NOBODY = 65534


class InspectCase(ToolCase):
    def inspect(self, stream: bytes, *options: object) -> "subprocess.CompletedProcess[bytes]":
        result = self.run_drav("inspect", *options, "-", stdin=stream)
        self.assertIn(result.returncode, (0, 1), result.stderr)
        self.assertEqual(result.stderr, b"")
        return result

    def report(self, stream: bytes, *options: object) -> dict[str, Any]:
        """The JSON report, which must agree with the text report on the status."""
        text = self.inspect(stream, *options)
        result = self.inspect(stream, "--json", *options)
        document = json.loads(result.stdout)
        assert isinstance(document, dict)
        self.assertEqual(document["status"], result.returncode)
        self.assertEqual(text.returncode, result.returncode)
        self.assertEqual(b"Warnings\n  none\n" in text.stdout, result.returncode == 0)
        for warning in document["warnings"]:
            line = f"\n  offset {warning['offset']}: {warning['text']}\n"
            self.assertIn(line, text.stdout.decode())
        return document

    def warnings(self, stream: bytes, *options: object) -> list[tuple[str, int]]:
        document = self.report(stream, *options)
        found = [(str(one["kind"]), int(one["offset"])) for one in document["warnings"]]
        self.assertEqual(document["status"], 1 if found else 0)
        return found


class CommandsTest(InspectCase):
    def test_every_command_in_words(self) -> None:
        pieces = [
            (START[:64], "padding", "64 zero bytes to complete what an earlier job left unfinished"),
            (b"\x1b@", "initialise", "initialise, a job begins"),
            (b"\x1f\x1b\x1f\x13\x14\x03", "density", "print density 3"),
            (b"\x1bp\0@@", "drawer-pulse", "pulse to drawer 1 (pin 2), 128 ms on, 128 ms off"),
            (b"\x1bp\1@@", "drawer-pulse", "pulse to drawer 2 (pin 5), 128 ms on, 128 ms off"),
            (b"\x1bB\2\3", "buzzer", "buzzer, times: 2, units of time each: 3"),
            (b"\x1ba\1", "align", "align centre"),
            (b"\x1cp\1\0", "logo", "print stored logo 1, normal size"),
            (b"\x1ba\0", "align", "align left"),
            (b"\x1b$\1\0", "position", "print position 1 unit from the left"),
            (band(pale_rows(3, 5)), "raster-band",
             "band of 5 rows of 3 bytes (24 dots), 0.4 mm, 12.5 % black"),
            (b"\x1bJ\xa0", "feed-units", "feed 160 units, 13.5 mm"),
            (b"\x1bd\3", "feed-lines", "feed 3 lines, 12.7 mm"),
            (b"\n", "line-feed", "line feed, 4.2 mm"),
            (b"\x1dV\1", "partial-cut", "partial cut"),
            (b"\x1dV\0", "full-cut", "full cut"),
            (b"\x1bv", "status-request", "ask for the paper sensor's status"),
        ]
        stream = b"".join(piece for piece, _, _ in pieces)
        document = self.report(stream)
        self.assertEqual(document["status"], 0)
        self.assertEqual([(one["kind"], one["meaning"]) for one in document["commands"]],
                         [(kind, meaning) for _, kind, meaning in pieces])
        text = self.inspect(stream).stdout.decode()
        offset = 0
        for (piece, _, meaning), one in zip(pieces, document["commands"]):
            self.assertEqual((one["offset"], one["length"]), (offset, len(piece)))
            self.assertTrue(piece.startswith(bytes.fromhex(one["bytes"].removesuffix("..."))))
            self.assertEqual(one["shortened"], one["bytes"].endswith("..."))
            self.assertRegex(text, rf"(?m)^ *{offset}  .* {one['bytes']} +"
                                   + meaning.replace("(", r"\(").replace(")", r"\)") + "$")
            offset += len(piece)
        self.assertEqual(offset, document["bytes"])

    def test_totals_of_several_jobs(self) -> None:
        stream = (job(pale_rows(10, 200), pale_rows(10, 97)) +
                  START + b"\x1bp\0@@" * 2 + page(pale_rows(10, 3)) + b"\x1bJ\x78\x1bd\3" + CUT +
                  b"\x1bB\1\1" + JOB_END)
        totals = self.report(stream)["totals"]
        feed = 25.4 * ((3 * 160 + 120) / 300 + 7 / 6)
        picture = 25.4 * 300 / 300
        expected = {"jobs": 2, "pages": 3, "bands": 6, "rows": 300, "leastBytesPerRow": 10,
                    "mostBytesPerRow": 10, "coveragePercent": 12.5, "drawerPulses": 2,
                    "partialCuts": 1, "fullCuts": 0, "buzzers": 1, "logos": 0, "skippedBytes": 0,
                    "feedMm": round(feed, 3), "pictureMm": picture,
                    "paperMm": round(feed + picture, 3)}
        self.assertEqual({key: totals[key] for key in expected}, expected)

    def test_pages_and_their_heaviest_bands(self) -> None:
        first = pale_rows(4, 96) + [b"\x0f" * 4] * 96 + pale_rows(4, 8)
        document = self.report(job(first, pale_rows(4, 50)))
        offset = len(START)
        self.assertEqual([(one["number"], one["offset"], one["bands"], one["rows"])
                          for one in document["pages"]],
                         [(1, offset, 3, 200), (2, offset + 3 * 8 + 800 + 3, 1, 50)])
        heaviest = {"offset": offset + 8 + 96 * 4, "page": 1, "band": 2, "coveragePercent": 50.0}
        self.assertEqual(document["pages"][0]["heaviestBand"], heaviest)
        self.assertEqual(document["totals"]["heaviestBand"], heaviest)

    def test_an_a4_page_is_one_line_and_with_all_37(self) -> None:
        stream = job(pale_rows(300, 3508))
        bands = [line for line in self.inspect(stream).stdout.decode().splitlines()
                 if "GS v 0" in line]
        self.assertEqual(len(bands), 1)
        self.assertIn("GS v 0 x 37", bands[0])
        self.assertIn("together 3508 rows of 300 bytes (2400 dots), 297.0 mm, 12.5 % black", bands[0])
        every = self.inspect(stream, "--all").stdout.decode()
        self.assertEqual(every.count("GS v 0 "), 37)
        self.assertEqual(len(self.report(stream)["pages"]), 1)

    def test_the_driver_file_and_options_tell_of_the_printer(self) -> None:
        stream = job(pale_rows(300, 300))
        printer = self.report(stream, "--ppd", PPD)["printer"]
        self.assertEqual(printer, {"dpiAcross": 300, "dpiAlong": 300, "unitsPerInch": 300,
                                   "linesPerInch": 6, "headBytes": 300, "dpiAssumed": False,
                                   "paper": None})
        receipt = job(pale_rows(48, 203))
        for options in ((), ("--model", "dravr582"), ("--dpi", "203")):
            document = self.report(receipt, *options)
            self.assertEqual(document["printer"]["dpiAssumed"], not options)
            self.assertEqual(document["totals"]["pictureMm"], 25.4)
        self.assertTrue(self.report(stream)["printer"]["dpiAssumed"])
        totals = self.report(stream, "--dpi", 200, "--units-per-inch", 400)["totals"]
        self.assertEqual((totals["pictureMm"], totals["feedMm"]), (38.1, 10.16))


class WarningsTest(InspectCase):
    def test_clean_jobs_have_none(self) -> None:
        for stream in (job(pale_rows(300, 200), pale_rows(300, 97)), START + JOB_END,
                       job([bytes(20)] * 30),
                       START + page(pale_rows(9, 20)) + CUT + JOB_END):
            self.assertEqual(self.warnings(stream, "--ppd", PPD), [])

    def test_each_kind(self) -> None:
        start = len(START)
        narrow, wide = band(pale_rows(2, 5)), band(pale_rows(3, 5))
        black = [b"\xff" * 4] * 96
        cases: list[tuple[bytes, list[tuple[str, int]]]] = [
            (START + b"\x99" + narrow + PAGE_END + JOB_END, [("unknown-bytes", start)]),
            (START + narrow + PAGE_END + b"\x1bJ", [("unfinished-command", start + 21)]),
            (START + narrow + wide[:-1], [("unfinished-band", start + 18)]),
            (START + narrow + wide + PAGE_END + JOB_END, [("row-width-changes", start + 18)]),
            (START + narrow + PAGE_END + wide + PAGE_END + JOB_END,
             [("row-width-changes", start + 21)]),
            (narrow + PAGE_END + JOB_END, [("no-initialise", 0)]),
            (START + narrow + b"\x1dV\0" + JOB_END, [("cut-without-feed", start + 18)]),
            (START + page(black + [bytes(4)] * 200) + JOB_END, [("heavy-band", start)]),
            (START + page([b"\x0f" * 4] * 200) + JOB_END, [("heavy-job", 64)]),
        ]
        for stream, expected in cases:
            self.assertEqual(self.warnings(stream), expected)

    def test_rows_that_exceed_the_head(self) -> None:
        self.assertEqual(self.warnings(job(pale_rows(300, 10)), "--ppd", PPD), [])
        self.assertEqual(self.warnings(job(pale_rows(301, 10))), [])
        self.assertEqual(self.warnings(job(pale_rows(301, 10), pale_rows(301, 10)), "--ppd", PPD),
                         [("row-exceeds-head", 76), ("row-exceeds-head", 76 + 8 + 3010 + 3)])

    def test_a_job_that_was_cut_short_and_the_next_one(self) -> None:
        whole = job(pale_rows(300, 960))
        for cut in (5000, 100_000, 200_000):
            self.assertEqual(self.warnings(whole[:cut])[0][0], "unfinished-band")
            document = self.report(whole[:cut] + whole)
            kinds = [one["kind"] for one in document["warnings"]]
            self.assertEqual(kinds, ["job-inside-band", "unknown-bytes"])
            self.assertIn(f"offset {cut + 64},", document["warnings"][0]["text"])

    def test_a_capture_that_begins_in_mid_band(self) -> None:
        whole = job(pale_rows(300, 960), pale_rows(300, 96))
        document = self.report(whole[40_000:] + whole)
        self.assertEqual([one["kind"] for one in document["warnings"]],
                         ["unknown-bytes", "no-initialise"])
        self.assertEqual(document["totals"]["pages"], 4)

    def test_a_record_needs_no_initialise(self) -> None:
        rows = pale_rows(20, 130)
        document = self.report(band(rows[:96]) + band(rows[96:]))
        self.assertEqual((document["kind"], document["status"]), ("record", 0))
        self.assertIn(b"command record", self.inspect(band(rows)).stdout)
        self.assertEqual(self.report(job(rows))["kind"], "job")


class InputTest(InspectCase):
    def test_file_pipe_and_standard_input_agree(self) -> None:
        stream = job(pale_rows(300, 4000))
        self.job.write_bytes(stream)
        from_file = self.run_drav("inspect", "--json", self.job)
        self.assertEqual((from_file.returncode, from_file.stderr), (0, b""))
        fifo = self.folder / "fifo"
        os.mkfifo(fifo)

        def write_slowly() -> None:
            with fifo.open("wb") as out:
                for at in range(0, len(stream), 150_001):
                    out.write(stream[at:at + 150_001])
                    out.flush()
                    time.sleep(0.01)

        writer = threading.Thread(target=write_slowly)
        writer.start()
        from_fifo = self.run_drav("inspect", "--json", fifo)
        writer.join()
        from_stdin = self.inspect(stream, "--json")
        documents = [json.loads(one.stdout) for one in (from_file, from_fifo, from_stdin)]
        self.assertEqual([one.pop("input") for one in documents],
                         [str(self.job), str(fifo), "standard input"])
        self.assertEqual(documents[0], documents[1])
        self.assertEqual(documents[0], documents[2])

    def test_what_is_no_job(self) -> None:
        files = {"empty": b"", "pdf": b"%PDF-1.7\n" + bytes(90), "png": b"\x89PNG\r\n\x1a\n",
                 "raster": b"3SaR" + bytes(1796), "zeros": bytes(5000), "text": b"hello\nworld\n",
                 "noise": random.Random(3).randbytes(50_000)}
        for name, content in files.items():
            path = self.folder / name
            path.write_bytes(content)
            for options in ((), ("--json",), ("--all",)):
                self.assert_failed(self.run_drav("inspect", *options, path), f"{name}: ",
                                   "not a job")

    @unittest.skipIf("DRAV_COUNTED" in os.environ, "the counts fail to be written, too, and say so")
    def test_what_cannot_be_read(self) -> None:
        self.assert_failed(self.run_drav("inspect", self.folder), "Is a directory")
        self.assert_failed(self.run_drav("inspect", self.job), "No such file")
        self.assert_failed(self.run_drav("inspect", self.folder / "a\nb"), "a?b")
        closed = subprocess.run(f"'{DRAV}' inspect - <&-", shell=True, timeout=60,
                                capture_output=True, check=False)
        self.assert_failed(closed, "standard input")
        self.job.write_bytes(job(pale_rows(1, 1)))
        self.job.chmod(0)
        drav = self.folder / "drav"
        shutil.copy(DRAV, drav)
        self.folder.chmod(0o755)
        user = {"user": NOBODY} if os.geteuid() == 0 else {}
        result = subprocess.run([drav, "inspect", self.job], capture_output=True, timeout=60,
                                check=False, **user)
        self.assert_failed(result, "Permission denied")

    def test_driver_files_and_options_that_make_no_sense(self) -> None:
        self.job.write_bytes(job(pale_rows(1, 1)))
        self.assert_failed(self.run_drav("inspect", self.job, "--ppd", self.folder / "none"),
                           "none: cannot be read as a driver file")
        self.assert_failed(self.run_drav("inspect", self.job, "--ppd", self.job),
                           "cannot be read as a driver file")
        for options in (("--dpi", "0"), ("--dpi", "many"), ("--units-per-inch", "-1"),
                        ("--lines-per-inch", "nan"), ("--nonsense",), ("second.bin",)):
            self.assert_failed(self.run_drav("inspect", self.job, *options))
        self.assert_failed(self.run_drav("inspect"))

    def test_output_that_cannot_be_written(self) -> None:
        self.job.write_bytes(job(pale_rows(300, 4000)))
        for options in ((), ("--json",), ("--json", "--all")):
            with open("/dev/full", "wb") as full:
                result = subprocess.run([DRAV, "inspect", *options, self.job], stdout=full,
                                        stderr=subprocess.PIPE, timeout=60, check=False)
            self.assertEqual(result.returncode, 2)
            self.assertEqual(result.stderr, b"drav: standard output cannot be written\n")

    def test_a_reader_that_leaves_ends_it(self) -> None:
        self.job.write_bytes(b"\x1b@" + b"\n\x1b@" * 3_000_000)
        with subprocess.Popen([DRAV, "inspect", self.job], stdout=subprocess.PIPE) as child:
            assert child.stdout is not None
            child.stdout.readline()
            child.stdout.close()
            self.assertNotEqual(child.wait(timeout=60), 0)

    def check_large(self, expected: int, chunks: Iterable[bytes], memory: int,
                    *options: str) -> None:
        """Status, memory in kB, and processor time for an input of these chunks."""
        with self.job.open("wb") as out:
            for chunk in chunks:  # a large parent would count as the child's memory
                out.write(chunk)
        command = [DRAV, "inspect", *options, str(self.job)]
        with subprocess.Popen(command, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL) as child:
            _, status, usage = os.wait4(child.pid, 0)
            child.returncode = os.waitstatus_to_exitcode(status)
        self.assertEqual(child.returncode, expected)
        self.assertLess(usage.ru_utime + usage.ru_stime, SECONDS)
        if not SANITIZED:
            self.assertLess(usage.ru_maxrss, memory)

    def test_large_inputs_take_little_time_and_memory(self) -> None:
        rng = random.Random(4)
        noise = rng.randbytes(1 << 20)
        bands = band([rng.randbytes(37) for _ in range(96)]) * 300
        unfinished = START + b"\x1dv0\0\xff\xff\xff\xff"
        self.check_large(2, [bytes(1 << 20)] * 100, 140_000)
        self.check_large(2, [noise] * 100, 140_000)
        self.check_large(1, [START, *[bands] * 28], 70_000, "--json")  # heavy
        self.check_large(1, [unfinished, *[noise] * 30], 70_000)
        # Many commands, pages and warnings: the report grows, the memory does not.
        busy = (band([b"\x01"]) + PAGE_END + b"\n\x1dV\1\x99\x1b@") * 1000
        self.check_large(1, [START, *[busy] * (20 if SANITIZED else 200)], 40_000, "--json", "--all")


class DamageTest(InspectCase):
    """Damage of all kinds ends in a report or in one line, never in anything else."""

    def check(self, stream: bytes) -> int:
        result = self.run_drav("inspect", "--json", "-", stdin=stream)
        self.assertIn(result.returncode, (0, 1, 2))
        if result.returncode == 2:
            self.assert_failed(result, "standard input: ")
            return 2
        self.assertEqual(result.stderr, b"")
        document = json.loads(result.stdout)
        end = 0
        for one in document["commands"]:
            self.assertEqual(one["offset"], end)
            end += one["length"]
        self.assertEqual(end, len(stream))
        return result.returncode

    def check_all(self, streams: list[bytes]) -> list[int]:
        with concurrent.futures.ThreadPoolExecutor(max_workers=2) as pool:
            return list(pool.map(self.check, streams))

    def test_cut_anywhere(self) -> None:
        rng = random.Random(5)
        whole = (START + b"\x1bp\0@@" + b"\x1bB\1\1" +
                 page([rng.randbytes(7) for _ in range(100)]) + CUT + JOB_END)
        ends = list(range(66, 98)) + list(range(98, len(whole), 37)) + [len(whole) - 1]
        for end, status in zip(ends, self.check_all([whole[:end] for end in ends])):
            self.assertIn(status, (0, 1), end)

    def test_flipped_bits(self) -> None:
        rng = random.Random(6)
        whole = START + page([rng.randbytes(7) for _ in range(100)]) + CUT + JOB_END
        streams = []
        for number in range(60):
            damaged = bytearray(whole)
            # Every third one in the start, where the commands are.
            at = rng.randrange(64, 92) if number % 3 == 0 else rng.randrange(len(whole))
            damaged[at] ^= 1 << rng.randrange(8)
            streams.append(bytes(damaged))
        statuses = self.check_all(streams)
        self.assertIn(1, statuses)

    def test_mixtures(self) -> None:
        rng = random.Random(7)
        pieces = [START, JOB_END, PAGE_END, CUT, band([b"\x01\x02"] * 9), b"\x1dv0\0\xff\xff\1\0",
                  b"\x1dv0\0\0\0\1\0", bytes(70), b"\x1b", b"\x99\x98", b"\x1d", rng.randbytes(20),
                  b"\x1b@", b"\n\n"]
        self.check_all([b"".join(rng.choices(pieces, k=rng.randrange(1, 40))) for _ in range(60)])


if __name__ == "__main__":
    tool_case.main()
