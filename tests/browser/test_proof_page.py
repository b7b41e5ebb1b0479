#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Makes pages with `drav proof --html` and has proof_page.mjs use them in Chromium.

    test_proof_page.py DRAV FOLDER

FOLDER gets the package that drives the browser, and the screenshots. What the screen must
show comes from the PNGs of `drav proof`, decoded here.
"""
import concurrent.futures
import json
import math
import os
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile
from typing import NoReturn

HERE = pathlib.Path(__file__).resolve().parent
for neighbour in ("e2e", "e2e_tools"):
    sys.path.insert(0, str(HERE.parent / neighbour))

# pylint: disable=wrong-import-position
import cups_raster  # noqa: E402
import harness  # noqa: E402
import pictures  # noqa: E402
from ppd_text import HALFTONES  # noqa: E402

BRIGHTNESSES = ("-20", "10")
WAYS = ("StencilMirror=True", "HalfTurn=True", "StencilMirror=True HalfTurn=True",
        "InvertPage=True", "InvertPage=True StencilMirror=True",
        "InvertPage=True HalftoneType=Ordered", "InvertPage=True HalftoneType=Tattoo_X8")
NO_NETWORK = ("ENOTFOUND", "EAI_AGAIN", "ECONNREFUSED", "ECONNRESET", "ETIMEDOUT", "ENETUNREACH",
              "EHOSTUNREACH", "ERR_SOCKET_TIMEOUT", "ENOTCACHED")


def skip(reason: str) -> NoReturn:
    print(f"SKIPPED: browser_proof: {reason}", flush=True)
    sys.exit(harness.SKIPPED)


def find_programs() -> dict[str, str]:
    found = {}
    for name in ("chromium", "node", "npm"):
        path = shutil.which(name, path=os.environ.get("PATH", "") + ":/usr/bin")
        if not path:
            skip(f"{name} is not installed")
        found[name] = path
    return found


def install_driver(npm: str, folder: pathlib.Path) -> None:
    """Puts the locked packages into the folder, unless they are there already."""
    wanted = json.loads((HERE / "package.json").read_text())["devDependencies"]
    there = folder / "node_modules" / "playwright-core" / "package.json"
    if there.exists() and json.loads(there.read_text())["version"] == wanted["playwright-core"]:
        return
    for name in ("package.json", "package-lock.json"):
        shutil.copyfile(HERE / name, folder / name)
    command = [npm, "ci", "--ignore-scripts", "--no-audit", "--no-fund", "--prefer-offline",
               "--fetch-retries=1", "--fetch-timeout=30000"]
    done = subprocess.run(command, cwd=folder, capture_output=True, text=True, timeout=200,
                          check=False)
    if done.returncode == 0:
        return
    print(done.stdout + done.stderr, flush=True)
    if any(word in done.stderr for word in NO_NETWORK):
        skip("the npm registry cannot be reached, and playwright-core is not there yet")
    sys.exit("npm ci failed")


def shade(x: float, y: float) -> int:
    """Ink of a ball, lit from the left above, in the unit square; nothing beside it."""
    u, v = 2.2 * x - 1.1, 2.2 * y - 1.1
    if u * u + v * v >= 1:
        return 0
    light = (math.sqrt(1 - u * u - v * v) - 0.6 * u - 0.6 * v) / 1.4
    return round(255 * min(1.0, max(0.0, 1 - light)))


def balls(width: int, height: int, grain: int) -> list[bytes]:
    """A row of balls above slopes, in squares of `grain` pixels, with lines and a bar."""
    across, along = -(-width // grain), -(-height // grain)
    side = along * 3 // 5
    rows = []
    for y in range(along):
        if y < side:
            row = [shade(x % side / side, y / side) for x in range(across)]
        else:
            row = [x * 255 // across if y * 4 // along % 2 else 255 - x * 255 // across
                   for x in range(across)]
        wide = b"".join(bytes([value]) * grain for value in row)[:width]
        rows += [wide] * min(grain, height - len(rows))
    for y in range(height * 2 // 3, height * 2 // 3 + 5):
        rows[y] = b"\xff" * width
    for y in range(height * 9 // 10, height * 9 // 10 + height // 30):
        rows[y] = b"\0" * 8 + b"\xff" * (width - 16) + b"\0" * 8
    line = width // 5  # fine, from top to bottom
    return [row[:line] + b"\xff" + row[line + 1:] for row in rows]


class Maker:
    """Makes a page, and beside it all that the screen must show of it."""

    def __init__(self, drav: str, folder: pathlib.Path) -> None:
        self.drav, self.folder = drav, folder

    def proof(self, *arguments: str) -> None:
        subprocess.run([self.drav, "proof", *arguments, "--quiet"], check=True, timeout=120)

    def dots(self, path: pathlib.Path, options: str) -> str:
        png = path.with_name(f"{path.stem} {options}.png")
        given = [part for option in options.split() for part in ("-o", option)]
        self.proof(str(path), *given, "-O", str(png))
        out = png.with_suffix(".dots")
        out.write_bytes(b"".join(pictures.read_png(png.read_bytes()).page()))
        return str(out)

    def page(self, name: str, width: int, height: int, grain: int) -> dict:
        rows = balls(width, height, grain)
        path = self.folder / f"{name}.ras"
        path.write_bytes(cups_raster.stream([cups_raster.grey(rows, HWResolution=(300, 300))]))
        self.proof(str(path), "--html", str(self.folder / f"{name}.html"))
        ink = self.folder / f"{name}.ink"
        ink.write_bytes(b"".join(rows))
        self.proof(str(path), "-O", str(self.folder / "size.png"))
        dots = pictures.read_png((self.folder / "size.png").read_bytes()).page()
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            halftones = pool.map(lambda one: self.dots(path, f"HalftoneType={one}"), HALFTONES)
            brightnesses = pool.map(lambda one: self.dots(path, f"Brightness={one}"), BRIGHTNESSES)
            ways = pool.map(lambda one: self.dots(path, one), WAYS)
            return {"html": str(self.folder / f"{name}.html"), "width": 8 * len(dots[0]),
                    "rows": len(dots), "ink": str(ink), "inkWidth": width,
                    "halftones": dict(zip(HALFTONES, halftones)),
                    "brightnesses": dict(zip(BRIGHTNESSES, brightnesses)),
                    "ways": dict(zip(WAYS, ways))}

    def trimmed(self) -> dict:
        """A small page between blank rows, as a job with all these options asks for it."""
        above, below = 40, 70
        rows = balls(300, 150, 2)
        path = self.folder / "trimmed.ras"
        blank = [bytes(300)]
        page = cups_raster.grey(blank * above + rows + blank * below, HWResolution=(300, 300))
        path.write_bytes(cups_raster.stream([page]))
        options = "StencilMirror=True InvertPage=True TrimPaper=Both"
        html = self.folder / "trimmed.html"
        given = [part for option in options.split() for part in ("-o", option)]
        self.proof(str(path), *given, "--html", str(html))
        asked, plain = self.dots(path, options), self.dots(path, "TrimPaper=Both")
        return {"html": str(html), "width": 304, "rows": len(pathlib.Path(asked).read_bytes()) // 38,
                "pageRows": above + len(rows) + below, "from": above, "asked": asked,
                "plain": plain}

    def prepared(self) -> dict:
        """A picture for a roll that is cleaned; the dots with each choice of the switches."""
        rows = [bytes(255 - level // 2 for level in row) for row in balls(300, 160, 2)]
        path = self.folder / "art.png"
        path.write_bytes(pictures.make_png(300, 160, 8, 0, rows))
        given = ["--model", "dravr582", "--paper", "X48MMY100MM", "-o", "HalftoneType=Burkes"]
        self.proof(str(path), *given, "--clean", "--html", str(self.folder / "art.html"))
        dots = {}
        for switches in ("clean", "", "lines", "clean lines"):
            png = self.folder / "art-proof.png"
            self.proof(str(path), *given, *(f"--{one}" for one in switches.split()), "-O", str(png))
            page = pictures.read_png(png.read_bytes()).page()
            (self.folder / f"art {switches}.dots").write_bytes(b"".join(page))
            dots[switches] = str(self.folder / f"art {switches}.dots")
        return {"html": str(self.folder / "art.html"), "width": 8 * len(page[0]),
                "rows": len(page), "dots": dots}

    def shrunk(self) -> dict:
        """Noise whose picture is too large for the file, which holds it at half its size.

        Its levels are multiples of four, so the mean of four pixels is a whole number.
        """
        width, height = 2000, 1602
        source, fours = random.Random(4), bytes(level & 252 for level in range(256))
        rows = [source.randbytes(width).translate(fours) for _ in range(height)]
        path = self.folder / "noise.ras"
        path.write_bytes(cups_raster.stream([cups_raster.grey(rows)]))
        self.proof(str(path), "--html", str(self.folder / "noise.html"))
        (self.folder / "noise.ink").write_bytes(b"".join(rows))
        return {"html": str(self.folder / "noise.html"), "width": width, "rows": height,
                "ink": str(self.folder / "noise.ink")}

    def blank(self) -> dict:
        """A page without ink, which inverting leaves as it is."""
        path = self.folder / "blank.ras"
        path.write_bytes(cups_raster.stream([cups_raster.grey([bytes(300)] * 200)]))
        self.proof(str(path), "-o", "InvertPage=True", "--html", str(self.folder / "blank.html"))
        return {"html": str(self.folder / "blank.html"), "width": 304, "rows": 200,
                "asked": self.dots(path, "InvertPage=True")}


def main() -> None:
    drav, folder = sys.argv[1], pathlib.Path(sys.argv[2]).absolute()
    programs = find_programs()
    folder.mkdir(parents=True, exist_ok=True)
    install_driver(programs["npm"], folder)
    with (harness.no_process_left(),
          tempfile.TemporaryDirectory(prefix="drav-browser-") as scratch):
        maker = Maker(drav, pathlib.Path(scratch))
        # The large one holds the combinations next to the job's, the small one all.
        config = {"chromium": programs["chromium"], "folder": str(folder),
                  "large": maker.page("large", 2479, 1500, 4),
                  "small": maker.page("a <!--<script> & 'c'", 300, 260, 2),
                  "trimmed": maker.trimmed(), "prepared": maker.prepared(),
                  "shrunk": maker.shrunk(), "blank": maker.blank()}
        path = pathlib.Path(scratch) / "config.json"
        path.write_text(json.dumps(config))
        done = subprocess.run([programs["node"], HERE / "proof_page.mjs", path], timeout=550,
                              check=False)
    sys.exit(done.returncode)


if __name__ == "__main__":
    main()
