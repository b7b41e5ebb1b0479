# SPDX-License-Identifier: Apache-2.0
"""Compiles a changed file, links a test program with it and runs that.

A finished build of the unchanged tree stays as it is: only the objects that see the
changed file are compiled, beside it, and are named on the link line before the
library they would come from. So several faults can be tried at a time.
"""
from __future__ import annotations

import functools
import hashlib
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import time
from typing import NamedTuple

MEMORY_BYTES = 6 << 30
COMPILER_SECONDS = 120  # of processor time
SANITIZERS = ("-fsanitize=address,undefined,float-cast-overflow", "-fno-sanitize-recover=all")
PRODUCT = ("common/", "image/", "tattoo/", "printer/", "filter/")
TOO_LONG = -1000


class Outcome(NamedTuple):
    """How a command ended."""
    status: int  # TOO_LONG when it was stopped for its time
    output: str
    seconds: float  # by the clock


def run(command: list[str], folder: pathlib.Path, cpu_seconds: float,
        **environment: str) -> Outcome:
    """Runs a command. Its time is processor time, so that a busy machine is no finding;
    what waits for ever instead is stopped by the clock."""
    memory = "unlimited" if "ASAN_OPTIONS" in environment else str(MEMORY_BYTES)
    cpu = int(cpu_seconds) + 1  # a hard limit that is no higher would kill like a crash
    limited = ["prlimit", f"--as={memory}", f"--cpu={cpu}:{cpu + 5}", "--core=0", *command]
    start = time.monotonic()
    with subprocess.Popen(limited, cwd=folder, stdin=subprocess.DEVNULL, text=True,
                          errors="replace", stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          start_new_session=True, env=dict(os.environ, **environment)) as process:
        try:
            output = process.communicate(timeout=60 + 20 * cpu_seconds)[0]
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, 9)
            return Outcome(TOO_LONG, process.communicate()[0], time.monotonic() - start)
    status = TOO_LONG if process.returncode in (-24, 128 + 24) else process.returncode
    return Outcome(status, output, time.monotonic() - start)


class FinishedBuild:
    """The build of the unchanged tree. `strict` compiles what changed with the warnings
    as errors and with the sanitizers, as other builds of the gate do."""

    def __init__(self, tree: pathlib.Path, folder: pathlib.Path, strict: bool) -> None:
        self.tree, self.folder, self.strict = tree, folder, strict
        entries = json.loads((folder / "compile_commands.json").read_text(encoding="utf-8"))
        self._compile: dict[str, list[str]] = {}
        self._source: dict[str, pathlib.Path] = {}
        for entry in entries:
            words = shlex.split(entry["command"])
            name = words[words.index("-o") + 1]
            self._compile[name], self._source[name] = words, pathlib.Path(entry["file"])
        self._reads: dict[str, set[str]] = {}
        name = ""
        for line in self._ninja("-t", "deps").splitlines():
            if line.startswith(" "):
                self._reads[name].add(os.path.normpath(folder / line.strip()))
            elif ": #deps" in line:
                name = line.split(":")[0]
                self._reads[name] = set()

    def _ninja(self, *arguments: str) -> str:
        return subprocess.run(["ninja", "-C", str(self.folder), *arguments], check=True,
                              capture_output=True, text=True).stdout

    @functools.lru_cache(maxsize=None)
    def link_command(self, program: str) -> tuple[str, ...]:
        """The words that link a program."""
        text = self._ninja("-t", "commands", "-s", f"bin/{program}")
        for part in text.strip().splitlines()[-1].split(" && "):
            if f"-o bin/{program} " in part:
                return tuple(shlex.split(part))
        sys.exit(f"mutate: no link command for {program}")

    @functools.lru_cache(maxsize=None)
    def readers(self, path: str, programs: tuple[str, ...]) -> tuple[str, ...]:
        """Objects of the programs that see a file, the quickest to compile first."""
        full = str(self.tree / path)
        linked = {word for program in programs for word in self.link_command(program)}
        found = [name for name, reads in self._reads.items()
                 if full in reads and (name.startswith(PRODUCT) or name in linked)]
        return tuple(sorted(found, key=lambda name: self._source[name].stat().st_size))

    def compile_command(self, name: str, changed: str, beside: pathlib.Path,
                        target: pathlib.Path) -> list[str]:
        """Compiles an object with the changed file that lies in `beside`."""
        words = [word for word in self._compile[name] if pathlib.Path(word).name != "ccache"]
        source = str(self._source[name])
        words[words.index("-o") + 1] = str(target)
        # A fault that leaves an array must not survive by luck.
        words[1:1] = [f"-I{beside}", "-D_GLIBCXX_ASSERTIONS"]
        words[-2:-2] = ["-Werror", *SANITIZERS] if self.strict else ["-w"]
        if source != str(self.tree / changed):
            return words
        words = [str(beside / changed) if word == source else word for word in words]
        return [words[0], *self._precompiled(words, beside / f"{target.stem}.h"), *words[1:]]

    @staticmethod
    def _precompiled(words: list[str], header: pathlib.Path) -> list[str]:
        """Options that read the headers of a source from memory; most of the time to
        compile a small file goes into them."""
        compiled = header.with_suffix(".h.gch")
        if not compiled.exists():
            text = pathlib.Path(words[-1]).read_text(encoding="utf-8")
            if re.search(r"^#(if|define|undef)|hwy/", text, re.M):
                return []
            lines = re.findall(r"^#include .*$", text, re.M)
            header.write_text("\n".join(lines) + "\n", encoding="utf-8")
            command = words[:-2]  # without -c and the source
            command[command.index("-o") + 1] = str(compiled)
            if run([*command, "-x", "c++-header", str(header)], header.parent,
                   COMPILER_SECONDS).status != 0:
                return []
        return ["-include", str(header)]


