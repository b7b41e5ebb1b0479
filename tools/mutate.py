#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Tries single faults against the tests; see scripts/mutate.

The fates of a fault: a test failed, a program crashed or ran many times as long as it
should (each told apart, and each by the program that noticed); a compile-time check of
the sources stopped it; it is no C++ ("does not compile", which counts for nothing); the
compiler makes the same code of it ("same code", so it is no fault); it survived.
With --nearest only the tests of the file itself are run, which are quick; what they do
not notice is left for a run without. With --again the survivors are compiled with the
warnings as errors and with the sanitizers, as builds of the gate do, and tried anew.
"""
from __future__ import annotations

import argparse
import fnmatch
import os
import pathlib
import platform
import random
import shutil
import subprocess
import sys
import threading
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from queue import SimpleQueue

from mutation_build import TOO_LONG, Bench, FinishedBuild
from mutation_faults import Fault, faults_of

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build/mutate"
TREE = WORK / "tree"
BUILD = WORK / "build"
BENCHES = WORK / f"benches-{os.getpid()}"
RESULTS = WORK / "results.tsv"
SURVIVORS = WORK / "survivors.txt"
SEED = 20260101

# What makes the dots and the commands.
FILES = (
    "image/halftone_rows.cc", "image/halftone_simd.cc", "image/diffusion_kernels.h",
    "image/threshold_patterns.cc", "image/palette_image_dither.cc",
    "image/palette_image_tone.cc", "image/row_ops.cc", "image/row_ops_simd.cc",
    "tattoo/*.cc", "tattoo/fast_math.h", "tattoo/error_diffusion_taps.h", "tattoo/unsharp.h",
    "tattoo/stencil_rows.h", "tattoo/blur_taps.h", "tattoo/*-inl.h",
    "printer/mono_pack.cc", "printer/receipt_ep_printer.cc", "printer/page_path.cc",
    "filter/commands.cc", "filter/cancel_tail.cc", "filter/settings.cc",
    "filter/page_geometry.cc", "common/ppd_lookup.cc", "common/halftone_names.cc",
)
# Test programs by folder, the quickest that touches it first.
PROGRAMS = {
    "image": ("image_test", "filter_test"),
    "tattoo": ("tattoo_test", "filter_test"),
    "printer": ("printer_test", "filter_test"),
    "filter": ("filter_test",),
    "common": ("common_test", "filter_test"),
}


# Tests that are most likely to notice, tried before all the others.
NEAREST = {
    "image/diffusion_kernels.h": "*Dither*:*HalftoneRows*",
    "image/threshold_patterns.cc": "*Dither*:ThresholdPatterns*",
    "image/palette_image_tone.cc": "Light*:Lut*:Negative*",
    "image/halftone_rows.cc": "*HalftoneRows*:HalftoneVariants*",
    "image/halftone_simd.cc": "*HalftoneRows*:HalftoneVariants*",
    "image/palette_image_dither.cc": "*Dither*", "image/row_ops.cc": "*RowOps*",
    "image/row_ops_simd.cc": "*RowOps*",
    "tattoo/threshold.cc": "MomentThreshold*", "tattoo/gamma.cc": "PiecewiseGamma*",
    "tattoo/error_diffusion.cc": "EdfCus.*", "tattoo/error_diffusion_taps.h": "EdfCus.*",
    "tattoo/grey.cc": "CvtGray*", "tattoo/unsharp.cc": "UnsharpMask*:AddWeighted*",
    "tattoo/gaussian.cc": "Gaussian*:Convolve1D*",
    "tattoo/blur_taps.h": "Gaussian*:Convolve1D*:BlurTaps*:*StencilRows.*",
    "tattoo/sharpened_rows-inl.h": "*StencilRows.*", "tattoo/stencil_rows.cc": "*StencilRows.*",
    "tattoo/stencil_simd.cc": "*StencilRows.*", "tattoo/stencil_wavefront-inl.h": "*StencilRows.*",
    "tattoo/transpose-inl.h": "*StencilRows.*", "tattoo/fast_math.cc": "My*",
    "tattoo/pipeline.cc": "*TattooPipeline*:TattooWorkedPage*:StencilCurve*",
    "printer/page_path.cc": "*PagePipeline*",
    "printer/mono_pack.cc": "*MonoRow*:*GrayToMono*", "printer/receipt_ep_printer.cc": "SendImage*",
    "filter/commands.cc": "Commands*", "filter/settings.cc": "Settings*:OpenPpd*",
    "filter/cancel_tail.cc": "CancelTail*", "filter/page_geometry.cc": "PageGeometry*",
    "common/ppd_lookup.cc": "PpdLookup*", "common/halftone_names.cc": "HalftoneNames*",
}
# Left out: long runs and cuts of whole jobs whose quicker brothers notice the same faults.
OTHERS = "*-*FadeOnBlankPaper*:*OnLargePages*:*OnLargerPages*:FilterCutTest*:" \
         "*FilterPageMemoryTest*:*ManyJobsOfOneProcess*:*IsReportedAfterAPause*:*OneAfterTheOther*"
UNDECIDED = "passed the nearest tests"
JUDGED = ("test", "crash", "time-out", "compile-time check", "warning", "same code", "survived")


def copy_tree() -> None:
    """Brings the copy up to date; only files that differ are touched."""
    names = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT,
                           capture_output=True, text=True, check=True).stdout.splitlines()
    for name in names:
        source, target = ROOT / name, TREE / name
        if not source.is_file():
            continue
        if not target.exists() or source.read_bytes() != target.read_bytes():
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(source, target)
            shutil.copymode(source, target)


class Trial:
    """Faults against test programs, each bench with one at a time."""

    def __init__(self, options: argparse.Namespace) -> None:
        self._build = FinishedBuild(TREE, BUILD, options.again)
        self._nearest = options.nearest
        self._benches: SimpleQueue[Bench] = SimpleQueue()
        for number in range(options.jobs):
            self._benches.put(Bench(self._build, BENCHES / str(number)))
        self._seconds: dict[tuple[str, str], float] = {}
        self._lock = threading.Lock()

    def fate(self, fault: Fault, text: str) -> str:
        """The fate of one fault."""
        bench = self._benches.get()
        try:
            return self._fate(bench, fault, text)
        finally:
            self._benches.put(bench)

    def _fate(self, bench: Bench, fault: Fault, text: str) -> str:
        programs = PROGRAMS[fault.path.split("/", maxsplit=1)[0]]
        plain = bench.plain(fault.path, text, programs)
        faulty = text[:fault.start] + fault.new + text[fault.end:]
        verdict, digests = bench.compile(fault.path, faulty, programs)
        if verdict:
            return verdict
        if digests == plain:
            return "same code"
        for program in programs:
            if not bench.link(program, list(digests)):
                return "does not compile"
            for tests in (NEAREST.get(fault.path, OTHERS), OTHERS):
                done = bench.test(program, tests, 5 + 4 * self._usual(program, tests))
                if done.status == 0 and self._nearest:
                    return UNDECIDED
                if done.status != 0:
                    kind = "time-out" if done.status == TOO_LONG else \
                        "test" if done.status == 1 else "crash"
                    return f"{kind} in {program}"
        return "survived"

    def _usual(self, program: str, tests: str) -> float:
        """Seconds that tests take without a fault; ends everything when they fail."""
        with self._lock:
            if (program, tests) not in self._seconds:
                bench = Bench(self._build, BENCHES / "plain")
                if not bench.link(program, []) or \
                        (done := bench.test(program, tests, 600)).status != 0:
                    sys.exit(f"mutate: {program} fails without any fault")
                self._seconds[program, tests] = done.seconds
            return self._seconds[program, tests]


def describe(fault: Fault, text: str) -> str:
    """Place and change, the same for as long as the line stays as it is."""
    start = text.rfind("\n", 0, fault.start) + 1
    line = text[start:text.find("\n", fault.start)]
    twins = text[:start].splitlines().count(line)  # lines like it before it
    shown = " ".join(text[fault.start:fault.end].split())
    return f"{fault.path}\t{fault.kind}\t{line.strip()}\t{twins}:{fault.start - start}\t{shown}" \
           f"\t{' '.join(fault.new.split())}"


def read_results() -> dict[str, str]:
    """Fate by description, the last one counting."""
    if not RESULTS.exists():
        return {}
    rows = (line.rsplit("\t", 1) for line in RESULTS.read_text(encoding="utf-8").splitlines())
    return {row[0]: row[1] for row in rows}


def table_of(faults: list[tuple[str, str]], results: dict[str, str]) -> str:
    """Fates by file; what does not compile is left out."""
    lines = ["| File | Faults | tried | " + " | ".join(JUDGED) + " | undecided |",
             "|---|" + "--:|" * (len(JUDGED) + 3)]
    counts: dict[str, Counter[str]] = {}
    for path, name in faults:
        for key in (path, "all"):
            fate = results.get(name, "")
            kind = "time-out" if "too long" in fate else \
                fate.removeprefix("stopped by a ").split(" in ")[0]
            count = counts.setdefault(key, Counter())
            count["faults"] += fate != "does not compile"
            count["tried"] += kind in (*JUDGED, UNDECIDED)
            count[kind] += 1
    for path in [name for name in counts if name != "all"] + ["all"]:
        count = counts[path]
        lines.append(f"| {path} | {count['faults']} | {count['tried']} | "
                     + " | ".join(str(count[kind]) for kind in (*JUDGED, UNDECIDED)) + " |")
    return "\n".join(lines)


def prepare_build(jobs: int) -> None:
    """Builds the copy; code as fast to build as it is to run. The vector code is made
    for one instruction set: a fault in it is one in all."""
    copy_tree()
    vectors = " -mavx2 -DHWY_COMPILE_ONLY_STATIC" if platform.machine() == "x86_64" else ""
    command = ["cmake", "-S", str(TREE), "-B", str(BUILD), "-G", "Ninja",
               "-DCMAKE_BUILD_TYPE=Release", f"-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DNDEBUG{vectors}",
               "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache",
               "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST"]
    programs = {f"bin/{name}" for names in PROGRAMS.values() for name in names}
    for step in (command, ["ninja", "-C", str(BUILD), f"-j{jobs}", *sorted(programs)]):
        done = subprocess.run(step, capture_output=True, text=True, check=False)
        if done.returncode != 0:
            sys.exit(f"mutate: the copy of the tree cannot be built\n{done.stdout[-4000:]}")


def options_from_command_line() -> argparse.Namespace:
    """Command line."""
    parser = argparse.ArgumentParser(description="Single faults against the tests.")
    parser.add_argument("--files", nargs="+", metavar="FILE", default=FILES)
    parser.add_argument("--limit", type=int, help="try so many, drawn at random")
    parser.add_argument("--per-file", type=int, help="try up to so many of a file in all")
    parser.add_argument("--jobs", type=int, default=2, help="faults at a time")
    parser.add_argument("--nearest", action="store_true", help="run the quick tests only")
    parser.add_argument("--again", action="store_true", help="try the survivors more strictly")
    parser.add_argument("--table", action="store_true", help="only print the results so far")
    return parser.parse_args()


def drawn(named: list[tuple[Fault, str]], results: dict[str, str],
          options: argparse.Namespace) -> list[tuple[Fault, str]]:
    """What to try, in an order that is random and always the same."""
    if options.again:
        return [entry for entry in named if results.get(entry[1]) in ("survived", UNDECIDED)]
    order = list(named)
    random.Random(SEED).shuffle(order)
    if options.per_file is not None:
        seen: Counter[str] = Counter()
        kept = []
        for fault, name in order:
            seen[fault.path] += 1
            if seen[fault.path] <= options.per_file:
                kept.append((fault, name))
        order = kept
    decided = {name for name, fate in results.items() if options.nearest or fate != UNDECIDED}
    return [entry for entry in order if entry[1] not in decided][:options.limit]


def main() -> None:
    """Tries faults and prints the table."""
    options = options_from_command_line()
    paths = sorted(str(path.relative_to(ROOT)) for folder in PROGRAMS
                   for path in (ROOT / folder).iterdir()
                   if any(fnmatch.fnmatch(f"{folder}/{path.name}", name)
                          for name in options.files))
    texts = {path: (ROOT / path).read_text(encoding="utf-8") for path in paths}
    named = [(fault, describe(fault, texts[path])) for path in paths
             for fault in faults_of(path, texts[path])]
    results = read_results()
    if not options.table:
        prepare_build(options.jobs)
        trial = Trial(options)
        lock = threading.Lock()

        def attempt(entry: tuple[Fault, str]) -> None:
            fault, name = entry
            fate = trial.fate(fault, texts[fault.path])
            with lock, RESULTS.open("a", encoding="utf-8") as out:
                results[name] = fate
                out.write(f"{name}\t{fate}\n")
                print(f"{fate}: {name.replace(chr(9), ' | ')}", flush=True)

        with ThreadPoolExecutor(options.jobs) as pool:
            for _ in pool.map(attempt, drawn(named, results, options)):
                pass
        shutil.rmtree(BENCHES)
    survivors = [name for _, name in named if results.get(name) in ("survived", UNDECIDED)]
    if WORK.exists():
        SURVIVORS.write_text("".join(name + "\n" for name in survivors), encoding="utf-8")
    print(table_of([(fault.path, name) for fault, name in named], results))
    sys.exit(1 if survivors else 0)


if __name__ == "__main__":
    main()
