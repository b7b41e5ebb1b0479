#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Pictures of every kind as rows, against plain computations."""
import math
import random
import struct
import unittest

import harness
from document_case import DocumentCase
from picture_files import (Image, exif, exif_dpi, flat, heif, image, metres, png, ramp, saved,
                           stored_for, tiff)
from placing_model import Paper, place

NOTE_TURNED, NOTE_REDUCED, NOTE_FIRST, NOTE_PIXEL, NOTE_DPI = 0, 1, 3, 4, 5
WIDTH, HEIGHT = 60, 40
EXACT = Paper((300, 300), WIDTH, HEIGHT)


def linear(level: float) -> float:
    share = level / 255
    return share / 12.92 if share <= 0.04045 else ((share + 0.055) / 1.055) ** 2.4


def encoded(light: float) -> float:
    return 255 * (12.92 * light if light <= 0.0031308 else 1.055 * light ** (1 / 2.4) - 0.055)


def luminance(red: float, green: float, blue: float) -> float:
    return encoded(0.2126 * linear(red) + 0.7152 * linear(green) + 0.0722 * linear(blue))


class PictureTest(DocumentCase):
    def write(self, name: str, data: bytes):
        path = self.folder / name
        path.write_bytes(data)
        return path

    def test_every_kind_pixel_by_pixel(self) -> None:
        levels = ramp(WIDTH, HEIGHT)
        grey = image(levels)
        two = [[255 * ((x ^ y) & 1) for x in range(WIDTH)] for y in range(HEIGHT)]
        packed = [bytes(sum((row[x + bit] == 0) << (7 - bit) for bit in range(8) if x + bit < WIDTH)
                        for x in range(0, WIDTH, 8)) for row in two]
        source = self.write("source.png", saved(grey, "PNG"))
        for name, options in (("grey.heic", ()), ("grey.avif", ("-A",))):
            heif(source, self.folder / name, *options)
        files = {
            "grey.png": (saved(grey, "PNG"), levels),
            "colour.png": (saved(grey.convert("RGB"), "PNG"), levels),
            "palette.png": (saved(grey.convert("P"), "PNG"), levels),
            "grey.webp": (saved(grey, "WebP", lossless=True), levels),
            "grey.tif": (saved(grey, "TIFF"), levels),
            "packed.tif": (saved(grey, "TIFF", compression="tiff_lzw"), levels),
            "grey.gif": (saved(grey, "GIF"), levels),
            "grey.bmp": (saved(grey, "BMP", dpi=(300, 300)), levels),
            "grey.pgm": (b"P5 %d %d 255\n" % (WIDTH, HEIGHT) + flat(levels), levels),
            "plain.pgm": (b"P2\n# a word\n%d %d\n255\n" % (WIDTH, HEIGHT)
                          + b" ".join(b"%d" % value for value in flat(levels)), levels),
            "grey.ppm": (saved(grey.convert("RGB"), "PPM"), levels),
            "two.pbm": (b"P4 %d %d\n" % (WIDTH, HEIGHT) + b"".join(packed), two),
            "two.png": (saved(image(two).convert("1"), "PNG"), two),
            "two.tif": (saved(image(two).convert("1"), "TIFF", compression="group4"), two),
            "grey.heic": (None, levels), "grey.avif": (None, levels)}
        for name, (data, want) in files.items():
            with self.subTest(name):
                path = self.folder / name
                if data is not None:
                    path.write_bytes(data)
                page = self.one_page(path, EXACT)
                self.assertEqual((page.width, page.height, page.notes), (WIDTH, HEIGHT, {}))
                self.assertLevels(page, want)

    def test_the_name_means_nothing(self) -> None:
        levels = ramp(WIDTH, HEIGHT)
        self.assertLevels(self.one_page(self.write("wrong.pdf", saved(image(levels), "PNG")),
                                        EXACT), levels)

    def test_jpeg(self) -> None:
        levels = [[x * 4 for x in range(WIDTH)] for _ in range(HEIGHT)]
        data = saved(image(levels), "JPEG", quality=95)
        decoded = Image.open(self.write("grey.jpg", data)).tobytes()
        page = self.one_page(self.folder / "grey.jpg", EXACT)
        self.assertEqual(b"".join(page.rows), bytes(255 - value for value in decoded))

    def test_portable_maps_count_to_other_numbers(self) -> None:
        for most in (1, 15, 100, 254):
            values = [[(x + y) % (most + 1) for x in range(WIDTH)] for y in range(HEIGHT)]
            path = self.write("few.pgm", b"P5 %d %d %d\n" % (WIDTH, HEIGHT, most) + flat(values))
            self.assertLevels(self.one_page(path, EXACT), [
                [(2 * 255 * value + most) // (2 * most) for value in row] for row in values])
        values = [(x * 37) % 1001 for x in range(WIDTH * HEIGHT)]
        path = self.write("many.pgm", b"P5 %d %d 1000\n" % (WIDTH, HEIGHT)
                          + struct.pack(f">{len(values)}H", *values))
        page = self.one_page(path, EXACT)
        worst = max(abs(255 - got - value * 255 / 1000)
                    for got, value in zip(b"".join(page.rows), values))
        self.assertLess(worst, 0.51)

    def test_16_bits_are_rounded(self) -> None:
        values = [(i * 7919 + 13) % 65536 for i in range(WIDTH * HEIGHT)]
        want = [[(values[y * WIDTH + x] + 128) // 257 for x in range(WIDTH)]
                for y in range(HEIGHT)]
        rows = [struct.pack(f">{WIDTH}H", *values[y * WIDTH:(y + 1) * WIDTH])
                for y in range(HEIGHT)]
        self.assertLevels(self.one_page(
            self.write("deep.png", png(WIDTH, HEIGHT, 16, 0, rows)), EXACT), want)
        data = struct.pack(f"<{len(values)}H", *values)
        self.assertLevels(self.one_page(
            self.write("deep.tif", tiff(WIDTH, HEIGHT, 16, 1, 1, data)), EXACT), want)
        rows = [b"".join(struct.pack(">3H", value, value, value)
                         for value in values[y * WIDTH:(y + 1) * WIDTH]) for y in range(HEIGHT)]
        self.assertLevels(self.one_page(
            self.write("deep_colour.png", png(WIDTH, HEIGHT, 16, 2, rows)), EXACT), want,
            tolerance=1)

    def test_transparency_lies_on_white(self) -> None:
        def over(level: int, alpha: int) -> int:
            return (2 * (level * alpha + 255 * (255 - alpha)) + 255) // 510

        side = 256
        paper = Paper((300, 300), side, side)
        want = [[over(y, x) for x in range(side)] for y in range(side)]
        rows = [bytes(value for x in range(side) for value in (y, x)) for y in range(side)]
        self.assertLevels(self.one_page(self.write("la.png", png(side, side, 8, 4, rows)), paper),
                          want)
        rows = [bytes(value for x in range(side) for value in (y, y, y, x)) for y in range(side)]
        self.assertLevels(self.one_page(self.write("rgba.png", png(side, side, 8, 6, rows)),
                                        paper), want)
        # Black, clear at the left and opaque at the right: a ramp, and nothing solid.
        picture = Image.new("RGBA", (side, 4))
        picture.putdata([(0, 0, 0, x) for _ in range(4) for x in range(side)])
        for kind in ("PNG", "WebP", "TIFF"):
            data = saved(picture, kind, **({"lossless": True, "exact": True}
                                           if kind == "WebP" else {}))
            page = self.one_page(self.write("soft", data), Paper((300, 300), side, 4))
            self.assertLevels(page, [[255 - x for x in range(side)]] * 4)

    def test_colours_become_luminance(self) -> None:
        rng = random.Random(11)
        pixels = [tuple(rng.randrange(256) for _ in range(3)) for _ in range(WIDTH * HEIGHT)]
        picture = Image.new("RGB", (WIDTH, HEIGHT))
        picture.putdata(pixels)
        page = self.one_page(self.write("colour.png", saved(picture, "PNG")), EXACT)
        worst = max(abs(255 - got - luminance(*pixel))
                    for got, pixel in zip(b"".join(page.rows), pixels))
        self.assertLess(worst, 1.01)

    def test_cmyk(self) -> None:
        """No ink is white, all black ink dark, and less ink lighter."""
        inks = [(0, 0, 0, x * 255 // (WIDTH - 1)) for x in range(WIDTH)]
        picture = Image.new("CMYK", (WIDTH, HEIGHT))
        picture.putdata(inks * HEIGHT)
        for kind, tolerance in (("TIFF", 0), ("JPEG", 8)):
            options = {"quality": 95} if kind == "JPEG" else {}
            page = self.one_page(self.write("inks", saved(picture, kind, **options)), EXACT)
            row = page.rows[HEIGHT // 2]
            self.assertLessEqual(row[0], tolerance)
            self.assertGreater(row[-1], 200)
            self.assertTrue(all(a <= b + tolerance for a, b in zip(row, row[1:])), list(row))

    def test_profiles(self) -> None:
        from PIL import ImageCms  # pylint: disable=import-outside-toplevel
        levels = ramp(WIDTH, HEIGHT)
        profile = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
        picture = image(levels).convert("RGB")
        for kind in ("PNG", "TIFF"):
            page = self.one_page(self.write("srgb", saved(picture, kind, icc_profile=profile)),
                                 EXACT)
            self.assertLevels(page, levels)
        # One whose curve is another by less than a level is sRGB too: no level moves.
        at, near = profile.index(b"para") + 12, bytearray(profile)
        self.assertEqual(struct.unpack_from(">i", profile, at), (round(2.4 * 65536),))
        struct.pack_into(">i", near, at, round(2.42 * 65536))
        for kind in ("PNG", "TIFF"):
            page = self.one_page(self.write("near", saved(picture, kind, icc_profile=bytes(near))),
                                 EXACT)
            self.assertLevels(page, levels)
        struct.pack_into(">i", near, at, round(2.8 * 65536))
        page = self.one_page(self.write("far", saved(picture, "TIFF", icc_profile=bytes(near))),
                             EXACT)
        self.assertGreater(max(abs(got - 255 + want) for got, want in
                               zip(b"".join(page.rows), flat(levels))), 5)
        # A grey picture with the profile of the colours that it once had, and other misfits.
        for kind, options in (("TIFF", {}), ("JPEG", {"quality": 100})):
            flat_grey = [[77] * WIDTH] * HEIGHT
            data = saved(image(flat_grey), kind, icc_profile=profile, **options)
            self.assertLevels(self.one_page(self.write("grey", data), EXACT), flat_grey)
            other = ImageCms.ImageCmsProfile(ImageCms.createProfile("LAB")).tobytes()
            data = saved(image(flat_grey), kind, icc_profile=other, **options)
            self.assertLevels(self.one_page(self.write("grey", data), EXACT), flat_grey)
        # With red and blue exchanged in the profile, red is as dark as blue would be.
        colorants = {b"rXYZ": b"bXYZ", b"bXYZ": b"rXYZ"}
        swapped, count = bytearray(profile), struct.unpack_from(">I", profile, 128)[0]
        for at in range(132, 132 + 12 * count, 12):
            name = bytes(profile[at:at + 4])
            swapped[at:at + 4] = colorants.get(name, name)
        for colour, like in (((255, 0, 0), (0, 0, 255)), ((0, 0, 255), (255, 0, 0))):
            data = saved(Image.new("RGB", (WIDTH, HEIGHT), colour), "PNG",
                         icc_profile=bytes(swapped))
            page = self.one_page(self.write("swapped.png", data), EXACT)
            self.assertLessEqual(abs(255 - page.rows[0][0] - luminance(*like)), 2)
        page = self.one_page(self.write("broken.png", saved(picture, "PNG", icc_profile=b"none")),
                             EXACT)
        self.assertLevels(page, levels)

    def test_gamma_that_a_png_states(self) -> None:
        """Levels become those that sRGB has for the same light, where nothing better is said."""
        ramp_row = bytes(range(0, 256, 256 // WIDTH))[:WIDTH]

        def model(level: int, gamma: float) -> int:
            light = (level / 255) ** (1 / gamma)
            return int(encoded(light) + 0.5)

        def rows_of(gamma: int, *more: tuple[bytes, bytes], color: int = 0, depth: int = 8,
                    row: bytes = ramp_row) -> list[bytes]:
            data = png(WIDTH, HEIGHT, depth, color, [row] * HEIGHT, *more,
                       (b"gAMA", struct.pack(">I", gamma)))
            return self.one_page(self.write("gamma.png", data), EXACT).rows

        plain = [bytes(255 - level for level in ramp_row)] * HEIGHT
        for gamma in (45455, 45000, 0, 4_000_000_000):
            self.assertEqual(rows_of(gamma), plain, gamma)
        self.assertEqual(rows_of(100_000, (b"sRGB", b"\0")), plain)
        for gamma in (100_000, 55_556, 30_000):
            want = [bytes(255 - model(level, gamma / 1e5) for level in ramp_row)] * HEIGHT
            self.assertNotEqual(want, plain)
            self.assertEqual(rows_of(gamma), want)
            # Colours, with transparency, which has no gamma; and 16 bits.
            clear = b"".join(bytes((level, level, level, 255)) for level in ramp_row)
            self.assertEqual(rows_of(gamma, color=6, row=clear), want)
            faint = b"".join(bytes((0, 0, 0, level)) for level in ramp_row)
            self.assertEqual(rows_of(gamma, color=6, row=faint), [ramp_row] * HEIGHT)
            wide = b"".join(bytes((level, level)) for level in ramp_row)
            self.assertEqual(rows_of(gamma, depth=16, row=wide), want)

    def test_orientation(self) -> None:
        levels = ramp(WIDTH, HEIGHT)
        for orientation in range(1, 9):
            stored = image(stored_for(levels, orientation))
            data = saved(stored, "WebP", lossless=True, exif=exif(orientation))
            self.assertLevels(self.one_page(self.write("turned.webp", data), EXACT), levels)
            rows = flat(stored_for(levels, orientation))
            data = tiff(stored.width, stored.height, 8, 1, 1, rows, [(274, 3, orientation)])
            self.assertLevels(self.one_page(self.write("turned.tif", data), EXACT), levels)

    def test_orientation_of_photos(self) -> None:
        paper = Paper((300, 300), 64, 32)
        levels = [[255 if x < 32 else 0 if y < 16 else 128 for x in range(64)] for y in range(32)]
        for orientation in range(1, 9):
            data = saved(image(stored_for(levels, orientation)), "JPEG", quality=100,
                         exif=exif(orientation))
            self.assertLevels(self.one_page(self.write("photo.jpg", data), paper), levels,
                              tolerance=2)

    def test_stated_resolution(self) -> None:
        """What is stated decides the size; what is not stated does not."""
        paper = Paper((300, 300), 400, 400)
        grey = image(ramp(WIDTH, HEIGHT))
        rows = [bytes(WIDTH)] * HEIGHT
        cases = [
            ("PNG without", saved(grey, "PNG"), (0, 0)),
            ("PNG, 150 dpi", png(WIDTH, HEIGHT, 8, 0, rows, metres(5906)), (150.0124,) * 2),
            ("PNG, 72 dpi cut off", png(WIDTH, HEIGHT, 8, 0, rows, metres(2834)), (71.9836,) * 2),
            ("PNG, 300 dpi", png(WIDTH, HEIGHT, 8, 0, rows, metres(11811)), (299.9994,) * 2),
            ("PNG, a ratio", png(WIDTH, HEIGHT, 8, 0, rows, metres(5906, 0)), (0, 0)),
            ("JPEG without", saved(grey, "JPEG"), (0, 0)),
            ("JPEG, 72 dpi", saved(grey, "JPEG", dpi=(72, 72)), (72, 72)),
            ("JPEG, 600 dpi", saved(grey, "JPEG", dpi=(600, 600)), (600, 600)),
            ("JPEG, 100 x 200", saved(grey, "JPEG", dpi=(100, 200)), (100, 200)),
            ("TIFF without", saved(grey, "TIFF"), (0, 0)),
            ("TIFF, 100 dpi", saved(grey, "TIFF", dpi=(100, 100)), (100, 100)),
            ("TIFF, 118 a centimetre", saved(grey, "TIFF", resolution_unit=3, x_resolution=118,
                                             y_resolution=118), (299.72, 299.72)),
            ("BMP, 200 dpi", saved(grey, "BMP", dpi=(200, 200)), (200, 200)),
            ("WebP", saved(grey, "WebP", lossless=True), (0, 0)),
            ("WebP, EXIF", saved(grey, "WebP", lossless=True, exif=exif_dpi(150, 100)),
             (150, 100)),
            ("WebP, EXIF by the centimetre",
             saved(grey, "WebP", lossless=True, exif=exif_dpi(50, 50, unit=3)), (127, 127)),
            ("WebP, EXIF without", saved(grey, "WebP", lossless=True, exif=exif(1)), (0, 0)),
            ("GIF", saved(grey, "GIF"), (0, 0)),
            ("PGM", saved(grey, "PPM"), (0, 0))]
        for name, data, stated in cases:
            with self.subTest(name):
                page = self.one_page(self.write("sized", data), paper)
                want = place((WIDTH, HEIGHT), stated, paper, {})
                self.assertEqual(page.numbers[3:7], [*want.size, *want.at])
                self.assertEqual(page.notes, {})
        source = self.write("source.jpg", saved(grey, "JPEG", exif=exif_dpi(150, 150)))
        for name in ("sized.heic", "sized.avif"):
            heif(source, self.folder / name, *(["-A"] if name.endswith("avif") else []))
            page = self.one_page(self.folder / name, paper)
            self.assertEqual(page.numbers[3:5], [2 * WIDTH, 2 * HEIGHT], name)
        page = self.one_page(self.write("ten.jpg", saved(grey, "JPEG", dpi=(10, 10))), paper)
        self.assertIn(NOTE_DPI, page.notes)
        self.assertEqual(page.numbers[3:5], [WIDTH, HEIGHT])

    def test_svg_has_the_size_that_it_states(self) -> None:
        paper = Paper((300, 300), 300, 300)
        body = '<rect x="0" y="0" width="50%" height="100%" fill="black"/>'
        for size, dots in (('width="12.7mm" height="6.35mm"', (150, 75)),
                           ('width="48" height="24"', (150, 75)),
                           ('width="0.5in" height="18pt"', (150, 75))):
            path = self.write("a.svg", f'<?xml version="1.0"?>\n<!-- a rectangle -->\n'
                                       f'<svg xmlns="http://www.w3.org/2000/svg" {size}>{body}'
                                       f'</svg>'.encode())
            page = self.one_page(path, paper, "position=top-left")
            want = [[0] * 75 + [255] * 75] * 75
            self.assertEqual(page.numbers[3:5], list(dots))
            self.assertLevels(page, want)
            # Drawn anew, not scaled: its edge is as sharp.
            page = self.one_page(path, paper, "position=top-left", "fit-to-page")
            self.assertLevels(page, [[0] * 150 + [255] * 150] * 150)
            page = self.one_page(path, paper, "position=top-left", "orientation-requested=4")
            self.assertLevels(page, [[255] * 75] * 75 + [[0] * 75] * 75)

    def test_turning_placing_cutting_mirroring(self) -> None:
        levels = ramp(WIDTH, HEIGHT)
        path = self.write("ramp.png", saved(image(levels), "PNG"))
        left = [[levels[y][x] for y in range(HEIGHT)] for x in range(WIDTH - 1, -1, -1)]
        half = [row[::-1] for row in levels[::-1]]
        right = [row[::-1] for row in left[::-1]]
        paper = Paper((300, 300), 100, 90)
        for option, want in (("orientation-requested=3", levels),
                             ("orientation-requested=4", left), ("landscape", left),
                             ("orientation-requested=5", right),
                             ("orientation-requested=6", half)):
            page = self.one_page(path, paper, option)
            at = ((100 - len(want[0])) // 2, (90 - len(want)) // 2)
            self.assertLevels(page, want, at)
            page = self.one_page(path, paper, option, "position=bottom-right")
            self.assertLevels(page, want, (100 - len(want[0]), 90 - len(want)))
            page = self.one_page(path, paper, option, "position=bottom-right", "mirror")
            self.assertLevels(page, [row[::-1] for row in want], (0, 90 - len(want)))
        # Turned since it fits only so; asked to stay upright, it is reduced instead.
        page = self.one_page(path, Paper((300, 300), HEIGHT, 90))
        self.assertIn(NOTE_TURNED, page.notes)
        self.assertLevels(page, left, (0, 15))
        page = self.one_page(path, Paper((300, 300), HEIGHT, 90), "orientation-requested=3")
        self.assertEqual(list(page.notes), [NOTE_REDUCED])
        self.assertEqual(page.numbers[3:5], [40, 27])
        # Larger than the page and not to be scaled: its middle.
        small = Paper((300, 300), 31, 20)
        page = self.one_page(path, small, "print-scaling=none", "orientation-requested=3")
        self.assertLevels(page, [row[14:45] for row in levels[10:30]])
        page = self.one_page(path, small, "print-scaling=none", "position=top-right",
                             "orientation-requested=5")
        self.assertLevels(page, [row[9:] for row in right[:20]])
        # A roll is as long as the picture.
        page = self.one_page(path, Paper((300, 300), 70, 5000, roll=True))
        self.assertEqual(page.height, HEIGHT)
        self.assertLevels(page, levels, (5, 0))

    def test_ink_beyond_the_page(self) -> None:
        """Of two black squares on white."""
        levels = [[0 if (10 <= x < 30 and 10 <= y < 30) or (150 <= x < 170 and 40 <= y < 60)
                   else 255 for x in range(200)] for y in range(100)]
        path = self.write("squares.png", saved(image(levels), "PNG"))
        left, right, bottom = 0, 2, 3
        for paper, options, lost in (
                ((200, 100), (), {}),
                ((120, 100), ("position=left",), {right: (50, 40, 60, 0.5)}),
                ((120, 100), ("position=left", "mirror"), {left: (50, 40, 60, 0.5)}),
                ((120, 100), (), {left: (30, 10, 30, 0.5), right: (10, 40, 60, 0.25)}),
                ((170, 100), ("position=left",), {}),
                ((120, 100), ("orientation-requested=4", "position=top"),
                 {bottom: (90, 20, 40, 0.5)}),
                ((120, 100), ("orientation-requested=4", "position=top", "mirror"),
                 {bottom: (90, 80, 100, 0.5)}),
                ((300, 300), ("ppi=100", "position=left"), {right: (210, 120, 180, 0.5)}),
                ((300, 300), ("natural-scaling=300", "position=left"),
                 {right: (210, 120, 180, 0.5)}),
                ((300, 300), ("ppi=600", "natural-scaling=600", "position=left"),
                 {right: (210, 120, 180, 0.5)}),
                ((1000, 1000), ("ppi=30", "position=left"), {right: (700, 400, 600, 0.5)})):
            with self.subTest(paper=paper, options=options):
                got = self.one_page(path, Paper((300, 300), *paper), "print-scaling=none", *options)
                self.assertEqual(got.lost.keys(), lost.keys())
                soft = 6 if any("ppi" in option or "scaling" in option for option in options) else 0
                for side, numbers in lost.items():
                    for found, wanted in zip(got.lost[side][:3], numbers[:3]):
                        self.assertLessEqual(abs(found - wanted), soft, got.lost)
                    self.assertAlmostEqual(got.lost[side][3], numbers[3], delta=0.01 if soft else 0)

    def test_scaling_keeps_the_mean(self) -> None:
        """Down and up: what is grey stays so grey, edges stay where they are."""
        levels = [[0 if x < 120 else 200 for x in range(240)] for _ in range(80)]
        path = self.write("halves.png", saved(image(levels), "PNG"))
        for width in (60, 97, 480, 700):
            page = self.one_page(path, Paper((300, 300), width, 300), "fit-to-page",
                                 "position=top")
            row = page.rows[page.numbers[4] // 2]
            edge = min(range(width), key=lambda x: abs(row[x] - 155))
            self.assertLessEqual(abs(edge - width / 2), 1)
            self.assertTrue(all(abs(value - 255) <= 1 for value in row[:width // 2 - 8]))
            self.assertTrue(all(abs(value - 55) <= 1 for value in row[width // 2 + 8:]))
            mean = sum(255 - value for value in row) / width
            self.assertAlmostEqual(mean, 100, delta=1.5)

    def test_lanczos_down(self) -> None:
        """Against the plain sum, with levels beyond black and white cut off."""
        def lanczos(x: float) -> float:
            if x == 0:
                return 1.0
            if abs(x) >= 3:
                return 0.0
            angle = math.pi * x
            return 3 * math.sin(angle) * math.sin(angle / 3) / angle / angle

        source = [0 if x % 10 == 0 else 255 if x % 37 else 90 for x in range(1000)]
        path = self.write("lines.png", saved(image([source] * 20), "PNG"))
        for width in (250, 500, 333):
            page = self.one_page(path, Paper((300, 300), width, 20))
            factor = 1000 / width
            for x in range(20, width - 20):
                centre = (x + 0.5) * factor - 0.5
                taps = range(math.ceil(centre - 3 * factor), math.floor(centre + 3 * factor) + 1)
                weights = [lanczos((tap - centre) / factor) for tap in taps]
                level = sum(w * source[tap] for w, tap in zip(weights, taps)) / sum(weights)
                self.assertAlmostEqual(255 - page.rows[page.height // 2][x],
                                       min(255, max(0, level)), delta=4, msg=(width, x))

    def test_of_several_pictures_the_first(self) -> None:
        levels = ramp(WIDTH, HEIGHT)
        others = [Image.new("L", (WIDTH, HEIGHT), shade) for shade in (0, 99)]
        for kind, options in (("GIF", {}), ("WebP", {"lossless": True}), ("TIFF", {})):
            data = saved(image(levels), kind, save_all=True, append_images=others, **options)
            page = self.one_page(self.write("several", data), EXACT)
            self.assertEqual(page.notes, {NOTE_FIRST: "the first of its 3 pictures is printed"})
            self.assertLevels(page, levels)

    def test_one_pixel(self) -> None:
        page = self.one_page(self.write("dot.png", saved(Image.new("L", (1, 1), 0), "PNG")),
                             Paper((300, 300), 9, 9))
        self.assertEqual(page.notes, {NOTE_PIXEL: "it is a single pixel"})
        self.assertLevels(page, [[0]], (4, 4))


if __name__ == "__main__":
    harness.run_tests()
