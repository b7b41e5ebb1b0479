# SPDX-License-Identifier: Apache-2.0
"""Makes copies of the sources that docs/adding-a-halftone.md changes, with its code in them.

    apply_guide.py GUIDE SOURCES OUT

A piece of code follows a line of the form "In `FILE`, above `TEXT`:" (or below). It goes above
the one line of the file that holds the text.
"""
import pathlib
import re
import sys

PIECE = re.compile(r"^In `([^`]+)`, (above|below) `([^`]+)`:\n\n```cpp\n(.*?)^```$", re.M | re.S)


def inserted(text: str, anchor: str, where: str, code: str) -> str:
    lines = text.splitlines(keepends=True)
    places = [number for number, line in enumerate(lines) if anchor in line]
    if len(places) != 1:
        raise SystemExit(f"{len(places)} lines hold {anchor}")
    at = places[0] + (where == "below")
    return "".join([*lines[:at], code, *lines[at:]])


def main() -> None:
    guide, sources, out = (pathlib.Path(argument) for argument in sys.argv[1:])
    text = guide.read_text(encoding="utf-8")
    pieces = PIECE.findall(text)
    if len(pieces) != text.count("```") // 2:
        raise SystemExit(f"{guide}: code without a place")
    changed: dict[str, str] = {}
    for name, where, anchor, code in pieces:
        before = changed.get(name) or (sources / name).read_text(encoding="utf-8")
        changed[name] = inserted(before, anchor, where, code)
    for name, content in changed.items():
        path = out / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(content, encoding="utf-8")


if __name__ == "__main__":
    main()
