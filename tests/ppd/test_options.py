#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The options of the built PPD files: names, labels, defaults, constraints, presets.

    test_options.py FOLDER-OF-PPD-FILES OPTIONS-DOCUMENT
"""
import functools
import itertools
import pathlib
import re
import sys
import unittest
from collections.abc import Callable
from typing import Any

import harness
import label_words
import libcups
import options_document
from ppd_file import HALFTONES, INSTALLABLE, MODELS, OPTIONS, PpdFile, defaults, options_of, read_folder

FOLDER = pathlib.Path(sys.argv[1])
DOCUMENT = pathlib.Path(sys.argv[2])
# What cannot be on before the part is installed.
NEEDS = {
    "OptionCutter": {"pageCutType": ("1", "2"), "docCutType": ("1", "2")},
    "OptionDrawer1": {"CashDrawer1Setting": ("1", "2")},
    "OptionDrawer2": {"CashDrawer2Setting": ("1", "2")},
    "OptionLogos": {"DocTopLogoID": ("1", "2", "3", "4", "5"),
                    "DocBottomLogoID": ("1", "2", "3", "4", "5")},
}
# The thicknesses of the frame that can print all four sides, on the sheets it knows.
FRAME_LEVELS = {"A4": "1", "Tattoo_A5": "1", "Tattoo_A6": "12345"}
ALL_INSTALLED = " ".join(f"{option}=True" for option in INSTALLABLE)


def every_model(test: Callable[[Any, str, PpdFile], None]) -> Callable[[Any], None]:
    """Runs a test once for each model's file."""
    @functools.wraps(test)
    def run(self: unittest.TestCase) -> None:
        files = read_folder(FOLDER)
        self.assertEqual(set(files), set(MODELS))
        for name, ppd in files.items():
            with self.subTest(name):
                test(self, name, ppd)
    return run


def heading(text: str) -> str:
    """What a label or a row of the document says before it explains."""
    return re.split(r"[.:(]", text)[0].strip()