def compiler_verdict(output: str) -> str:
    """Whether a check in the sources stopped the compiler or the fault is no C++."""
    if "error:" not in output:
        sys.exit(f"mutate: the compiler failed:\n{output}")
    if "[-Werror" in output:
        return "stopped by a warning"
    checks = r"static assertion failed|static_assert|constant expression|constexpr|narrowing"
    return "stopped by a compile-time check" if re.search(checks, output) else "does not compile"


class Bench:
    """A place to try one fault at a time in."""

    def __init__(self, build: FinishedBuild, folder: pathlib.Path) -> None:
        self._build, self._folder = build, folder
        self._temporary = pathlib.Path("/dev/shm" if os.path.isdir("/dev/shm") else "/tmp") / \
            f"mutate-{os.getpid()}-{folder.name}"
        self._plain: dict[str, dict[str, str]] = {}
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)

    def compile(self, path: str, text: str,
                programs: tuple[str, ...]) -> tuple[str, dict[str, str]]:
        """Objects of a changed file by their names in the build, each with its digest;
        the first text is the compiler's verdict and empty when it is content."""
        changed = self._folder / path
        changed.parent.mkdir(parents=True, exist_ok=True)
        changed.write_text(text, encoding="utf-8")
        digests = {}
        for name in self._build.readers(path, programs):
            target = self._object(name)
            command = self._build.compile_command(name, path, self._folder, target)
            done = run(command, self._build.folder, COMPILER_SECONDS)
            if done.status == TOO_LONG:
                return "the compiler took too long", {}
            if done.status != 0:
                return compiler_verdict(done.output), {}
            digests[name] = hashlib.sha256(target.read_bytes()).hexdigest()
        return "", digests

    def plain(self, path: str, text: str, programs: tuple[str, ...]) -> dict[str, str]:
        """Digests of the objects without a fault."""
        if path not in self._plain:
            verdict, self._plain[path] = self.compile(path, text, programs)
            if verdict or not self._plain[path]:
                sys.exit(f"mutate: {path} without a fault: {verdict or 'no object sees it'}")
        return self._plain[path]

    def link(self, program: str, names: list[str]) -> bool:
        """Links a program with the changed objects; those of another program's tests
        are not for it."""
        words = list(self._build.link_command(program))
        words[words.index("-o") + 1] = str(self._folder / program)
        words += SANITIZERS if self._build.strict else ()
        words.append("-fuse-ld=gold")  # several times as quick
        at = next(i for i, word in enumerate(words) if word.endswith(".o"))
        for name in names:
            if name in words:
                words[words.index(name)] = str(self._object(name))
            elif name.startswith(PRODUCT):
                words.insert(at, str(self._object(name)))
        return run(words, self._build.folder, COMPILER_SECONDS).status == 0

    def test(self, program: str, tests: str, cpu_seconds: float) -> Outcome:
        """Runs a linked program up to its first failure."""
        shutil.rmtree(self._temporary, ignore_errors=True)
        self._temporary.mkdir(parents=True)
        options = {"ASAN_OPTIONS": "detect_leaks=0:allocator_may_return_null=1"} \
            if self._build.strict else {}
        try:
            return run([str(self._folder / program), "--gtest_fail_fast", "--gtest_brief=1",
                        f"--gtest_filter={tests}"], self._build.folder, cpu_seconds,
                       TMPDIR=str(self._temporary), **options)
        finally:
            shutil.rmtree(self._temporary, ignore_errors=True)

    def _object(self, name: str) -> pathlib.Path:
        return self._folder / name.replace("/", "_")
