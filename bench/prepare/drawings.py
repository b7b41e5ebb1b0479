# SPDX-License-Identifier: Apache-2.0
"""Drawings whose every pixel is known: lines, lettering, shading, solid areas.

All lie on an A6 page at 300 dots per inch. Lightness 255 is paper, 0 is ink.
"""
import dataclasses
import math

import numpy as np
from PIL import Image, ImageDraw, ImageFont

DPI = 300
WIDTH, HEIGHT = 1240, 1748
FINE = 4  # lines are drawn so much larger, then reduced: smooth edges
FONTS = ("DejaVuSans.ttf", "DejaVuSans-Bold.ttf", "DejaVuSerif.ttf", "DejaVuSerif-Bold.ttf")
FONT_FOLDER = "/usr/share/fonts/truetype/dejavu/"
WORDS = ("memento", "Amor fati", "roses & thorns", "1987", "per aspera", "Nautilus", "XII · IV",
         "stay true", "Mother", "no regrets", "sine metu", "Aurora")


def dots(mm):
    return mm * DPI / 25.4


@dataclasses.dataclass
class Drawing:
    name: str
    grey: np.ndarray  # the clean original
    lines: np.ndarray  # where a line, a letter or a solid area has ink
    regions: np.ndarray  # number of the shaded area a pixel belongs to, 0 for none


class Sheet:
    """Collects lines and shaded areas and composes the drawing."""

    def __init__(self, rng):
        self.rng = rng
        self.ink = Image.new("L", (WIDTH * FINE, HEIGHT * FINE), 0)
        self.pen = ImageDraw.Draw(self.ink)
        self.shade = np.full((HEIGHT, WIDTH), 255.0)
        self.regions = np.zeros((HEIGHT, WIDTH), np.int32)

    def curve(self, points, mm, closed=False):
        """A line of this width with round ends and joints."""
        fine = [(x * FINE, y * FINE) for x, y in points]
        if closed:
            fine.append(fine[0])
        width = dots(mm) * FINE
        self.pen.line(fine, fill=255, width=round(width), joint="curve")
        for x, y in (fine[0], fine[-1]):
            self.pen.ellipse((x - width / 2, y - width / 2, x + width / 2, y + width / 2), fill=255)

    def solid(self, points):
        self.pen.polygon([(x * FINE, y * FINE) for x, y in points], fill=255)

    def text(self, x, y, text, mm, font, outline_mm=0.0):
        """Lettering of this size; with an outline it is hollow."""
        face = ImageFont.truetype(FONT_FOLDER + font, round(dots(mm) * FINE))
        at = (x * FINE, y * FINE)
        if outline_mm:
            self.pen.text(at, text, fill=255, font=face,
                          stroke_width=round(dots(outline_mm) * FINE))
            self.pen.text(at, text, fill=0, font=face)
        else:
            self.pen.text(at, text, fill=255, font=face)

    def shaded(self, points, dark, light, angle):
        """An area whose lightness goes from `dark` to `light` in one direction."""
        mask = Image.new("1", (WIDTH, HEIGHT), 0)
        ImageDraw.Draw(mask).polygon([(round(x), round(y)) for x, y in points], fill=1)
        inside = np.asarray(mask, bool)
        ys, xs = np.nonzero(inside)
        along = xs * math.cos(angle) + ys * math.sin(angle)
        share = (along - along.min()) / max(1.0, np.ptp(along))
        self.shade[ys, xs] = dark + (light - dark) * share
        self.regions[ys, xs] = self.regions.max() + 1

    def drawing(self, name, line_level):
        ink = np.asarray(self.ink.reduce(FINE), np.float64) / 255
        grey = self.shade * (1 - ink) + line_level * ink
        grey = np.clip(np.rint(grey), 0, 255).astype(np.uint8)
        return Drawing(name, grey, ink > 0.5, self.regions)


def ring(cx, cy, radius, wobble=0.0, petals=5, turn=0.0, count=240):
    """A closed shape around a middle, as round or petalled as `wobble` says."""
    points = []
    for i in range(count):
        angle = 2 * math.pi * i / count
        r = radius * (1 + wobble * math.cos(petals * angle + turn))
        points.append((cx + r * math.cos(angle), cy + r * math.sin(angle)))
    return points


def spiral(cx, cy, radius, turns, count=400):
    return [(cx + radius * t * math.cos(2 * math.pi * turns * t),
             cy + radius * t * math.sin(2 * math.pi * turns * t))
            for t in (i / count for i in range(count + 1))]


