#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Measures how well photos of drawings are cleaned and how well shapes are outlined, beside
peers, and prints Markdown.

usage: measure.py BUILD_FOLDER

Truth is the clean original through halftone None; shaded areas are left out of the figures
of binarization and scored by their coverage through halftone Tattoo.
"""
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

import numpy as np
from PIL import Image
from scipy import ndimage

import drawings
import figures
import peers
import photos
import shapes

PHOTOS = 4  # of each drawing
NAMES = ("F", "pF", "PSNR", "DRD")
BARE_MM = 0.5  # from any ink
RUNS = 7
# Runs a program from a small process: a new one counts the memory of the one it came from.
WATCH = """
import os, sys
child = os.posix_spawn(sys.argv[1], sys.argv[1:], os.environ)
_, status, used = os.wait4(child, 0)
print(used.ru_utime + used.ru_stime, used.ru_maxrss)
sys.exit(status != 0)
"""


class Tool:
    """The built program that runs one step."""

    def __init__(self, build, work):
        self.program = pathlib.Path(build) / "bin/prepare_picture"
        self.work = work
        self.seconds = self.kib = 0.0  # what the last step took

    def run(self, step, source, target="out.pgm"):
        target = self.work / target
        child = subprocess.run([self.program, step, source, target], check=True,
                               capture_output=True, text=True)
        self.seconds, self.kib = (float(word) for word in child.stdout.split())
        return np.asarray(Image.open(target))

    def save(self, picture, name):
        path = self.work / name
        Image.fromarray(picture).save(path)
        return path

    def ink(self, step, source):
        """Where the halftone prints dots."""
        return self.run(step, source) == 0


class Original:
    """What is known of a drawing."""

    def __init__(self, tool, drawing):
        path = tool.save(drawing.grey, "truth.pgm")
        self.drawing = drawing
        self.truth = figures.Truth(tool.ink("None", path), (drawing.regions > 0) & ~drawing.lines)
        self.tattoo = tool.ink("Tattoo", path)
        reach = 2 * round(drawings.dots(BARE_MM)) + 1
        self.bare = ndimage.minimum_filter(drawing.grey, reach) == 255
        near_lines = ndimage.maximum_filter(drawing.lines, 9)
        self.regions = np.where(near_lines, 0, drawing.regions)

    def tattoo_figures(self, dots):
        """Shares of bare paper inked, of dots on it, of core pixels inked; coverage changes."""
        shading = [100 * (dots[area].mean() - self.tattoo[area].mean())
                   for area in (self.regions == i + 1 for i in range(self.regions.max()))]
        return {"bare": dots[self.bare].mean(), "on bare": (dots & self.bare).sum() / dots.sum(),
                "core": dots[self.truth.skeleton].mean(), "shading": shading}


class Scores:
    """All figures of all photos, by method and setting."""

    def __init__(self):
        self.table = {}

    def add(self, name, setting, result):
        self.table.setdefault((name, setting), []).append(result)

    def column(self, key, figure):
        return [result[figure] for result in self.table[key]]

    def median(self, key, figure):
        return statistics.median(self.column(key, figure))

    def shown(self):
        """Ours, then each peer with its defaults and its best setting."""
        names = dict.fromkeys(name for name, _ in self.table)
        for name in names:
            keys = [key for key in self.table if key[0] == name]
            best = max(keys, key=lambda key: self.median(key, "F"))
            yield keys[0]
            if best != keys[0]:
                yield best

    def print(self):
        print("| Method | Setting | F, median | F, worst | photos with F of 0.90 or more | "
              "pseudo F | PSNR, dB | DRD |\n|---|---|--:|--:|--:|--:|--:|--:|")
        for key in self.shown():
            f = self.column(key, "F")
            good = sum(value >= 0.9 for value in f)
            print(f"| {key[0]} | {key[1]} | {statistics.median(f):.3f} | {min(f):.3f} | "
                  f"{good} of {len(f)} | {self.median(key, 'pF'):.3f} | "
                  f"{self.median(key, 'PSNR'):.1f} | {self.median(key, 'DRD'):.2f} |")


def measure_clean(tool):
    scores, tattoo = Scores(), []
    for seed, drawing in enumerate(drawings.make_drawings()):
        original = Original(tool, drawing)
        for _, photo in photos.make_photos(drawing, PHOTOS, seed):
            path = tool.save(photo, "photo.pgm")
            tool.run("clean", path, "clean.pgm")
            clean = tool.work / "clean.pgm"
            scores.add("drav --clean", "", original.truth.figures(tool.ink("None", clean)))
            tattoo.append(original.tattoo_figures(tool.ink("Tattoo", clean)))
            for name, setting, ink in peers.scikit(photo):
                scores.add(name, setting, original.truth.figures(ink))
            for name, setting, ink in peers.image_magick(path, tool.work):
                scores.add(name, setting, original.truth.figures(ink))
        print(f"measure: {drawing.name}", file=sys.stderr, flush=True)
    return scores, tattoo


def print_tattoo(tattoo):
    changes = np.abs(np.concatenate([entry["shading"] for entry in tattoo]))
    print("\n| Cleaned, through halftone Tattoo | median | worst | goal | photos that reach it |\n"
          "|---|--:|--:|--:|--:|")

    def row(text, key, goal, reached, worst):
        values = [100 * entry[key] for entry in tattoo]
        count = sum(reached(value) for value in values)
        print(f"| {text} | {statistics.median(values):.2f} % | {worst(values):.2f} % | {goal} | "
              f"{count} of {len(values)} |")

    row("bare paper that is inked", "bare", "at most 1 %", lambda v: v <= 1, max)
    row("dots that lie on bare paper", "on bare", "at most 1 %", lambda v: v <= 1, max)
    row("core pixels of lines that are inked", "core", "at least 97 %", lambda v: v >= 97, min)
    print(f"| change of a shaded area's coverage, points | {np.median(changes):.1f} | "
          f"{changes.max():.1f} | at most 10 | {(changes <= 10).sum()} of {changes.size} areas |")


def measure_lines(tool):
    results = []
    for number in range(len(shapes.SHAPES)):
        picture, areas = shapes.make_shape(number)
        path = tool.save(shapes.photograph(picture, number), "shape.ppm")
        results.append(shapes.outline_figures(tool.run("lines", path), areas))
    return results


def print_lines(results):
    away = [100 * result["away"] for result in results]
    width = np.array([result["width"] for result in results])
    print("\n| Outlines | |\n|---|--:|")
    print(f"| shapes whose every area is closed | {sum(r['closed'] for r in results)} of "
          f"{len(results)} |")
    print(f"| ink farther than {shapes.FAR_MM} mm from an edge, worst shape | {max(away):.2f} % |")
    print(f"| the same, median | {statistics.median(away):.2f} % |")
    print(f"| width of the lines: 5 %, median, 95 % | {width[:, 0].min():.2f} mm, "
          f"{np.median(width[:, 1]):.2f} mm, {width[:, 2].max():.2f} mm |")


def print_speed(tool):
    """CPU seconds and memory of the step alone, A4 at 300 dpi."""
    drawing = next(drawings.make_drawings())
    rng = np.random.default_rng(0)
    photo = photos.take_photo(drawing.grey, photos.random_damage(rng, 0), rng)
    page = np.tile(photo, (3, 2))[:3508, :2480]
    print("\n| A4, 300 dpi, 8.7 million pixels | CPU, s | memory beyond the picture, MiB |\n"
          "|---|--:|--:|")
    for step, picture in (("clean", page), ("lines", np.stack([page] * 3, axis=-1))):
        path = tool.save(np.ascontiguousarray(picture), "page.pnm" if step == "clean" else "page.ppm")
        seconds, peaks = [], []
        for _ in range(RUNS):
            tool.run(step, path)
            seconds.append(tool.seconds)
            peaks.append(tool.kib / 1024)
        print(f"| {step} | {statistics.median(seconds):.2f} | {statistics.median(peaks):.0f} |")


def print_command(build, work):
    """CPU seconds and memory of drav prepare, the decoder's process with it."""
    drawing = next(drawings.make_drawings())
    rng = np.random.default_rng(1)
    photo = photos.take_photo(drawing.grey, photos.random_damage(rng, 0), rng)
    page = Image.fromarray(np.tile(photo, (3, 3))[:4000, :3000]).convert("RGB")
    tint = np.array((255, 244, 224)) / 255
    page = Image.fromarray((np.asarray(page) * tint).astype(np.uint8))
    page.save(work / "photo.jpg", quality=90)
    print("\n| `drav prepare`, 12-megapixel colour JPEG to an A4 page of 300 dpi | CPU, s | "
          "the larger process, MiB |\n|---|--:|--:|")
    for name, options in (("plain", ()), ("--clean", ("--clean",)), ("--lines", ("--lines",))):
        seconds, peaks = [], []
        for _ in range(RUNS):
            run = subprocess.run([sys.executable, "-c", WATCH, pathlib.Path(build) / "bin/drav",
                                  "prepare", work / "photo.jpg", "--quiet", *options, "-O",
                                  work / "page.pdf"], check=True, capture_output=True, text=True)
            used = [float(word) for word in run.stdout.split()]
            seconds.append(used[0])
            peaks.append(used[1] / 1024)
        print(f"| {name} | {statistics.median(seconds):.2f} | {statistics.median(peaks):.0f} |")


def main():
    figures.self_check()
    peers.self_check()
    with tempfile.TemporaryDirectory() as folder:
        tool = Tool(sys.argv[1], pathlib.Path(folder))
        scores, tattoo = measure_clean(tool)
        print(f"{len(tattoo)} photos of {len(tattoo) // PHOTOS} drawings, A6 at 300 dpi: light that "
              "falls to 0.35 of its most, in half of them a shadow's edge, tinted paper, noise of "
              "4 to 10 levels, blur of 0.3 to 1.5 pixels, JPEG 60 to 90 "
              f"(bench/prepare/photos.py). {time.strftime('%Y-%m-%d')}.\n")
        print("The best setting is the one of the grid with the highest median F of all photos. "
              f"Grid: {peers.GRID}.\n")
        scores.print()
        print_tattoo(tattoo)
        print_lines(measure_lines(tool))
        print_speed(tool)
        print_command(sys.argv[1], pathlib.Path(folder))


if __name__ == "__main__":
    main()