class OptionsTest(unittest.TestCase):
    @every_model
    def test_every_option_with_its_choices_and_default(self, name: str, ppd: PpdFile) -> None:
        offered = set(ppd.options())
        self.assertEqual(len(offered), ppd.text.count("*OpenUI "))
        self.assertEqual(offered - {"PageSize", "PageRegion", "Resolution", "ColorModel"},
                         set(options_of(MODELS[name])) | set(INSTALLABLE))
        for option, (choices, _) in options_of(MODELS[name]).items():
            self.assertEqual(set(ppd.choices(option)), choices, option)
        for option in INSTALLABLE:
            self.assertEqual(set(ppd.choices(option)), {"True", "False"}, option)
        for option, default in defaults(MODELS[name]).items():
            self.assertEqual(ppd.attributes[f"Default{option}"], [default], option)

    @every_model
    def test_labels_are_words_and_no_choice_has_code(self, _name: str, ppd: PpdFile) -> None:
        for option, text in ppd.options().items():
            self.assertRegex(text, r"^[A-Z]\w+")
            choices = ppd.choices(option)
            for choice, (label, code) in choices.items():
                self.assertTrue(label, f"{option} {choice}")
                self.assertLessEqual(len(choice), 40)
                if option in OPTIONS or option in INSTALLABLE:
                    self.assertEqual(code, "", f"{option} {choice}")
            labels = {label for label, _ in choices.values()}
            self.assertEqual(len(labels), len(choices), option)

    @every_model
    def test_labels_say_what_their_choices_do(self, _name: str, ppd: PpdFile) -> None:
        faults = [fault for option in label_words.CHOICES
                  for choice, (label, _) in ppd.choices(option).items()
                  for fault in label_words.choice_faults(option, choice, label, "en")]
        faults += [fault for option, label in ppd.options().items()
                   if option in label_words.OPTION_LABELS
                   for fault in label_words.option_faults(option, label, "en")]
        self.assertEqual(faults, [])

    def test_the_words_are_those_of_every_option(self) -> None:
        self.assertEqual({option: set(choices) for option, choices in label_words.CHOICES.items()},
                         {option: choices for option, (choices, _) in OPTIONS.items()}
                         | {option: {"True", "False"} for option in INSTALLABLE})
        self.assertEqual(set(label_words.OPTION_LABELS), set(label_words.CHOICES))

    @every_model
    def test_labels_are_those_of_the_document(self, name: str, ppd: PpdFile) -> None:
        """Whose rows are held to the bytes and moments of real jobs by ppd_sent_bytes."""
        rows = options_document.table_rows(DOCUMENT.read_text(encoding="utf-8"))
        seen = set()
        for row in rows:
            if row.option not in ppd.options():
                continue
            label = ppd.choices(row.option)[row.choice][0]
            ideas = label_words.CHOICES[row.option][row.choice]
            moments = ideas & {"job start", "job end", "before each page", "after each page"}
            self.assertLessEqual(moments, {row.when}, f"{row.option} {row.choice}")
            if not row.meaning or row.option in INSTALLABLE:  # there it says what needs the part
                continue
            seen.add(row.option)
            if row.option == "HalftoneType":
                told = re.sub(r": ([^.]*)(\. .*)?$", r" (\1)", row.meaning)
                self.assertEqual(told, label, row.choice)
            else:
                self.assertEqual(heading(row.meaning).lower(), heading(label).lower(),
                                 f"{row.option} {row.choice}")
        self.assertEqual(seen, set(options_of(MODELS[name])) - {"PrintDensity", "BuzzerOnTime", "BuzzerRepeat"})

    @every_model
    def test_halftone_labels_say_what_runs(self, _name: str, ppd: PpdFile) -> None:
        for choice, (label, _) in ppd.choices("HalftoneType").items():
            self.assertTrue(label.startswith(HALFTONES[choice]), f"{choice}: {label}")
            self.assertRegex(label, r" \(.+\)$")

    @every_model
    def test_brightness_labels_warn_of_tinted_paper(self, _name: str, ppd: PpdFile) -> None:
        for choice, (label, _) in ppd.choices("Brightness").items():
            number = int(choice)
            word = "Darker" if number > 0 else "Lighter" if number < 0 else "Normal"
            self.assertTrue(label.startswith(word), label)
            if number:
                self.assertIn(f" {abs(number)}", label)
            self.assertEqual("tints the paper" in label, number > 0)

    @every_model
    def test_installable_options_stand_in_their_own_group(self, _name: str, ppd: PpdFile) -> None:
        group = re.search(r"^\*OpenGroup: InstallableOptions/.*?^\*CloseGroup: "
                          r"InstallableOptions$", ppd.text, re.M | re.S)
        assert group is not None
        self.assertEqual(set(PpdFile(group[0]).options()), set(INSTALLABLE))


