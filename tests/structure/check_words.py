#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks that the page "Print a drawing" says every text in every language of the driver files.

Texts are what stands in its HTML, and every string of its scripts that is a sentence or is
handed to say().
"""
import html.parser
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
SHARED = ROOT / "tools/drav/html"
PAGE = ROOT / "app/web/page"
ENTRY = re.compile(r'^msgid "(.*)"\nmsgstr "(.*)"$', re.MULTILINE)
PLACE = re.compile(r"\{\w+\}")
SAID = re.compile(r'say\(\s*"((?:[^"\\]|\\.)+)"')
SENTENCE = re.compile(r'"([A-Z][^"\\]* [^"\\]*[.:]|\{length\}[^"\\]*)"')
NO_WORDS = re.compile(r"[^A-Za-z]*")
PART = re.compile(r"@[A-Z]+@")


class Texts(html.parser.HTMLParser):
    def __init__(self) -> None:
        super().__init__()
        self.found: set[str] = set()

    def handle_starttag(self, tag, attrs) -> None:
        self.found |= {value for name, value in attrs
                       if name in ("aria-label", "title", "placeholder", "aria-roledescription")}

    def handle_data(self, data) -> None:
        text = data.strip()
        if not NO_WORDS.fullmatch(text) and not PART.fullmatch(text):
            self.found.add(text)


def texts() -> set[str]:
    found: set[str] = set()
    for path in (PAGE / "print.html", SHARED / "viewer.html", SHARED / "switches.html",
                 SHARED / "figures.html"):
        reader = Texts()
        reader.feed(path.read_text(encoding="utf-8"))
        found |= reader.found
    build = (ROOT / "app/CMakeLists.txt").read_text(encoding="utf-8")
    scripts = [SHARED / name for name in re.findall(r"\$\{html\}/(\w+\.js)", build)]
    scripts += [PAGE / name for name in re.findall(r"\$\{page\}/(\w+\.js)", build)]
    assert len(scripts) > 8, scripts
    for path in scripts:
        script = path.read_text(encoding="utf-8")
        found |= set(SAID.findall(script)) | set(SENTENCE.findall(script))
    return found


def main() -> int:
    wanted = texts()
    assert len(wanted) > 90, len(wanted)
    assert {"Print a drawing", "The drawing waits for its turn.", "no ink at all"} <= wanted
    faults = []
    languages = sorted(path.stem.split("-")[1] for path in (ROOT / "ppd").glob("*.po"))
    assert len(languages) == 5, languages
    for language in languages:
        known: dict[str, str] = {}
        for path in (ROOT / f"ppd/drav-{language}.po", PAGE.parent / f"words/{language}.po"):
            known |= dict(ENTRY.findall(path.read_text(encoding="utf-8")))
        faults += [f"{language}: no words for {text!r}" for text in wanted - known.keys()]
        faults += [f"{language}: other places than in {text!r}: {said!r}"
                   for text, said in known.items()
                   if sorted(PLACE.findall(text)) != sorted(PLACE.findall(said))]
    print("\n".join(sorted(faults)) or f"{len(wanted)} texts in {len(languages)} languages")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
