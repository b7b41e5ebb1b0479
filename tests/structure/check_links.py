#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks that the relative links of the Markdown files lead to a file, and to a heading
where they name one. Checks itself first.
"""
import pathlib
import re
import sys
import tempfile
from collections.abc import Iterator

ROOT = pathlib.Path(__file__).resolve().parents[2]
LINK = re.compile(r"\]\(([^)\s]+)\)")
CODE = re.compile(r"^```.*?^```|^(?: {4}|\t).*?$|`[^`\n]*`", re.DOTALL | re.MULTILINE)


def anchors_in(text: str) -> set[str]:
    """Names that a heading gets: lower case, punctuation gone, hyphens for spaces."""
    headings = re.findall(r"^#+ +(.+?) *$", text, re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def findings(folder: pathlib.Path, name: str) -> Iterator[str]:
    text = (folder / name).read_text(encoding="utf-8")
    for link in LINK.findall(CODE.sub("", text)):
        if re.match(r"\w+:", link):
            continue
        path, _, anchor = link.partition("#")
        target = ((folder / name).parent / path) if path else folder / name
        if not target.exists():
            yield f"{name}: {link} leads nowhere"
        elif anchor and anchor not in anchors_in(target.read_text(encoding="utf-8")):
            yield f"{name}: {link} names no heading"


def check_itself(scratch: pathlib.Path) -> None:
    (scratch / "a.md").write_text("# A `b`: c?\n[x](#a-b-c) [x](b.md#d) [x](https://a.b/c)\n"
                                  "`[x](gone.md)`\n\n    [x](gone.md)\n", encoding="utf-8")
    (scratch / "b.md").write_text("[x](a.md) [x](gone.md) [x](a.md#gone)\n# D\n", encoding="utf-8")
    assert not list(findings(scratch, "a.md")), list(findings(scratch, "a.md"))
    assert len(list(findings(scratch, "b.md"))) == 2, list(findings(scratch, "b.md"))


def main() -> int:
    with tempfile.TemporaryDirectory() as scratch:
        check_itself(pathlib.Path(scratch))
    files = [path.relative_to(ROOT) for path in ROOT.rglob("*.md")
             if not {"build", ".git"} & set(path.relative_to(ROOT).parts)]
    assert files
    found = [finding for file in sorted(files) for finding in findings(ROOT, str(file))]
    print(*found, sep="\n")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
