# SPDX-License-Identifier: Apache-2.0
"""Reads the option tables of docs/options.md."""
import dataclasses
import re

HEAD = "| Option | Choice |"


@dataclasses.dataclass(frozen=True)
class Row:
    """One choice of the tables; `sent` is hexadecimal, "nothing" or "picture"."""

    option: str
    choice: str
    meaning: str  # what stands for it alone; empty where choices share a text
    sent: str
    when: str


def choices_of(cell: str) -> list[str]:
    """`1`, `2` or `1` to `9`."""
    span = re.fullmatch(r"`(\d+)` to `(\d+)`", cell)
    if span:
        return [str(number) for number in range(int(span[1]), int(span[2]) + 1)]
    return re.findall(r"`([^`]+)`", cell)


def meanings_of(cell: str, count: int) -> list[str]:
    """The text of each of `count` choices: one has it all, several share a list."""
    if count == 1:
        return [cell]
    parts = [part.replace(" (default)", "") for part in cell.split(", ")]
    return parts if len(parts) == count else [""] * count


def table_rows(text: str) -> list[Row]:
    rows = []
    inside = False
    for line in text.splitlines():
        inside = line.startswith(HEAD) or inside and line.startswith("|")
        if not inside or line.startswith((HEAD, "|---")):
            continue
        option, choice, meaning, sent, when = (cell.strip() for cell in line.strip("|").split("|"))
        names = choices_of(choice)
        for name, own in zip(names, meanings_of(meaning, len(names)), strict=True):
            value = f"{int(name):02X}" if name.isdecimal() else ""
            rows.append(Row(option.strip("`"), name, own,
                            sent.strip("`").replace("nn", value).replace(" ", ""), when))
    return rows
