#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs `drav doctor --clean` and `drav-clean` on folders of pictures and traps.

    test_clean.py DRAV DRAV_CLEAN VERSION
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

import harness

PROGRAMS = {}
VERSION = ""
HOUR, DAY = 3600, 86400
PICTURES = ("origin_2026-1-2_3_4_5_0.bmp", "dithered_2026-12-31_23_59_60_1.bmp",
            "origin_1970-1-1_0_0_0_9223372036854775807.bmp")
STRANGERS = (
    "origin_2026-1-2_3_4_5_0.bmp.bak", "origin_2026-1-2_3_4_5_0.BMP", "origin_2026-1-2_3_4_5_0",
    "Origin_2026-1-2_3_4_5_0.bmp", "xorigin_2026-1-2_3_4_5_0.bmp", " origin_2026-1-2_3_4_5_0.bmp",
    "origin_2026-01-2_3_4_5_0.bmp", "origin_2026-1-02_3_4_5_0.bmp", "origin_2026-1-2_3_4_5_00.bmp",
    "origin_2026-13-2_3_4_5_0.bmp", "origin_2026-0-2_3_4_5_0.bmp", "origin_2026-1-32_3_4_5_0.bmp",
    "origin_2026-1-2_24_4_5_0.bmp", "origin_2026-1-2_3_60_5_0.bmp", "origin_2026-1-2_3_4_61_0.bmp",
    "origin_2026-1-2_3_4_5_-1.bmp", "origin_2026-1-2_3_4_5_+1.bmp", "origin_2026-1-2_3_4_5_.bmp",
    "origin_2026-1-2_3_4_5.bmp", "origin_2026-1-2_3_4_5_0_0.bmp", "origin_-1-1-2_3_4_5_0.bmp",
    "origin_2026-1-2_3_4_5_9223372036854775808.bmp", "origin_2026-1-2_3_4_5_0.bmp\n",
    "origin_2026-1-2_3_4_ 5_0.bmp", "origin_*.bmp", "origin_.bmp", "prnimg_2026-1-2_3_4_5_0.bmp",
    "dithered_2026-1-2 3:4:5_0.bmp", "drav-20260102030405.bin", "-rf", "$(touch x)", "\udcff\udcfe",
    "origin_2026-1-2_3_4_5_0x1.bmp", "origin_２026-1-2_3_4_5_0.bmp", ".origin_2026-1-2_3_4_5_0.bmp",
    "original.bmp", "dithered_2026-1-2_3_4_5_1e3.bmp")


