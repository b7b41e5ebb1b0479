#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Files that are damaged, too large or none, and a reader that misbehaves."""
import os
import pathlib
import random
import struct
import subprocess
import sys
import unittest

import harness
from document_case import SANITIZED, DocumentCase
from picture_files import Image, chunk, heif, image, png, ramp, saved
from placing_model import Paper

PAPER = Paper((300, 300), 300, 200)


def samples() -> dict[str, bytes]:
    """A picture of each kind whose end matters."""
    rng = random.Random(3)
    noise = image([[rng.randrange(256) for _ in range(120)] for _ in range(90)])
    return {"PNG": saved(noise, "PNG"), "JPEG": saved(noise, "JPEG", quality=90),
            "WebP": saved(noise, "WebP", lossless=True), "TIFF": saved(noise, "TIFF"),
            "GIF": saved(noise, "GIF"), "BMP": saved(noise, "BMP"),
            "a portable map": saved(noise, "PPM"),
            "SVG": b'<svg xmlns="http://www.w3.org/2000/svg" width="9mm" height="9mm">'
                   + b'<path d="M0 0h9v9z"/>' * 40 + b"</svg>"}


class HostileTest(DocumentCase):
    def write(self, name: str, data: bytes):
        path = self.folder / name
        path.write_bytes(data)
        return path

    def test_cut_files(self) -> None:
        for kind, data in samples().items():
            for share in (0.9, 0.5, 0.1):
                with self.subTest(kind, share=share):
                    path = self.write("cut", data[:int(len(data) * share)])
                    self.assertRegex(self.refusal(path, PAPER), kind)
        bitmap = b"P4 # a comment\n20 9\n" + bytes(27)
        self.assertEqual(self.run_rows(self.write("whole.pbm", bitmap), PAPER).status, 0)
        for cut in (bitmap[:-1], b"P4\n1 99995\n\0\0", b"P4 20", b"P4 20 # 9"):
            self.assertRegex(self.refusal(self.write("cut.pbm", cut), PAPER), "a portable map")
        source = self.write("source.png", samples()["PNG"])
        heif(source, self.folder / "whole.heic")
        data = (self.folder / "whole.heic").read_bytes()
        self.assertRegex(self.refusal(self.write("cut.heic", data[:len(data) // 2]), PAPER),
                         "HEIC or AVIF")

    def test_changed_bytes(self) -> None:
        """Either a page or one line, whatever is in the file."""
        rng = random.Random(8)
        ends = set()
        for kind, data in samples().items():
            for _ in range(4):
                changed = bytearray(data)
                for _ in range(rng.randrange(1, 9)):
                    changed[rng.randrange(len(changed))] = rng.randrange(256)
                outcome = self.run_rows(self.write("changed", bytes(changed)), PAPER)
                self.assertIn(outcome.status, (0, 1), kind)
                self.assertEqual(len(outcome.error.splitlines()), outcome.status, outcome.error)
                ends.add(outcome.status)
        self.assertEqual(ends, {0, 1})

    def test_claims_of_size(self) -> None:
        def tiff_of(width: int, height: int) -> bytes:
            tags = ((256, width), (257, height), (258, 8), (259, 1), (262, 1), (273, 8), (277, 1),
                    (278, height), (279, 100))
            return (struct.pack("<2sHIH", b"II", 42, 8, len(tags))
                    + b"".join(struct.pack("<HHII", tag, 4, 1, value) for tag, value in tags)
                    + bytes(200))

        gif = b"GIF89a" + struct.pack("<HH", 65535, 65535) + b"\x80\0\0" + bytes(6)
        claims = {"png": png(65_500, 65_500, 8, 0, [b""]), "wide.png": png(2**31 - 1, 1, 8, 0, [b""]),
                  "pgm": b"P5 17321 17321 255\n", "huge.pgm": b"P5 99999999999 3 255\n",
                  "zero.pgm": b"P5 0 3 255\n", "tiff": tiff_of(2**31, 2**31 - 1),
                  "large.tiff": tiff_of(20_000, 20_000), "gif": gif,
                  "svg": b'<svg xmlns="http://www.w3.org/2000/svg" width="99000mm" height="99000mm"/>'}
        for name, data in claims.items():
            with self.subTest(name):
                line = self.refusal(self.write(name, data), PAPER)
                if name in ("png", "pgm", "large.tiff"):
                    self.assertRegex(line, r"has \d+ x \d+ pixels; at most 300 million are read")

    @unittest.skipIf(SANITIZED, "the sanitizers' own memory goes beyond the limit")
    def test_more_memory_than_there_may_be(self) -> None:
        side = 17_000  # 289 million pixels, 1.2 GB as red, green, blue and alpha
        data = (b"GIF89a" + struct.pack("<HHBBB", side, side, 0x80, 0, 0) + bytes(6) + b","
                + struct.pack("<HHHHB", 0, 0, side, side, 0) + b"\x02\x01\x44\x00;")
        self.refusal(self.write("bomb.gif", data), PAPER)

    def test_what_is_no_picture(self) -> None:
        cases = {b"": "is empty", bytes(range(256)): "is of a kind that is not known here",
                 b"<?xml version='1.0'?><html></html>": "is text that describes a page",
                 b"\n <!DOCTYPE html>\n": "is text that describes a page",
                 b"\xff\x0a\0\0": "JPEG XL", b"\x1f\x8b\x08\0": "unpack it",
                 b"PK\x03\x04": "unpack it", b"RaS3" + bytes(1800): "is raster"}
        for data, want in cases.items():
            self.assertRegex(self.refusal(self.write("other", data), PAPER), want)
        self.assertEqual(self.refusal(self.folder, PAPER), "is a folder")
        self.assertRegex(self.refusal(self.folder / "missing", PAPER), "No such file")

    def test_svg_reaches_nothing_outside(self) -> None:
        """What it refers to is not drawn, and is no reason to stop."""
        secret = self.write("secret.png", saved(Image.new("L", (50, 50), 0), "PNG"))
        for reference in (secret.as_uri(), str(secret), "http://127.0.0.1:9/x.png"):
            path = self.write("reaching.svg", (
                '<svg xmlns="http://www.w3.org/2000/svg" width="50" height="50" '
                f'xmlns:xlink="http://www.w3.org/1999/xlink"><image xlink:href="{reference}" '
                'width="50" height="50"/></svg>').encode())
            page = self.one_page(path, PAPER)
            self.assertEqual(set(b"".join(page.rows)), {0}, reference)
        path = self.write("entity.svg", (
            f'<!DOCTYPE svg [<!ENTITY e SYSTEM "{secret.as_uri()}">]>'
            '<svg xmlns="http://www.w3.org/2000/svg" width="50" height="50">'
            '<text y="40" font-size="40">&e;</text></svg>').encode())
        outcome = self.run_rows(path, PAPER)
        self.assertTrue(outcome.status == 1 or set(b"".join(outcome.pages[0].rows)) == {0})

    def test_a_reader_that_misbehaves(self) -> None:
        path = self.write("good.png", saved(image(ramp(8, 8)), "PNG"))
        facts = "echo picture 8 8 0 0 1"
        for script, want in (
                ("kill -SEGV $$", "cannot be read as PNG: its decoder crashed"),
                (f"{facts}; kill -ABRT $$", "cannot be read as PNG: its decoder crashed"),
                ("kill -XCPU $$", "cannot be read as PNG: it took more than 60 s"),
                ("exit 0", "cannot be read as PNG: its decoder gave too little"),
                (f"{facts}; printf 1234567", "cannot be read as PNG: its decoder gave too little"),
                ("echo picture 99999 99999 0 0 1", "cannot be read as PNG"),
                ("echo picture 8 8 0 0; cat /dev/zero", "cannot be read as PNG"),
                ("cat /dev/zero", "cannot be read as PNG"),
                ("echo 'refused: is odd' >&2; exit 1", "is odd"),
                (f"{facts}; cat /dev/zero", "cannot be read as PNG: its decoder does not keep"),
                (f"{facts}; head -c 65 /dev/zero", "cannot be read as PNG: its decoder does not"),
                (f"{facts}; head -c 64 /dev/zero; exit 3", "cannot be read as PNG")):
            with self.subTest(script):
                reader = self.write("reader", f"#!/bin/sh\n{script}\n".encode())
                reader.chmod(0o755)
                line = self.refusal(path, PAPER,
                                    environment={"DRAV_PICTURE_READER": str(reader)})
                self.assertTrue(line.startswith(want), line)
        self.assertRegex(self.refusal(path, PAPER, environment={"DRAV_PICTURE_READER": ""}),
                         "drav-picture-reader, which reads pictures, is not installed")
        self.assertRegex(self.refusal(path, PAPER, environment={"DRAV_PICTURE_READER": "/none"}),
                         "drav-picture-reader|none cannot be run")

    @unittest.skipUnless(sys.platform == "linux", "needs the process list of Linux")
    def test_the_reader_is_confined_while_it_decodes(self) -> None:
        """Nobody takes its rows, so it stands still in the middle of them."""
        path = self.write("large.pgm", b"P5 2000 2000 255\n" + bytes(4_000_000))
        request = "300 300 2000 2000 0 0 0 0 0 1 0 0 0 0 0 1 1 0 0 0"
        with open(path, "rb") as source, subprocess.Popen(
                [os.environ["DRAV_PICTURE_READER"], request], stdin=source,
                stdout=subprocess.PIPE) as reader:
            self.addCleanup(reader.kill)
            self.assertEqual(reader.stdout.read(30), b"picture 2000 2000 0 0 1\n" + b"\0" * 6)
            process = pathlib.Path("/proc") / str(reader.pid)
            self.assertRegex((process / "status").read_text(), r"Seccomp:\s+2\n")
            limits = (process / "limits").read_text()
            for name, value in (("cpu time", 60), ("file size", 0), ("core file size", 0),
                                ("open files", 64), *(() if SANITIZED
                                                      else (("data size", 1 << 30),))):
                self.assertRegex(limits, rf"Max {name}\s+{value}\s+{value}\s")
            reader.kill()

    def test_from_a_pipe(self) -> None:
        levels = ramp(30, 20)
        outcome = self.run_rows("-", Paper((300, 300), 30, 20),
                                data=saved(image(levels), "PNG"))
        self.assertEqual(outcome.status, 0, outcome.error)
        self.assertLevels(outcome.pages[0], levels)

    def test_png_with_a_broken_chunk(self) -> None:
        data = samples()["PNG"]
        at = data.index(b"IDAT") + 30
        broken = data[:at] + bytes([data[at] ^ 1]) + data[at + 1:]
        self.refusal(self.write("broken.png", broken), PAPER)
        # A chunk that nothing needs may hold anything.
        at = data.index(b"IDAT") - 4
        page = self.one_page(self.write("noted.png", data[:at] + chunk(b"zzZz", b"?" * 99)
                                        + data[at:]), PAPER)
        self.assertEqual(page.notes, {})


if __name__ == "__main__":
    harness.run_tests()
