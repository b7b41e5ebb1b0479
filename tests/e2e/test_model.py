# SPDX-License-Identifier: Apache-2.0
"""Whole jobs against the independent model of everything that reaches the printer."""
import dataclasses
import os
import random
import re
import subprocess
import unittest
from collections.abc import Mapping

import cups_raster
import filter_case
import ppd_text
from filter_case import FilterCase, Outcome

MODEL = os.environ.get("DRAV_MODEL_STREAM", "")

# The model's name of an option: the driver file's.
OPTIONS = {
    "pageCutType": "pageCutType", "docCutType": "docCutType",
    "feedCutAfterJobEnd": "FeedCutAfterJobEnd", "cashDrawer1Setting": "CashDrawer1Setting",
    "cashDrawer2Setting": "CashDrawer2Setting", "documentBuzzerSetting": "DocumentBuzzerSetting",
    "pageBuzzerSetting": "PageBuzzerSetting", "buzzerOnTime": "BuzzerOnTime",
    "buzzerRepeat": "BuzzerRepeat", "docTopLogoID": "DocTopLogoID",
    "docTopLogoMode": "DocTopLogoMode", "docTopLogoPosition": "DocTopLogoPosition",
    "docBottomLogoID": "DocBottomLogoID", "docBottomLogoMode": "DocBottomLogoMode",
    "docBottomLogoPosition": "DocBottomLogoPosition", "brightness": "Brightness",
    "printDensity": "PrintDensity", "halftoneName": "HalftoneType",
}
# Likewise those of our own, and their choices, the neutral one first.
PAGE_OPTIONS = {
    name: (name[0].upper() + name[1:], choices)
    for name, choices in (
        ("stencilMirror", ("False", "True")), ("halfTurn", ("False", "True")),
        ("invertPage", ("False", "True")), ("contrast", ("0", "10", "20", "30", "40", "50")),
        ("paperFrame", ("0", "1", "2", "3", "4", "5")), ("trimPaper", ("None", "End", "Both")),
        ("keepPictures", ("True", "False")))
}
KEYWORDS = OPTIONS | {name: keyword for name, (keyword, _) in PAGE_OPTIONS.items()}
ATTRIBUTES = {"maxMediaWidth": "MaxMediaWidth"}

PLACEHOLDERS = {"<pointer>": "(?:0x)?[0-9a-f]+", "<null>": r"(?:\(nil\)|0x0)", "<path>": r"\S+",
                "<refused page>": ".+", "<may print inverted>": ".+"}


@dataclasses.dataclass(frozen=True)
class Expected:
    """What the model says that a job leaves behind."""

    status: int
    stdout: bytes
    record: bytes | None
    pictures: list[tuple[str, bytes]]
    log: list[str]


