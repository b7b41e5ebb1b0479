#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Stages an installation and checks the driver files in it.

The PPD files are made from the staged driver source, as CUPS makes them, and
must equal those of the build.
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

ARGUMENTS = argparse.Namespace()

ON_OFF_CUT = {"0", "1", "2"}
# Every option that the filter reads: its choices and its default.
OPTIONS = {
    "HalftoneType": ({"None", "FloydSteinberg", "Ordered", "Burkes", "Stucki",
                      "JarvisJudiceNinke", "Sierra", "StevensonArce", "Tattoo", "Tattoo_X8"},
                     "Tattoo"),
    "Brightness": ({"-40", "-35", "-30", "-25", "-20", "-15", "-10", "-5", "0", "2", "5", "10",
                    "15"}, "0"),
    "PrintDensity": ({str(level) for level in range(16)}, "8"),
    "PageType": ({"0", "1"}, "0"),
    "pageCutType": (ON_OFF_CUT, "0"),
    "docCutType": (ON_OFF_CUT, "0"),
    "FeedCutAfterJobEnd": ({"0", "1", "2", "3", "4", "5", "6", "8", "10"}, "0"),
    "CashDrawer1Setting": (ON_OFF_CUT, "0"),
    "CashDrawer2Setting": (ON_OFF_CUT, "0"),
    "DocumentBuzzerSetting": (ON_OFF_CUT, "0"),
    "PageBuzzerSetting": (ON_OFF_CUT, "0"),
    "BuzzerOnTime": ({str(units) for units in range(1, 10)}, "1"),
    "BuzzerRepeat": ({str(times) for times in range(1, 10)}, "1"),
    "DocTopLogoID": ({"0", "1", "2", "3", "4", "5"}, "0"),
    "DocTopLogoMode": ({"0", "1", "2", "3"}, "0"),
    "DocTopLogoPosition": (ON_OFF_CUT, "1"),
    "DocBottomLogoID": ({"0", "1", "2", "3", "4", "5"}, "0"),
    "DocBottomLogoMode": ({"0", "1", "2", "3"}, "0"),
    "DocBottomLogoPosition": (ON_OFF_CUT, "1"),
    "RecordPrinterCommands": ({"0", "1"}, "0"),
}
# What each halftone choice runs, as its label must begin.
HALFTONES = {
    "None": "Threshold", "FloydSteinberg": "Ordered 4x4", "Ordered": "Burkes", "Burkes": "Stucki",
    "Stucki": "Jarvis, Judice and Ninke", "JarvisJudiceNinke": "Sierra",
    "Sierra": "Stevenson and Arce", "StevensonArce": "Bayer",
    "Tattoo": "Tattoo stencil (", "Tattoo_X8": "Tattoo stencil X8",
}
# Dots of the head and resolution by PPD file.
HEADS = {"dravsa43.ppd": (2400, 300)}
NAMED_SIZES = {"A4": (210, 297), "Letter": (215.9, 279.4), "Tattoo_A5": (210, 148),
               "Tattoo_A6": (105, 148)}
# The only warnings of cupstestppd that we live with; ppd/README.md has the reason.
KNOWN_WARNING = re.compile(r'Size "[A-Za-z0-9_]+" should be the Adobe standard name')


def skip(reason):
    print(f"skipped: {reason}")
    sys.exit(77)


class PpdFile:
    """The lines that matter here, read without libcups."""

    def __init__(self, text):
        self.text = text
        self.attributes = {}
        for line in text.splitlines():
            match = re.fullmatch(r'\*(\w+):\s*"?([^"]*)"?', line)
            if match:
                self.attributes.setdefault(match[1], []).append(match[2])

    def choices(self, option):
        """Choice name -> (label, code) in order, as the PPD rules split a line."""
        pattern = re.compile(r'\*' + option + r' ([^/: ]+)(?:/([^:]*))?:\s*"([^"]*)"')
        found = {}
        for line in self.text.splitlines():
            if line.startswith(f"*{option} "):
                match = pattern.fullmatch(line)
                if not match:
                    raise ValueError(f"cannot be read: {line}")
                found[match[1]] = (match[2], match[3])
        return found


class PpdTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.stage = pathlib.Path(tempfile.mkdtemp(prefix="drav-stage-"))
        cls.addClassCleanup(shutil.rmtree, cls.stage)
        cls.stage.chmod(0o755)
        subprocess.run([ARGUMENTS.cmake, "--install", ARGUMENTS.build, "--prefix", "/usr"],
                       env={**os.environ, "DESTDIR": str(cls.stage)}, check=True,
                       stdout=subprocess.DEVNULL)
        cls.filter = cls.staged(ARGUMENTS.filter_dir, "rastertodrav")
        cls.driver = cls.staged(ARGUMENTS.driver_dir, "drav.drv")
        cls.made = cls.stage / "made"
        cls.ppdc = subprocess.run(["ppdc", "-d", cls.made, cls.driver], check=False,
                                  capture_output=True, text=True)
        cls.files = {path.name: PpdFile(path.read_text(encoding="latin-1"))
                     for path in sorted(cls.made.glob("*"))}

    @classmethod
    def staged(cls, folder, name):
        path = pathlib.PurePosixPath("/usr") / folder / name  # a relative folder is in the prefix
        return cls.stage / path.relative_to("/")

    def setUp(self):
        self.assertTrue(self.files, self.ppdc.stderr)

    def test_source_compiles_without_a_word(self):
        self.assertEqual((self.ppdc.returncode, self.ppdc.stdout, self.ppdc.stderr), (0, "", ""))

    def test_build_makes_the_same_files(self):
        built = pathlib.Path(ARGUMENTS.build) / "ppd"
        self.assertEqual(sorted(path.name for path in built.glob("*.ppd")), sorted(self.files))
        for name in self.files:
            self.assertEqual((built / name).read_bytes(), (self.made / name).read_bytes())

    def test_what_is_installed(self):
        files = {path: stat.S_IMODE(path.stat().st_mode) for path in self.stage.rglob("*")
                 if path.is_file() and self.made not in path.parents}
        self.assertEqual(files.get(self.filter), 0o755)
        self.assertEqual(files.get(self.driver), 0o644)
        self.assertEqual(files.get(self.stage / "usr/bin/drav"), 0o755)
        self.assertEqual([path for path in files if path.suffix == ".ppd"], [])
        for path, mode in files.items():
            self.assertEqual(mode & 0o022, 0, path)

    def test_staged_programs_start(self):
        version = subprocess.run([self.stage / "usr/bin/drav", "--version"], check=True,
                                 capture_output=True, text=True)
        self.assertEqual(version.stdout, f"drav {ARGUMENTS.version}\n")
        usage = subprocess.run([self.filter], check=False, capture_output=True, text=True)
        self.assertEqual(usage.returncode, 1)
        self.assertIn(f"rastertodrav v{ARGUMENTS.version}", usage.stderr)

    def test_cupstestppd_passes(self):
        if ARGUMENTS.filter_dir != ARGUMENTS.cups_filter_dir:
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

    def test_every_option_with_its_choices_and_default(self):
        for _, ppd in self.files.items():
            offered = set(re.findall(r"^\*OpenUI \*(\w+)", ppd.text, re.M))
            self.assertEqual(offered - {"PageSize", "PageRegion", "Resolution", "ColorModel"},
                             set(OPTIONS))
            for option, (choices, default) in OPTIONS.items():
                found = ppd.choices(option)
                self.assertEqual(set(found), choices, option)
                self.assertEqual(ppd.attributes[f"Default{option}"], [default], option)

    def test_labels_are_words_and_no_choice_has_code(self):
        for _, ppd in self.files.items():
            for option in OPTIONS:
                self.assertRegex(ppd.text, rf"(?m)^\*OpenUI \*{option}/[A-Z][^:]+: PickOne$")
                labels = []
                for choice, (label, code) in ppd.choices(option).items():
                    self.assertTrue(label, f"{option} {choice}")
                    self.assertLessEqual(len(label), 80)
                    self.assertEqual(code, "", f"{option} {choice}")
                    labels.append(label)
                self.assertEqual(len(labels), len(set(labels)), option)

    def test_halftone_labels_say_what_runs(self):
        for _, ppd in self.files.items():
            for choice, (label, _) in ppd.choices("HalftoneType").items():
                self.assertTrue(label.startswith(HALFTONES[choice]), f"{choice}: {label}")
                self.assertRegex(label, r" \(.+\)$")

    def test_brightness_labels_warn_of_tinted_paper(self):
        for _, ppd in self.files.items():
            for choice, (label, _) in ppd.choices("Brightness").items():
                word = ("Darker" if int(choice) > 0 else "Lighter" if int(choice) < 0 else "Normal")
                self.assertTrue(label.startswith(word), label)
                self.assertEqual("tints the paper" in label, int(choice) > 0)

    def test_lines_of_the_chain(self):
        for _, ppd in self.files.items():
            attributes = ppd.attributes
            self.assertEqual(attributes["cupsManualCopies"], ["True"])
            self.assertEqual(attributes["cupsFilter"], ["application/vnd.cups-raster 0 rastertodrav"])
            self.assertEqual(attributes["cupsFilter2"],
                             ["application/vnd.cups-raster application/octet-stream 0 rastertodrav"])
            self.assertEqual(attributes["FileVersion"], [ARGUMENTS.version])
            (model,) = ppd.choices("ColorModel").values()
            (resolution,) = ppd.choices("Resolution").values()
            self.assertIn("/cupsColorSpace 3/", model[1])
            self.assertIn("/cupsBitsPerColor 8/", resolution[1])
            (prefix,) = attributes["dravFilterOutputFile"]
            self.assertEqual(os.path.dirname(prefix), "/var/spool/cups/tmp")
            (device,) = re.findall(r'^\*1284DeviceID: "(.*)"$', ppd.text, re.M)
            self.assertRegex(device, r"^MFG:Drav;MDL:[^;]+;CMD:ESC/POS;")

    def test_names_are_unique(self):
        for key in ("NickName", "PCFileName", "cupsModelNumber", "ShortNickName"):
            values = [value for ppd in self.files.values() for value in ppd.attributes[key]]
            self.assertEqual(len(values), len(set(values)), key)
            self.assertEqual(len(values), len(self.files), key)
        for _, ppd in self.files.items():
            self.assertTrue(ppd.attributes["ModelName"][0].startswith("Drav "))

    def test_no_page_is_wider_than_the_head(self):
        self.assertEqual(set(self.files), set(HEADS))
        for name, ppd in self.files.items():
            head, resolution = HEADS[name]
            (limit,) = map(float, ppd.attributes["MaxMediaWidth"])
            self.assertAlmostEqual(limit, (head - 2.5) * 72 / resolution, places=3)
            most = int(limit / 72 * resolution)
            # Any page, of which the filter skips what is past the limit and then
            # packs up to 3 columns more.
            for width in range(head - 5, head + 400):
                padded = (width + 3) // 4 * 4
                row = padded - (width - most if width > most else 0)
                self.assertLessEqual((row + 7) // 8 * 8, head, width)

    def test_paper_sizes_without_margins(self):
        for _, ppd in self.files.items():
            areas, sizes = ppd.choices("ImageableArea"), ppd.choices("PaperDimension")
            self.assertEqual(list(sizes), list(ppd.choices("PageSize")))
            self.assertEqual(list(areas), list(sizes))
            self.assertLessEqual(set(NAMED_SIZES), set(sizes))
            for name, (_, size) in sizes.items():
                self.assertEqual(areas[name][1], f"0 0 {size}")
                millimetres = NAMED_SIZES.get(name)
                if not millimetres:
                    match = re.fullmatch(r"X([0-9D]{1,19})MMY([0-9D]{1,19})MM", name)
                    self.assertTrue(match, name)
                    millimetres = [float(text.replace("D", ".")) for text in match.groups()]
                for points, length in zip(map(float, size.split()), millimetres):
                    self.assertAlmostEqual(points, length * 72 / 25.4, places=2, msg=name)
            self.assertEqual(ppd.attributes["DefaultPageSize"], ["A4"])


def main():
    parser = argparse.ArgumentParser()
    for name in ("cmake", "build", "version", "filter-dir", "driver-dir"):
        parser.add_argument(f"--{name}", required=True)
    parser.parse_args(namespace=ARGUMENTS)
    for tool in ("ppdc", "cupstestppd", "cups-config"):
        if not shutil.which(tool):
            skip(f"{tool} is not installed")
    serverbin = subprocess.run(["cups-config", "--serverbin"], check=True, capture_output=True,
                               text=True).stdout.strip()
    ARGUMENTS.cups_filter_dir = f"{serverbin}/filter"
    unittest.main(argv=sys.argv[:1], verbosity=1)


if __name__ == "__main__":
    main()
