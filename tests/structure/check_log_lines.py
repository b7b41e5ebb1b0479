#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares docs/log-lines.md with the lines that the filter's sources write.

Each line of the sources stands in one of the page's tables, with its level and its
text, and the other way round. Checks itself first.
"""
import pathlib
import re
import sys
from collections.abc import Iterator

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDERS = ("common", "image", "tattoo", "printer", "filter", "filter/picture")
LEVELS = {"kLogDebug": "DEBUG:", "kLogInfo": "DEBUG:", "kLogWarning": "WARN:",
          "kLogError": "ERROR:", "kLogCritical": "CRIT:", "kLogInvalid": "INVALID:"}

LITERAL = r'"(?:[^"\\]|\\.)*"'
TEXT = rf"{LITERAL}(?:\s*{LITERAL})*"
COMMENT_OR_LITERAL = re.compile(rf"//[^\n]*|/\*.*?\*/|({LITERAL})", re.DOTALL)
CALL = re.compile(rf"\b(?:dravLogCommon\(\s*(\w+)|fprintf\(\s*stderr)\s*,\s*(?:({TEXT})|([^,)]+))")
# The last of an entry's values, or one of a list of texts.
IN_TABLE = re.compile(rf'(?<=[,({{=])\s*({TEXT})\s*(?:}}|,(?=\s*["}}]))')
ROW = re.compile(r"^\| (?:`(\w+:)`|none) \| `([^`]+)` \| \S", re.MULTILINE)

Line = tuple[str, str]  # level, or nothing, and text


def text_of(literals: str) -> str:
    parts = re.findall(LITERAL, literals)
    text = "".join(part[1:-1] for part in parts).replace('\\"', '"')
    return text[:-2] if text.endswith("\\n") and not text.endswith("\\n\\n") else text


def lines_of(source: str) -> Iterator[Line]:
    """The lines of one file; a format that is no literal stands for those of its tables."""
    code = COMMENT_OR_LITERAL.sub(lambda match: match[1] or "", source)
    tables = CALL.sub("", code)
    for level, literals, name in CALL.findall(code):
        texts = [literals] if literals else re.findall(IN_TABLE, tables)
        if not texts:
            raise ValueError(f"no texts for the format {name.strip()}")
        for text in texts:
            yield (LEVELS[level] if level else "", text_of(text))


def lines_of_page(page: str) -> set[Line]:
    return set(ROW.findall(page))


def lines_of_sources() -> set[Line]:
    return {line for folder in FOLDERS for path in sorted((ROOT / folder).glob("*.cc"))
            for line in lines_of(path.read_text(encoding="utf-8"))
            if path.name != "log.cc"}


def check_itself() -> None:
    source = """// dravLogCommon(kLogError, "no");
      dravLogCommon(kLogInfo, "a %s"  // why
                    " \\"b\\"", x);
      std::fprintf(stderr, "c\\n");
      Paper papers[] = {{"A4", 1, "d %d"}, {"A5", 2,
        "e %d"}};
      dravLogCommon(kLogCritical, paper.format, 1);"""
    want = {("DEBUG:", 'a %s "b"'), ("", "c"), ("CRIT:", "d %d"), ("CRIT:", "e %d")}
    assert set(lines_of(source)) == want, set(lines_of(source))
    page = '| `DEBUG:` | `a %s "b"` | once |\n| none | `c` | at the end |\n| `WARN:` | `d` |  |\n'
    assert lines_of_page(page) == {("DEBUG:", 'a %s "b"'), ("", "c")}, lines_of_page(page)


def main() -> int:
    check_itself()
    written = lines_of_sources()
    told = lines_of_page((ROOT / "docs/log-lines.md").read_text(encoding="utf-8"))
    for level, text in sorted(written - told):
        print(f"docs/log-lines.md lacks: {level}{text}")
    for level, text in sorted(told - written):
        print(f"docs/log-lines.md tells what no source writes: {level}{text}")
    return 1 if written != told else 0


if __name__ == "__main__":
    sys.exit(main())
