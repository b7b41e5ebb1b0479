#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Draw the two sample documents, receipt.pdf and tattoo.pdf.

    draw_examples.py [FOLDER]       (default: the folder of this script)

Everything is computed here with the standard library alone, and every random
choice has a fixed seed: the same bytes come out of every run.  All colours
are DeviceGray, so what is printed depends on the halftone and on nothing
else.
"""

import math
import os
import random
import sys
import zlib

TAU = 2 * math.pi
MM = 72 / 25.4                          # points in a millimetre


# --------------------------------------------------------------------------
# A minimal PDF 1.4 writer
# --------------------------------------------------------------------------

def num(value):
    """A number as PDF wants it: no exponent, no needless zeros, no -0."""
    text = f"{value:.2f}".rstrip("0").rstrip(".")
    return "0" if text in ("-0", "") else text


def nums(*values):
    return " ".join(num(v) for v in values)


class Pdf:
    """A list of numbered objects and the table that locates them."""

    def __init__(self, title):
        self.objects = []
        self.title = title

    def add(self, body):
        """Store an object (text or bytes) and return its reference."""
        self.objects.append(body.encode("ascii") if isinstance(body, str) else body)
        return f"{len(self.objects)} 0 R"

    def add_stream(self, entries, data):
        packed = zlib.compress(data, 9)
        head = f"<< {entries} /Filter /FlateDecode /Length {len(packed)} >>\nstream\n"
        return self.add(head.encode("ascii") + packed + b"\nendstream")

    def save(self, path, canvas, width, height):
        """Close the document with `canvas` as its only page."""
        content = self.add_stream("", canvas.stream())
        pages = f"{len(self.objects) + 2} 0 R"
        page = self.add(
            f"<< /Type /Page /Parent {pages} /MediaBox [0 0 {nums(width)} {nums(height)}]"
            f" /Resources {canvas.resource_dict()} /Contents {content} >>")
        self.add(f"<< /Type /Pages /Kids [{page}] /Count 1 >>")
        root = self.add(f"<< /Type /Catalog /Pages {pages} >>")
        info = self.add(f"<< /Title ({self.title}) >>")
        out = bytearray(b"%PDF-1.4\n%\xe2\xe3\xcf\xd3\n")
        offsets = []
        for number, body in enumerate(self.objects, 1):
            offsets.append(len(out))
            out += b"%d 0 obj\n" % number + body + b"\nendobj\n"
        xref = len(out)
        out += b"xref\n0 %d\n0000000000 65535 f \n" % (len(offsets) + 1)
        for offset in offsets:
            out += b"%010d 00000 n \n" % offset
        out += (f"trailer\n<< /Size {len(offsets) + 1} /Root {root} /Info {info} >>\n"
                f"startxref\n{xref}\n%%EOF\n").encode("ascii")
        with open(path, "wb") as file:
            file.write(out)


class Canvas:
    """Content operators and the resources that they name."""

    def __init__(self, pdf):
        self.pdf = pdf
        self.ops = []
        self.resources = {}             # kind -> {name: reference}

    # -- plumbing ----------------------------------------------------------

    def emit(self, text):
        self.ops.append(text)

    def stream(self):
        return "\n".join(self.ops).encode("ascii")

    def use(self, kind, reference):
        """Give a resource a short name; the same one twice gets one name."""
        table = self.resources.setdefault(kind, {})
        for name, known in table.items():
            if known == reference:
                return name
        name = f"{kind[0]}{len(table)}"
        table[name] = reference
        return name

    def resource_dict(self):
        kinds = (f"/{kind} << " + " ".join(f"/{n} {r}" for n, r in table.items()) + " >>"
                 for kind, table in self.resources.items())
        return "<< " + " ".join(kinds) + " >>"

    def save(self):
        self.emit("q")

    def restore(self):
        self.emit("Q")

    def transform(self, a, b, c, d, e, f):
        matrix = " ".join(f"{v:.4f}".rstrip("0").rstrip(".") for v in (a, b, c, d))
        self.emit(f"{matrix} {nums(e, f)} cm")

    def move(self, x, y):
        self.transform(1, 0, 0, 1, x, y)

    def symmetric(self, draw, *args):
        """Call draw(canvas, ...) once and show the result and its mirror image.

        The half goes into a form XObject: both sides are then identical to
        the dot, and the file stays half as large.
        """
        half = Canvas(self.pdf)
        draw(half, *args)
        form = self.pdf.add_stream(
            "/Type /XObject /Subtype /Form /BBox [-400 -600 400 600]"
            f" /Resources {half.resource_dict()}", half.stream())
        name = self.use("XObject", form)
        self.emit(f"q /{name} Do Q q -1 0 0 1 0 0 cm /{name} Do Q")

    # -- paths -------------------------------------------------------------

    def gray(self, fill=None, stroke=None):
        if fill is not None:
            self.emit(f"{num(fill)} g")
        if stroke is not None:
            self.emit(f"{num(stroke)} G")

    def polyline(self, points, close=False):
        parts = [f"{nums(*p)} {'l' if i else 'm'}" for i, p in enumerate(points)]
        self.emit(" ".join(parts) + (" h" if close else ""))

    def circle_path(self, x, y, rx, ry=None):
        ry = rx if ry is None else ry
        k = 0.5522847498                # makes four Bezier arcs a circle
        self.emit(
            f"{nums(x + rx, y)} m "
            f"{nums(x + rx, y + k * ry, x + k * rx, y + ry, x, y + ry)} c "
            f"{nums(x - k * rx, y + ry, x - rx, y + k * ry, x - rx, y)} c "
            f"{nums(x - rx, y - k * ry, x - k * rx, y - ry, x, y - ry)} c "
            f"{nums(x + k * rx, y - ry, x + rx, y - k * ry, x + rx, y)} c h")

    def fill(self, gray=None):
        self.gray(fill=gray)
        self.emit("f")

    def stroke(self, width, gray=0.0):
        self.emit(f"{num(width)} w")
        self.gray(stroke=gray)
        self.emit("S")

    def clip(self):
        self.emit("W n")

    def circle(self, x, y, r, width=None, gray=0.0):
        """A ring of the given line width, or a disc when there is none."""
        self.circle_path(x, y, r)
        if width is None:
            self.fill(gray)
        else:
            self.stroke(width, gray)

    def polygon(self, points, gray=0.0):
        self.polyline(points, close=True)
        self.fill(gray)

    def line(self, points, width, gray=0.0):
        self.polyline(points)
        self.stroke(width, gray)

    def rect(self, x, y, w, h, gray=0.0):
        self.emit(f"{nums(x, y, w, h)} re")
        self.fill(gray)

    def brush(self, points, width, gray=0.0):
        """A stroke whose width follows width(t), t from 0 to 1 along it.

        PDF pens have one width only, so the stroke is filled as an outline.
        """
        left, right = [], []
        last = len(points) - 1
        for i, (x, y) in enumerate(points):
            ax, ay = points[max(i - 1, 0)]
            bx, by = points[min(i + 1, last)]
            size = math.hypot(bx - ax, by - ay) or 1
            half = width(i / last) / 2
            nx, ny = -(by - ay) / size * half, (bx - ax) / size * half
            left.append((x + nx, y + ny))
            right.append((x - nx, y - ny))
        self.polygon(left + right[::-1], gray)

    def dots(self, points, size, gray=0.0):
        """Many round dots: strokes of no length with round caps are short."""
        if points:
            self.gray(stroke=gray)
            self.emit(f"q 1 J {num(size)} w")
            for x, y in points:
                at = f"{x:.1f} {y:.1f}"
                self.emit(f"{at} m {at} l")
            self.emit("S Q")

    # -- shadings ----------------------------------------------------------

    def shade(self, reference):
        self.emit(f"/{self.use('Shading', reference)} sh")

    def axial(self, x0, y0, x1, y1, stops):
        self.shade(self.pdf.add(
            "<< /ShadingType 2 /ColorSpace /DeviceGray /Extend [true true]"
            f" /Coords [{nums(x0, y0, x1, y1)}] /Function {ramp(stops)} >>"))

    def radial(self, x0, y0, r0, x1, y1, r1, stops, extend="true true"):
        self.shade(self.pdf.add(
            f"<< /ShadingType 3 /ColorSpace /DeviceGray /Extend [{extend}]"
            f" /Coords [{nums(x0, y0, r0, x1, y1, r1)}] /Function {ramp(stops)} >>"))

    def mesh(self, surface, tone, columns, rows):
        """Shade surface(u, v) with tone(u, v): a lattice of triangles."""
        grid = [(u / rows, v / columns)
                for u in range(rows + 1) for v in range(columns + 1)]
        spots = [surface(u, v) for u, v in grid]
        low_x, high_x = min(p[0] for p in spots), max(p[0] for p in spots)
        low_y, high_y = min(p[1] for p in spots), max(p[1] for p in spots)
        data = bytearray()
        for (u, v), (x, y) in zip(grid, spots):
            x_bits = round((x - low_x) / (high_x - low_x) * 4095)
            y_bits = round((y - low_y) / (high_y - low_y) * 4095)
            level = round(255 * min(max(tone(u, v), 0), 1))
            data += (x_bits << 20 | y_bits << 8 | level).to_bytes(4, "big")
        # The function only repeats its input.  Renderers draw a mesh that
        # has one directly, and one without in many small, seamed pieces.
        self.shade(self.pdf.add_stream(
            "/ShadingType 5 /ColorSpace /DeviceGray /BitsPerCoordinate 12"
            f" /BitsPerComponent 8 /VerticesPerRow {columns + 1}"
            f" /Decode [{nums(low_x, high_x, low_y, high_y)} 0 1]"
            f" /Function {ramp([(0, 0), (1, 1)])}", bytes(data)))


def ramp(stops):
    """A PDF function through (position, gray) stops, positions 0 to 1."""
    pieces = [f"<< /FunctionType 2 /Domain [0 1] /N 1 /C0 [{num(a[1])}] /C1 [{num(b[1])}] >>"
              for a, b in zip(stops, stops[1:])]
    if len(pieces) == 1:
        return pieces[0]
    bounds = nums(*(s[0] for s in stops[1:-1]))
    encode = " ".join(["0 1"] * len(pieces))
    return (f"<< /FunctionType 3 /Domain [0 1] /Functions [{' '.join(pieces)}]"
            f" /Bounds [{bounds}] /Encode [{encode}] >>")


# --------------------------------------------------------------------------
# Geometry and tone
# --------------------------------------------------------------------------

def bezier(a, b, c, d, t):
    s = 1 - t
    k0, k1, k2, k3 = s * s * s, 3 * s * s * t, 3 * s * t * t, t * t * t
    return (k0 * a[0] + k1 * b[0] + k2 * c[0] + k3 * d[0],
            k0 * a[1] + k1 * b[1] + k2 * c[1] + k3 * d[1])


def curve(a, b, c, d, steps=24):
    return [bezier(a, b, c, d, i / steps) for i in range(steps + 1)]


def polar(radius, degrees, x=0.0, y=0.0):
    """A point by its distance and its angle, clockwise from straight up."""
    angle = math.radians(degrees)
    return x + radius * math.sin(angle), y + radius * math.cos(angle)


def inside(spot, outline):
    """Whether a point lies within a closed outline (crossings to the right)."""
    x, y = spot
    odd = False
    for (ax, ay), (bx, by) in zip(outline, outline[1:] + outline[:1]):
        if (ay > y) != (by > y) and x < ax + (y - ay) / (by - ay) * (bx - ax):
            odd = not odd
    return odd


def smooth(t):
    t = min(max(t, 0.0), 1.0)
    return t * t * (3 - 2 * t)


def through(stops, t):
    """A smooth curve through (position, value) stops."""
    if t <= stops[0][0]:
        return stops[0][1]
    for (t0, a), (t1, b) in zip(stops, stops[1:]):
        if t <= t1:
            return a + (b - a) * smooth((t - t0) / (t1 - t0))
    return stops[-1][1]


def taper(thick, start=0.0, end=0.0):
    """Brush width: thick in the middle, thinning towards both ends."""
    def width(t):
        edge = start if t < 0.5 else end
        return edge + (thick - edge) * math.sin(math.pi * t) ** 0.8
    return width


def fade(first, last):
    """Brush width: from the first to the last, as a pen that is lifted."""
    return lambda t: first + (last - first) * t ** 0.8


class Patch:
    """A curved sheet: u runs from its root to its rim, v from side to side."""

    def point(self, u, v):
        raise NotImplementedError

    def along(self, v, start=0.0, end=1.0, steps=16):
        return [self.point(start + (end - start) * i / steps, v)
                for i in range(steps + 1)]

    def across(self, u, start=0.0, end=1.0, steps=48):
        return [self.point(u, start + (end - start) * i / steps)
                for i in range(steps + 1)]

    def outline(self, steps=40, rim_steps=120):
        return (self.along(0, steps=steps) + self.across(1, steps=rim_steps)[1:]
                + self.along(1, 1, 0, steps=steps)[1:])


class Wing(Patch):
    """Sixteen control points (root to rim, front to hind), a scalloped rim
    and, for the hind wing, a tail drawn out of it."""

    def __init__(self, rows, cells, scallop, tail=None):
        self.rows, self.cells, self.scallop, self.tail = rows, cells, scallop, tail

    def point(self, u, v):
        u_out = u * (1 + self.scallop * u * u * abs(math.sin(math.pi * self.cells * v)))
        x, y = bezier(*(bezier(*row, v) for row in self.rows), u_out)
        if self.tail:
            dx, dy, middle, spread = self.tail
            pull = u ** 3 * math.exp(-((v - middle) / spread) ** 2)
            x, y = x + dx * pull, y + dy * pull
        return x, y


class Blade(Patch):
    """A petal or leaf: a curved rib with a width that swells and narrows."""

    def __init__(self, rib, width, swell=0.6, tip=0.75):
        self.rib, self.width, self.swell, self.tip = rib, width, swell, tip
        peak = swell / (swell + tip)    # where the product below is greatest
        self.scale = 1 / (peak ** swell * (1 - peak) ** tip)

    def point(self, u, v):
        x, y = bezier(*self.rib, u)
        ax, ay = bezier(*self.rib, max(u - 0.01, 0))
        bx, by = bezier(*self.rib, min(u + 0.01, 1))
        size = math.hypot(bx - ax, by - ay)
        half = self.width * self.scale * u ** self.swell * (1 - u) ** self.tip
        side = half * (2 * v - 1)
        return x + (by - ay) / size * side, y - (bx - ax) / size * side


def stipple(rng, sample, spacing, tries):
    """Scatter dots no closer than spacing(...) to each other.

    `sample` draws a random spot and returns (x, y, darkness) or None;
    `spacing(darkness)` is the least distance there.  Even spacing is what
    makes dot work look like a hand's and not like noise.
    """
    cell = 4.0
    grid, chosen = {}, []
    for _ in range(tries):
        spot = sample(rng)
        if spot is None:
            continue
        x, y, dark = spot
        gap = spacing(dark)
        cx, cy = int(x // cell), int(y // cell)
        reach = int(gap // cell) + 1
        crowded = any(
            (x - px) ** 2 + (y - py) ** 2 < gap * gap
            for i in range(cx - reach, cx + reach + 1)
            for j in range(cy - reach, cy + reach + 1)
            for px, py in grid.get((i, j), ()))
        if not crowded:
            grid.setdefault((cx, cy), []).append((x, y))
            chosen.append((x, y))
    return chosen


def stipple_patch(canvas, rng, patch, darkness, size, tries, gray=0.0):
    """Dot work on a sheet, denser where darkness(u, v) is nearer to 1."""
    def sample(source):
        u, v = source.random(), source.random()
        dark = darkness(u, v)
        if dark < 0.03:
            return None
        return patch.point(u, v) + (dark,)
    dots = stipple(rng, sample, lambda dark: size * 1.25 / math.sqrt(dark), tries)
    canvas.dots(dots, size, gray)


# --------------------------------------------------------------------------
# The tattoo: a moth before a halo, the phases of the moon and a lotus
# --------------------------------------------------------------------------

PAGE_W, PAGE_H = 595.28, 841.89
HALO_R = 206
MOTH_Y = -18                            # the moth sits a little below the middle
MOON_R = 268                            # the arc on which the moons stand


def draw_tattoo(path):
    pdf = Pdf("Moth and lotus, a tattoo stencil")
    page = Canvas(pdf)
    page.emit("1 j")
    page.move(PAGE_W / 2, 476)          # the origin is the middle of the halo
    draw_glow(page)
    page.symmetric(draw_glow_dots)
    page.symmetric(draw_halo)
    page.symmetric(draw_moons)
    draw_full_moon(page)
    page.symmetric(draw_foliage)
    draw_lotus(page)
    draw_pendant(page)
    page.move(0, MOTH_Y)
    page.symmetric(draw_antenna)
    page.symmetric(draw_wings)
    draw_body(page)
    pdf.save(path, page, PAGE_W, PAGE_H)


# -- halo -------------------------------------------------------------------

def draw_glow(c):
    """A soft disc, darkest behind the moth."""
    c.save()
    c.circle_path(0, 0, HALO_R - 20)
    c.clip()
    c.radial(0, -10, 0, 0, 0, HALO_R - 20, [(0, 0.25), (0.3, 0.35), (0.7, 0.85), (0.9, 1), (1, 1)])
    c.restore()


def draw_glow_dots(c):
    """Dot work over the disc, thinning out as it does."""
    rng = random.Random(11)
    # The moth hides most of the disc: no dots are spent where it will lie.
    wings = [[(x, y + MOTH_Y) for x, y in wing.outline(12, 24)]
             for wing in (FORE_WING, HIND_WING)]

    def sample(source):
        r, angle = 182 * math.sqrt(source.random()), 180 * source.random()
        spot = polar(r, angle)
        if any(inside(spot, wing) for wing in wings):
            return None
        return spot + (0.03 + 0.75 * (1 - smooth((r - 30) / 150)),)
    c.dots(stipple(rng, sample, lambda d: 1.25 / math.sqrt(d), 40000), 0.95)


def star_polygon(c, points, skip, radius, width, gray=0.0):
    """The right half of a star; the mirror image completes it."""
    c.save()
    c.emit("0 -400 400 800 re")
    c.clip()
    for i in range(points):
        start, end = 360 * i / points, 360 * (i + skip) / points
        c.line([polar(radius, start), polar(radius, end)], width, gray)
    c.restore()


def draw_halo(c):
    star_polygon(c, 24, 7, HALO_R - 20, 0.4)
    # A ring shaded across its width: dark inside, paper white outside.
    c.save()
    c.circle_path(0, 0, HALO_R)
    c.circle_path(0, 0, HALO_R - 20)
    c.emit("W* n")
    c.emit("0 -400 400 800 re W n")
    c.radial(0, 0, HALO_R - 20, 0, 0, HALO_R, [(0, 0.35), (1, 1)])
    c.restore()
    half_ring(c, HALO_R - 20, 0.9)
    half_ring(c, HALO_R - 23, 0.4)
    half_ring(c, HALO_R, 2.2)
    half_ring(c, HALO_R + 4.5, 0.5)
    for i in range(49):                 # graduations, like those of a dial
        angle = 180 * i / 48
        inner = HALO_R - (12 if i % 4 == 0 else 6)
        c.line([polar(inner, angle), polar(HALO_R, angle)], 0.9 if i % 4 == 0 else 0.45)
    for i in range(2, 24):              # sun rays, except below the full moon
        angle = 180 * (i + 0.5) / 24
        draw_ray(c, angle, HALO_R + 8, 15 if i % 2 else 24)
    c.dots([polar(HALO_R + 12, 180 * i / 24) for i in range(2, 25)], 2.2)


def half_ring(c, radius, width):
    k = 0.5522847498 * radius
    c.emit(f"{nums(0, radius)} m {nums(k, radius, radius, k, radius, 0)} c "
           f"{nums(radius, -k, k, -radius, 0, -radius)} c")
    c.stroke(width)


def draw_ray(c, angle, start, length):
    """A narrow kite, one half of it black as on a compass rose."""
    tip, root = polar(start + length, angle), polar(start, angle)
    waist = start + length * 0.25
    left, right = polar(waist, angle - 0.9), polar(waist, angle + 0.9)
    c.polygon([root, left, tip, right], 1)
    c.polygon([root, right, tip], 0)
    c.polyline([root, left, tip, right], close=True)
    c.stroke(0.4)


# -- moons ------------------------------------------------------------------

# x, y and size upon a moon of radius 34
CRATERS = ((-9, 10, 7.5), (9, 15, 4.2), (12, -3, 6.2), (-5, -13, 5.4),
           (-18, -5, 3.8), (3, 3, 2.6), (9, -18, 3.2), (-20, 9, 2.3), (20, 8, 2.2))


def draw_moons(c):
    """The waning moons of the right side; the mirror shows the waxing ones."""
    for angle, radius, lit in ((20, 23, 0.80), (35, 19, 0.5), (47.5, 15, 0.22)):
        c.save()
        c.move(*polar(MOON_R, angle))
        draw_phase(c, radius, lit)
        c.restore()
    for angle, size in ((11.5, 2.2), (27.9, 2.0), (41.7, 1.8), (53, 1.5)):
        draw_spark(c, *polar(MOON_R, angle), size * 2.6)
    for angle in (56, 58.2, 60.2):
        c.circle(*polar(MOON_R, angle), 1.5 - (angle - 56) * 0.2)


def draw_phase(c, r, lit):
    """A moon lit from the left; `lit` is the lit part of its width."""
    c.circle(0, 0, r + 3, None, 1)
    c.save()
    c.circle_path(0, 0, r)
    c.clip()
    c.radial(-r * 0.3, r * 0.3, 0, 0, 0, r * 1.05, [(0, 0.25), (1, 0.02)])
    # The terminator is half an ellipse, the limb half a circle.
    edge = r * (2 * lit - 1)
    terminator = [(edge * math.cos(a), r * math.sin(a))
                  for a in (math.pi * (0.5 - i / 32) for i in range(33))]
    limb = [(-r * math.cos(a), r * math.sin(a))
            for a in (math.pi * (-0.5 + i / 32) for i in range(33))]
    c.save()
    c.polyline(terminator + limb, close=True)
    c.clip()
    c.radial(-r * 0.5, r * 0.3, 0, -r * 0.1, 0, r * 1.1, [(0, 1), (0.5, 0.93), (1, 0.6)])
    for x, y, size in CRATERS:
        draw_crater(c, x * r / 34, y * r / 34, size * r / 34)
    c.restore()
    c.line(terminator, 0.8)
    c.restore()
    c.circle(0, 0, r, 1.5)
    c.circle(0, 0, r + 3.2, 0.4)


def draw_spark(c, x, y, size):
    """A four-pointed star with hollow sides."""
    c.polygon([polar(size * (0.2 if i % 2 else 1), 45 * i, x, y) for i in range(8)])


def draw_crater(c, x, y, size):
    c.save()
    c.circle_path(x, y, size)
    c.clip()
    c.axial(x, y + size, x, y - size, [(0, 0.5), (1, 0.97)])
    c.restore()
    c.circle(x, y, size, 0.35, 0.25)


def draw_full_moon(c):
    r = 34
    c.save()
    c.move(0, MOON_R)
    for i in range(36):                 # short beams all around
        angle = 10 * i
        length = 10 if i % 3 == 0 else 7
        c.brush([polar(r + 5.5, angle), polar(r + 5.5 + length, angle)], fade(1.5, 0.2))
    c.circle(0, 0, r + 3.2, None, 1)
    c.save()
    c.circle_path(0, 0, r)
    c.clip()
    c.radial(0, 8, 0, 0, 0, r * 1.05, [(0, 1), (0.55, 0.92), (0.85, 0.7), (1, 0.45)])
    for x, y, size in CRATERS:
        draw_crater(c, x, y, size)
    rng = random.Random(5)

    def sample(source):
        d, angle = r * math.sqrt(source.random()), 360 * source.random()
        return polar(d, angle) + (0.02 + 0.5 * (d / r) ** 3,)
    c.dots(stipple(rng, sample, lambda d: 1.1 / math.sqrt(d), 5000), 0.7)
    c.restore()
    c.circle(0, 0, r, 2)
    c.circle(0, 0, r + 3.2, 0.5)
    c.restore()


# -- lotus, foliage and pendant -----------------------------------------------

LOTUS = (0, -322)                       # where its petals spring from


def petal_tone(base, reach):
    """Dark where the petals meet, light on the belly, soft at the edges."""
    def tone(u, v):
        edge = abs(2 * v - 1)
        light = through([(0, base), (reach * 0.35, base + 0.08), (reach, 0.97), (1, 0.86)], u)
        fold = 0.16 * math.exp(-(edge / 0.10) ** 2) * (1 - u)
        return light - 0.34 * edge ** 3 * (1 - 0.4 * u) - fold
    return tone


def draw_petal(c, angle, length, width, base, reach, bend=0.0):
    """A lotus petal from the common root; `bend` curls its tip outward.

    `reach` is how far up its shade goes: far for the petals at the back,
    of which the others leave only the upper part in sight.
    """
    x, y = LOTUS
    rib = [polar(4, angle, x, y), polar(length * 0.4, angle - bend * 0.6, x, y),
           polar(length * 0.75, angle - bend * 0.2, x, y), polar(length, angle + bend, x, y)]
    petal = Blade(rib, width, 0.62, 0.80)
    edge = petal.outline(steps=36, rim_steps=1)
    c.polygon(edge, 1)
    c.save()
    c.polyline(edge, close=True)
    c.clip()
    c.mesh(petal.point, petal_tone(base, reach), 14, 18)
    for i in range(1, 16):              # whip shading: strokes from the root
        v = i / 16
        rise = reach * (0.82 + 0.16 * math.sin(i * 2.4) - 0.20 * abs(2 * v - 1))
        c.brush(petal.along(v, 0.1, rise, 7), fade(1.2, 0.1))
    for i in range(1, 8):               # fine strokes from the tip
        v = i / 8
        fall = 0.74 + 0.18 * abs(2 * v - 1) + (0.05 if i % 2 else 0)
        c.brush(petal.along(v, 1.0, fall, 5), fade(0.7, 0.1))
    c.restore()
    for v in (0, 1):
        c.brush(petal.along(v, steps=36), taper(2.2, 0.9, 0.9))


# angle, length, half width, tone at the root, reach of the shade, bend:
# the rows from the back to the front, and each row from its sides inward.
PETALS = (
    ((76, 122, 20, 0.05, 0.86, 8), (57, 130, 22, 0.03, 0.86, 5),
     (37, 134, 23, 0.02, 0.86, 3), (18, 138, 23, 0.02, 0.86, 1)),
    ((93, 112, 18, 0.08, 0.84, 10), (66, 108, 21, 0.06, 0.86, 6), (44, 110, 22, 0.05, 0.86, 3)),
    ((108, 88, 16, 0.10, 0.80, 10), (82, 88, 19, 0.08, 0.82, 7), (54, 86, 21, 0.06, 0.84, 4),
     (24, 108, 23, 0.03, 0.84, 1)),
    ((124, 62, 13, 0.05, 0.74, 8), (99, 58, 14, 0.05, 0.74, 6), (70, 60, 16, 0.05, 0.78, 5),
     (34, 70, 19, 0.04, 0.80, 3)),
)


def draw_lotus(c):
    def side(half, petals):
        for angle, length, width, base, reach, bend in petals:
            draw_petal(half, angle, length, width, base, reach, bend)
    draw_petal(c, 0, 144, 22, 0.02, 0.86)
    for petals in PETALS:
        c.symmetric(side, petals)
    draw_petal(c, 0, 82, 22, 0.05, 0.72)
    c.symmetric(side, ((148, 46, 10, 0.05, 0.72, 5),))
    draw_petal(c, 180, 40, 10, 0.05, 0.70)
    draw_bead(c, *LOTUS, 5.5)


def draw_shaded_blade(c, blade, tone, width):
    edge = blade.outline(steps=28, rim_steps=1)
    c.polygon(edge, 1)
    c.save()
    c.polyline(edge, close=True)
    c.clip()
    c.mesh(blade.point, tone, 12, 16)
    c.restore()
    for v in (0, 1):
        c.brush(blade.along(v, steps=28), taper(width, width * 0.5, width * 0.5))


def draw_leaf(c, a, b, d, e, width):
    """A leaf with one dark and one light half, veined."""
    leaf = Blade((a, b, d, e), width, 0.7, 0.9)

    def tone(u, v):
        if v < 0.5:                     # the upper half catches the light
            return 0.62 + 0.36 * (0.5 - v) * 2 - 0.35 * (1 - u) ** 2
        return 0.12 + 0.62 * smooth(abs(2 * v - 1)) * (0.35 + 0.65 * u)
    edge = leaf.outline(steps=48, rim_steps=1)
    c.polygon(edge, 1)
    c.save()
    c.polyline(edge, close=True)
    c.clip()
    c.mesh(leaf.point, tone, 24, 24)
    for i in range(1, 11):              # side veins sweep towards the tip
        u = i / 12
        for side in (0, 1):
            points = []
            for k in range(7):
                t = k / 6
                points.append(leaf.point(min(u + 0.13 * t ** 1.3, 1), 0.5 + (side - 0.5) * t))
            c.brush(points, fade(1.0, 0.35), 0.0 if side == 0 else 0.95)
    c.restore()
    c.brush(leaf.along(0.5, 0, 0.97, 32), fade(2.2, 0.5))
    for v in (0, 1):
        c.brush(leaf.along(v, steps=48), taper(2.2, 0.9, 0.9))


def draw_foliage(c):
    draw_sprig(c)
    y = LOTUS[1]
    draw_leaf(c, (60, y + 4), (120, y - 22), (196, y + 10), (250, y + 104), 25)
    draw_leaf(c, (30, y - 6), (80, y - 50), (150, y - 64), (228, y - 20), 23)
    draw_leaf(c, (16, y - 12), (40, y - 58), (84, y - 92), (144, y - 98), 17)


def draw_sprig(c):
    """Leaflets and berries along the lower arc, across from the moons."""
    radius = 276
    stem = [polar(radius, 160 - 43 * i / 40) for i in range(41)]
    c.brush(stem, fade(1.8, 0.6))
    for i in range(9):
        angle = 153 - 4 * i
        x, y = polar(radius, angle)
        size = 17 - 0.9 * i
        for side in (1, -1):
            lean = angle - 90 + side * 38
            rib = [(x, y), polar(size * 0.4, lean, x, y),
                   polar(size * 0.75, lean - side * 8, x, y), polar(size, lean - side * 14, x, y)]
            draw_shaded_blade(
                c, Blade(rib, size * 0.2, 0.7, 0.8),
                lambda u, v, side=side: 0.3 + 0.75 * u * (0.5 + 0.5 * (v if side < 0 else 1 - v)),
                1.1)
    draw_bead(c, *polar(radius, 115.8), 2.4)
    draw_bead(c, *polar(radius, 114.3), 1.6)


def draw_pendant(c):
    """Beads on a thread, with a cut stone at the end."""
    x, y = LOTUS[0], LOTUS[1] - 40
    c.line([(x, y), (x, y - 40)], 0.6)
    for dy, r in ((3, 2.2), (10, 3.6), (17.5, 2.6), (23.5, 2.0), (28.3, 1.5)):
        draw_bead(c, x, y - dy, r)
    draw_stone(c, x, y - 30.5, 11, 35)


def draw_bead(c, x, y, r):
    c.save()
    c.circle_path(x, y, r)
    c.clip()
    c.radial(x - r * 0.3, y + r * 0.35, 0, x, y, r, [(0, 1), (0.35, 0.7), (1, 0)])
    c.restore()
    c.circle(x, y, r, 0.7)


def draw_stone(c, x, y, half, height):
    """A long cut stone: each facet has its own even slope of grey."""
    top, mid, low = y, y - height * 0.36, y - height
    facets = (
        ((-half, mid), (0, top), (-half * 0.4, mid), 0.95, 0.55),
        ((half, mid), (0, top), (half * 0.4, mid), 0.35, 0.05),
        ((-half * 0.4, mid), (0, top), (half * 0.4, mid), 0.75, 1.0),
        ((-half, mid), (0, low), (-half * 0.4, mid), 0.45, 0.85),
        ((half, mid), (0, low), (half * 0.4, mid), 0.02, 0.3),
        ((-half * 0.4, mid), (0, low), (half * 0.4, mid), 0.98, 0.3),
    )
    for a, b, d, first, last in facets:
        points = [(x + a[0], a[1]), (x + b[0], b[1]), (x + d[0], d[1])]
        c.save()
        c.polyline(points, close=True)
        c.clip()
        c.axial(x + a[0], a[1], x + b[0], b[1], [(0, first), (1, last)])
        c.restore()
        c.polyline(points, close=True)
        c.stroke(0.4)
    c.polyline([(x, top), (x + half, mid), (x, low), (x - half, mid)], close=True)
    c.stroke(1.6)


# -- moth ---------------------------------------------------------------------

FORE_WING = Wing((
    ((6, 30), (8, 20), (9, 8), (8, -4)),
    ((62, 104), (68, 72), (64, 30), (55, -8)),
    ((160, 172), (148, 98), (134, 26), (106, -26)),
    ((250, 150), (224, 98), (218, 20), (152, -50))), 8, 0.016)

HIND_WING = Wing((
    ((6, 8), (8, -4), (8, -14), (6, -28)),
    ((60, 12), (62, -24), (40, -52), (16, -62)),
    ((112, 0), (130, -56), (84, -100), (26, -104)),
    ((150, -30), (202, -112), (118, -162), (42, -148))), 7, 0.022, (26, -52, 0.69, 0.10))

FORE_TONES = [(0, 0.05), (0.10, 0.22), (0.27, 0.80), (0.33, 0.95), (0.345, 0.30),
              (0.42, 0.72), (0.58, 0.96), (0.70, 0.78), (0.755, 0.40), (0.77, 0.98),
              (0.80, 0.92), (0.83, 0.10), (0.92, 0.28), (0.955, 0.90), (1, 0.72)]

HIND_TONES = [(0, 0.10), (0.22, 0.30), (0.45, 0.88), (0.62, 0.95), (0.70, 0.60),
              (0.735, 0.35), (0.75, 0.97), (0.78, 0.90), (0.81, 0.08), (0.91, 0.25),
              (0.95, 0.92), (1, 0.72)]


def wing_tone(wing, tones, shadow=0.0):
    """Bands across the wing, waved between the veins."""
    def tone(u, v):
        wave = 0.010 * math.cos(TAU * wing.cells * v)
        light = through(tones, u + wave * smooth(u * 3))
        # A wing is a sheet stretched on veins: a little darker along them.
        light -= 0.10 * abs(math.cos(math.pi * wing.cells * v)) ** 6 * smooth(u * 2)
        light -= 0.14 * smooth(1 - 8 * v)       # the stiff front edge
        if shadow:                              # below the wing in front
            light -= shadow * math.exp(-(v / 0.16) ** 2)
        return light
    return tone


def draw_wings(c):
    draw_wing(c, HIND_WING, HIND_TONES, 0.75, (0.50, 0.47, 21), 3)
    draw_wing(c, FORE_WING, FORE_TONES, 0.0, (0.55, 0.46, 23), 4)


def draw_wing(c, wing, tones, shadow, spot, seed):
    edge = wing.outline()
    c.polygon(edge, 1)
    c.save()
    c.polyline(edge, close=True)
    c.clip()
    c.mesh(wing.point, wing_tone(wing, tones, shadow), wing.cells * 6, 72)
    draw_wing_hatching(c, wing)
    draw_wing_dots(c, wing, seed)
    draw_wing_lines(c, wing)
    c.restore()
    draw_eyespot(c, wing, *spot)
    draw_wing_outline(c, wing)


def draw_wing_hatching(c, wing):
    """Whip strokes: inward from the rim, and outward from the root."""
    count = wing.cells * 10
    for i in range(1, count):
        v = i / count
        phase = abs(math.sin(math.pi * wing.cells * v))
        c.brush(wing.along(v, 1.0, 0.955 - 0.02 * phase, 3), fade(0.6, 0.15))
        c.brush(wing.along(v, 0.835, 0.765 + 0.03 * phase, 4), fade(0.9, 0.1))
    for i in range(1, 34):
        v = i / 34
        reach = 0.20 + 0.09 * math.sin(i * 2.4)
        c.brush(wing.along(v, 0.02, reach, 8), fade(0.9, 0.1))


def draw_wing_dots(c, wing, seed):
    def darkness(u, v):
        dark = 0.42 * smooth((0.54 - u) / 0.22) + 0.42 * smooth((u - 0.60) / 0.15)
        first = 0.345 if wing is FORE_WING else 0.16
        return dark if first < u < 0.735 and dark > 0.07 else 0
    stipple_patch(c, random.Random(seed), wing, darkness, 0.8, 14000)


def draw_wing_lines(c, wing):
    cells = wing.cells
    for i in range(1, cells):           # veins
        v = i / cells
        c.brush(wing.along(v, 0.04, 0.835, 28), fade(1.5, 0.6))
        c.brush(wing.along(v, 0.835, 1.0, 8), fade(0.9, 0.5), 0.95)
    front = wing is FORE_WING
    for u, width in ((0.335, 1.5), (0.318, 0.4), (0.757, 1.1)) if front else ((0.735, 1.1),):
        points = []
        for k in range(121):
            v = k / 120
            points.append(wing.point(u - 0.010 * math.cos(TAU * cells * v), v))
        c.line(points, width)
    for i in range(cells):              # a pale drop in every cell of the dark band
        v = (i + 0.5) / cells
        rib = wing.along(v, 0.93, 0.845, 3)
        drop = Blade(rib, 3.6 if front else 3.8, 0.5, 0.9)
        c.polygon(drop.outline(steps=14, rim_steps=1), 0.97)
        c.brush(wing.along(v, 0.915, 0.868, 4), taper(1.1))


def draw_eyespot(c, wing, u, v, r):
    """Rings around a pupil, set square to the wing and a little oval."""
    x, y = wing.point(u, v)
    ax, ay = wing.point(u + 0.02, v)
    size = math.hypot(ax - x, ay - y)
    cos, sin = (ax - x) / size, (ay - y) / size
    c.save()
    c.transform(cos * 1.18, sin * 1.18, -sin, cos, x, y)
    for i in range(72):                 # lashes that fade into the wing
        length = 7 if i % 2 else 4
        c.brush([polar(r, 5 * i), polar(r + length, 5 * i)], fade(1.1, 0.1))
    c.circle(0, 0, r, None, 0)
    c.circle(0, 0, r - 2.4, None, 1)
    c.save()
    c.circle_path(0, 0, r - 5)
    c.clip()
    c.radial(0, 0, 0, 0, 0, r - 5, [(0, 0), (0.3, 0.05), (0.62, 0.95), (0.8, 0.8), (1, 0.12)])
    c.restore()
    for i in range(48):                 # fibres of the iris
        angle = 7.5 * i
        c.brush([polar(r - 5, angle), polar(r * (0.62 if i % 2 else 0.52), angle)], fade(0.7, 0.1))
    c.circle(0, 0, r - 5, 0.7)
    c.circle(0, 0, r * 0.34)
    c.circle(-r * 0.10, r * 0.12, r * 0.09, None, 1)
    c.restore()


def draw_wing_outline(c, wing):
    c.brush(wing.along(0, steps=48), fade(3.2, 1.8))
    c.brush(wing.along(1, steps=48), fade(1.2, 2.0))
    c.line(wing.across(1, steps=160), 1.9)


def draw_antenna(c):
    """A feathered antenna: barbs on both sides of a curved shaft."""
    shaft = curve((4, 62), (16, 92), (44, 118), (62, 152), 60)
    barbs = {-1: [], 1: []}
    for i in range(4, 59):
        t = i / 60
        x, y = shaft[i]
        (ax, ay), (bx, by) = shaft[i - 1], shaft[i + 1]
        size = math.hypot(bx - ax, by - ay)
        tx, ty = (bx - ax) / size, (by - ay) / size
        length = 15 * math.sin(math.pi * t ** 0.8) ** 0.7
        for side in (-1, 1):
            nx, ny = -ty * side, tx * side
            end = (x + (nx + tx * 0.75) * length, y + (ny + ty * 0.75) * length)
            bow = (x + (nx * 0.6 + tx * 0.2) * length, y + (ny * 0.6 + ty * 0.2) * length)
            barbs[side].append(curve((x, y), bow, bow, end, 5))
    # White below, so that the feather stands out from the dark disc.
    c.polygon([shaft[0]] + [b[-1] for b in barbs[1]] + [shaft[-1]]
              + [b[-1] for b in barbs[-1][::-1]], 1)
    for barb in barbs[-1] + barbs[1]:
        c.brush(barb, fade(0.95, 0.3))
    c.brush(shaft, fade(2.6, 0.9))


def draw_fur(c, rng, rows):
    """Rows of hairs, each over the roots of the row before it.

    A row is (y, half width, hair length, grey at the middle, hairs); its
    ends hang lower and lean outward, which rounds the body.
    """
    for y, half, length, light, count in rows:
        for k in range(count, -1, -1):
            s = k / count
            for gray, shift in ((0.0, 0.0), (light * (1 - 0.75 * s * s), 0.5 / count)):
                at = (s + shift) * half
                lean = 180 - 30 * s - 8 * rng.random()
                size = length * (0.75 + 0.35 * rng.random())
                x, top = at, y - 5 * s * s
                c.brush([(x, top), polar(size * 0.5, lean + 4, x, top),
                         polar(size, lean - 3, x, top)],
                        fade(half / count * 1.3, 0.1), gray)


ABDOMEN = Blade([(0, -6), (0, -50), (0, -100), (0, -150)], 19, 0.35, 0.75)
RINGS = 9


def draw_abdomen(c):
    """Rings of light and dark that narrow downwards."""
    edge = ABDOMEN.outline(steps=48, rim_steps=1)
    c.polygon(edge, 1)

    def tone(u, v):
        side = abs(2 * v - 1)
        ring = (u * RINGS - 0.35 * (1 - side * side)) % 1
        return 0.08 + 0.90 * ring ** 0.8 * (1 - 0.75 * side ** 2.2)
    c.save()
    c.polyline(edge, close=True)
    c.clip()
    c.mesh(ABDOMEN.point, tone, 16, 90)
    c.restore()
    for v in (0, 1):
        c.brush(ABDOMEN.along(v, steps=40), taper(2.0, 1.0, 0.8))


def draw_abdomen_fringe(c):
    """Short hairs from each dark ring downwards, on the right half."""
    rng = random.Random(8)
    for ring in range(1, RINGS):
        count = max(12 - ring, 4)
        for k in range(count + 1):
            side = k / count
            u = (ring + 0.35 * (1 - side * side)) / RINGS
            x, y = ABDOMEN.point(min(u, 0.99), 0.5 - side / 2)
            size = 7.5 + 3 * rng.random()
            lean = 180 - 22 * side
            c.brush([(abs(x), y + 2), polar(size, lean, abs(x), y + 2)], fade(1.3, 0.1))


def draw_thorax(c):
    rng = random.Random(9)
    c.polyline(curve((0, 50), (22, 50), (33, 16), (18, -22))
               + [(0, -30)], close=True)
    c.fill(0)
    draw_fur(c, rng, ((-14, 19, 20, 0.55, 13), (-4, 23, 20, 0.75, 15), (7, 27, 20, 1.0, 16),
                      (18, 27, 18, 0.60, 16), (28, 25, 17, 0.85, 15), (38, 20, 15, 1.0, 13),
                      (47, 12, 13, 0.7, 9)))


def draw_head(c):
    def eye(half):
        draw_bead(half, 7.5, 56, 5.2)
    c.symmetric(eye)
    c.save()
    c.circle_path(0, 56, 7, 9)
    c.clip()
    c.radial(0, 60, 0, 0, 56, 10, [(0, 1), (0.6, 0.7), (1, 0.1)])
    c.restore()
    c.circle_path(0, 56, 7, 9)
    c.stroke(1.3)
    for s in (-1, -0.5, 0, 0.5, 1):
        c.brush([(s * 4, 62), (s * 5, 52)], taper(0.7))


def draw_body(c):
    draw_abdomen(c)
    c.symmetric(draw_abdomen_fringe)
    draw_head(c)
    c.symmetric(draw_thorax)


# --------------------------------------------------------------------------
# The receipt: text, a logo, a picture, a grey ramp and a barcode
# --------------------------------------------------------------------------

ROLL_W, ROLL_H = 80 * MM, 200 * MM
EDGE = 4 * MM                           # a head of 72 mm covers what is inside
COURIER = 0.6                           # every glyph is 0.6 em wide

# Widths of the Helvetica-Bold capitals, in thousandths of an em.
BOLD_CAPS = {" ": 278, "A": 722, "L": 611, "O": 778, "P": 667, "S": 667,
             "T": 611, "U": 722, "Y": 667}

# name, quantity, price of one in cents
ITEMS = (
    ("Stencil paper A4, 100", 2, 1890),
    ("Transfer gel 250 ml", 1, 1450),
    ("Ink, deep black 30 ml", 3, 1195),
    ("Ink, grey wash set", 1, 3600),
    ("Needles 3RL, box", 2, 1675),
    ("Needles 9M, box", 1, 1790),
    ("Gloves, black M, 100", 1, 1290),
    ("Skin marker, violet", 4, 225),
)
TAX_PERCENT = 20


def draw_receipt(path):
    pdf = Pdf("Receipt of a shop, a sample")
    page = Canvas(pdf)
    for name in ("Courier", "Courier-Bold", "Helvetica-Bold"):
        page.use("Font", pdf.add(
            f"<< /Type /Font /Subtype /Type1 /BaseFont /{name} /Encoding /WinAnsiEncoding >>"))
    y = ROLL_H - 4 * MM                 # the upper edge of what comes next
    draw_logo(page, ROLL_W / 2, y - 14 * MM, 14 * MM)
    y -= 35.5 * MM
    title(page, "TATTOO SUPPLY", y, 21)
    y -= 5 * MM
    centred(page, "stencils * paper * inks * needles", y, 8)
    y -= 3.2 * MM
    dashes(page, y)
    y -= 4.2 * MM
    both_ends(page, "Receipt 0042", "Counter 1", y, 8.5)
    y = draw_items(page, y - 2.2 * MM)
    y = draw_totals(page, y)
    dashes(page, y)
    y -= 3 * MM
    picture = 40 * MM
    draw_picture(page, EDGE, y - picture, ROLL_W - 2 * EDGE, picture)
    y -= picture + 2.5 * MM
    y = draw_ramp(page, y)
    centred(page, "Thank you. Keep your lines clean.", y - 4 * MM, 8.5, bold=True)
    draw_code39(page, "DRAV0042", 8.2 * MM, 14 * MM)
    centred(page, "D R A V 0 0 4 2", 4.6 * MM, 8.5)
    pdf.save(path, page, ROLL_W, ROLL_H)


# -- text -------------------------------------------------------------------

def text(c, font, x, y, size, words):
    safe = words.replace("\\", "\\\\").replace("(", "\\(").replace(")", "\\)")
    c.emit(f"BT /F{font} {num(size)} Tf 0 g {nums(x, y)} Td ({safe}) Tj ET")


def title(c, words, y, size):
    width = sum(BOLD_CAPS[letter] for letter in words) * size / 1000
    text(c, 2, (ROLL_W - width) / 2, y, size, words)


def centred(c, words, y, size, bold=False):
    text(c, int(bold), (ROLL_W - len(words) * COURIER * size) / 2, y, size, words)


def both_ends(c, left, right, y, size, bold=False):
    text(c, int(bold), EDGE, y, size, left)
    text(c, int(bold), ROLL_W - EDGE - len(right) * COURIER * size, y, size, right)


def dashes(c, y):
    c.emit("q [4 2.5] 0 d")
    c.line([(EDGE, y), (ROLL_W - EDGE, y)], 0.9)
    c.emit("Q")


def money(cents):
    return f"{cents // 100}.{cents % 100:02d}"


def draw_items(c, y):
    for name, count, price in ITEMS:
        y -= 4.1 * MM
        both_ends(c, f"{count} x {name}", money(count * price), y, 8.5)
    return y - 2.6 * MM


def draw_totals(c, y):
    total = sum(count * price for _, count, price in ITEMS)
    tax = (total * TAX_PERCENT + (100 + TAX_PERCENT) // 2) // (100 + TAX_PERCENT)
    dashes(c, y)
    y -= 4.2 * MM
    both_ends(c, "Net", money(total - tax), y, 8.5)
    y -= 4 * MM
    both_ends(c, f"Tax {TAX_PERCENT} %", money(tax), y, 8.5)
    y -= 6 * MM
    both_ends(c, "TOTAL", money(total), y, 14, bold=True)
    return y - 3 * MM


# -- logo, picture and ramp -----------------------------------------------------

def draw_logo(c, x, y, r):
    """A drop of ink before crossed needles, in a scalloped seal."""
    c.save()
    c.move(x, y)
    seal = [polar(r * (0.965 + 0.035 * math.cos(math.radians(24 * a))), a)
            for a in range(0, 360, 2)]
    c.polygon(seal, 0)
    c.circle(0, 0, r * 0.86, None, 1)
    c.circle(0, 0, r * 0.81, 0.7)
    c.save()
    c.circle_path(0, 0, r * 0.77)
    c.clip()
    c.radial(0, 0, 0, 0, 0, r * 0.77, [(0, 1), (0.45, 0.95), (1, 0.5)])
    c.restore()
    for i in range(48):                 # beams, except where the needles end
        angle = 7.5 * i
        if abs(abs(180 - angle) - 42) < 12:
            continue
        c.brush([polar(r * 0.77, angle), polar(r * (0.60 if i % 2 else 0.68), angle)],
                fade(0.9, 0.2))
    c.symmetric(draw_needle, r)
    draw_ink_drop(c, r)
    c.restore()


def draw_needle(c, r):
    c.save()
    turn = math.radians(-42)
    c.transform(math.cos(turn), math.sin(turn), -math.sin(turn), math.cos(turn), 0, 0)
    c.polygon([(-2, r * 0.2), (2, r * 0.2), (0.3, -r * 0.73), (-0.3, -r * 0.73)], 0)
    c.polygon([(-3.2, r * 0.2), (3.2, r * 0.2), (3.2, r * 0.70), (-3.2, r * 0.70)], 0)
    for i in range(6):                  # the knurled grip
        at = r * (0.27 + 0.07 * i)
        c.line([(-3.2, at), (3.2, at)], 0.8, 1)
    c.restore()


def draw_ink_drop(c, r):
    half = curve((0, r * 0.52), (r * 0.06, r * 0.24), (r * 0.34, r * 0.04), (r * 0.34, -r * 0.18))
    half += curve((r * 0.34, -r * 0.18), (r * 0.34, -r * 0.37), (r * 0.19, -r * 0.50),
                  (0, -r * 0.50))[1:]
    drop = half + [(-x, y) for x, y in half[::-1]]
    c.polyline(drop, close=True)
    c.stroke(4, 1)
    c.save()
    c.polyline(drop, close=True)
    c.clip()
    c.radial(-r * 0.10, -r * 0.05, 0, 0, -r * 0.12, r * 0.5, [(0, 0.6), (0.5, 0.12), (1, 0)])
    c.restore()
    c.polyline(drop, close=True)
    c.stroke(1.4)
    c.brush(curve((-r * 0.21, -r * 0.10), (-r * 0.23, -r * 0.26), (-r * 0.14, -r * 0.36),
                  (-r * 0.07, -r * 0.39)), taper(2.0), 1)


def ridge(x, seed, detail):
    """A mountain line: sharp waves, each of half the size of the one before."""
    height, size, rate = 0.0, 1.0, 1.0
    for octave in range(detail):
        phase = math.sin(seed * 12.9 + octave * 4.7) * 3
        height += size * (1 - 2 * abs(math.sin(rate * x + phase)))
        size, rate = size * 0.5, rate * 2.1
    return height


# the crest's height from the top, its roughness, seed, detail, grey at the
# crest and grey of the mist at the foot
RANGES = ((0.46, 0.095, 1.0, 7, 0.58, 0.98), (0.54, 0.090, 2.3, 7, 0.34, 0.95),
          (0.61, 0.075, 4.4, 8, 0.06, 0.70))
SHORE = 0.72                            # where the lake begins
MOON = (1.22, 0.23, 0.10)               # place and size, in picture heights


def mix(a, b, t):
    return a + (b - a) * min(max(t, 0.0), 1.0)


def landscape(x, y, pixel):
    """Light at a spot; both count in picture heights, y from the top.

    Edges are a `pixel` wide: no steps show, however far it is enlarged.
    """
    distance = math.hypot(x - MOON[0], y - MOON[1]) - MOON[2]
    seas = math.sin(x * 40) * math.sin(y * 36 + 1) + 0.6 * math.sin(x * 23 + y * 30)
    glow = math.exp(-max(distance, 0) / 0.20)
    light = mix(0.99 - 0.16 * smooth(seas), 0.20 + 0.42 * y + 0.42 * glow, distance / pixel + 0.5)
    for crest, rough, seed, detail, dark, mist in RANGES:
        top = crest - rough * ridge(x * 1.7 + seed, seed, detail)
        slope = mix(dark, mist, smooth((y - crest + rough) / (SHORE - crest + rough)) ** 2)
        light = mix(light, slope, (y - top) / pixel + 0.5)
    return light


def photograph(width, height):
    """A lake below mountains in moonlight, row by row in 8-bit grey."""
    rows = bytearray()
    rng = random.Random(21)
    for j in range(height):
        y = j / height
        for i in range(width):
            x = i / height
            if y < SHORE:
                light = landscape(x, y, 1 / height)
            else:                       # the lake mirrors all, upset by ripples
                depth = (y - SHORE) / (1 - SHORE)
                ripple = math.sin(150 * depth ** 0.55 + 1.8 * math.sin(7 * x)) * depth
                light = 0.82 * landscape(x + 0.015 * ripple, SHORE - depth * 0.66, 2 / height)
                light += 0.05 * ripple
                path = math.exp(-((x - MOON[0]) / (0.05 + 0.10 * depth)) ** 2)
                light += 0.55 * path * smooth(ripple * 2 + 0.2)
            dx, dy = 2 * i / width - 1, 2 * y - 1
            light *= 1 - 0.55 * smooth((math.hypot(dx * 0.9, dy * 0.8) - 0.45) / 0.8)
            light += (rng.random() - 0.5) * 0.012       # against bands in the sky
            rows.append(round(255 * min(max(light, 0), 1)))
    return bytes(rows)


def draw_picture(c, x, y, width, height):
    columns, lines = 432, 240
    image = c.pdf.add_stream(
        f"/Type /XObject /Subtype /Image /Width {columns} /Height {lines}"
        " /ColorSpace /DeviceGray /BitsPerComponent 8 /Interpolate true",
        photograph(columns, lines))
    name = c.use("XObject", image)
    c.emit(f"q {nums(width, 0, 0, height, x, y)} cm /{name} Do Q")
    c.emit(f"{nums(x, y, width, height)} re")
    c.stroke(0.8)


def draw_ramp(c, y):
    """A smooth slope from black to white over eleven even steps."""
    width, band, wedge = ROLL_W - 2 * EDGE, 5 * MM, 5 * MM
    c.save()
    c.emit(f"{nums(EDGE, y - band, width, band)} re")
    c.clip()
    c.axial(EDGE, 0, EDGE + width, 0, [(0, 0), (1, 1)])
    c.restore()
    for i in range(11):
        c.rect(EDGE + width * i / 11, y - band - wedge, width / 11, wedge, i / 10)
    c.emit(f"{nums(EDGE, y - band - wedge, width, band + wedge)} re")
    c.stroke(0.6)
    y -= band + wedge
    for i in range(11):
        label = str(100 - 10 * i)
        middle = EDGE + width * (i + 0.5) / 11
        text(c, 0, middle - len(label) * COURIER * 6 / 2, y - 2.4 * MM, 6, label)
    return y - 3.6 * MM


# -- barcode --------------------------------------------------------------------

# Code 39: five bars and four spaces in turn; "w" marks the three wide ones.
CODE39 = {
    "0": "nnnwwnwnn", "1": "wnnwnnnnw", "2": "nnwwnnnnw", "3": "wnwwnnnnn",
    "4": "nnnwwnnnw", "5": "wnnwwnnnn", "6": "nnwwwnnnn", "7": "nnnwnnwnw",
    "8": "wnnwnnwnn", "9": "nnwwnnwnn", "A": "wnnnnwnnw", "D": "nnnnwwnnw",
    "R": "wnnnnnwwn", "V": "nwwnnnnnw", "*": "nwnnwnwnn",
}
DOT = MM / 8                            # the pitch of a head of 8 dots per mm


def draw_code39(c, words, y, height):
    """Bars three dots wide, or eight when wide: none falls between dots."""
    narrow, wide = 3 * DOT, 8 * DOT
    runs = []
    for letter in f"*{words}*":
        runs += [wide if kind == "w" else narrow for kind in CODE39[letter]] + [narrow]
    # Start on a whole dot, or a renderer may make bars of unlike widths.
    x = round((ROLL_W - sum(runs[:-1])) / 2 / DOT) * DOT
    for i, run in enumerate(runs):
        # Ten runs to a letter: bars are the even ones, and the last is a gap.
        if i % 10 % 2 == 0:
            c.rect(x, y, run, height)
        x += run


# --------------------------------------------------------------------------

def main():
    here = os.path.dirname(os.path.abspath(__file__))
    folder = sys.argv[1] if len(sys.argv) > 1 else here
    os.makedirs(folder, exist_ok=True)
    draw_receipt(os.path.join(folder, "receipt.pdf"))
    draw_tattoo(os.path.join(folder, "tattoo.pdf"))


if __name__ == "__main__":
    main()