@unittest.skipUnless(libcups.is_there(), "no libcups to load")
class MarkedOptionsTest(unittest.TestCase):
    def marked(self, name: str, options: str) -> libcups.MarkedPpd:
        ppd = libcups.MarkedPpd(FOLDER / name)
        ppd.mark(options)
        return ppd

    @every_model
    def test_defaults_go_together(self, name: str, _ppd: PpdFile) -> None:
        ppd = self.marked(name, "")
        self.assertEqual(ppd.conflicts(), 0)
        for option, default in defaults(MODELS[name]).items():
            self.assertEqual(ppd.marked(option), default, option)

    @every_model
    def test_what_is_not_installed_cannot_be_on_unnoticed(self, name: str, _ppd: PpdFile) -> None:
        for part, options in NEEDS.items():
            for option, choices in options.items():
                for choice in choices:
                    job = f"docCutType=0 {part}=False {option}={choice}"
                    self.assertGreater(self.marked(name, job).conflicts(), 0, job)
                    job = f"docCutType=0 {part}=True {option}={choice}"
                    self.assertEqual(self.marked(name, job).conflicts(), 0, job)

    @every_model
    def test_the_two_cuts_cannot_both_be_on_unnoticed(self, name: str, _ppd: PpdFile) -> None:
        for page, job in itertools.product("012", repeat=2):
            options = f"{ALL_INSTALLED} pageCutType={page} docCutType={job}"
            both = page != "0" and job != "0"
            self.assertEqual(self.marked(name, options).conflicts() > 0, both, options)

    @every_model
    def test_the_frame_goes_with_the_sheets_it_fits(self, name: str, ppd: PpdFile) -> None:
        if not MODELS[name].stencil:
            self.assertNotIn("PaperFrame", ppd.options())
            return
        for size in (*ppd.choices("PageSize"), "Custom.100x150mm"):
            for level in "012345":
                job = f"PageSize={size} PaperFrame={level}"
                fits = level == "0" or level in FRAME_LEVELS.get(size, "")
                self.assertEqual(self.marked(name, job).conflicts() == 0, fits, job)

    @every_model
    def test_no_other_pair_is_forbidden(self, name: str, ppd: PpdFile) -> None:
        pairs = set()
        for part, options in NEEDS.items():
            for option, choices in options.items():
                pairs |= {(part, "False", option, choice) for choice in choices}
        pairs |= {("pageCutType", page, "docCutType", job)
                  for page, job in itertools.product("12", repeat=2)}
        if MODELS[name].stencil:
            pairs |= {("PaperFrame", level, "CustomPageSize", "True") if size == "Custom" else
                      ("PaperFrame", level, "PageSize", size)
                      for level, size in itertools.product("12345", [*ppd.choices("PageSize"),
                                                                     "Custom"])
                      if level not in FRAME_LEVELS.get(size, "")}
        pairs |= {(*pair[2:], *pair[:2]) for pair in pairs}
        self.assertEqual(len(ppd.constraints()), len(pairs))
        self.assertEqual(set(ppd.constraints()), pairs)

    @every_model
    def test_presets_name_options_that_exist(self, name: str, ppd: PpdFile) -> None:
        halftones = {"Receipt": "FloydSteinberg", "StencilLines": "Tattoo",
                     "StencilShading": "Tattoo_X8"}
        presets = re.findall(r'^\*APPrinterPreset (\w+)/[^:]+: "([^"]*)"\n\*End$', ppd.text, re.M)
        self.assertEqual([preset for preset, _ in presets], list(halftones))
        for preset, text in presets:
            settings = dict(re.findall(r"\*(\w+) (\S+)", text))
            self.assertEqual(settings["HalftoneType"], halftones[preset])
            for option, choice in settings.items():
                self.assertIn(choice, ppd.choices(option), preset)
            job = " ".join(f"{option}={choice}" for option, choice in settings.items())
            self.assertEqual(self.marked(name, job).conflicts(), 0, preset)
            self.assertIn("com.apple.print.preset.graphicsType General", text)

    @every_model
    def test_a_print_quality_does_not_pick_a_preset(self, name: str, _ppd: PpdFile) -> None:
        for quality, mode in itertools.product("345", ("monochrome", "color", "auto")):
            job = f"print-quality={quality} print-color-mode={mode}"
            self.assertEqual(self.marked(name, job).marked("HalftoneType"), MODELS[name].halftone,
                             job)

    @every_model
    def test_custom_pages(self, name: str, ppd: PpdFile) -> None:
        pattern = r"(?m)^\*ParamCustomPageSize {}/{}: {} points (\S+) (\S+)$"
        width = re.search(pattern.format("Width", "Width", 1), ppd.text)
        height = re.search(pattern.format("Height", "Height", 2), ppd.text)
        assert width is not None and height is not None
        # As wide as the widest paper, not as the head: see ppd/README.md.
        widest = max(float(points.split()[0])
                     for _, points in ppd.choices("PaperDimension").values())
        self.assertAlmostEqual(float(width[2]), widest, delta=0.5)
        self.assertGreaterEqual(float(width[2]), widest - 0.01)
        self.assertEqual(len(ppd.attributes["MaxMediaWidth"]), 1)
        for least in (width[1], height[1]):
            self.assertAlmostEqual(float(least), 20 * 72 / 25.4, places=2)
        self.assertAlmostEqual(float(height[2]), 3000 * 72 / 25.4, places=2)
        self.assertEqual(self.marked(name, "PageSize=Custom.40x123mm").marked("PageSize"),
                         "Custom")

    @every_model
    def test_paper_of_another_kind_leaves_the_default(self, name: str, ppd: PpdFile) -> None:
        size = "A3" if "A4" in ppd.choices("PageSize") else "A4"
        self.assertEqual(self.marked(name, f"PageSize={size}").marked("PageSize"),
                         MODELS[name].page_size)


if __name__ == "__main__":
    harness.run_tests()
