#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The translations: complete, of a length that libcups keeps, and shown by it.

    test_catalogues.py DRIVER-SOURCE FOLDER-OF-PPD-FILES
"""
import collections
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import harness
import label_words
import libcups
from ppd_file import (LANGUAGES, MOST_GROUP_BYTES, MOST_TEXT_BYTES, NAMED_SIZES, PpdFile,
                      read_folder)

SOURCE = pathlib.Path(sys.argv[1])
FOLDER = pathlib.Path(sys.argv[2])
SHOW_LABELS = "--labels"  # this program's own mode, in which it prints what libcups shows


def read_catalogue(text: str) -> dict[str, str]:
    """msgid -> msgstr of a message catalogue. A text goes on over quoted lines."""
    found: dict[str, str] = {}
    parts = {"msgid": "", "msgstr": ""}
    current = ""

    def keep() -> None:
        if current == "msgstr" and parts["msgid"]:
            if parts["msgid"] in found:
                raise ValueError(f"stands twice: {parts['msgid']}")
            found[parts["msgid"]] = parts["msgstr"]

    for line in [*text.splitlines(), 'msgid ""']:
        match = re.fullmatch(r'(?:(msgid|msgstr) )?"(.*)"', line)
        if match is None:
            if line and not line.startswith("#"):
                raise ValueError(f"cannot be read: {line}")
            continue
        if match[1] == "msgid":
            keep()
            parts = {"msgid": "", "msgstr": ""}
        current = match[1] or current
        parts[current] += match[2]
    return found


def extracted() -> set[str]:
    """Every text that ppdpo finds in the driver source."""
    with tempfile.TemporaryDirectory(prefix="drav-po-") as folder:
        template = pathlib.Path(folder) / "template.po"
        # The catalogues are not read: a template has no translation yet.
        subprocess.run(["ppdpo", "-o", template, SOURCE], check=True, capture_output=True)
        return set(read_catalogue(template.read_text(encoding="utf-8")))


def numbers(text: str) -> collections.Counter[str]:
    return collections.Counter(re.findall(r"\d+", text))


class CatalogueTest(unittest.TestCase):
    def setUp(self) -> None:
        self.texts = {language: (SOURCE.parent / f"drav-{language}.po").read_text(encoding="utf-8")
                      for language in LANGUAGES}
        self.catalogues = {language: read_catalogue(text) for language, text in self.texts.items()}

    def test_every_text_is_translated(self) -> None:
        wanted = extracted()
        self.assertGreater(len(wanted), 150)
        for language, catalogue in self.catalogues.items():
            with self.subTest(language):
                self.assertEqual(set(catalogue), wanted)
                self.assertNotIn("fuzzy", self.texts[language])
                for text, translation in catalogue.items():
                    self.assertTrue(translation.strip(), text)
                    self.assertFalse(translation.startswith("TRANSLATE"), text)

    def test_texts_are_not_left_in_english(self) -> None:
        for language, catalogue in self.catalogues.items():
            with self.subTest(language):
                # Names, numbers and the presets' contents are the same everywhere, and
                # a few words are spelled alike.
                same = {text for text, translation in catalogue.items()
                        if text == translation and re.search(r"[a-z]{3}", text)
                        and "*" not in text and not re.search(r"\d dpi$", text)}
                self.assertLessEqual(same, {"Drav", "Normal", "US Letter", "Service", "Centre",
                                            "8 (normal)", "Stencil A6 (105 x 148 mm)"})

    def test_numbers_survive(self) -> None:
        for language, catalogue in self.catalogues.items():
            with self.subTest(language):
                for text, translation in catalogue.items():
                    self.assertEqual(numbers(text), numbers(translation), text)

    def test_nothing_that_would_end_a_label(self) -> None:
        for language, catalogue in self.catalogues.items():
            with self.subTest(language):
                for text, translation in catalogue.items():
                    self.assertNotRegex(translation, r'[:/"]', text)
                    if "*" in text:  # what a preset sets
                        self.assertEqual(text, translation)

    def test_no_two_choices_of_an_option_read_alike(self) -> None:
        for name, ppd in read_folder(FOLDER).items():
            for language in LANGUAGES:
                for option in [*ppd.options(), "PageSize"]:
                    labels = [label for label, _ in ppd.choices(option, language).values()]
                    self.assertEqual(len(labels), len(set(labels)), f"{name} {language} {option}")


class FileTest(unittest.TestCase):
    def setUp(self) -> None:
        self.files = read_folder(FOLDER)
        self.assertTrue(self.files)

    def translations(self, ppd: PpdFile, language: str) -> dict[str, str]:
        return {name: label for name, (label, _) in ppd.choices("Translation", language).items()}

    def test_every_label_has_a_translation(self) -> None:
        for name, ppd in self.files.items():
            self.assertEqual(ppd.attributes["cupsLanguages"], [" ".join(("en", *LANGUAGES))])
            for language in LANGUAGES:
                with self.subTest(f"{name} {language}"):
                    translated = self.translations(ppd, language)
                    # PageRegion has the labels of PageSize; CUPS looks them up there.
                    options = set(ppd.options()) - {"PageRegion"}
                    self.assertLessEqual(options | set(ppd.groups()), set(translated))
                    for option in options:
                        self.assertEqual(list(ppd.choices(option, language)),
                                         list(ppd.choices(option)), option)

    def test_labels_fit(self) -> None:
        for name, ppd in self.files.items():
            groups = set(ppd.groups())
            for label in ppd.groups().values():
                self.assertLessEqual(len(label.encode()), MOST_GROUP_BYTES)
            for language in ("", *LANGUAGES):
                labels = [label for option in ppd.options()
                          for label, _ in ppd.choices(option, language).values()]
                translated = self.translations(ppd, language) if language else ppd.options()
                for key, label in translated.items():
                    most = MOST_GROUP_BYTES if key in groups else MOST_TEXT_BYTES
                    self.assertLessEqual(len(label.encode()), most, f"{name}: {label}")
                for label in labels:
                    self.assertLessEqual(len(label.encode()), MOST_TEXT_BYTES, f"{name}: {label}")

    def test_labels_say_what_their_choices_do_in_every_language(self) -> None:
        self.assertEqual(label_words.LANGUAGES, ("en", *LANGUAGES))
        for name, ppd in self.files.items():
            for language in LANGUAGES:
                faults = [fault for option in label_words.CHOICES
                          for choice, (label, _) in ppd.choices(option, language).items()
                          for fault in label_words.choice_faults(option, choice, label, language)]
                labels = self.translations(ppd, language)
                for option in set(label_words.OPTION_LABELS) & set(ppd.options()):
                    faults += label_words.option_faults(option, labels[option], language)
                self.assertEqual(faults, [], name)
                for label, _ in ppd.choices("HalftoneType", language).values():
                    self.assertRegex(label, r" \(.+\)$|（.+）$")

    def test_papers_are_called_by_their_sizes_in_every_language(self) -> None:
        for name, ppd in self.files.items():
            for language in ("", *LANGUAGES):
                for choice, (label, _) in ppd.choices("PageSize", language).items():
                    with self.subTest(f"{name} {language} {choice}"):
                        self.assert_names_size(choice, label)

    def assert_names_size(self, choice: str, label: str) -> None:
        size = re.fullmatch(r"X(\d+)MMY(\d+)MM", choice)
        told = re.search(r"(\d+)(?: mm)? x (\d+) (mm|m)\b", label)
        if size is None:
            self.assertIn(choice, NAMED_SIZES)
            self.assertIn({"Letter": ""}.get(choice, choice.removeprefix("Tattoo_")), label)
            if told is None:
                return
            wanted = NAMED_SIZES[choice]
        else:
            wanted = int(size[1]), int(size[2])
        assert told is not None, label
        self.assertEqual((int(told[1]), int(told[2]) * (1000 if told[3] == "m" else 1)), wanted)

    @unittest.skipUnless(libcups.is_there(), "no libcups to load")
    def test_libcups_shows_them(self) -> None:
        for language in LANGUAGES:
            shown = subprocess.run(
                [sys.executable, __file__, str(SOURCE), str(FOLDER), SHOW_LABELS], check=True,
                capture_output=True, encoding="utf-8",
                env={"PATH": os.environ["PATH"], "PYTHONPATH": os.environ["PYTHONPATH"],
                     "LANG": f"{language}.UTF-8", "PYTHONIOENCODING": "utf-8",
                     "PYTHONDONTWRITEBYTECODE": "1"}).stdout
            wanted = "".join(f"{name} {choice} {label}\n"
                             for name, ppd in self.files.items()
                             for choice, (label, _) in ppd.choices("HalftoneType",
                                                                   language).items())
            self.assertEqual(shown, wanted)


def show_labels() -> None:
    """Prints the halftone labels as libcups gives them in the language of LANG."""
    for name, ppd in read_folder(FOLDER).items():
        marked = libcups.MarkedPpd(FOLDER / name)
        marked.localize()
        for choice in ppd.choices("HalftoneType"):
            print(name, choice, marked.label("HalftoneType", choice))


if __name__ == "__main__":
    if sys.argv[3:] == [SHOW_LABELS]:
        show_labels()
    else:
        harness.run_tests()
