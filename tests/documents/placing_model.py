# SPDX-License-Identifier: Apache-2.0
"""Where a picture stands on its page: the rules of docs/pages.md in exact fractions.

Shares nothing with the library but these rules.
"""
import dataclasses
import math
from fractions import Fraction

MOST_DOTS = 4_000_000
TOLERATED = Fraction(6, 10)  # mm
QUARTERS = {"3": 0, "4": 1, "5": 3, "6": 2}  # to the left, by orientation-requested


@dataclasses.dataclass
class Paper:
    dpi: tuple[int, int]
    width: int
    height: int
    margins: tuple[int, int, int, int] = (0, 0, 0, 0)  # left, top, right, bottom
    roll: bool = False

    def text(self) -> str:
        return " ".join(map(str, (*self.dpi, self.width, self.height, *self.margins,
                                  int(self.roll))))


@dataclasses.dataclass
class Placed:
    page: tuple[int, int]
    quarters: int
    size: tuple[int, int]
    at: tuple[int, int]
    unasked: bool
    reduced: bool

    def visible(self) -> tuple[int, int, int, int]:
        """Left, top, width and height of the part of the picture that is on the page."""
        out = []
        for at, size, page in zip(self.at, self.size, self.page):
            first, last = max(0, -at), min(size, page - at)
            out.append((first, max(0, last - first)))
        return out[0][0], out[1][0], out[0][1], out[1][1]


def to_dots(value: Fraction) -> int:
    return max(1, math.floor(value + Fraction(1, 2)))


def half(room: int) -> int:
    """Half of it; of an odd number the smaller part, also below zero."""
    return room // 2 if room >= 0 else -(-room // 2)


def resolution(stated: tuple[float, float], paper: Paper, ppi: str | None) -> list[Fraction]:
    if ppi is not None:
        parts = ppi.split("x")
        own = [Fraction(int(parts[0])), Fraction(int(parts[-1]))]
    elif all(60 <= value <= 2400 for value in stated):
        own = [Fraction(value) for value in stated]
    else:
        own = [Fraction(value) for value in paper.dpi]
    if all(abs(value - head) * 1000 <= head for value, head in zip(own, paper.dpi)):
        own = [Fraction(value) for value in paper.dpi]
    return own


def place(pixels: tuple[int, int], stated: tuple[float, float], paper: Paper,
          options: dict[str, str]) -> Placed:
    dpi = resolution(stated, paper, options.get("ppi"))

    def true_size(sideways: bool) -> list[Fraction]:
        own = [Fraction(pixels[i]) / dpi[i] for i in (0, 1)]  # inches
        if sideways:
            own.reverse()
        return [inches * head for inches, head in zip(own, paper.dpi)]

    left, top, right, bottom = paper.margins
    room = [paper.width - left - right, paper.height - top - bottom]

    def fits(size: list[Fraction]) -> bool:
        return all(to_dots(side * natural) <= have + math.floor(TOLERATED * 10 / 254 * dots)
                   for side, have, dots in zip(size, room, paper.dpi))

    mode, percent, natural = options.get("print-scaling", "auto-fit"), 100, Fraction(1)
    if "ppi" not in options and "scaling" in options:
        mode, percent = "fit", int(options["scaling"])
    elif "ppi" not in options and options.get("fit-to-page") == "true":
        mode = "fit"
    elif "ppi" in options or "natural-scaling" in options:
        mode = "auto-fit" if mode in ("fit", "fill") else mode
        natural = Fraction(int(options.get("natural-scaling", "100")), 100)

    asked = options.get("orientation-requested", "7")
    if asked != "7":
        quarters, unasked = QUARTERS[asked], False
    elif options.get("landscape") == "true":
        quarters, unasked = 1, False
    else:
        unasked = (mode not in ("fit", "fill") and not fits(true_size(False))
                   and fits(true_size(True)))
        quarters = int(unasked)

    size = true_size(quarters % 2 == 1)
    how = mode
    if mode in ("auto", "auto-fit"):
        how = "none" if fits(size) else "fit"
        if how == "fit" and mode == "auto" and not any(paper.margins):
            how = "fill"
    origin = [left, top]
    if how == "fill":
        origin, room = [0, 0], [paper.width, paper.height]
    ratios = [have / side for have, side in zip(room, size)]
    if how == "fit":
        factor = min(ratios) * Fraction(percent, 100)
    elif how == "fill":
        factor = ratios[0] if paper.roll else max(ratios)
    else:
        factor = natural
    factor = min(factor, MOST_DOTS / max(size))
    dots = tuple(to_dots(side * factor) for side in size)

    page = [paper.width, paper.height]
    if paper.roll:
        page[1] = paper.height - room[1] + min(dots[1], room[1])
    words = options.get("position", "center").split("-")
    at = []
    for i, (start, end) in enumerate((("left", "right"), ("top", "bottom"))):
        spare = room[i] - dots[i]
        middle = 0 if how == "none" != mode and spare < 0 else half(spare)
        shift = 0 if start in words else spare if end in words else middle
        at.append(origin[i] + (0 if i == 1 and paper.roll else shift))
    return Placed(tuple(page), quarters, dots, tuple(at), unasked,
                  factor < natural and mode not in ("fit", "fill"))
