#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Stages an installation and looks at how its programs were hardened.

    test_hardening.py --cmake CMAKE --build FOLDER --filter-dir FOLDER
                      [--with-app] [--with-clean] [--fortified] [--fortified-lists] [--control-flow]
"""
import argparse
import os
import pathlib
import platform
import re
import shutil
import stat
import subprocess
import sys
import tempfile
import unittest

import harness

ARGUMENTS = argparse.Namespace()
# The command line's library prints numbers with std::to_string, which hands
# vsnprintf on by its address.
UNCHECKED = {"drav": {"vsnprintf"}}
# Print lines, and put no text together by a format.
WITHOUT_TEXTS = {"drav-picture-reader", "drav-text-reader"}
# Of the C library, in every program.
START_FILES = frozenset(("_start", "_init", "_fini"))


def binutils(*command: str | pathlib.Path) -> str:
    return subprocess.run([*command], env={**os.environ, "LC_ALL": "C"}, check=True,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True).stdout


class HardeningTest(unittest.TestCase):
    stage: pathlib.Path
    programs: dict[str, pathlib.Path]

    @classmethod
    def setUpClass(cls) -> None:
        cls.stage = pathlib.Path(tempfile.mkdtemp(prefix="drav-stage-"))
        cls.addClassCleanup(shutil.rmtree, cls.stage)
        subprocess.run([ARGUMENTS.cmake, "--install", ARGUMENTS.build, "--prefix", "/usr"],
                       env={**os.environ, "DESTDIR": str(cls.stage)}, check=True,
                       stdout=subprocess.DEVNULL)
        filter_dir = pathlib.PurePosixPath("/usr").joinpath(ARGUMENTS.filter_dir)
        cls.programs = {
            "rastertodrav": cls.stage / filter_dir.relative_to("/") / "rastertodrav",
            "picturetodrav": cls.stage / filter_dir.relative_to("/") / "picturetodrav",
            "drav": cls.stage / "usr/bin/drav",
            **{name: cls.stage / "usr/libexec/drav" / name
               for name in ("drav-picture-reader", "drav-text-reader")}}
        if ARGUMENTS.with_app:
            cls.programs["drav-printer-app"] = cls.stage / "usr/bin/drav-printer-app"
        if ARGUMENTS.with_clean:
            cls.programs["drav-clean"] = cls.stage / "usr/libexec/drav/drav-clean"

    def each(self, *command: str) -> dict[str, str]:
        """What a program of binutils says of each of ours."""
        return {name: binutils(*command, path) for name, path in self.programs.items()}

    def test_nothing_else_can_be_run(self) -> None:
        """Every program and library of the installation is looked at here."""
        machine_code = sorted(path for path in self.stage.rglob("*") if path.is_file()
                              and path.read_bytes()[:4] == b"\x7fELF")
        self.assertEqual(machine_code, sorted(self.programs.values()))

    def test_position_independent(self) -> None:
        for name, text in self.each("readelf", "-hdW").items():
            with self.subTest(name):
                self.assertRegex(text, r"Type:\s+DYN \(Position-Independent Executable file\)")
                self.assertRegex(text, r"\(FLAGS_1\)\s+Flags:.*\bPIE\b")
                self.assertNotIn("TEXTREL", text)

    def test_relocations_are_read_only(self) -> None:
        for name, text in self.each("readelf", "-dlSW").items():
            with self.subTest(name):
                self.assertRegex(text, r"\n\s+GNU_RELRO\s")
                self.assertRegex(text, r"\(FLAGS_1\)\s+Flags:.*\bNOW\b")
                # With everything bound at start no lazy slots are left to write to.
                self.assertNotRegex(text, r"\s\.got\.plt\s")

    def test_no_memory_is_both_writable_and_executable(self) -> None:
        for name, text in self.each("readelf", "-lW").items():
            with self.subTest(name):
                self.assertRegex(text, r"\n\s+GNU_STACK\s.*\sRW\s")
                flags = re.findall(r"\n\s+LOAD\s+(?:0x[0-9a-f]+\s+){5}([RWE ]{3})", text)
                self.assertGreater(len(flags), 2)
                self.assertEqual([flag for flag in flags if "W" in flag and "E" in flag], [])

    def test_no_search_path_of_libraries(self) -> None:
        for name, text in self.each("readelf", "-dW").items():
            with self.subTest(name):
                self.assertNotRegex(text, r"\((?:RPATH|RUNPATH)\)")

    def test_stack_protector(self) -> None:
        for name, text in self.each("readelf", "-W", "--dyn-syms").items():
            with self.subTest(name):
                self.assertRegex(text, r"UND __stack_chk_fail\b")

    def test_fortified_lists(self) -> None:
        """What any compiler can check: clang cannot hand the arguments of a print on, so
        the C library's headers leave its calls with arguments unchecked."""
        if not ARGUMENTS.fortified_lists:
            self.skipTest("this build is not fortified")
        for name, text in self.each("readelf", "-W", "--dyn-syms").items():
            with self.subTest(name):
                self.assertRegex(text, r"UND __(?:vfprintf|memcpy|fprintf)_chk\b")

    def test_fortified_calls(self) -> None:
        if not ARGUMENTS.fortified:
            self.skipTest("this build is not fortified")
        for name, text in self.each("readelf", "-W", "--dyn-syms").items():
            with self.subTest(name):
                self.assertRegex(text, r"UND __fprintf_chk\b")
                if name not in WITHOUT_TEXTS:
                    self.assertRegex(text, r"UND __snprintf_chk\b")
                # Every formatted print of ours is a checked one.
                unchecked = set(re.findall(r"UND (v?[sdf]?n?w?printf)@", text))
                self.assertLessEqual(unchecked, UNCHECKED.get(name, set()))

    def test_control_flow(self) -> None:
        """Functions begin with a landing pad, wherever an indirect call may go."""
        if not ARGUMENTS.control_flow:
            self.skipTest("this compiler has no control-flow protection")
        pad = {"x86_64": "endbr64", "aarch64": r"(?:bti|paciasp)"}.get(platform.machine())
        if pad is None:
            self.skipTest(f"no landing pads are known for {platform.machine()}")
        for name, text in self.each("objdump", "-d", "--no-show-raw-insn", "-j", ".text").items():
            with self.subTest(name):
                first = dict(re.findall(r"^([0-9a-f]+) <[^>]+>:\n\s*[0-9a-f]+:\s+(\S+)", text,
                                        re.MULTILINE))
                functions = self.visible_functions(name)
                self.assertIn("main", functions)
                self.assertEqual([function for function, address in functions.items()
                                  if not re.match(pad, first[address])], [])

    def visible_functions(self, name: str) -> dict[str, str]:
        """Our functions that other files can name, by their addresses; static ones may
        be called by name alone and need no pad."""
        symbols = binutils("readelf", "-sW", self.programs[name])
        found = re.findall(r"^\s*\d+: ([0-9a-f]+)\s+\S+\s+FUNC\s+(?:GLOBAL|WEAK)\s+\S+\s+\d+ (\S+)",
                           symbols, re.MULTILINE)
        return {function: address for address, function in found if function not in START_FILES}

    def test_rights(self) -> None:
        for name, path in self.programs.items():
            with self.subTest(name):
                self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o755)


def main() -> None:
    parser = argparse.ArgumentParser()
    parser.add_argument("--cmake", required=True)
    parser.add_argument("--build", required=True)
    parser.add_argument("--filter-dir", required=True)
    parser.add_argument("--with-clean", action="store_true")
    parser.add_argument("--with-app", action="store_true")
    parser.add_argument("--fortified-lists", action="store_true")
    parser.add_argument("--fortified", action="store_true")
    parser.add_argument("--control-flow", action="store_true")
    _, rest = parser.parse_known_args(namespace=ARGUMENTS)
    if shutil.which("readelf") is None or shutil.which("objdump") is None:
        print("SKIPPED: readelf and objdump (binutils) are not installed")
        sys.exit(harness.SKIPPED)
    harness.run_tests([sys.argv[0], *rest])


if __name__ == "__main__":
    main()
