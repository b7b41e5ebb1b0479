# SPDX-License-Identifier: Apache-2.0
"""Single faults in C++ sources as clang-format lays them out."""
from __future__ import annotations

import math
import re
import struct
from typing import Iterator, NamedTuple


class Fault(NamedTuple):
    """Replaces text[start:end] of a file."""
    path: str
    start: int
    end: int
    kind: str
    new: str


def code_mask(text: str) -> list[bool]:
    """Which characters are code: no comment, text or preprocessor line."""
    mask = [True] * len(text)
    pattern = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\''
                         r'|^[ \t]*#(?:[^\n]*\\\n)*[^\n]*', re.S | re.M)
    for match in pattern.finditer(text):
        if match.group().startswith("'") and re.match(r"\w", text[match.start() - 1:match.start()]):
            continue  # between the digits of a number
        for i in range(match.start(), match.end()):
            mask[i] = False
    return mask


def closing(text: str, opening: int) -> int:
    """Index of the bracket that closes the one at `opening`."""
    pairs = {"(": ")", "<": ">", "{": "}"}
    begin, end = text[opening], pairs[text[opening]]
    depth = 0
    for i in range(opening, len(text)):
        depth += (text[i] == begin) - (text[i] == end)
        if depth == 0:
            return i
    return len(text) - 1


def arguments(text: str, opening: int) -> list[str]:
    """The arguments of a call whose bracket opens there."""
    end = closing(text, opening)
    parts, depth, start = [], 0, opening + 1
    for i in range(opening + 1, end):
        depth += (text[i] in "({[") - (text[i] in ")}]")
        if text[i] == "," and depth == 0:
            parts.append(text[start:i].strip())
            start = i + 1
    parts.append(text[start:end].strip())
    return parts


COMPARISONS = {"<": ("<=", ">="), ">": (">=", "<="), "<=": ("<", ">"), ">=": (">", "<"),
               "==": ("!=",), "!=": ("==",), "&&": ("||",), "||": ("&&",)}
VECTOR_CALLS = {"hn::Gt": "hn::Ge", "hn::Ge": "hn::Gt", "hn::Lt": "hn::Le", "hn::Le": "hn::Lt",
                "hn::Eq": "hn::Ne", "hn::Ne": "hn::Eq", "hn::SaturatedAdd": "hn::Add",
                "hn::SaturatedSub": "hn::Sub", "hn::Add": "hn::Sub", "hn::And": "hn::Or"}


def comparison_faults(path: str, text: str) -> Iterator[Fault]:
    """Comparisons flipped or made (non-)strict; and for or."""
    for match in re.finditer(r"(?<= )(<=|>=|==|!=|<|>|&&|\|\|)(?=[ \n])", text):
        for new in COMPARISONS[match.group()]:
            yield Fault(path, match.start(), match.end(), "comparison", new)
    for match in re.finditer(r"\bhn::\w+(?=\()", text):
        if match.group() in VECTOR_CALLS:
            yield Fault(path, match.start(), match.end(), "vector operation",
                        VECTOR_CALLS[match.group()])


def next_single(value: float, up: bool) -> float:
    """The neighbour of a positive value in single precision."""
    bits = struct.unpack("<I", struct.pack("<f", value))[0] + (1 if up else -1)
    return struct.unpack("<f", struct.pack("<I", bits))[0]


def number_faults(path: str, text: str) -> Iterator[Fault]:
    """Whole numbers plus and minus one, others one unit in the last place."""
    pattern = re.compile(r"(?<![\w.'])(0[xX][0-9A-Fa-f']+|\d+\.\d*(?:[eE][+-]?\d+)?|\d[\d']*"
                         r"(?:[eE][+-]?\d+)?)([uUlLfF]*)(?![\w.'])")
    for match in pattern.finditer(text):
        number, suffix = match.groups()
        if re.search(r"(?:array|Tag|Repartition)<[^()]*$", text[:match.start()][-60:]) \
                and text[match.end()] == ">":
            continue  # a size that only the compiler sees
        hexadecimal = number[:2] in ("0x", "0X")
        if not hexadecimal and re.search(r"[.eE]", number):
            value = float(number)
            if value == 0.0:
                continue
            for up in (True, False):
                if suffix in ("f", "F"):
                    new = f"{next_single(value, up):.9g}"
                    new = (new if re.search(r"[.e]", new) else new + ".0") + suffix
                else:
                    new = repr(math.nextafter(value, math.inf if up else -math.inf))
                yield Fault(path, match.start(), match.end(), "weight", new)
            continue
        value = int(number.replace("'", ""), 16 if hexadecimal else 10)
        for changed in (value + 1, value - 1):
            new = hex(changed) if hexadecimal and changed >= 0 else str(changed)
            yield Fault(path, match.start(), match.end(), "weight", new + suffix)


def removal_faults(path: str, text: str) -> Iterator[Fault]:
    """Casts and clamps that are left out."""
    for match in re.finditer(r"\bstatic_cast<", text):
        bracket = closing(text, match.end() - 1) + 1
        yield Fault(path, match.start(), bracket, "cast", "")
    pattern = re.compile(r"\b(std::clamp|myClamp|std::min|std::max|hn::Min|hn::Max|"
                         r"truncateToInt32|truncateToUint64)(?:<[\w:]+>)?\(")
    for match in pattern.finditer(text):
        if re.search(r"(?:\w |template.*\n.*)$", text[:match.start()][-30:]) and \
                not re.search(r"(?:return|=|[(,+*-]) ?$", text[:match.start()][-12:]):
            continue  # the function itself
        end = closing(text, match.end() - 1) + 1
        parts = arguments(text, match.end() - 1)
        keep = parts[:2] if re.search(r"[mM](in|ax)$", match.group(1)) else parts[:1]
        for part in keep:
            yield Fault(path, match.start(), end, "clamp", f"({part})")


def swap_faults(path: str, text: str) -> Iterator[Fault]:
    """Neighbouring statements in the wrong order."""
    statement = r"( +)(?!return\b|break\b|using\b|case\b|default\b|static_assert\b|if\b|for\b|" \
                r"else\b|const\b|constexpr\b|static\b|auto\b|typedef\b)[\w*:(].*;\n"
    pattern = re.compile(rf"(?<=[;{{}}]\n)(?={statement}\1(?! ))", re.M)
    for match in pattern.finditer(text):
        first_end = text.index("\n", match.start()) + 1
        second_end = text.find("\n", first_end) + 1
        first, second = text[match.start():first_end], text[first_end:second_end]
        if re.fullmatch(statement, second) and first != second:
            yield Fault(path, match.start(), second_end, "order", second + first)


def faults_of(path: str, text: str) -> list[Fault]:
    """Every fault of a file, in the order of the places."""
    mask = code_mask(text)
    found = []
    for make in (comparison_faults, number_faults, removal_faults, swap_faults):
        found += [fault for fault in make(path, text) if mask[fault.start]]
    return sorted(found, key=lambda fault: (fault.start, fault.kind, fault.new))
