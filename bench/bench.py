#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Measures the filter, its kernels and its peers, and prints one Markdown report.

usage: bench.py BUILD_FOLDER

Run by scripts/bench inside a scratch spool. Times are user + system seconds of
whole processes as the kernel accounts them. The null filter's have two modes, by its page
faults, so lower quartiles are compared and runs alternate.
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
THRESHOLDS = ("None", "FloydSteinberg", "StevensonArce")  # what runs there compares, no errors
PAGES = (("drawing", "drawing"), ("text", "text"), ("circles", "shaded"), ("photo", "photo"),
         ("noise", "noise"), ("blank", "blank"))
DENSE = ("photo", "noise")
OPTIONS = ("StencilMirror=True", "HalfTurn=True", "InvertPage=True", "Contrast=20",
           "PaperFrame=1", "TrimPaper=End", "TrimPaper=Both")
OPTIONS_WITH = ("None", "Burkes", "Tattoo")
OPTIONS_ON = (("drawing", "drawing"), ("photo", "photo"))
MOST_FOR_AN_OPTION = 0.15
WIDTH, HEIGHT = 2480, 3508
FRAMED = (2400, 3508)
RUNS = 21
SPOOL = "/var/spool/cups/tmp"


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


def lower(times):
    return statistics.quantiles(times, n=4)[0]


def target_with_pictures(halftone, pattern):
    if pattern == "blank":
        return 1.5 if halftone in TATTOO else 1.3
    if halftone in TATTOO:
        return 2.3 if pattern in DENSE else 1.9
    if halftone == "Sierra":  # runs the method of Stevenson and Arce
        return 1.5 if pattern in DENSE else 1.45
    return 1.4 if pattern in DENSE else 1.35


def target_without_pictures(halftone, _pattern):
    if halftone in TATTOO:
        return None
    return 0.75 if halftone in THRESHOLDS else 1.0


def ms(seconds):
    return f"{seconds * 1000:.1f}"


class Bench:
    def __init__(self, build, work):
        self.build, self.work = build, work
        ppd = build / "ppd/dravsa43.ppd"  # the A4-wide stencil printer
        self.environment = {**os.environ, "PPD": str(ppd)}
        self.null_times = []

    def page(self, pattern, width=WIDTH, height=HEIGHT, name=""):
        raster = self.work / f"{pattern}-{width}-{height}{name}.ras"
        if not raster.exists():
            run([self.build / "bin/make_page", pattern, str(width), str(height), raster,
                 raster.with_suffix(".pgm"), *([name] if name else [])])
        return raster

    def filter(self, raster, options):
        clear_spool()
        return run([self.build / "bin/rastertodrav", "1", "u", "t", "1", " ".join(options)],
                   self.environment, raster)

    def null(self, raster):
        clear_spool()
        return run([self.build / "bin/null_filter", SPOOL], None, raster)

    def measured(self, *variants):
        """Lower quartiles in turn with the null filter: its CPU seconds, and of each variant
        (raster, options) its CPU seconds and, of all its runs, the highest peak in KiB."""
        times = [[] for _ in variants]
        nulls, peaks = [], [0] * len(variants)
        for raster, options in variants:
            self.filter(raster, options)
        for _ in range(RUNS):
            nulls.append(self.null(variants[0][0])[0])
            for place, (raster, options) in enumerate(variants):
                cpu, memory = self.filter(raster, options)
                times[place].append(cpu)
                peaks[place] = max(peaks[place], memory)
        self.null_times += nulls
        return lower(nulls), [(lower(cpus), peak) for cpus, peak in zip(times, peaks)]

    def table(self, title, targets_of, *options):
        """Ratios are to the null filter's runs on all pages: it does not look at their pixels."""
        rows, peaks, start = {}, {}, len(self.null_times)
        for halftone in HALFTONES:
            chosen = (f"HalftoneType={halftone}", *options)
            measured = [self.measured((self.page(pattern), chosen))[1][0] for pattern, _ in PAGES]
            rows[halftone] = [cpu for cpu, _ in measured]
            peaks[halftone] = max(peak for _, peak in measured)
        null = lower(self.null_times[start:])
        print(f"| {title} | " + " | ".join(label for _, label in PAGES) + " | peak memory |")
        print("|---|" + "---|" * (len(PAGES) + 1))
        for halftone, cpus in rows.items():
            cells = []
            for (pattern, _), cpu in zip(PAGES, cpus):
                target = targets_of(halftone, pattern)
                met = "" if target is None or cpu / null <= target else f", **over {target}**"
                cells.append(f"{ms(cpu)} ({cpu / null:.2f}{met})")
            extra = (peaks[halftone] * 1024 - WIDTH * HEIGHT) / 2**20
            print(f"| {halftone} | " + " | ".join(cells) + f" | page + {extra:.1f} MiB |")
        first, middle, third = statistics.quantiles(self.null_times[start:], n=4)
        print(f"\nNull filter, {len(self.null_times) - start} runs: quartiles {ms(first)}, "
              f"{ms(middle)} and {ms(third)} ms.\n")

    def whole_filter(self):
        print(f"""## The whole filter against the null filter

Lower quartiles of the CPU ms of {RUNS} runs for one A4 page, in turn with the null filter's, and
the ratio to the null filter's lower quartile.
""")
        self.table("halftone", target_with_pictures)
        print("Without the diagnostic pictures, `KeepPictures=False`; the null filter writes them "
              "still:\n")
        self.table("halftone", target_without_pictures, "KeepPictures=False")

    def options(self):
        print(f"""## What an option costs

Lower quartile of {RUNS} runs with the option, less that of as many without it, as a share of the
null filter's; pictures are written. At most {MOST_FOR_AN_OPTION} is meant. The frame is drawn on
pages of {FRAMED[0]} x {FRAMED[1]} dots.
""")
        print("| option | " + " | ".join(f"{halftone}, {label}" for halftone in OPTIONS_WITH
                                         for _, label in OPTIONS_ON) + " |")
        print("|---|" + "---|" * len(OPTIONS_WITH) * len(OPTIONS_ON))
        for option in OPTIONS:
            cells = []
            for halftone in OPTIONS_WITH:
                chosen = f"HalftoneType={halftone}"
                for pattern, _ in OPTIONS_ON:
                    raster = (self.page(pattern, *FRAMED, "A4") if "Frame" in option
                              else self.page(pattern))
                    null, ((without, _), (cpu, _)) = self.measured(
                        (raster, (chosen,)), (raster, (chosen, option)))
                    share = (cpu - without) / null
                    cells.append(f"{share:+.2f}" if share <= MOST_FOR_AN_OPTION
                                 else f"**{share:+.2f}**")
            print(f"| {option} | " + " | ".join(cells) + " |")
        print()

    def heights(self):
        print("## Height\n\n| rows | CPU ms | ns a row | peak MiB |\n|---|---|---|---|")
        for height in (3508, 2 * 3508, 4 * 3508, 118110):
            raster = self.page("photo", height=height)
            results = [self.filter(raster, ("HalftoneType=Tattoo",)) for _ in range(3)]
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
        bench.options()
        bench.heights()
        bench.peers(bench.kernels())


if __name__ == "__main__":
    main()
