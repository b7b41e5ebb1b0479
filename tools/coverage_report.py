#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Tables of line and branch coverage from what llvm-cov exports.

coverage_report.py LINES.lcov BRANCHES.json DOCUMENT.md

A line or branch that is compiled several times (vector code for each processor, a
template for each kernel) counts as reached when one of its copies is. What is not
reached is listed with the reason that tools/coverage_reasons.tsv gives for it.
"""
from __future__ import annotations

import datetime
import json
import pathlib
import platform
import sys
from collections import defaultdict
from typing import NamedTuple

ROOT = pathlib.Path(__file__).resolve().parent.parent
LIBRARIES = ("common", "image", "tattoo", "printer", "filter")
FOLDERS = (*LIBRARIES, "tools")
LEAST_LINES = 95.0
LEAST_BRANCHES = 85.0
UNEXPLAINED = "no test yet"


class Miss(NamedTuple):
    """A place that no test reaches."""
    path: str
    line: int
    what: str


class Counts:
    """Reached and all lines and branch sides of a file or folder."""

    def __init__(self) -> None:
        self.lines = [0, 0]
        self.sides = [0, 0]

    def add(self, other: Counts) -> None:
        for mine, theirs in ((self.lines, other.lines), (self.sides, other.sides)):
            mine[0] += theirs[0]
            mine[1] += theirs[1]


def percent(part: list[int]) -> float:
    """Share of what is reached; all of nothing counts as all."""
    return 100.0 * part[0] / part[1] if part[1] else 100.0


def relative(path: str) -> str:
    """The path below the project's folder."""
    return str(pathlib.Path(path).resolve().relative_to(ROOT))


def read_lines(path: str) -> dict[str, dict[int, int]]:
    """Executions of each line, by file."""
    lines: dict[str, dict[int, int]] = defaultdict(lambda: defaultdict(int))
    current = ""
    with open(path, encoding="utf-8") as records:
        for record in records:
            key, _, value = record.strip().partition(":")
            if key == "SF":
                current = relative(value)
            elif key == "DA":
                number, count = value.split(",")[:2]
                lines[current][int(number)] += int(count)
    return lines


def read_sides(path: str) -> dict[str, dict[tuple[int, int, int, int], list[int]]]:
    """Executions of the true and the false side of each branch, by file and place."""
    with open(path, encoding="utf-8") as text:
        files = json.load(text)["data"][0]["files"]
    sides: dict[str, dict[tuple[int, int, int, int], list[int]]] = {}
    for entry in files:
        places = sides.setdefault(relative(entry["filename"]), {})
        for branch in entry["branches"]:
            counts = places.setdefault(tuple(branch[:4]), [0, 0])
            counts[0] += branch[4]
            counts[1] += branch[5]
    return sides


def survey(lines: dict[int, int], sides: dict[tuple[int, int, int, int], list[int]],
           path: str) -> tuple[Counts, list[Miss]]:
    """Counts of one file and what is missing of it."""
    counts = Counts()
    misses = []
    for number, executions in sorted(lines.items()):
        counts.lines[1] += 1
        counts.lines[0] += executions > 0
        if executions == 0:
            misses.append(Miss(path, number, "line"))
    for place, executions in sorted(sides.items()):
        for side, name in enumerate(("never true", "never false")):
            counts.sides[1] += 1
            counts.sides[0] += executions[side] > 0
            if executions[side] == 0 and lines.get(place[0], 1) > 0:
                misses.append(Miss(path, place[0], name))
    return counts, misses


def read_reasons() -> list[tuple[str, str, str]]:
    """Path, piece of the source line, reason."""
    reasons = []
    text = (ROOT / "tools/coverage_reasons.tsv").read_text(encoding="utf-8")
    for line in text.splitlines():
        if line and not line.startswith("#"):
            path, piece, reason = line.split("\t")
            reasons.append((path, piece, reason))
    return reasons


def explain(misses: list[Miss]) -> dict[tuple[str, str], list[tuple[Miss, str]]]:
    """What is missing with its source line, by file and reason."""
    reasons = read_reasons()
    by_reason: dict[tuple[str, str], list[tuple[Miss, str]]] = defaultdict(list)
    for miss in misses:
        source = (ROOT / miss.path).read_text(encoding="utf-8").splitlines()[miss.line - 1].strip()
        reason = next((text for path, piece, text in reasons
                       if miss.path == path and piece in source), UNEXPLAINED)
        by_reason[miss.path, reason].append((miss, source))
    return by_reason


def table(folders: dict[str, Counts]) -> list[str]:
    """The figures as a table of the document."""
    total = Counts()
    for name in LIBRARIES:
        total.add(folders[name])
    rows = ["| Folder | Lines | reached | Branch sides | reached |", "|---|--:|--:|--:|--:|"]
    shown = [(f"`{name}/`", folders[name]) for name in LIBRARIES]
    shown += [("**product's libraries**", total), ("`tools/`", folders["tools"])]
    for name, counts in shown:
        rows.append(f"| {name} | {counts.lines[1]} | {percent(counts.lines):.1f} % "
                    f"| {counts.sides[1]} | {percent(counts.sides):.1f} % |")
    return rows


def document(rows: list[str], missing: dict[tuple[str, str], list[tuple[Miss, str]]]) -> str:
    """The text of docs/coverage.md."""
    today = datetime.date.today().isoformat()
    text = ["# Coverage", "",
            "Written by `scripts/coverage`, which fails below "
            f"{LEAST_LINES:.0f} % of the lines or {LEAST_BRANCHES:.0f} % of the branch sides of the",
            "product's libraries. Counted by clang's source-based coverage over all tests,",
            "unit and whole program; a piece of code that is compiled several times (each",
            "processor's vector code, each kernel) counts once.", "",
            f"Measured on {today}, {platform.machine()}.", "", *rows, "", "## Not reached", ""]
    for (path, reason), places in sorted(missing.items()):
        text += [f"**`{path}`** — {reason}", ""]
        for miss, source in places:
            text.append(f"* {miss.line} ({miss.what}): ``{source}``")
        text.append("")
    return "\n".join(text)


def main() -> int:
    """Prints the table, writes the document, judges."""
    lines = read_lines(sys.argv[1])
    sides = read_sides(sys.argv[2])
    folders = {name: Counts() for name in FOLDERS}
    misses: list[Miss] = []
    for path in sorted(lines):
        counts, missing = survey(lines[path], sides.get(path, {}), path)
        folders[path.split("/")[0]].add(counts)
        if not path.startswith("tools/"):
            misses += missing
    rows = table(folders)
    print("\n".join(rows))
    explained = explain(misses)
    pathlib.Path(sys.argv[3]).write_text(document(rows, explained), encoding="utf-8")
    open_places = [miss for (_, reason), places in explained.items() if reason == UNEXPLAINED
                   for miss, _ in places]
    print(f"{len(misses)} places of the libraries not reached, {len(open_places)} unexplained")
    total = Counts()
    for name in LIBRARIES:
        total.add(folders[name])
    enough = percent(total.lines) >= LEAST_LINES and percent(total.sides) >= LEAST_BRANCHES
    if not enough:
        print("coverage: below the limits", file=sys.stderr)
    return 0 if enough else 1


if __name__ == "__main__":
    sys.exit(main())
