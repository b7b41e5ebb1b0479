#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Tries single faults against the tests; see scripts/mutate.

A fault whose test programs come out byte for byte as without it is no fault at all
("same code"); one that does not compile does not count. A test program that fails,
crashes or takes several times as long as it should notices the fault.
"""
from __future__ import annotations

import argparse
import fnmatch
import hashlib
import os
import pathlib
import random
import resource
import shutil
import subprocess
import sys
import time
from collections import Counter

from mutation_faults import Fault, faults_of

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build/mutate"
TREE = WORK / "tree"
BUILD = WORK / "build"
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
    "printer/mono_pack.cc", "printer/receipt_ep_printer.cc", "printer/page_stream.cc",
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


def run(command: list[str], seconds: float | None = None) -> int:
    """Exit status of a quiet command; -1000 when it took too long."""
    def limit_memory() -> None:
        resource.setrlimit(resource.RLIMIT_AS, (6 << 30, 6 << 30))
    try:
        return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              timeout=seconds, preexec_fn=limit_memory, check=False,
                              env=dict(os.environ, TMPDIR=str(WORK / "tmp"))).returncode
    except subprocess.TimeoutExpired:
        return -1000


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


def build(program: str) -> bool:
    """Builds a test program, and nothing that it does not need."""
    return run(["ninja", "-C", str(BUILD), "-j1", f"bin/{program}"]) == 0


def digest(program: str) -> str:
    """What tells the code of two builds of a program apart."""
    return hashlib.sha256((BUILD / "bin" / program).read_bytes()).hexdigest()


class Baseline:
    """The test programs without a fault: their code and their time."""

    def __init__(self) -> None:
        self._known: dict[str, tuple[str, float]] = {}

    def of(self, program: str) -> tuple[str, float]:
        """Code and seconds; ends everything when the program fails by itself."""
        if program not in self._known:
            start = time.monotonic()
            if not build(program) or run_tests(program, None) != 0:
                sys.exit(f"mutate: {program} fails without any fault")
            self._known[program] = (digest(program), time.monotonic() - start)
        return self._known[program]


def run_tests(program: str, seconds: float | None) -> int:
    """Exit status of a test program that ends with its first failure."""
    shutil.rmtree(WORK / "tmp", ignore_errors=True)
    (WORK / "tmp").mkdir(parents=True)
    return run([str(BUILD / "bin" / program), "--gtest_fail_fast", "--gtest_brief=1"], seconds)


def attempt(fault: Fault, text: str, baseline: Baseline) -> str:
    """The fate of one fault."""
    programs = PROGRAMS[fault.path.split("/")[0]]
    expected = [baseline.of(program) for program in programs]
    target = TREE / fault.path
    target.write_text(text[:fault.start] + fault.new + text[fault.end:], encoding="utf-8")
    try:
        same = True
        for program, (code, seconds) in zip(programs, expected):
            if not build(program):
                return "does not compile"
            if digest(program) == code:
                continue
            same = False
            if run_tests(program, 60 + 6 * seconds) != 0:
                return f"noticed by {program}"
        return "same code" if same else "survived"
    finally:
        target.write_text(text, encoding="utf-8")


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


def print_table(faults: list[tuple[str, str]], results: dict[str, str]) -> None:
    """Fates by file; what does not compile is left out."""
    print("| File | Faults | tried | same code | noticed | survived |")
    print("|---|--:|--:|--:|--:|--:|")
    counts: dict[str, Counter[str]] = {}
    for path, name in faults:
        for key in (path, "all"):
            count = counts.setdefault(key, Counter())
            fate = results.get(name, "")
            count["all"] += fate != "does not compile"
            count["tried"] += fate not in ("", "does not compile")
            count[fate.split(" by ")[0]] += 1
    for path in [name for name in counts if name != "all"] + ["all"]:
        count = counts[path]
        print(f"| {path} | {count['all']} | {count['tried']} | {count['same code']} "
              f"| {count['noticed']} | {count['survived']} |")


def prepare_build() -> None:
    """Configures the copy; code as fast to build as it is to run."""
    copy_tree()
    command = ["cmake", "-S", str(TREE), "-B", str(BUILD), "-G", "Ninja",
               "-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DNDEBUG",
               "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache",
               "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST"]
    if run(command) != 0:
        sys.exit("mutate: the copy of the tree cannot be configured")


def main() -> None:
    """Command line."""
    parser = argparse.ArgumentParser(description="Single faults against the tests.")
    parser.add_argument("--files", nargs="+", metavar="FILE", default=FILES)
    parser.add_argument("--limit", type=int, default=None, help="try so many, drawn at random")
    parser.add_argument("--table", action="store_true", help="only print the results so far")
    options = parser.parse_args()

    paths = sorted(str(path.relative_to(ROOT)) for folder in PROGRAMS
                   for path in (ROOT / folder).iterdir()
                   if any(fnmatch.fnmatch(f"{folder}/{path.name}", name)
                          for name in options.files))
    texts = {path: (ROOT / path).read_text(encoding="utf-8") for path in paths}
    faults = [fault for path in paths for fault in faults_of(path, texts[path])]
    named = [(fault, describe(fault, texts[fault.path])) for fault in faults]
    results = read_results()
    if not options.table:
        prepare_build()
        todo = [entry for entry in named if entry[1] not in results]
        random.Random(SEED).shuffle(todo)
        baseline = Baseline()
        for fault, name in todo[:options.limit]:
            results[name] = attempt(fault, texts[fault.path], baseline)
            with RESULTS.open("a", encoding="utf-8") as out:
                out.write(f"{name}\t{results[name]}\n")
            print(f"{results[name]}: {name.replace(chr(9), ' | ')}", flush=True)
    survivors = [name for _, name in named if results.get(name) == "survived"]
    if WORK.exists():
        SURVIVORS.write_text("".join(name + "\n" for name in survivors), encoding="utf-8")
    print_table([(fault.path, name) for fault, name in named], results)
    sys.exit(1 if survivors else 0)


if __name__ == "__main__":
    main()
