#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Reads what `drav proof --html` writes: one file that needs nothing else, whose pictures
are the dots of the filter. What it looks like is for tests/browser.
"""
import base64
import functools
import hashlib
import html.parser
import json
import os
import pathlib
import random
import re
import resource
import signal
import struct
import unittest

import drav_case
from drav_case import DravCase, HALFTONES, filter_pages
from pictures import make_png, read_png

import cups_raster

BRIGHTNESSES = [str(step) for step in (*range(-40, 1, 5), 2, 5, 10, 15)]
WAYS = [(mirrored, half_turn) for mirrored in (False, True) for half_turn in (False, True)]
BAND_ROWS = 96


@functools.cache
def grey_rows(width, height, seed=5):
    """A slope with noise in places and one black bar."""
    source = random.Random(seed)
    rows = []
    for y in range(height):
        row = bytearray((x * 255 // width + y) % 256 for x in range(width))
        if y % 40 < 10:
            row = bytearray(source.randbytes(width))
        if 150 <= y < 165:
            row = bytearray(b"\xff" * width)
        rows.append(bytes(row))
    return rows


class Elements(html.parser.HTMLParser):
    """Every element with its attributes, and the text of those that hold one."""

    def __init__(self):
        super().__init__()
        self.found = []
        self.texts = {}
        self.open = None

    def handle_starttag(self, tag, attrs):
        self.found.append((tag, dict(attrs)))
        self.open = (tag, dict(attrs).get("id")) if tag in ("script", "style") else None

    def handle_endtag(self, tag):
        self.open = None

    def handle_data(self, data):
        if self.open:
            self.texts[self.open] = self.texts.get(self.open, "") + data


def read_page(path):
    elements = Elements()
    elements.feed(path.read_text("utf-8"))
    return elements, json.loads(elements.texts["script", "data"])


def dots_of(address):
    kind, _, text = address.partition(",")
    assert kind == "data:image/png;base64", kind
    return read_png(base64.b64decode(text, validate=True)).dots()


def way_of(proof):
    return proof["mirrored"], proof["halfTurn"]


def way_options(mirrored, half_turn):
    return f"StencilMirror={mirrored} HalfTurn={half_turn}"


def black_in(rows):
    return int.from_bytes(b"".join(rows), "big").bit_count()


class HtmlTest(DravCase):
    """The file, without a browser."""

    def make(self, rows, *arguments, name="page.ras", **header):
        path = self.write(name, cups_raster.stream([cups_raster.grey(rows, **header)]))
        self.run_well("proof", path, *arguments, "--html", self.out / "a.html")
        return read_page(self.out / "a.html")

    def test_every_combination_of_a_small_page_has_the_dots_of_the_filter(self):
        rows = grey_rows(300, 200)
        _, data = self.make(rows)
        self.assertEqual(sorted(one["name"] for one in data["halftones"]), sorted(HALFTONES))
        self.assertEqual([one["name"] for one in data["brightnesses"]], BRIGHTNESSES)
        raster = cups_raster.stream([cups_raster.grey(rows)])
        seen = set()
        for proof in data["proofs"]:
            halftone = data["halftones"][proof["halftone"]]["name"]
            brightness = data["brightnesses"][proof["brightness"]]["name"]
            dots = dots_of(proof["png"])
            # The filter is asked for each way, and for each halftone and brightness in turn.
            turn = (proof["halftone"] - proof["brightness"]) % len(HALFTONES) < 2
            with self.subTest(halftone=halftone, brightness=brightness):
                options = (f"HalftoneType={halftone} Brightness={brightness} "
                           f"{way_options(*way_of(proof))}")
                if turn or brightness == "0":
                    self.assert_same_dots([dots], filter_pages(raster, options))
                self.check_figures(proof, dots)
                if brightness == "0":
                    (inverted,) = filter_pages(raster, options + " InvertPage=True")
                    self.check_figures(proof["inverted"], inverted)
            seen.add((halftone, brightness, *way_of(proof)))
        wanted = {(halftone, brightness, False, False) for halftone in HALFTONES
                  for brightness in BRIGHTNESSES} | {("Tattoo", "0", *way) for way in WAYS}
        self.assertEqual(seen, wanted)
        self.assertEqual(len(seen), len(data["proofs"]))
        self.assertEqual(data["switches"], {"mirrored": True, "halfTurn": True, "inverted": True})

    def test_the_way_round_that_was_asked_for_has_all_halftones(self):
        rows = grey_rows(300, 100)
        _, data = self.make(rows, "-o", "HalfTurn=True", "-o", "InvertPage=True", "-o",
                            "HalftoneType=Stucki")
        self.assertEqual(data["jobsWay"], {"mirrored": False, "halfTurn": True, "inverted": True})
        asked = [one for one in data["proofs"] if way_of(one) == (False, True)]
        self.assertEqual(len(asked), len(HALFTONES) * len(BRIGHTNESSES))
        others = {way_of(one): data["halftones"][one["halftone"]]["name"]
                  for one in data["proofs"] if one not in asked}
        self.assertEqual(others, {way: "Stucki" for way in WAYS if way != (False, True)})
        # The browser inverts, so the pictures have the dots as drawn.
        raster = cups_raster.stream([cups_raster.grey(rows)])
        for proof in data["proofs"]:
            if data["brightnesses"][proof["brightness"]]["name"] == "0":
                halftone = data["halftones"][proof["halftone"]]["name"]
                options = f"HalftoneType={halftone} {way_options(*way_of(proof))}"
                self.assert_same_dots([dots_of(proof["png"])], filter_pages(raster, options))

    def test_trimmed_pages_tell_their_rows(self):
        rows = [bytes(300)] * 60 + grey_rows(300, 200) + [bytes(300)] * 140
        _, data = self.make(rows, "-o", "TrimPaper=Both")
        self.assertEqual((data["page"]["rows"], data["original"]["rows"]), (400, 400))
        raster = (self.folder / "page.ras").read_bytes()
        for proof in data["proofs"]:
            if proof["brightness"] != data["job"]["brightness"]:
                continue
            options = (f"HalftoneType={data['halftones'][proof['halftone']]['name']} "
                       f"{way_options(*way_of(proof))}")
            (whole,) = filter_pages(raster, options)
            inked = [y for y, row in enumerate(whole) if any(row)]
            self.assertEqual((proof["row"], proof["rows"]),
                             (inked[0], inked[-1] + 1 - inked[0]), options)
            self.assert_same_dots([dots_of(proof["png"])], [whole[inked[0]:inked[-1] + 1]])
        _, data = self.make([bytes(300)] * 400, "-o", "TrimPaper=End")
        blank = data["proofs"][0]
        self.assertEqual((blank["rows"], blank["png"], blank["black"]), (0, "", 0))

    def test_a_framed_page_is_inverted_by_the_filter_alone(self):
        sheet = {"HWResolution": (300, 300), "cupsPageSizeName": "Tattoo_A6"}
        rows = [bytes(1240)] * 800 + [b"\xff" * 300 + bytes(940)] * 100 + [bytes(1240)] * 848
        options = ("-o", "PaperFrame=2", "-o", "InvertPage=True", "-o", "PageSize=Tattoo_A6")
        _, data = self.make(rows, *options, **sheet)
        self.assertEqual((data["switches"]["inverted"], data["jobsWay"]["inverted"]),
                         (False, False))
        self.assertIn("PaperFrame cannot be switched", " ".join(data["notes"]))
        self.assert_same_dots([dots_of(data["proofs"][0]["png"])],
                              self.proof(self.folder / "page.ras", *options))

    def check_figures(self, proof, dots):
        self.assertEqual(proof["black"], black_in(dots))
        shares = []
        for row in range(0, len(dots), BAND_ROWS):
            band = dots[row:row + BAND_ROWS]
            shares.append((black_in(band) / len(band), -row, len(band), black_in(band)))
        _, row, count, black = max(shares)
        self.assertEqual(proof["band"], {"row": -row, "rows": count, "black": black})

    def test_proof_and_page_are_one(self):
        options = ("-o", "HalftoneType=Burkes", "-o", "Brightness=-10")
        _, data = self.make(grey_rows(300, 200), *options)
        job = data["job"]
        self.assertEqual(data["halftones"][job["halftone"]]["name"], "Burkes")
        self.assertEqual(data["brightnesses"][job["brightness"]]["name"], "-10")
        proof = next(one for one in data["proofs"]
                     if (one["halftone"], one["brightness"]) == tuple(job.values()))
        self.assert_same_dots([dots_of(proof["png"])],
                              self.proof(self.folder / "page.ras", *options))

    def test_labels_are_those_of_the_driver(self):
        _, data = self.make(grey_rows(64, 8))
        driver = pathlib.Path(drav_case.PPD).read_text("utf-8")
        for option, key in (("HalftoneType", "halftones"), ("Brightness", "brightnesses")):
            expected = re.findall(rf"^\*{option} ([^/]+)/([^:]+):", driver, re.MULTILINE)
            self.assertEqual([(one["name"], one["label"]) for one in data[key]], expected)

    def test_large_page_has_what_is_next_to_the_job(self):
        rows = [bytes((x * 255 // 2479 + y) % 256 for x in range(2479)) for y in range(2)] * 700
        _, data = self.make(rows, "-o", "HalftoneType=Sierra", "-o", "Brightness=-35")
        job = tuple(data["job"].values())
        held = {(one["halftone"], one["brightness"]) for one in data["proofs"]}
        expected = {(i, job[1]) for i in range(len(HALFTONES))}
        expected |= {(job[0], i) for i in range(len(BRIGHTNESSES))}
        self.assertEqual(held, expected)

    def test_file_of_a_dense_photo_on_a4_stays_small(self):
        """Coarse squares, which cleaning keeps, below a strong grain; four looks of them."""
        source, side, across = random.Random(7), 24, 100
        shades = [bytes(min(255, max(0, level + (grain - 128) * 110 // 128))
                        for grain in range(256)) for level in range(256)]
        rows = []
        for y in range(3508):
            if y % side == 0:
                levels = source.randbytes(across)
            grain = source.randbytes(side * across)
            rows.append(b"".join(grain[x * side:(x + 1) * side].translate(shades[level])
                                 for x, level in enumerate(levels))[:2397])
        photo = self.write("photo.png", make_png(2397, 3508, 8, 0, rows,
                                                 pHYs=struct.pack(">IIB", 11811, 11811, 1)))
        self.run_well("proof", photo, "--paper", "A4", "--gamma", "1.1", "--html",
                      self.out / "a.html")
        _, data = read_page(self.out / "a.html")
        self.assertLess((self.out / "a.html").stat().st_size, 25_000_000)
        self.assertEqual(sorted((one["clean"], one["lines"]) for one in data["others"]),
                         [(False, True), (True, False), (True, True)])
        held = [(one["halftone"], one["brightness"], *way_of(one)) for one in data["proofs"]
                if not (one["clean"] or one["lines"])]
        halftone, brightness = data["job"].values()
        self.assertEqual(held[0], (halftone, brightness, False, False))
        self.assertLessEqual({(i, brightness, False, False) for i in range(len(HALFTONES))} |
                             {(halftone, brightness, *way) for way in WAYS}, set(held))
        self.assertLess(len([one for one in held if one[2:] == (False, False)]), 22)
        self.assertGreater(data["original"]["shrink"], 1)

    def test_page_before(self):
        rows = grey_rows(301, 40)
        _, data = self.make(rows)
        original = data["original"]
        self.assertEqual((original["width"], original["rows"], original["shrink"]), (301, 40, 1))
        png = read_png(base64.b64decode(original["png"].partition(",")[2]))
        self.assertEqual((png.width, png.height, png.depth, png.color), (301, 40, 8, 0))
        self.assertEqual(png.rows, [bytes(255 - value for value in row) for row in rows])
        _, data = self.make(rows, cupsColorSpace=0)  # white, and printed inverted
        png = read_png(base64.b64decode(data["original"]["png"].partition(",")[2]))
        self.assertEqual(png.rows, rows)

    def test_nothing_from_elsewhere(self):
        elements, data = self.make(grey_rows(64, 8))
        text = (self.out / "a.html").read_text("utf-8")
        self.assertNotRegex(text, r"(?i)https?:|url\(|@import|import\(|fetch\(|XMLHttp|WebSocket|eval\(")
        for tag, attributes in elements.found:
            self.assertNotIn(tag, ("link", "iframe", "object", "embed", "base", "form"))
            for name in ("src", "srcset", "href", "data", "action", "style"):
                self.assertNotIn(name, attributes, tag)
            self.assertFalse([name for name in attributes if name.startswith("on")], tag)
        addresses = [data["original"]["png"], *(one["png"] for one in data["proofs"])]
        for address in addresses:
            self.assertTrue(address.startswith("data:image/png;base64,"))
        self.assertNotIn("@", re.sub(r"@media|data:[^\"]*", "", elements.texts["style", None]))

    def test_policy_allows_our_style_and_script_alone(self):
        elements, _ = self.make(grey_rows(64, 8))
        policy = next(attributes["content"] for tag, attributes in elements.found
                      if attributes.get("http-equiv") == "Content-Security-Policy")
        rules = dict(rule.strip().split(" ", 1) for rule in policy.split(";"))

        def hash_of(tag):
            digest = hashlib.sha256(elements.texts[tag, None].encode()).digest()
            return f"'sha256-{base64.b64encode(digest).decode()}'"

        self.assertEqual(rules, {"default-src": "'none'", "img-src": "data:", "base-uri": "'none'",
                                 "form-action": "'none'", "style-src": hash_of("style"),
                                 "script-src": hash_of("script")})

    def test_names_cannot_end_the_script(self):
        name = "<!--<script>alert(1)<!--\\ü\"'&.ras"
        elements, data = self.make(grey_rows(64, 8), name=name)
        self.assertEqual(data["title"], name)
        self.assertNotIn("<", elements.texts["script", "data"])
        self.assertEqual([tag for tag, _ in elements.found].count("script"), 2)
        raw = b"caf\xe9.ras"
        path = pathlib.Path(str(self.folder).encode().decode() + "/" + raw.decode("utf-8",
                                                                                "surrogateescape"))
        path.write_bytes(cups_raster.stream([cups_raster.grey(grey_rows(64, 8))]))
        self.run_well("proof", path, "--html", self.out / "a.html")
        self.assertEqual(read_page(self.out / "a.html")[1]["title"], "caf�.ras")

    def test_pages_and_pictures(self):
        pages = [cups_raster.grey(grey_rows(width, 30, width)) for width in (64, 128, 200)]
        path = self.write("job.ras", cups_raster.stream(pages))
        done = self.run_well("proof", path, "--html", self.out / "a.html")
        self.assertEqual([file.name for file in self.out.iterdir()], ["a.html"])
        self.assertEqual(done.stdout.decode(), f"{self.out}/a.html: page 1, 130 of 130 "
                         "combinations of halftone and brightness, exact\n")
        self.assertEqual(read_page(self.out / "a.html")[1]["page"]["width"], 64)
        self.run_well("proof", path, "--page", "2", "--html", self.out / "a.html")
        _, data = read_page(self.out / "a.html")
        self.assertEqual((data["number"], data["page"]["width"]), (2, 128))
        done = self.run_well("proof", path, "-O", self.out / "a.png", "--html", self.out / "a.html",
                             "--quiet")
        self.assertEqual((done.stdout, done.stderr), (b"", b""))
        self.assertEqual(sorted(file.name for file in self.out.iterdir()),
                         ["a-1.png", "a-2.png", "a-3.png", "a.html"])
        self.assertEqual(read_page(self.out / "a.html")[1]["number"], 1)

    def test_approximate_page_says_so(self):
        path = self.write("a.ps", b"%!PS\n<< /PageSize [40 40] >> setpagedevice\n"
                          b"0.5 setgray 0 0 20 20 rectfill showpage\n")
        self.run_well("proof", path, "--model", "dravr582", "--html", self.out / "a.html",
                      env={"DRAV_CUPSFILTER": ""})
        _, data = read_page(self.out / "a.html")
        self.assertIn("cupsfilter", data["approximation"])
        self.assertEqual(data["maker"], "Ghostscript")
        self.assertEqual((data["page"]["dotsPerInchX"], data["page"]["dotsPerInchY"]), (203, 203))

    def test_notes_reach_the_page(self):
        _, data = self.make(grey_rows(64, 8), "-o", "HalftoneType=Burks")
        self.assertIn("Burks", " ".join(data["notes"]))

    def test_bad_input_leaves_no_file(self):
        good = self.write("page.ras", cups_raster.stream([cups_raster.grey(grey_rows(64, 8))]))
        cut = self.write("cut.ras", good.read_bytes()[:-100])
        noise = self.write("noise.bin", random.Random(3).randbytes(5000))
        long = self.write("long.ras", cups_raster.stream([cups_raster.grey([bytes(8)] * 32_768)]))
        page = self.out / "a.html"
        for arguments, words in (((cut,), ("cut.ras",)), ((noise,), ("noise.bin",)),
                                 ((self.folder,), ()), ((self.folder / "none.pdf",), ()),
                                 ((long,), ("8 x 32768 dots", "PNG")),
                                 ((good, "--page", "2"), ("no page 2",))):
            self.assert_failed(self.run_drav("proof", *arguments, "--html", page), *words)
            self.assert_failed(self.run_drav("proof", *arguments, "--html", page, "-O",
                                             self.out / "a.png"), *words)

    def test_bad_names(self):
        path = self.write("page.html", cups_raster.stream([cups_raster.grey(grey_rows(64, 8))]))
        for name in ("a.png", "a", "-", "html"):
            done = self.run_drav("proof", path, "--html", self.out / name)
            self.assert_failed(done, "ends in .html")
        self.assert_failed(self.run_drav("proof", path, "--html", path), "is the input")
        self.assert_failed(self.run_drav("proof", path, "--html", self.out / "no" / "a.html"),
                           "No such file")
        # Neither of two files when one cannot be written.
        self.assert_failed(self.run_drav("proof", path, "-O", self.out / "a.png", "--html",
                                         self.out / "no" / "a.html"), "No such file")

    @unittest.skipIf("DRAV_COUNTED" in os.environ, "the counts fail to be written, too, and say so")
    def test_full_disk_leaves_the_older_page(self):
        rows = grey_rows(300, 200)
        path = self.write("page.ras", cups_raster.stream([cups_raster.grey(rows)]))
        page = self.folder / "old.html"
        page.write_text("older")

        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (400_000, 400_000))

        done = self.run_drav("proof", path, "--html", page, preexec_fn=limit)
        self.assert_failed(done, "old.html: File too large")
        self.assertEqual(page.read_text(), "older")
        self.assertEqual(sorted(file.name for file in self.folder.glob(".*")), [])


if __name__ == "__main__":
    unittest.TestCase.maxDiff = 500
    drav_case.main()
