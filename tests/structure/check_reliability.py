#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks that every promise of docs/reliability.md names tests that exist.

In each table that has a column "Test", every row names at least one, as
`Suite.Test` or `test_program.Class[.test_method]`. Checks itself first.
"""
import ast
import pathlib
import re
import sys
from collections.abc import Iterator

ROOT = pathlib.Path(__file__).resolve().parents[2]
GTEST = re.compile(r"^TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\)", re.MULTILINE)


def names_in_cc(text: str) -> Iterator[str]:
    for suite, test in GTEST.findall(text):
        yield f"{suite}.{test}"


def names_in_python(module: str, text: str) -> Iterator[str]:
    """Classes that have tests, and their tests."""
    for item in ast.parse(text).body:
        if not isinstance(item, ast.ClassDef):
            continue
        methods = [part.name for part in item.body
                   if isinstance(part, ast.FunctionDef) and part.name.startswith("test_")]
        if methods:
            yield f"{module}.{item.name}"
        yield from (f"{module}.{item.name}.{method}" for method in methods)


def tests_of(root: pathlib.Path) -> set[str]:
    names: set[str] = set()
    for path in root.glob("tests/unit/**/*_test.cc"):
        names.update(names_in_cc(path.read_text(encoding="utf-8")))
    for path in root.glob("tests/**/test_*.py"):
        names.update(names_in_python(path.stem, path.read_text(encoding="utf-8")))
    return names


def cells(line: str) -> list[str]:
    return [cell.strip() for cell in line.strip().strip("|").split("|")]


def findings(text: str, tests: set[str]) -> Iterator[str]:
    column, tables = -1, 0
    for number, line in enumerate(text.splitlines(), 1):
        if not line.startswith("|"):
            column = -1
            continue
        row = cells(line)
        if "Test" in row:
            column, tables = row.index("Test"), tables + 1
        elif column >= 0 and not set(line) <= set("|-: "):
            named = re.findall(r"`([^`]+)`", row[column]) if column < len(row) else []
            if not named:
                yield f"line {number}: no test is named"
            yield from (f"line {number}: there is no test {name}" for name in named
                        if name not in tests)
    if tables == 0:
        yield "no table has a column Test"


def check_itself() -> None:
    tests = {*names_in_cc("TEST_F(Suite, Name) {\n//TEST(Suite, Gone) {\n"),
             *names_in_python("test_x", "class A:\n  def test_b(self): pass\nclass C: pass\n")}
    assert tests == {"Suite.Name", "test_x.A", "test_x.A.test_b"}, tests
    head = "| Fault | Test |\n|---|---|\n"
    assert not list(findings(head + "| a | `Suite.Name`, `test_x.A.test_b` |\n", tests))
    assert len(list(findings(head + "| a | `Suite.Gone`, `test_x.C` |\n", tests))) == 2
    assert len(list(findings(head + "| a | Suite.Name |\n", tests))) == 1
    assert len(list(findings("| Fault |\n|---|\n| a |\n", tests))) == 1


def main() -> int:
    check_itself()
    found = list(findings((ROOT / "docs/reliability.md").read_text(encoding="utf-8"),
                          tests_of(ROOT)))
    for finding in found:
        print(f"docs/reliability.md: {finding}")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
