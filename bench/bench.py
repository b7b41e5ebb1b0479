#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Measures the filter, its kernels and its peers, and prints one Markdown report.

usage: bench.py BUILD_FOLDER

Run by scripts/bench inside a scratch spool. Times are user + system seconds of
whole processes as the kernel accounts them, medians of several runs that
alternate between the filter and the null filter; ratios are medians of pairs.
"""
import json
import os
import pathlib
import platform
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

HALFTONES = (
    "None", "FloydSteinberg", "Ordered", "Burkes", "Stucki", "JarvisJudiceNinke", "Sierra",
    "StevensonArce", "Tattoo", "Tattoo_X8",
)
TATTOO = ("Tattoo", "Tattoo_X8")
PAGES = (("photo", "photo"), ("circles", "shaded"), ("text", "text"), ("blank", "blank"),
         ("noise", "noise"))
WIDTH, HEIGHT = 2480, 3508
RUNS = 7
SPOOL = "/var/spool/cups/tmp"
NOISY_SPREAD = 1.25  # third quartile over first of the null filter's own times


def run(command, environment=None, source=None):
    """CPU seconds and peak resident KiB of one process; its output is discarded."""
    with open(source or os.devnull, "rb") as stdin, open(os.devnull, "wb") as sink:
        child = subprocess.Popen(command, stdin=stdin, stdout=sink, stderr=sink, env=environment)
        _, status, usage = os.wait4(child.pid, 0)
        child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        raise SystemExit(f"bench: {command[0]} failed with status {child.returncode}")
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss


def clear_spool():
    for picture in pathlib.Path(SPOOL).glob("*.bmp"):
        picture.unlink()


def ms(seconds):
    return f"{seconds * 1000:.1f}"


class Bench:
    def __init__(self, build, work):
        self.build, self.work = build, work
        ppd = build / "ppd/dravsa43.ppd"  # the A4-wide stencil printer
        self.environment = {**os.environ, "PPD": str(ppd)}
        self.null_times = []

    def page(self, pattern, height=HEIGHT):
        raster = self.work / f"{pattern}-{height}.ras"
        if not raster.exists():
            run([self.build / "bin/make_page", pattern, str(WIDTH), str(height), raster,
                 raster.with_suffix(".pgm")])
        return raster

    def filter(self, raster, halftone):
        clear_spool()
        return run([self.build / "bin/rastertodrav", "1", "u", "t", "1",
                    f"HalftoneType={halftone}"], self.environment, raster)

    def null(self, raster):
        clear_spool()
        cpu, memory = run([self.build / "bin/null_filter", SPOOL], None, raster)
        self.null_times.append(cpu)
        return cpu, memory

    def whole_filter(self):
        print("## The whole filter against the null filter\n")
        print("CPU ms of one A4 page, and the ratio to the null filter on the same page.\n")
        print("| halftone | " + " | ".join(label for _, label in PAGES) +
              " | worst ratio | target | peak memory, pages + 12 MiB |")
        print("|---|" + "---|" * (len(PAGES) + 3))
        for halftone in HALFTONES:
            cells, worst, peak = [], 0.0, 0
            for pattern, _ in PAGES:
                raster = self.page(pattern)
                cpus, ratios = [], []
                self.filter(raster, halftone)
                for _ in range(RUNS):
                    null, _ = self.null(raster)
                    cpu, memory = self.filter(raster, halftone)
                    cpus.append(cpu)
                    ratios.append(cpu / null)
                    peak = max(peak, memory)
                ratio = statistics.median(ratios)
                worst = max(worst, ratio)
                cells.append(f"{ms(statistics.median(cpus))} ({ratio:.2f})")
            target = 2.0 if halftone in TATTOO else 1.5
            pages = (peak * 1024 - 12 * 2**20) / (WIDTH * HEIGHT)
            print(f"| {halftone} | " + " | ".join(cells) +
                  f" | {worst:.2f} | {target} {'met' if worst <= target else '**not met**'}"
                  f" | {max(pages, 0):.2f} |")
        quartiles = statistics.quantiles(self.null_times, n=4)
        spread = quartiles[2] / quartiles[0]
        print(f"\nNull filter: median {ms(statistics.median(self.null_times))} ms, quartiles "
              f"{ms(quartiles[0])} to {ms(quartiles[2])} ms."
              + (" **The machine was too noisy for these ratios.**" if spread > NOISY_SPREAD
                 else "") + "\n")

    def heights(self):
        print("## Height\n\n| rows | CPU ms | ns a row | peak MiB |\n|---|---|---|---|")
        for height in (3508, 2 * 3508, 4 * 3508, 118110):
            raster = self.page("photo", height)
            results = [self.filter(raster, "Tattoo") for _ in range(3)]
            cpu = statistics.median(cpu for cpu, _ in results)
            memory = max(memory for _, memory in results)
            print(f"| {height} | {ms(cpu)} | {cpu / height * 1e9:.0f} | {memory / 1024:.0f} |")
            if height > HEIGHT:
                raster.unlink()
                raster.with_suffix(".pgm").unlink()
        print(f"\n\"Tattoo\", photo-like, {WIDTH} wide; the last is a roll of 10 m.\n")

    def kernels(self):
        text = subprocess.run(
            [self.build / "bin/kernels_bench", "--benchmark_format=json",
             "--benchmark_min_time=0.3", "--benchmark_repetitions=3",
             "--benchmark_report_aggregates_only=true"],
            check=True, capture_output=True, text=True).stdout
        times = {}
        for entry in json.loads(text)["benchmarks"]:
            if entry["aggregate_name"] == "median":
                times[entry["run_name"]] = entry["cpu_time"]
        variants = sorted({name.split("/")[1] for name in times if "/" in name} - {"best"},
                          key=lambda name: -times.get(f"tattoo/{name}", 0))
        stages = list(dict.fromkeys(name.split("/")[0] for name in times if "/" in name))
        print("## Kernels\n\nMilliseconds an A4 page (photo-like), and how many times faster than "
              "the plain code.\n")
        print("| stage | " + " | ".join(variants) + " |\n|---|" + "---|" * len(variants))
        for stage in stages:
            cells = []
            for variant in variants:
                value = times.get(f"{stage}/{variant}")
                plain = times.get(f"{stage}/plain")
                if value is None:
                    cells.append("")
                else:
                    cells.append(f"{value:.2f}" + (f" ({plain / value:.1f} x)"
                                                   if variant != "plain" else ""))
            if any(cells):
                print(f"| {stage} | " + " | ".join(cells) + " |")
        copy = times["memcpy"]
        best = variants[-1]
        print(f"\nmemcpy of the page: {copy:.2f} ms. Over memcpy: " + ", ".join(
            f"{stage} {times.get(f'{stage}/{best}', times.get(f'{stage}/best')) / copy:.2f}"
            for stage in ("threshold", "ordered", "bayer", "brightness", "tone", "pack",
                          "negative", "mirror", "rotate")) + ".\n")
        return {stage: times.get(f"{stage}/{best}") for stage in stages}

    def peers(self, kernels):
        pgm = self.page("photo").with_suffix(".pgm")
        print("## Peers\n\nMilliseconds for the same page, reading excluded for Pillow, whole "
              "processes for the others.\n\n| program | method | ms |\n|---|---|---|")
        for stage in ("burkes", "stucki", "jarvis", "sierra", "stevenson"):
            print(f"| drav | {stage} | {kernels[stage]:.2f} |")
        pillow = ("import sys, time\nfrom PIL import Image\nimage = Image.open(sys.argv[1])\n"
                  "image.load()\nbest = 9\nfor _ in range(5):\n    start = time.process_time()\n"
                  "    image.convert('1')\n    best = min(best, time.process_time() - start)\n"
                  "print(best)")
        try:
            best = float(subprocess.run(["/usr/bin/python3", "-c", pillow, pgm], check=True,
                                        capture_output=True, text=True).stdout)
            print(f"| Pillow convert(\"1\") | Floyd-Steinberg, 4 taps | {best * 1000:.2f} |")
        except subprocess.CalledProcessError:
            print("| Pillow | not installed | |")
        for name, command in (
                ("netpbm pamditherbw", ["pamditherbw", "-fs", str(pgm)]),
                ("netpbm pgmtopbm", ["pgmtopbm", "-fs", str(pgm)]),
                ("ImageMagick", ["/usr/bin/convert", str(pgm), "-dither", "FloydSteinberg",
                                 "-monochrome", "pbm:-"])):
            if shutil.which(command[0]) is None:
                print(f"| {name} | not installed | |")
                continue
            try:
                cpu = min(run(command)[0] for _ in range(2))
                print(f"| {name} | Floyd-Steinberg | {ms(cpu)} |")
            except SystemExit:
                print(f"| {name} | failed | |")
        print()


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    with tempfile.TemporaryDirectory() as work:
        bench = Bench(build, pathlib.Path(work))
        cpu = next((line.split(":")[1].strip() for line in open("/proc/cpuinfo", encoding="utf-8")
                    if line.startswith(("model name", "Model"))), platform.machine())
        print(f"Measured {time.strftime('%Y-%m-%d')} on {cpu}, {os.cpu_count()} cores, release "
              f"build, one core used; {WIDTH} x {HEIGHT} dots.\n")
        os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})
        bench.whole_filter()
        bench.heights()
        bench.peers(bench.kernels())


if __name__ == "__main__":
    main()
