#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Counts the test cases of ctest's JUnit files.

junit_totals.py FILE          prints "passed failed skipped"; fails on no test at all
junit_totals.py --skips FILE  prints a line for each skipped test
"""
import sys
import xml.etree.ElementTree as ElementTree


def cases(path):
    for case in ElementTree.parse(path).getroot().iter("testcase"):
        yield case.get("name"), case.get("status")


def skipped(status):
    return status in ("notrun", "disabled", "skipped")


def main(arguments):
    if arguments[:1] == ["--skips"]:
        for path in arguments[1:]:
            for name, status in cases(path):
                if skipped(status):
                    print(f"skipped: {name}")
        return 0
    statuses = [status for path in arguments for _, status in cases(path)]
    if not statuses:
        return 1
    skips = sum(map(skipped, statuses))
    passes = statuses.count("run")
    print(passes, len(statuses) - passes - skips, skips)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
