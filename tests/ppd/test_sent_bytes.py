# SPDX-License-Identifier: Apache-2.0
"""The option tables of docs/options.md, each row against a job of the filter.

DRAV_OPTIONS_DOCUMENT and DRAV_PPDS name the document and the folder of the built
files; the whole-program tests are in PYTHONPATH.
"""
import collections
import os
import pathlib
import re

import cups_raster
import escpos_stream
import filter_case
from options_document import table_rows
from ppd_file import INSTALLABLE, MODELS, OPTIONS, STENCIL_ALONE, PpdFile, defaults, read_folder

DOCUMENT = pathlib.Path(os.environ["DRAV_OPTIONS_DOCUMENT"])
FOLDER = pathlib.Path(os.environ["DRAV_PPDS"])
MODEL = "dravr802.ppd"  # an option that it lacks sends no command
RASTER = cups_raster.stream([filter_case.DOTS_PAGE] * 2)

# Where the bytes of a two-page job's option stand: before the first page's bands,
# between the two pages', after the second's.
WHEN = {
    "job start": (1, 0, 0), "before each page": (1, 1, 0), "after each page": (0, 1, 1),
    "job end": (0, 0, 1),
}
# What must be on for a parameter to be sent, and when that is.
CONTEXT = {
    "with the buzzer": ("DocumentBuzzerSetting=1", "job start"),
    "with the logo above": ("DocTopLogoID=1", "job start"),
    "with the logo below": ("DocBottomLogoID=1", "after each page"),
}
OFF = "docCutType=0"  # beneath every job here


class SentBytesTest(filter_case.FilterCase):
    def setUp(self) -> None:
        super().setUp()
        self.ppd = (FOLDER / MODEL).read_text(encoding="utf-8")
        self.rows = table_rows(DOCUMENT.read_text(encoding="utf-8"))

    def stages(self, options: str) -> tuple[list[bytes], ...]:
        """The commands before, between and after the bands of the two pages."""
        outcome = self.run_filter(RASTER, ppd=self.ppd, options=options)
        self.assertEqual((outcome.status, outcome.errors), (0, []), options)
        found: list[list[bytes]] = [[]]
        for item in escpos_stream.decode(outcome.stdout).items:
            if item.name == "band":
                found.append([])
            else:
                found[-1].append(item.data)
        self.assertEqual(len(found), 3)
        return tuple(found)

    def added(self, base: str, job: str) -> list[str]:
        """What `job` sends more than `base` in each stage, in hexadecimal."""
        out = []
        for less, more in zip(self.stages(base), self.stages(job), strict=True):
            known = collections.Counter(less)
            extra = []
            for command in reversed(more):  # a command of both stands before, in our jobs
                if known[command]:
                    known[command] -= 1
                else:
                    extra.append(command)
            out.append(b"".join(reversed(extra)).hex().upper())
        return out

    def test_every_choice_has_its_row(self) -> None:
        for name, ppd in read_folder(FOLDER).items():
            offered = [(option, choice) for option in ppd.options() for choice in
                       ppd.choices(option) if option in OPTIONS or option in INSTALLABLE]
            rows = [(row.option, row.choice) for row in self.rows
                    if MODELS[name].stencil or row.option not in STENCIL_ALONE]
            self.assertEqual(sorted(rows), sorted(offered), name)

    def test_rows_send_what_they_say(self) -> None:
        silent = {row.option: row.choice for row in reversed(self.rows) if row.sent == "nothing"}
        for row in self.rows:
            if row.sent == "picture":
                continue
            with self.subTest(f"{row.option} {row.choice}"):
                context, when = CONTEXT.get(row.when, ("", row.when))
                other = silent.get(row.option) or ("2" if row.choice == "1" else "1")
                beneath = f"{OFF} {context}"
                added = self.added(f"{beneath} {row.option}={other}",
                                   f"{beneath} {row.option}={row.choice}")
                if row.sent == "nothing":
                    self.assertEqual(added, [""] * 3)
                else:
                    self.assertRegex(row.sent, r"^([0-9A-F]{2})+$")
                    self.assertEqual(added, [row.sent * count for count in WHEN[when]])

    def test_halftone_and_brightness_send_no_command(self) -> None:
        for row in self.rows:
            if row.sent == "picture":
                self.assertEqual(self.added(OFF, f"{OFF} {row.option}={row.choice}"), [""] * 3)

    def test_defaults_send_what_they_must_and_no_more(self) -> None:
        for name, model in MODELS.items():
            with self.subTest(name):
                outcome = self.run_filter(RASTER, ppd=(FOLDER / name).read_text(encoding="utf-8"))
                job = escpos_stream.decode(outcome.stdout)
                cut = ["partial cut"] if model.cutter else []
                self.assertEqual(job.names(), [
                    "zeros", "initialise", "density", "position", *["band", "page feed"] * 2, *cut,
                    "status request"])
                self.assertEqual(job.items[2].data[-1], int(defaults(model)["PrintDensity"]))

    def test_presets_are_those_of_the_files(self) -> None:
        found = {}
        for line in DOCUMENT.read_text(encoding="utf-8").splitlines():
            match = re.fullmatch(r"\| ([A-Z][^|]*) \| `(\w+)` \|((?: `\w+` \|){3})", line)
            if match:
                found[match[1].lower()] = re.findall(r"`(\w+)`", match[3])
        ppd = PpdFile(self.ppd)
        presets = re.findall(r'\*APPrinterPreset \w+/([^:]+): "([^"]*)"', ppd.text)
        self.assertEqual(found, {label.lower(): re.findall(r"\*\w+ (\S+)", text)
                                 for label, text in presets})


if __name__ == "__main__":
    filter_case.main()
