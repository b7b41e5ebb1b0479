# SPDX-License-Identifier: Apache-2.0
"""Which tests may be skipped, in which runs of which builds, and why.

A line of the file is "test | runs | builds | reason"; runs and builds are separated by
commas. A test within a program is "program: Class.test".
"""
import pathlib
from typing import NamedTuple


class Rule(NamedTuple):
    test: str
    runs: frozenset[str]
    builds: frozenset[str]
    reason: str


def read(path: pathlib.Path) -> list[Rule]:
    rules = []
    for number, line in enumerate(path.read_text("utf-8").splitlines(), 1):
        if not line or line.startswith("#"):
            continue
        parts = [part.strip() for part in line.split("|")]
        if len(parts) != 4 or not all(parts):
            raise ValueError(f"{path}:{number}: not \"test | runs | builds | reason\"")
        test, runs, builds, reason = parts
        rules.append(Rule(test, frozenset(runs.split(",")), frozenset(builds.split(",")), reason))
    return rules


def is_allowed(rules: list[Rule], test: str, run: str, build: str) -> bool:
    return any(test == rule.test and run in rule.runs and build in rule.builds for rule in rules)
