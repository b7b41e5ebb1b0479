# SPDX-License-Identifier: Apache-2.0
"""Pieces of job streams, and the base class of tests that run drav on them.

The environment names the program, DRAV_TOOL, and the driver file of the printer whose
head has 2,400 dots, DRAV_PPD.
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest
from typing import Any

import harness
from test_render import page

DRAV = os.environ.get("DRAV_TOOL", "")
PPD = os.environ.get("DRAV_PPD", "")
START = bytes(64) + bytes.fromhex("1b40 1f1b1f131408 1b240100")
PAGE_END = bytes.fromhex("1b4aa0")
JOB_END = bytes.fromhex("1b76")
CUT = bytes.fromhex("0a0a0a0a 1d5601")


def pale_rows(width: int, count: int) -> list[bytes]:
    """Rows of which one dot in eight is black."""
    return [b"\x01" * width] * count


def job(*pages: list[bytes]) -> bytes:
    return START + b"".join(page(rows) for rows in pages) + JOB_END


class ToolCase(unittest.TestCase):
    maxDiff = 4000

    def setUp(self) -> None:
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="drav-tool-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.job = self.folder / "job.bin"

    def run_drav(self, *arguments: object, stdin: bytes = b"",
                 **more: Any) -> "subprocess.CompletedProcess[bytes]":
        return subprocess.run([DRAV, *map(str, arguments)], input=stdin, capture_output=True,
                              timeout=120, check=False, **more)

    def assert_failed(self, result: "subprocess.CompletedProcess[bytes]", *words: str) -> None:
        """Status 2, one line that holds `words`, and nothing on standard output."""
        self.assertEqual((result.returncode, result.stdout), (2, b""))
        self.assertRegex(result.stderr.decode(), r"\Adrav: [^\n]+\n\Z")
        for word in words:
            self.assertIn(word, result.stderr.decode())


def main() -> None:
    """Runs the tests of the calling program."""
    if not DRAV or not PPD:
        sys.exit("DRAV_TOOL and DRAV_PPD do not name the program and the driver file")
    harness.run_tests(sys.argv)
