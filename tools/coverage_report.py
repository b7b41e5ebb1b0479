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
import re
import sys
from collections import defaultdict
from typing import NamedTuple

ROOT = pathlib.Path(__file__).resolve().parent.parent
LIBRARIES = ("common", "image", "tattoo", "printer", "filter")
FOLDERS = (*LIBRARIES, "tools")
LEAST_LINES = 95.0
LEAST_BRANCHES = 85.0
UNEXPLAINED = "no test yet"
# A reason that begins so names the first line of a function that only the compiler runs.
COMPILED = "at compile time"
# A constant of a template: clang counts neither side of what it decides itself.
CONSTANT = re.compile(r"!?k[A-Z][\w.]*(?: [=!<>]=? \d+)?")


class Miss(NamedTuple):
    """A place that no test reaches."""
    path: str
    line: int
    what: str


Explained = dict[tuple[str, str], list[Miss]]


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


def product_path(path: str) -> str:
    """The path below the project's folder; empty for what is no part of the product."""
    full = pathlib.Path(path).resolve()
    if not full.is_relative_to(ROOT):
        return ""
    below = full.relative_to(ROOT)
    return str(below) if below.parts[0] in FOLDERS else ""


def read_lines(path: str) -> dict[str, dict[int, int]]:
    """Executions of each line, by file."""
    lines: dict[str, dict[int, int]] = defaultdict(lambda: defaultdict(int))
    current = ""
    with open(path, encoding="utf-8") as records:
        for record in records:
            key, _, value = record.strip().partition(":")
            if key == "SF":
                current = product_path(value)
            elif key == "DA" and current:
                number, count = value.split(",")[:2]
                lines[current][int(number)] += int(count)
    return lines


def read_sides(export: str) -> dict[str, dict[tuple[int, int, int, int], list[int]]]:
    """Executions of the true and the false side of each branch, by file and place."""
    with open(export, encoding="utf-8") as text:
        files = json.load(text)["data"][0]["files"]
    sides: dict[str, dict[tuple[int, int, int, int], list[int]]] = {}
    for entry in files:
        path = product_path(entry["filename"])
        if not path:
            continue
        places = sides.setdefault(path, {})
        for branch in entry["branches"]:
            counts = places.setdefault(tuple(branch[:4]), [0, 0])
            counts[0] += branch[4]
            counts[1] += branch[5]
    return sides


def source_of(path: str) -> list[str]:
    """The lines of a file, the first one at index 1."""
    return ["", *(ROOT / path).read_text(encoding="utf-8").splitlines()]


def compiled_lines(path: str, lines: dict[int, int], source: list[str]) -> set[int]:
    """Lines of the functions that only the compiler runs: they have no code of their own."""
    found = set()
    for where, piece, reason in read_reasons():
        if where != path or not reason.startswith(COMPILED):
            continue
        for number in [number for number in lines if piece in source[number]]:
            while lines.get(number, 1) == 0:
                found.add(number)
                number += 1
    return found


def survey(lines: dict[int, int], sides: dict[tuple[int, int, int, int], list[int]],
           path: str) -> tuple[Counts, list[Miss]]:
    """Counts of one file and what is missing of it."""
    counts = Counts()
    misses = []
    source = source_of(path)
    compiled = compiled_lines(path, lines, source)
    for number, executions in sorted(lines.items()):
        if executions == 0:
            misses.append(Miss(path, number, COMPILED if number in compiled else "line"))
        if number not in compiled:
            counts.lines[1] += 1
            counts.lines[0] += executions > 0
    for place, executions in sorted(sides.items()):
        line, column, last, end = place
        condition = source[line][column - 1:end - 1 if last == line else None]
        decided = not any(executions) and CONSTANT.fullmatch(condition)
        if line in compiled or decided or "if constexpr" in source[line]:
            continue
        for side, name in enumerate(("never true", "never false")):
            counts.sides[1] += 1
            counts.sides[0] += executions[side] > 0
            if executions[side] == 0 and lines.get(line, 1) > 0:
                misses.append(Miss(path, line, f"`{condition}` {name}"))
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