@unittest.skipUnless(MODEL, "DRAV_MODEL_STREAM does not name the model")
class ModelTest(FilterCase):
    def model(self, settings: Mapping[str, str], pages: list[cups_raster.Page],
              version: int) -> Expected:
        folder = self.folder / "job"
        folder.mkdir(exist_ok=True)
        for old in folder.iterdir():
            old.unlink()
        lines = [f"{name} {value}" for name, value in settings.items()]
        for number, page in enumerate(pages):
            (folder / f"page{number}").write_bytes(page.pixels)
            header = page.header
            resolution = header["HWResolution"]
            assert isinstance(resolution, tuple)
            words = [header["cupsWidth"], header["cupsBytesPerLine"], header["cupsHeight"],
                     *resolution, header["cupsBitsPerPixel"], header["NumCopies"],
                     header["cupsColorSpace"],
                     header["cupsPageSizeName"] if version > 1 else "-", f"page{number}"]
            lines.append("page " + " ".join(str(word) for word in words))
        (folder / "job.txt").write_text("\n".join(lines) + "\n", "utf-8")
        subprocess.run([MODEL, str(folder)], check=True, timeout=filter_case.TIMEOUT)
        record = folder / "expected.record"
        pictures = []
        for line in (folder / "expected.bmplist").read_text("ascii").splitlines():
            number_text, kind = line.split()
            pictures.append((kind, (folder / f"expected.{number_text}.bmp").read_bytes()))
        return Expected(
            int((folder / "expected.status").read_text("ascii")),
            (folder / "expected.stdout").read_bytes(),
            record.read_bytes() if record.exists() else None, pictures,
            (folder / "expected.log").read_text("utf-8").splitlines())

    def filter(self, settings: Mapping[str, str], pages: list[cups_raster.Page],
               version: int) -> Outcome:
        options = {KEYWORDS[name]: value for name, value in settings.items() if name in KEYWORDS}
        attributes = {ATTRIBUTES[name]: value for name, value in settings.items()
                      if name in ATTRIBUTES}
        if "recordFileName" in settings:
            options["RecordPrinterCommands"] = "1"
            attributes["dravFilterOutputFile"] = "cmds"
        return self.run_filter(cups_raster.stream(pages, version),
                               ppd=ppd_text.ppd_text(options, attributes))

    def assert_log(self, got: list[str], want: list[str]) -> None:
        self.assertEqual(len(got), len(want), (got, want))
        for line, expected in zip(got, want):
            pattern = re.escape(expected)
            for name, value in PLACEHOLDERS.items():
                pattern = pattern.replace(re.escape(name), value)
            if "pointer address: " in expected:
                pattern = pattern.replace(PLACEHOLDERS["<pointer>"], r"\d+")
            pattern = re.sub(r"cmds\\-\\\*", r"cmds-\\d{14}", pattern)
            self.assertRegex(line, f"^{pattern}$")

    def assert_as_modelled(self, settings: Mapping[str, str], pages: list[cups_raster.Page],
                           version: int = 3) -> Expected:
        self.clear_spool()
        want = self.model(settings, pages, version)
        got = self.filter(settings, pages, version)
        self.assertEqual(got.status, want.status, got.stderr)
        self.assertTrue(got.stdout == want.stdout, "the stream differs from the model's")
        pictures = [(path.name.partition("_")[0], path.read_bytes())
                    for path in self.pictures().values()]
        self.assertEqual([kind for kind, _ in pictures], [kind for kind, _ in want.pictures])
        for number, ((_, picture), (_, expected)) in enumerate(zip(pictures, want.pictures)):
            self.assertTrue(picture == expected, f"picture {number} differs from the model's")
        records = sorted(self.folder.glob("cmds-*.bin"))
        self.assertEqual(len(records), 0 if want.record is None else 1)
        for record in records:
            self.assertTrue(record.read_bytes() == want.record, "the record differs")
            record.unlink()
        lines = [line for line in got.lines if "getOptionChoiceIndex" not in line]
        self.assert_log(lines, want.log)
        return want

    def test_every_halftone(self) -> None:
        rng = random.Random(9)
        noise = cups_raster.grey([rng.randbytes(301) for _ in range(203)])
        waves = cups_raster.grey([bytes((x * x // 40 + y * 3 + rng.randrange(9)) % 256
                                        for x in range(96)) for y in range(101)])
        seen = set()
        for name in ppd_text.HALFTONES:
            with self.subTest(name):
                seen.add(self.assert_as_modelled({"halftoneName": name}, [noise, waves]).stdout)
        self.assertEqual(len(seen), 10)

    def test_brightness(self) -> None:
        rng = random.Random(10)
        pages = [cups_raster.grey([rng.randbytes(123) for _ in range(40)])]
        for name in ("None", "FloydSteinberg", "Sierra", "Tattoo", "Tattoo_X8"):
            for brightness in ("-100", "-51", "-17", "3", "30", "51", "200"):
                with self.subTest(name, brightness=brightness):
                    self.assert_as_modelled({"halftoneName": name, "brightness": brightness}, pages)

    def test_black_and_white_pages(self) -> None:
        # On many of these the threshold comes out as 255, where the gamma curve ends.
        rng = random.Random(11)
        for share in (1, 10, 50, 90, 99):
            rows = [bytes(255 if rng.randrange(100) < share else 0 for _ in range(80))
                    for _ in range(60)]
            for name in ("None", "Stucki", "Tattoo", "Tattoo_X8"):
                with self.subTest(name, share=share):
                    self.assert_as_modelled({"halftoneName": name}, [cups_raster.grey(rows)])

    def test_every_width_up_to_40(self) -> None:
        rng = random.Random(12)
        pages = [cups_raster.grey([rng.randbytes(width) for _ in range(5)])
                 for width in range(1, 41)]
        for name in ("None", "StevensonArce", "JarvisJudiceNinke", "Tattoo"):
            for limit in ("0", "3.7"):
                with self.subTest(name, limit=limit):
                    self.assert_as_modelled({"halftoneName": name, "maxMediaWidth": limit}, pages)

    def test_pictures_narrower_than_their_rows(self) -> None:
        rng = random.Random(13)
        pages = [cups_raster.page(width, 9, rng.randbytes(9 * row), cupsBytesPerLine=row)
                 for width, row in ((1, 30), (29, 30), (5, 16), (17, 64), (30, 30), (40, 41))]
        for name in ("None", "Burkes", "Tattoo", "Tattoo_X8"):
            with self.subTest(name):
                self.assert_as_modelled({"halftoneName": name}, pages)

    def test_odd_jobs(self) -> None:
        dots = filter_case.DOTS_PAGE
        odd = {
            "refused": [dots, cups_raster.page(9, 1, bytes(8), cupsBytesPerLine=8), dots],
            "too big": [dots, cups_raster.page(8, 65536, b"", cupsBytesPerLine=65537)],
            "wraps to nothing": [dots, cups_raster.page(8, 65536, b"", cupsBytesPerLine=65536)],
            "cut short": [dots, cups_raster.page(8, 3, bytes(10))],
            "no width": [dots, cups_raster.page(0, 1, bytes(8), cupsBytesPerLine=8), dots],
            "no pages": [],
            "depth": [dots, cups_raster.page(8, 1, b"\xff", cupsBitsPerColor=1,
                                             cupsBitsPerPixel=1, cupsBytesPerLine=1)],
            "inverted": [dots, cups_raster.grey([bytes(8)], cupsColorSpace=18),
                         cups_raster.grey([bytes(8)], cupsColorSpace=0)],
        }
        for name, pages in odd.items():
            with self.subTest(name):
                self.assert_as_modelled({"docCutType": "2", "pageBuzzerSetting": "1"}, pages)

    def test_options_of_our_own(self) -> None:
        rng = random.Random(15)
        ink = [rng.randbytes(99) for _ in range(30)]
        blank = [bytes(99)] * 70
        pages = [cups_raster.grey(blank + ink + blank), cups_raster.grey(blank),
                 cups_raster.grey([row + bytes(2) for row in ink * 4], HWResolution=(203, 203))]
        for halftone in ("None", "Sierra", "Tattoo_X8"):
            for name, (_, choices) in PAGE_OPTIONS.items():
                for choice in choices:
                    with self.subTest(halftone, option=name, choice=choice):
                        self.assert_as_modelled({"halftoneName": halftone, "maxMediaWidth": "20",
                                                 name: choice}, pages)

    def test_random_settings(self) -> None:
        rng = random.Random(14)
        for number in range(40):
            settings = {name: str(rng.randrange(-1, 4)) for name in OPTIONS
                        if name not in ("brightness", "halftoneName") and rng.random() < 0.8}
            settings["halftoneName"] = rng.choice(ppd_text.HALFTONES)
            settings["brightness"] = str(rng.choice((0, 0, 5, -20, 40)))
            settings["maxMediaWidth"] = str(rng.choice((0, 6, 20.5)))
            settings |= {name: rng.choice(choices) for name, (_, choices) in PAGE_OPTIONS.items()
                         if rng.random() < 0.4}
            if number % 2:
                settings["recordFileName"] = "cmds-*.bin"
            pages = [cups_raster.grey([rng.randbytes(width) for _ in range(height)],
                                      NumCopies=rng.randrange(3),
                                      cupsPageSizeName=rng.choice(("A4", "X80MMY200MM")),
                                      HWResolution=(rng.choice((203, 300)), rng.choice((180, 300))))
                     for width, height in ((rng.randrange(1, 120), rng.randrange(1, 110))
                                           for _ in range(rng.randrange(1, 4)))]
            with self.subTest(number=number, settings=settings):
                self.assert_as_modelled(settings, pages, version=1 + number % 3)


if __name__ == "__main__":
    filter_case.main()
