#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The folders of a Mac, staged anywhere: PPD files alone, with the filter's path.

The programs are those of the build; only what the layout changes is made anew.
"""
import argparse
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import harness
import staged

ARGUMENTS = argparse.Namespace()
FILTER = "/Library/Printers/Drav/rastertodrav"
MODELS = "/Library/Printers/PPDs/Contents/Resources"


class MacLayoutTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(scratch.cleanup)
        build = pathlib.Path(scratch.name) / "build"
        cls.stage = pathlib.Path(scratch.name) / "stage"
        cls.stage.mkdir()
        compiler, compiler_cxx = ARGUMENTS.compilers
        configure = [ARGUMENTS.cmake, "-S", str(staged.SOURCE), "-B", str(build),
                     "-G", ARGUMENTS.generator, "-DDRAV_LAYOUT=macos", "-DDRAV_BUILD_TESTS=OFF",
                     "-DCMAKE_INSTALL_PREFIX=/usr/local", "-DCMAKE_BUILD_TYPE=Release",
                     f"-DCMAKE_C_COMPILER={compiler}", f"-DCMAKE_CXX_COMPILER={compiler_cxx}"]
        make = [ARGUMENTS.cmake, "--build", str(build), "--target", "drav_ppds"]
        for command in (configure, make):
            subprocess.run(command, check=True, capture_output=True, stdin=subprocess.DEVNULL)
        (build / "bin").mkdir(exist_ok=True)
        for program in ("rastertodrav", "drav", "drav-clean", "drav-picture-reader",
                        "drav-text-reader", "picturetodrav"):
            if (pathlib.Path(ARGUMENTS.build) / "bin" / program).exists():
                shutil.copy2(pathlib.Path(ARGUMENTS.build) / "bin" / program, build / "bin")
        if ARGUMENTS.with_completions:
            shutil.copytree(pathlib.Path(ARGUMENTS.build) / "completions", build / "completions")
        result = staged.run([ARGUMENTS.cmake, "--install", str(build)], cls.stage)
        if result.returncode != 0:
            raise RuntimeError(result.stderr)
        cls.models = sorted(path.name for path in (build / "ppd").glob("*.ppd"))

    def test_every_file_with_its_mode(self):
        expected = {
            FILTER: 0o755,
            FILTER.replace("raster", "picture"): 0o755,
            "/usr/local/bin/drav": 0o755,
            "/usr/local/libexec/drav/drav-picture-reader": 0o755,
            "/usr/local/libexec/drav/drav-text-reader": 0o755,
            "/usr/local/share/man/man1/drav.1": 0o644,
            "/usr/local/share/man/man8/rastertodrav.8": 0o644,
            "/usr/local/share/man/man8/picturetodrav.8": 0o644,
            "/usr/local/share/doc/drav/CHANGES.md": 0o644,
            "/usr/local/share/doc/drav/LICENSE": 0o644,
        }
        expected |= {f"{MODELS}/{name}": 0o644 for name in self.models}
        expected |= {f"/usr/local/share/doc/drav/{name}": 0o644 for name in staged.guides()}
        if ARGUMENTS.with_completions:
            expected |= {f"/usr/local/share/{name}": 0o644 for name in staged.COMPLETIONS}
        if ARGUMENTS.with_clean:
            expected["/usr/local/libexec/drav/drav-clean"] = 0o755
        self.assertTrue(self.models)
        self.assertEqual(staged.files(self.stage), expected)

    def test_every_ppd_names_the_filter_by_its_absolute_path(self):
        for name in self.models:
            text = (self.stage / MODELS.lstrip("/") / name).read_text(encoding="utf-8")
            lines = [line for line in re.findall(r'^\*(cupsFilter2?):\s*"(.*)"', text, re.M)
                     if not line[1].endswith(" -")]
            self.assertEqual(sorted(lines), [
                ("cupsFilter", f"application/vnd.cups-raster 0 {FILTER}"),
                ("cupsFilter2",
                 f"application/vnd.cups-raster application/octet-stream 0 {FILTER}")], name)


def main() -> None:
    parser = argparse.ArgumentParser()
    for name in ("cmake", "build", "generator"):
        parser.add_argument(f"--{name}", required=True)
    parser.add_argument("--compilers", nargs=2, required=True)
    parser.add_argument("--with-clean", action="store_true")
    parser.add_argument("--with-completions", action="store_true")
    parser.parse_args(namespace=ARGUMENTS)
    harness.run_tests()


if __name__ == "__main__":
    main()
