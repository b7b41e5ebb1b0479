#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares what proof and sheet show of a prepared picture with what drav prepare makes."""
import base64
import json
import pathlib
import re
import shutil

from pictures import make_pgm, read_png
from prepare_case import ROLL, PrepareCase, noise, picture
from tool_case import main


class ShownTest(PrepareCase):
    """proof and sheet with the options show what prepare makes, dot for dot."""

    def shown(self, source: pathlib.Path, *arguments: object, status: int = 0) -> list[list[bytes]]:
        """The rows of each page that proof draws."""
        for old in self.folder.glob("shown*.png"):
            old.unlink()
        result = self.run_drav("proof", source, *arguments, "-O", self.folder / "shown.png")
        self.assertEqual(result.returncode, status, result.stderr)
        self.told = result.stderr.decode()
        return [read_png(path.read_bytes()).page() for path in sorted(self.folder.glob("shown*.png"))]

    def art(self) -> bytes:
        """Bars on paper in a light that falls, and a patch of noise."""
        grain = noise(40, 200, 3)
        rows = [bytearray(220 - x // 3 for x in range(300)) for _ in range(200)]
        for y in range(20, 180):
            if y % 40 < 6:
                rows[y][20:180] = b"\x20" * 160
            rows[y][220:260] = grain[y]
        return picture([bytes(row) for row in rows])

    def test_dots_are_those_of_the_prepared_file(self) -> None:
        source = self.write("art.png", self.art())
        seen = []
        for art in (("--clean",), ("--clean", "--lines"), ("--width", 90, "--tile"),
                    ("--turn", 90, "--mirror", "--crop", "3,2,20,15", "--position", "right"),
                    ("--dpi", 400, "--black", 40, "--white", 200, "--gamma", 1.5)):
            name = "made.pdf" if "--tile" in art else "made.png"
            if name == "made.pdf" and not shutil.which("gs"):
                continue
            with self.subTest(art):
                self.prepare(source, *ROLL, *art, name=name)
                shown = self.shown(source, *ROLL, *art, "-o", "HalftoneType=Burkes")
                self.assertEqual(len(shown), 3 if name == "made.pdf" else 1)
                self.assertEqual(shown, self.shown(self.folder / name, *ROLL, "-o",
                                                   "HalftoneType=Burkes"))
                seen.append(b"".join(shown[0]))
        self.assertEqual(len(seen), len(set(seen)), "two ways to prepare made the same page")

    def test_on_a_sheet(self) -> None:
        source = self.write("art.png", self.art())
        art = ("--paper", "Tattoo_A6", "--clean", "--width", 60, "--position", "bottom-left")
        self.prepare(source, *art, name="made.png")
        options = ("-o", "StencilMirror=True", "-o", "Brightness=-10")
        self.assertEqual(self.shown(source, *art, *options),
                         self.shown(self.folder / "made.png", "--paper", "Tattoo_A6", *options))
        self.assertEqual(self.told, "")

    def test_lost_ink_is_told_once(self) -> None:
        """The stencil's head ends 83 dots before A4 does; a mirrored page has these at its left.
        Each end of the picture is black for a fifth of its width."""
        row = b"\0" * 20 + b"\xff" * 60 + b"\0" * 20
        source = self.write("wide.pgm", make_pgm(100, 2, row * 2))
        mirror = ("-o", "StencilMirror=True")
        for width, position, options, side, dots in (
                (230, "left", (), "right", 2717 - 2397), (200, "left", (), "", 0),
                (200, "left", mirror, "left", 83), (200, "right", mirror, "left", 83 - 35)):
            with self.subTest(width=width, position=position, options=options):
                art = ("--width", width, "--position", position)
                self.shown(source, *art, *options, "--strict", status=1 if side else 0)
                if not options:
                    self.assertEqual(self.prepare(source, *art).stderr.decode(), self.told)
                if not side:
                    self.assertEqual(self.told, "")
                    continue
                told = re.fullmatch(r"drav: page 1: ink lost at the (\w+): (\S+) mm, (\S+) % of "
                                    r"the ink\n", self.told)
                self.assertEqual(told[1], side)
                self.assertAlmostEqual(float(told[2]), dots * 25.4 / 300, delta=0.051)
                share = dots / (0.4 * width / 25.4 * 300)
                self.assertAlmostEqual(float(told[3]), 100 * share, delta=0.3)

    def data(self, *arguments: object) -> dict:
        page = self.folder / "page.html"
        self.assertEqual(self.run_drav("proof", *arguments, "--html", page).stderr, b"")
        return json.loads(re.search(r'id="data">(.*?)</script>', page.read_text(), re.S)[1])

    def test_html_switches_clean_and_lines(self) -> None:
        source = self.write("it's.png", self.art())
        options = (*ROLL, "--width", 30, "-o", "HalftoneType=Ordered")
        data = self.data(source, *options, "--clean")
        self.assertEqual(data["prepare"], ["--width", "30", "--model", "dravr582", "--paper",
                                           "X48MMY100MM"])
        self.assertEqual((data["jobsWay"]["clean"], data["jobsWay"]["lines"]), (True, False))
        self.assertEqual((data["switches"]["clean"], data["switches"]["lines"]), (True, True))
        befores = {(other["clean"], other["lines"]): other["original"]["png"]
                   for other in [{"clean": True, "lines": False, **data}, *data["others"]]}
        self.assertEqual(len(set(befores.values())), 4)
        for clean, lines in befores:
            arguments = ["--clean"] * clean + ["--lines"] * lines
            for proof in data["proofs"]:
                name = data["halftones"][proof["halftone"]]["name"]
                if (proof["clean"], proof["lines"]) != (clean, lines) or proof["mirrored"] or \
                        proof["halfTurn"] or data["brightnesses"][proof["brightness"]]["name"] != "0" \
                        or name not in ("Ordered", "Tattoo"):
                    continue
                png = read_png(base64.b64decode(proof["png"].partition(",")[2]))
                self.assertEqual([png.dots()], self.shown(source, *options[:-1],
                                                          f"HalftoneType={name}", *arguments))
                befores[clean, lines] = ""
        self.assertEqual(set(befores.values()), {""})
        plain = self.data(source, *ROLL)
        self.assertEqual([key for key in ("prepare", "others") if key in plain], [])
        self.assertNotIn("clean", plain["switches"])

    def test_sheet(self) -> None:
        source = self.write("art.png", self.art())
        common = (*ROLL, "--over", "halftone", "--detail", "0", "0")
        self.prepare(source, *ROLL, "--clean", "--crop", "0,0,20,20", name="made.png")
        sheets = []
        for arguments in ((source, "--clean", "--crop", "0,0,20,20"), (self.folder / "made.png",),
                          (source,)):
            out = self.folder / "sheet.png"
            self.assertEqual(self.run_drav("sheet", *arguments, *common, "-O", out).returncode, 0)
            rows = read_png(out.read_bytes()).rows
            sheets.append(rows[len(rows) // 4:])  # below the titles, which name the file
        self.assertTrue(sheets[0] == sheets[1])
        self.assertFalse(sheets[0] == sheets[2])

    def test_what_cannot_be_prepared(self) -> None:
        source = self.write("art.png", self.art())
        out = self.folder / "no.png"
        for arguments, words in (
                (("--clean", "-o", "mirror=true"), "with -o mirror, which places"),
                (("--width", 30, "-o", "fit-to-page"), "with -o fit-to-page, which places"),
                (("--clean", "-o", "number-up=2"), "cannot be printed with number-up"),
                (("--paper", "A44"), "the nearest is A4"), (("--crop", "1"), "X,Y,W,H"),
                (("--width", 900, "--height", 1, "--crop", "700,0,5,5"),
                 "has nothing where --crop looks")):
            self.assert_failed(self.run_drav("proof", source, *arguments, "-O", out), words)
            self.assertFalse(out.exists())


if __name__ == "__main__":
    main()
