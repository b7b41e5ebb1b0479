#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Counts the test cases of ctest's JUnit files; of a GoogleTest program, its own tests.

junit_totals.py FILE          prints "passed failed skipped"; fails on no test at all
junit_totals.py --skips FILE  prints a line for each skipped test
"""
import re
import sys
import xml.etree.ElementTree as ElementTree

SKIPPED, PASSED = ("notrun", "disabled", "skipped"), "run"
# What the Python programs and GoogleTest print for each of their own tests that they skip.
INNER_SKIP = re.compile(r"^(?:SKIPPED: (?P<python>\w+\.\w+): |\[  SKIPPED \] (?P<google>[\w/.]+)$)",
                        re.MULTILINE)
INNER_PASSES = re.compile(r"^\[  PASSED  \] (\d+) tests?\.$", re.MULTILINE)


class Case:
    def __init__(self, element):
        self.name = element.get("name")
        self.skipped = element.get("status") in SKIPPED
        self.failed = not self.skipped and element.get("status") != PASSED
        output = element.findtext("system-out") or ""
        inner = INNER_PASSES.search(output)
        self.passed = int(inner[1]) if inner else int(not self.skipped and not self.failed)
        # The tests that are skipped, one of a program that ran included.
        self.skips = [self.name] if self.skipped else [
            f"{self.name}: {test['python'] or test['google']}" for test in INNER_SKIP.finditer(output)]


def cases(path):
    return [Case(element) for element in ElementTree.parse(path).getroot().iter("testcase")]


def main(arguments):
    if arguments[:1] == ["--skips"]:
        for path in arguments[1:]:
            for case in cases(path):
                for skip in case.skips:
                    print(f"skipped: {skip}")
        return 0
    found = [case for path in arguments for case in cases(path)]
    if not found:
        return 1
    print(*(sum(getattr(case, what) for case in found) for what in ("passed", "failed", "skipped")))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