def explain(misses: list[Miss]) -> tuple[Explained, list[str]]:
    """What is missing, by file and reason; and the reasons that explain nothing."""
    reasons = read_reasons()
    used = set()
    by_reason: Explained = defaultdict(list)
    found = previous = None
    for miss in misses:
        source = source_of(miss.path)[miss.line].strip()
        # A line after an unreached one belongs to the same piece.
        goes_on = (previous and miss.path == previous.path and miss.line == previous.line + 1
                   and miss.what == previous.what)
        previous = miss
        found = next((entry for entry in reasons
                      if miss.path == entry[0] and entry[1] in source),
                     found if goes_on else None)
        used.add(found)
        by_reason[miss.path, found[2] if found else UNEXPLAINED].append(miss)
    return by_reason, [f"{path}: {piece}" for path, piece, reason in reasons
                       if (path, piece, reason) not in used]


def listed(places: list[Miss]) -> list[str]:
    """Rows of the document: sides of branches, and lines that follow each other as one."""
    rows = []
    plain = ("line", COMPILED)
    lines = [miss.line for miss in places if miss.what in plain]
    source = source_of(places[0].path)
    while lines:
        count = 1
        while count < len(lines) and lines[count] == lines[0] + count:
            count += 1
        last = f"–{lines[count - 1]}" if count > 1 else ""
        rows.append(f"* {lines[0]}{last}: ``{source[lines[0]].strip()}``{' …' * bool(last)}")
        del lines[:count]
    rows += [f"* {miss.line}: {miss.what}" for miss in places if miss.what not in plain]
    return rows


def table(folders: dict[str, Counts]) -> list[str]:
    """The figures as a table of the document."""
    total = Counts()
    for name in LIBRARIES:
        total.add(folders[name])
    rows = ["| Folder | Lines | reached | Branch sides | reached |", "|---|--:|--:|--:|--:|"]
    shown = [(f"`{name}/`", folders[name]) for name in LIBRARIES]
    shown += [("**product's libraries**", total), ("`tools/`", folders["tools"])]
    for name, counts in shown:
        if counts.lines[1] == 0:
            rows.append(f"| {name} | not part of this run | | | |")
            continue
        rows.append(f"| {name} | {counts.lines[1]} | {percent(counts.lines):.1f} % "
                    f"| {counts.sides[1]} | {percent(counts.sides):.1f} % |")
    return rows


def document(rows: list[str], missing: Explained) -> str:
    """The text of docs/coverage.md."""
    template = (ROOT / "tools/coverage_template.md").read_text(encoding="utf-8")
    text = []
    for (path, reason), places in sorted(missing.items()):
        text += [f"**`{path}`**: {reason}", "", *listed(places), ""]
    return (template.replace("@DATE@", datetime.date.today().isoformat())
            .replace("@MACHINE@", platform.machine()).replace("@TABLE@", "\n".join(rows))
            .replace("@LINES@", f"{LEAST_LINES:.0f}").replace("@BRANCHES@", f"{LEAST_BRANCHES:.0f}")
            .replace("@MISSING@", "\n".join(text).rstrip()))


def judge(folders: dict[str, Counts]) -> list[str]:
    """Which library is below the limits, and in what."""
    complaints = []
    for name in LIBRARIES:
        for what, part, least in (("lines", folders[name].lines, LEAST_LINES),
                                  ("branch sides", folders[name].sides, LEAST_BRANCHES)):
            if percent(part) < least:
                complaints.append(f"coverage: {name}/: {percent(part):.2f} % of the {what}, "
                                  f"below {least:.0f} %")
    return complaints


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
    explained, idle = explain(misses)
    pathlib.Path(sys.argv[3]).write_text(document(rows, explained), encoding="utf-8")
    unexplained = [miss for (_, reason), places in explained.items() if reason == UNEXPLAINED
                   for miss in places]
    compiled = sum(miss.what == COMPILED for miss in misses)
    print(f"{len(misses) - compiled} places of the libraries not reached, {len(unexplained)} "
          f"unexplained; {compiled} lines run only while compiling")
    for miss in unexplained:
        print(f"{miss.path}:{miss.line}: unexplained: {miss.what}")
    for reason in idle:
        print(f"tools/coverage_reasons.tsv: explains nothing any more: {reason}")
    complaints = judge(folders)
    for complaint in complaints:
        print(complaint, file=sys.stderr)
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