class CleanTest(unittest.TestCase):
    """Every test runs for both programs."""

    def setUp(self):
        self.base = pathlib.Path(tempfile.mkdtemp(prefix="drav-clean-"))
        self.addCleanup(shutil.rmtree, self.base, ignore_errors=True)
        self.folder = self.base / "tmp"
        self.outside = self.base / "outside"

    def programs(self):
        for name, command in PROGRAMS.items():
            with self.subTest(program=name):
                for folder in (self.folder, self.outside):
                    shutil.rmtree(folder, ignore_errors=True)
                    folder.mkdir()
                yield command

    def run_clean(self, command, *arguments, folder=None, **more):
        where = ("--folder", folder or self.folder)
        return subprocess.run([*command, *where, *arguments], capture_output=True, text=True,
                              errors="surrogateescape", timeout=60, check=False, **more)

    def put(self, name, age=30 * DAY, size=1000, folder=None):
        path = (folder or self.folder) / name
        path.write_bytes(bytes(size))
        os.utime(path, (time.time() - age,) * 2)
        return path

    def names(self, folder=None):
        return sorted(os.listdir(folder or self.folder))

    def assert_cleared(self, result, text):
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertEqual(result.stdout, text + "\n")

    def assert_failed(self, result, *words):
        self.assertEqual(result.returncode, 2)
        self.assertRegex(result.stderr, r"\Adrav(-clean)?: [^\n]+\n\Z")
        for word in words:
            self.assertIn(word, result.stderr)

    def test_pictures_go_and_strangers_stay(self):
        for command in self.programs():
            for name in (*PICTURES, *STRANGERS):
                self.put(name)
            self.assert_cleared(self.run_clean(command), "removed 3 pictures, 3.0 kB")
            self.assertEqual(self.names(), sorted(STRANGERS))

    def test_age(self):
        for command in self.programs():
            for number, age in enumerate((0, 50 * 60, 2 * HOUR, 6 * DAY + 23 * HOUR, 8 * DAY)):
                self.put(f"origin_2026-1-2_3_4_5_{number}.bmp", age)
            for arguments, removed, left in ((("--older-than", "100w"), 0, 5), ((), 1, 4),
                                             (("--older-than", "6d"), 1, 3),
                                             (("--older-than", "90m"), 1, 2),
                                             (("--older-than", "3000s"), 1, 1),
                                             (("--older-than", "0"), 1, 0)):
                result = self.run_clean(command, *arguments)
                self.assertEqual((result.returncode, result.stderr), (0, ""))
                self.assertRegex(result.stdout, rf"\Aremoved {removed} picture")
                self.assertEqual(len(self.names()), left, arguments)

    def test_pictures_of_the_future(self):
        for command in self.programs():
            self.put(PICTURES[0], age=-DAY)
            self.assert_cleared(self.run_clean(command, "--older-than", "1s"),
                                "removed 0 pictures; 1 younger picture stays")
            self.assert_cleared(self.run_clean(command, "--older-than", "0"),
                                "removed 1 picture, 1.0 kB")

    def test_dry_run(self):
        for command in self.programs():
            for name in PICTURES:
                self.put(name)
            self.assert_cleared(self.run_clean(command, "--dry-run"),
                                "would remove 3 pictures, 3.0 kB")
            self.assertEqual(self.names(), sorted(PICTURES))

    def test_traps(self):
        for command in self.programs():
            victim = self.put("victim", folder=self.outside)
            inner = self.put(PICTURES[0], folder=self.outside)
            (self.folder / PICTURES[0]).symlink_to(victim)
            (self.folder / PICTURES[1]).symlink_to(self.outside)
            (self.folder / "dithered_2026-1-2_3_4_5_7.bmp").mkdir()
            self.put("origin_2026-1-2_3_4_5_1.bmp", folder=self.folder /
                     "dithered_2026-1-2_3_4_5_7.bmp")
            os.mkfifo(self.folder / "origin_2026-1-2_3_4_5_8.bmp")
            os.link(victim, self.folder / "origin_2026-1-2_3_4_5_9.bmp")
            (self.folder / "origin_2026-1-2_3_4_5_3.bmp").symlink_to("nowhere")
            before = self.names()
            result = self.run_clean(command, "--older-than", "0")
            self.assert_cleared(result, "removed 0 pictures; left alone 6 that only have a "
                                        "picture's name (links, folders, files with a second name)")
            self.assertEqual(self.names(), before)
            self.assertTrue(inner.exists() and victim.exists())
            self.assertEqual(len(list((self.folder / "dithered_2026-1-2_3_4_5_7.bmp").iterdir())), 1)

    def test_subfolders_are_not_entered(self):
        for command in self.programs():
            (self.folder / "deeper").mkdir()
            self.put(PICTURES[0], folder=self.folder / "deeper")
            self.assert_cleared(self.run_clean(command), "removed 0 pictures")
            self.assertEqual(self.names(self.folder / "deeper"), [PICTURES[0]])

    def test_folder_that_is_a_link(self):
        for command in self.programs():
            self.put(PICTURES[0], folder=self.outside)
            link = self.base / "link"
            link.unlink(missing_ok=True)
            link.symlink_to(self.outside)
            for folder in (link, f"{link}/", f"{link}///"):
                self.assert_failed(self.run_clean(command, folder=folder), "is a symbolic link")
            self.assertEqual(self.names(self.outside), [PICTURES[0]])

    def test_folders_that_are_none(self):
        for command in self.programs():
            self.assert_failed(self.run_clean(command, folder=self.put("file")), "Not a directory")
            self.assert_failed(self.run_clean(command, folder=self.base / "none\nx"),
                               "none?x: No such file or directory")

    def test_owned_by_whomever(self):
        if os.geteuid() != 0:
            self.skipTest("only root can give files away")
        for command in self.programs():
            path = self.put(PICTURES[0])
            os.chown(path, 12345, 12345)
            path.chmod(0)
            self.assert_cleared(self.run_clean(command), "removed 1 picture, 1.0 kB")

    @unittest.skipIf("DRAV_COUNTED" in os.environ, "the counts fail to be written, too, and say so")
    def test_no_rights(self):
        for command in self.programs():
            self.put(PICTURES[0])
            self.put(PICTURES[1])
            self.folder.chmod(0o555)
            result = self.run_clean(command, preexec_fn=harness.without_privileges)
            self.folder.chmod(0o755)
            self.assert_failed(result, "Permission denied (2 not removed)")
            self.assertEqual(result.stdout, "removed 0 pictures\n")
            self.assertEqual(len(self.names()), 2)

    def test_exchanged_while_it_runs(self):
        """Names that turn from file to link and back never lead out of the folder."""
        for command in self.programs():
            victims = [self.put(f"victim{number}", folder=self.outside) for number in range(50)]
            names = [f"origin_2026-1-2_3_4_5_{number}.bmp" for number in range(50)]
            with subprocess.Popen([sys.executable, "-c", SWAPPER, str(self.folder),
                                   str(self.outside), *names]) as swapper:
                for _ in range(40):
                    self.assertEqual(self.run_clean(command, "--older-than", "0").returncode, 0)
                self.assertIsNone(swapper.poll())
                swapper.terminate()
            self.assertTrue(all(victim.stat().st_size == 1000 for victim in victims))

    def test_wrong_usage(self):
        for command in self.programs():
            self.put(PICTURES[0])
            for arguments in (("--older-than", "x"), ("--older-than", ""), ("--older-than", "7"),
                              ("--older-than", "-1d"), ("--older-than", "7 d"),
                              ("--older-than", "7dd"), ("--older-than", "9" * 30 + "d"),
                              ("--older-than", "101y"), ("--older-than", "5300w"),
                              ("--nonsense",), ("--older-than",), ("extra", "extra")):
                self.assert_failed(self.run_clean(command, *arguments))
            self.assertEqual(self.names(), [PICTURES[0]])

    def test_output_that_cannot_be_written(self):
        for command in self.programs():
            with open("/dev/full", "wb") as full:
                result = subprocess.run([*command, "--folder", self.folder], stdout=full,
                                        stderr=subprocess.PIPE, text=True, check=False)
            self.assert_failed(result, "standard output")

    def test_the_small_program_by_itself(self):
        command = PROGRAMS["drav-clean"]
        version = subprocess.run([*command, "--version"], capture_output=True, text=True,
                                 check=False)
        self.assertEqual((version.returncode, version.stdout), (0, f"drav-clean {VERSION}\n"))
        usage = subprocess.run([*command, "--help"], capture_output=True, text=True, check=False)
        self.assertEqual((usage.returncode, usage.stderr), (0, ""))
        for option in ("--older-than", "--folder", "--dry-run", "--version"):
            self.assertIn(option, usage.stdout)


SWAPPER = """
import os, sys
folder, outside, *names = sys.argv[1:]
while True:
    for number, name in enumerate(names):
        path = os.path.join(folder, name)
        spare = os.path.join(folder, "spare")
        if number % 2:
            os.symlink(os.path.join(outside, f"victim{number}"), spare)
        else:
            open(spare, "w").close()
        os.rename(spare, path)
    names.append(names.pop(0))
"""


if __name__ == "__main__":
    PROGRAMS["drav"] = [os.path.abspath(sys.argv[1]), "doctor", "--clean"]
    PROGRAMS["drav-clean"] = [os.path.abspath(sys.argv[2])]
    VERSION = sys.argv[3]
    harness.run_tests(sys.argv[:1] + sys.argv[4:])