def wave(x0, y0, x1, y1, height, waves, count=200):
    length = math.hypot(x1 - x0, y1 - y0)
    nx, ny = -(y1 - y0) / length, (x1 - x0) / length
    points = []
    for i in range(count + 1):
        t = i / count
        s = height * math.sin(2 * math.pi * waves * t)
        points.append((x0 + (x1 - x0) * t + nx * s, y0 + (y1 - y0) * t + ny * s))
    return points


def places(rng, columns, rows, margin=dots(9)):
    """Middles of a loose grid over the page, and half the room of each."""
    stepx, stepy = (WIDTH - 2 * margin) / columns, (HEIGHT - 2 * margin) / rows
    for row in range(rows):
        for column in range(columns):
            yield (margin + (column + 0.5) * stepx + rng.uniform(-0.08, 0.08) * stepx,
                   margin + (row + 0.5) * stepy + rng.uniform(-0.08, 0.08) * stepy,
                   min(stepx, stepy) / 2)


def line_art(sheet):
    rng = sheet.rng
    for cx, cy, room in places(rng, 2, 3):
        width = rng.choice((0.25, 0.3, 0.4, 0.5, 0.7, 1.0))
        form = rng.integers(3)
        if form == 0:
            for size in (0.95, 0.75, 0.55, 0.35, 0.15):
                sheet.curve(ring(cx, cy, room * size, 0.15, int(rng.integers(3, 9)), size * 7),
                            width, closed=True)
        elif form == 1:
            sheet.curve(spiral(cx, cy, room * 0.9, int(rng.integers(4, 8))), width)
        else:
            for i in range(7):
                offset = (i - 3) * room / 4
                sheet.curve(wave(cx - room * 0.9, cy + offset, cx + room * 0.9, cy + offset,
                                 room / 12, int(rng.integers(2, 7))), width)
        for _ in range(6):  # hatching
            x, y = cx + rng.uniform(-0.8, 0.8) * room, cy + rng.uniform(-0.8, 0.8) * room
            sheet.curve([(x, y), (x + room / 4, y - room / 5)], 0.3)


def lettering(sheet):
    rng = sheet.rng
    y = dots(8)
    while y < HEIGHT - dots(24):
        size = rng.choice((4.0, 6.0, 9.0, 14.0))
        text = " ".join(rng.choice(WORDS, 5))
        font = str(rng.choice(FONTS))
        outline = float(rng.choice((0.0, 0.0, 0.35))) if size > 8 else 0.0
        most = max(3, int(85 / (size * 0.62)))
        sheet.text(dots(8), y, text[:most], size, font, outline)
        y += dots(size * 1.5)


def shaded_art(sheet):
    rng = sheet.rng
    for cx, cy, room in places(rng, 2, 3):
        shape = ring(cx, cy, room * rng.uniform(0.6, 0.85), 0.2, int(rng.integers(3, 7)),
                     rng.uniform(0, 6))
        if rng.integers(3):
            sheet.shaded(shape, rng.uniform(60, 150), rng.uniform(190, 250),
                         rng.uniform(0, 2 * math.pi))
        else:
            flat = rng.uniform(90, 215)
            sheet.shaded(shape, flat, flat, 0)
        sheet.curve(shape, rng.choice((0.4, 0.6, 0.9)), closed=True)
        sheet.curve(wave(cx - room / 2, cy, cx + room / 2, cy, room / 8, 2), 0.5)


def solid_art(sheet):
    rng = sheet.rng
    for cx, cy, room in places(rng, 2, 4):
        outer = ring(cx, cy, room * 0.8, 0.3, int(rng.integers(2, 5)), rng.uniform(0, 6))
        if rng.integers(2):
            sheet.solid(outer)
        else:
            sheet.curve(outer, 1.2, closed=True)
            sheet.solid(ring(cx, cy, room * 0.25, 0.2, 3, rng.uniform(0, 6)))
        sheet.text(cx - room * 0.8, cy + room * 0.8, str(rng.choice(WORDS)), 4.5, FONTS[0])


KINDS = {"lines": line_art, "lettering": lettering, "shading": shaded_art, "solid": solid_art}


def make_drawings(each=4):
    """`each` drawings of every kind."""
    for number, (kind, draw) in enumerate(KINDS.items()):
        for i in range(each):
            rng = np.random.default_rng(1000 * number + i)
            sheet = Sheet(rng)
            draw(sheet)
            yield sheet.drawing(f"{kind}{i}", line_level=(0, 0, 20, 40)[i % 4])
