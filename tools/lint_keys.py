#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Names each source given as an argument by what a linter's verdict on it rests on.

Prints a line `KEY PATH` a source. The key is a digest of the source, of the headers
of the project that it includes, directly or through others, and of the rules: a
verdict holds as long as the key does.
"""
import functools
import hashlib
import pathlib
import re
import sys

RULES = (".clang-tidy", "tools/cppcheck_suppressions.txt")
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


@functools.cache
def text_of(path: str) -> str:
    file = pathlib.Path(path)
    return file.read_text(encoding="utf-8") if file.is_file() else ""


def closure(source: str) -> set[str]:
    """The source and the headers of the project below it."""
    known, waiting = {source}, [source]
    while waiting:
        found = {path for path in INCLUDE.findall(text_of(waiting.pop())) if text_of(path)}
        waiting.extend(found - known)
        known |= found
    return known


def key(source: str) -> str:
    own_rules = f"{source.split('/', maxsplit=1)[0]}/.clang-tidy"
    rules = (*RULES, own_rules) if text_of(own_rules) else RULES
    digest = hashlib.sha256()
    for path in (*rules, *sorted(closure(source))):
        digest.update(f"{path}\0{text_of(path)}\0".encode())
    return digest.hexdigest()[:24]


for name in sys.argv[1:]:
    print(key(name), name)
