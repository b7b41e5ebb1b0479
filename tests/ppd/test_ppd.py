#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Stages an installation and checks the driver files in it.

The PPD files are made from the staged driver source, by ppdc and by the program
by which CUPS makes them, and must equal those of the build.
"""
import argparse
import os
import pathlib
import re
import shutil
import stat
import subprocess
import sys
import tempfile
import unittest

import harness
from ppd_file import LANGUAGES, MODELS, NAMED_SIZES, PpdFile, read_folder

ARGUMENTS = argparse.Namespace()
# The only warnings of cupstestppd that we live with; ppd/README.md has the reason.
KNOWN_WARNING = re.compile(r'Size "[A-Za-z0-9_]+" should be the Adobe standard name '
                           r'"[A-Za-z0-9]+\.Fullble(ed)?"')


def skip(reason: str) -> None:
    print(f"SKIPPED: {reason}")
    sys.exit(harness.SKIPPED)


class StageTest(unittest.TestCase):
    """A staged installation, and the PPD files made from its driver source."""

    stage: pathlib.Path
    made: pathlib.Path
    ppdc: subprocess.CompletedProcess[str]

    @classmethod
    def setUpClass(cls) -> None:
        cls.stage = pathlib.Path(tempfile.mkdtemp(prefix="drav-stage-"))
        cls.addClassCleanup(shutil.rmtree, cls.stage)
        cls.stage.chmod(0o755)
        subprocess.run([ARGUMENTS.cmake, "--install", ARGUMENTS.build, "--prefix", "/usr"],
                       env={**os.environ, "DESTDIR": str(cls.stage)}, check=True,
                       stdout=subprocess.DEVNULL)
        cls.filter = cls.staged(ARGUMENTS.filter_dir, "rastertodrav")
        cls.driver = cls.staged(ARGUMENTS.driver_dir, "drav.drv")
        cls.parts = cls.staged(ARGUMENTS.parts_dir)
        cls.made = cls.stage / "made"
        cls.ppdc = subprocess.run(
            ["ppdc", "-d", cls.made, "-I", cls.parts, "-l", ",".join(LANGUAGES), cls.driver],
            check=False, capture_output=True, text=True)
        cls.files = read_folder(cls.made)

    @classmethod
    def staged(cls, *path: str) -> pathlib.Path:
        found = pathlib.PurePosixPath("/usr").joinpath(*path)  # a relative one is in the prefix
        return cls.stage / found.relative_to("/")

    def setUp(self) -> None:
        self.assertEqual(set(self.files), set(MODELS), self.ppdc.stderr)


class InstalledTest(StageTest):
    def test_source_compiles_without_a_word(self) -> None:
        self.assertEqual((self.ppdc.returncode, self.ppdc.stdout, self.ppdc.stderr), (0, "", ""))

    def test_build_makes_the_same_files(self) -> None:
        built = pathlib.Path(ARGUMENTS.build) / "ppd"
        self.assertEqual(sorted(path.name for path in built.glob("*.ppd")), sorted(self.files))
        for name in self.files:
            self.assertEqual((built / name).read_bytes(), (self.made / name).read_bytes())

    def test_what_is_installed(self) -> None:
        files = {path: stat.S_IMODE(path.stat().st_mode) for path in self.stage.rglob("*")
                 if path.is_file() and self.made not in path.parents}
        self.assertEqual(files.get(self.filter), 0o755)
        self.assertEqual(files.get(self.driver), 0o644)
        parts = {f"drav-{language}.po" for language in LANGUAGES} | {"drav-options.defs"}
        self.assertEqual({path.name for path in files if path.parent == self.parts}, parts)
        for name in parts:
            self.assertEqual(files[self.parts / name], 0o644, name)
        # Whatever else lies beside the source is taken for a driver.
        self.assertEqual([path for path in files if path.parent == self.driver.parent],
                         [self.driver])
        self.assertEqual(files.get(self.stage / "usr/bin/drav"), 0o755)
        self.assertEqual([path for path in files if path.suffix == ".ppd"], [])
        for path, mode in files.items():
            self.assertEqual(mode & 0o022, 0, path)

    def test_staged_programs_start(self) -> None:
        version = subprocess.run([self.stage / "usr/bin/drav", "--version"], check=True,
                                 capture_output=True, text=True)
        self.assertEqual(version.stdout, f"drav {ARGUMENTS.version}\n")
        usage = subprocess.run([self.filter], check=False, capture_output=True, text=True)
        self.assertEqual(usage.returncode, 1)
        self.assertIn(f"rastertodrav v{ARGUMENTS.version}", usage.stderr)

    def test_cupstestppd_passes(self) -> None:
        if ARGUMENTS.filter_dir != f"{ARGUMENTS.serverbin}/filter":
            self.skipTest("the filter is not in CUPS's own folder")
        # Filters must belong to root; what others stage is checked without them.
        ignored = [] if os.geteuid() == 0 else ["-I", "filters"]
        for name in self.files:
            result = subprocess.run(["cupstestppd", "-R", self.stage, "-W", "none", *ignored,
                                     self.made / name], check=False, capture_output=True, text=True)
            self.assertEqual(result.returncode, 0, result.stdout)
            verdict, *remarks = result.stdout.strip().splitlines()
            self.assertTrue(verdict.endswith(": PASS"), verdict)
            for remark in remarks:
                self.assertRegex(remark, KNOWN_WARNING)


class SchedulerTest(StageTest):
    """The program by which the scheduler lists and makes PPD files."""

    def setUp(self) -> None:
        super().setUp()
        self.program = pathlib.Path(ARGUMENTS.serverbin) / "daemon/cups-driverd"
        if not os.access(self.program, os.X_OK):
            self.skipTest("cups-driverd is not installed")
        system = pathlib.Path(ARGUMENTS.datadir)
        self.data = pathlib.Path(tempfile.mkdtemp(prefix="drav-data-"))
        self.addCleanup(shutil.rmtree, self.data)
        shutil.copytree(self.driver.parent, self.data / "drv")
        shutil.copytree(self.parts, self.data / "ppdc")
        shutil.copy(system / "ppdc/font.defs", self.data / "ppdc")
        (self.data / "none").mkdir()

    def driverd(self, *arguments: str) -> str:
        done = subprocess.run(
            [self.program, *arguments], check=False, capture_output=True, encoding="utf-8",
            env={"PATH": "/usr/bin:/bin", "CUPS_DATADIR": str(self.data),
                 "CUPS_SERVERBIN": str(self.data / "none"), "CUPS_CACHEDIR": str(self.data)})
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertNotIn("ppdc: ", done.stderr)
        return done.stdout

    def test_lists_each_model_once(self) -> None:
        listed = re.findall(r"^(drv:\S+) \((.*)\)$", self.driverd("list", "0", "0", ""), re.M)
        self.assertEqual(sorted(listed), sorted(
            (f"drv:///drav.drv/{name}", ppd.attributes["NickName"][0])
            for name, ppd in self.files.items()))

    def test_finds_a_model_by_the_printers_own_words(self) -> None:
        for name, ppd in self.files.items():
            device = device_id(ppd)
            listed = self.driverd("list", "0", "1", f"ppd-device-id='{device}'")
            self.assertTrue(listed.startswith(f"drv:///drav.drv/{name} "), listed)

    def test_makes_the_same_files_with_all_languages(self) -> None:
        for name in self.files:
            self.assertEqual(self.driverd("cat", f"drv:///drav.drv/{name}"),
                             (self.made / name).read_text(encoding="utf-8"))


def device_id(ppd: PpdFile) -> str:
    (found,) = re.findall(r'^\*1284DeviceID: "(.*)"$', ppd.text, re.M)
    return found


class ModelTest(StageTest):
    def test_lines_of_the_chain(self) -> None:
        for name, ppd in self.files.items():
            attributes = ppd.attributes
            self.assertEqual(attributes["cupsManualCopies"], ["True"])
            raster = "application/vnd.cups-raster"
            self.assertEqual(attributes["cupsFilter"], [f"{raster} 0 rastertodrav"])
            # No line names a program that another package brings: what picturetodrav makes
            # goes to the printer as it is.
            made = ["page"] if MODELS[name].stencil else ["page", "roll"]
            self.assertEqual(attributes["cupsFilter2"],
                             [f"{raster} application/octet-stream 0 rastertodrav",
                              *(f"application/vnd.drav-{kind} application/octet-stream 0 -"
                                for kind in made)])
            self.assertEqual(attributes["FileVersion"], [ARGUMENTS.version])
            (model,) = ppd.choices("ColorModel").values()
            self.assertIn("/cupsColorSpace 3/", model[1])
            (prefix,) = attributes["dravFilterOutputFile"]
            self.assertEqual(os.path.dirname(prefix), "/var/spool/cups/tmp")
            self.assertRegex(device_id(ppd), r"^MFG:Drav;MDL:[^;]+;CMD:ESC/POS;CLS:PRINTER;$")

    def test_resolution(self) -> None:
        for name, ppd in self.files.items():
            dpi = MODELS[name].resolution
            self.assertEqual(list(ppd.choices("Resolution")), [f"{dpi}dpi"])
            (resolution,) = ppd.choices("Resolution").values()
            self.assertIn(f"/HWResolution[{dpi} {dpi}]/cupsBitsPerColor 8/", resolution[1])

    def test_names_are_unique(self) -> None:
        for key in ("NickName", "PCFileName", "cupsModelNumber", "ShortNickName", "ModelName",
                    "Product"):
            values = [value for ppd in self.files.values() for value in ppd.attributes[key]]
            self.assertEqual(len(values), len(set(values)), key)
            self.assertEqual(len(values), len(self.files), key)
        self.assertEqual(len({device_id(ppd) for ppd in self.files.values()}), len(self.files))
        for name, ppd in self.files.items():
            self.assertRegex(name, r"^[a-z0-9]{1,8}\.ppd$")
            self.assertEqual(ppd.attributes["PCFileName"], [name])
            self.assertTrue(ppd.attributes["ModelName"][0].startswith("Drav "))
            self.assertEqual(f"Drav {device_id(ppd).split(';')[1][len('MDL:'):]}",
                             ppd.attributes["ModelName"][0])

    def test_printable_width(self) -> None:
        for name, ppd in self.files.items():
            model = MODELS[name]
            (limit,) = map(float, ppd.attributes["MaxMediaWidth"])
            self.assertAlmostEqual(limit, (model.head - 2.5) * 72 / model.resolution, places=3)

    def test_paper_sizes_without_margins(self) -> None:
        for name, ppd in self.files.items():
            areas, sizes = ppd.choices("ImageableArea"), ppd.choices("PaperDimension")
            self.assertEqual(list(sizes), list(ppd.choices("PageSize")))
            self.assertEqual(list(areas), list(sizes))
            for size, (_, points) in sizes.items():
                self.assertEqual(areas[size][1], f"0 0 {points}")
                for length, millimetres in zip(points.split(), paper(size), strict=True):
                    self.assertAlmostEqual(float(length), millimetres * 72 / 25.4, places=2,
                                           msg=size)
            self.assertEqual({size for size in sizes if not size.startswith("X")},
                             MODELS[name].named_sizes)
            self.assertEqual(ppd.attributes["DefaultPageSize"], [MODELS[name].page_size])

    def test_labels_of_the_rolls_tell_their_size(self) -> None:
        for _, ppd in self.files.items():
            for size, (label, _) in ppd.choices("PageSize").items():
                if not size.startswith("X"):
                    continue
                width, length = (f"{value:g}" for value in paper(size))
                metres = f"{float(length) / 1000:g}"
                self.assertTrue(label.startswith((f"{width} x {length} mm (",
                                                  f"{width} mm x {metres} m (")), label)

    def test_a_roll_as_wide_as_the_head_is_there(self) -> None:
        for name, ppd in self.files.items():
            model = MODELS[name]
            printable = model.head / model.resolution * 25.4
            widths = [paper(size)[0] for size in ppd.choices("PageSize")]
            self.assertLess(min(abs(width - printable) for width in widths), 0.25)


def paper(size: str) -> tuple[float, float]:
    """Millimetres of a paper by its name."""
    if size in NAMED_SIZES:
        return NAMED_SIZES[size]
    match = re.fullmatch(r"X([0-9D]{1,19})MMY([0-9D]{1,19})MM", size)
    if not match:
        raise ValueError(f"a paper of no known name: {size}")
    return float(match[1].replace("D", ".")), float(match[2].replace("D", "."))


def cups_folder(which: str) -> str:
    return subprocess.run(["cups-config", f"--{which}"], check=True, capture_output=True,
                          text=True).stdout.strip()


def main() -> None:
    parser = argparse.ArgumentParser()
    for name in ("cmake", "build", "version", "filter-dir", "driver-dir", "parts-dir"):
        parser.add_argument(f"--{name}", required=True)
    parser.parse_args(namespace=ARGUMENTS)
    for tool in ("ppdc", "cupstestppd", "cups-config"):
        if not shutil.which(tool):
            skip(f"{tool} is not installed")
    ARGUMENTS.serverbin = cups_folder("serverbin")
    ARGUMENTS.datadir = cups_folder("datadir")
    harness.run_tests()


if __name__ == "__main__":
    main()
