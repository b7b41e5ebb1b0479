#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Completes commands of drav in real shells and compares with what its help lists.

    test_completion.py DRAV
"""
import fcntl
import os
import pathlib
import pty
import re
import select
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import termios
import time
import unittest

import harness

DRAV = ""


def run(*command, **more):
    return subprocess.run([*map(str, command)], capture_output=True, text=True, timeout=60,
                          check=False, **more)


def long_options(*command):
    """What the help of a command lists."""
    result = run(DRAV, *command, "--help")
    if result.returncode != 0:
        raise RuntimeError(result.stderr)
    return set(re.findall(r"(?m)^ +(?:-\w,)?(--[a-z][a-z-]*)", result.stdout))


def commands():
    listed = run(DRAV, "--help").stdout.split("Subcommands:\n", 1)[1].split("\n\n", 1)[0]
    return re.findall(r"(?m)^  ([a-z][a-z-]*)", listed)


class CompletionCase(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="drav-completion-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.script = self.folder / "_drav"
        (self.folder / "file.bin").touch()
        self.trap = self.folder / "trap"
        lpstat = self.folder / "lpstat"
        lpstat.write_text("#!/bin/sh\nprintf '%s\\n' stencil receipt "
                          f"'$(touch${{IFS}}{self.trap})'\n", encoding="utf-8")
        lpstat.chmod(0o755)
        self.environment = {"PATH": f"{self.folder}:/usr/bin:/bin", "HOME": str(self.folder),
                            "LC_ALL": "C.UTF-8", "TERM": "xterm"}

    def write_script(self, shell):
        result = run(DRAV, "completion", shell)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.script.write_text(result.stdout, encoding="utf-8")

    def check_all(self, complete):
        """`complete` gives what a shell offers for a line."""
        names = commands()
        self.assertGreaterEqual(set(names), {"render", "doctor", "completion"})
        offered = complete("drav ")
        for name in names:
            self.assertIn(name, offered)
        for name in names:
            wanted = long_options(name)
            self.assertIn("--help", wanted)
            offered = complete(f"drav {name} --")
            for option in wanted:
                self.assertIn(option, offered, name)
        self.assertGreater(len(long_options("doctor")), 8)
        for queue in ("stencil", "receipt"):
            self.assertIn(queue, complete("drav doctor "))
        for shell in ("bash", "zsh", "fish"):
            self.assertIn(shell, complete("drav completion "))
        self.assertIn("file.bin", complete("drav doctor --bundle fi"))
        self.assertIn("file.bin", complete("drav render fi"))
        self.assertFalse(self.trap.exists(), "a queue's name was run")


class BashTest(CompletionCase):
    def complete(self, line):
        *words, last = line.split(" ")
        listed = " ".join(f"'{word}'" for word in (*words, last))
        result = run("bash", "--norc", "-c",
                     f'set -u; source "$1"; COMP_WORDS=({listed}); COMP_CWORD={len(words)}; _drav; '
                     'printf "%s\\n" "${COMPREPLY[@]-}"', "x", self.script, env=self.environment,
                     cwd=self.folder)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        offered = [word for word in result.stdout.split("\n") if word]
        return offered or sorted(os.listdir(self.folder))  # complete -o default: files

    def test_everything(self):
        self.write_script("bash")
        self.check_all(self.complete)
        for line in ("drav doctor --bundle", "drav re"):
            self.assertEqual(len(self.complete(line)), 1, line)
        self.assertEqual(self.complete("drav doctor st"), ["stencil"])
        self.assertEqual(self.complete("drav doctor --bundle = "), sorted(os.listdir(self.folder)))
        self.assertIn("\\$\\(touch\\$", " ".join(self.complete("drav doctor ")))

    def test_shellcheck(self):
        if not shutil.which("shellcheck"):
            self.skipTest("no shellcheck")
        self.write_script("bash")
        result = run("shellcheck", self.script)
        self.assertEqual(result.returncode, 0, result.stdout)


@unittest.skipUnless(shutil.which("fish"), "no fish")
class FishTest(CompletionCase):
    def complete(self, line):
        result = run("fish", "--no-config", "-c", 'source $argv[1]; complete -C "$argv[2]"',
                     self.script, line, env=self.environment, cwd=self.folder)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return [text.split("\t")[0] for text in result.stdout.splitlines()]

    def test_everything(self):
        self.write_script("fish")
        self.check_all(self.complete)
        self.assertNotIn("file.bin", self.complete("drav completion "))
        self.assertNotIn("render", self.complete("drav doctor "))


@unittest.skipUnless(shutil.which("zsh"), "no zsh")
class ZshTest(CompletionCase):
    """Types into a real terminal, since zsh completes nowhere else."""

    def setUp(self):
        super().setUp()
        self.write_script("zsh")
        self.child, self.terminal = pty.fork()
        if self.child == 0:
            os.chdir(self.folder)
            os.execvpe("zsh", ["zsh", "-f", "-i"], self.environment)
        self.addCleanup(self.end)
        fcntl.ioctl(self.terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 200, 160, 0, 0))
        self.type("unsetopt prompt_sp; PROMPT='>'; LISTMAX=0; fpath=($PWD $fpath); "
                  "autoload -U compinit; compinit -u -D; "
                  # Else a tab with more input behind it is taken for a pasted one.
                  "zstyle ':completion:*' insert-tab false; echo set''up\n")
        self.wait_for("setup")

    def end(self):
        os.kill(self.child, signal.SIGKILL)
        os.waitpid(self.child, 0)
        os.close(self.terminal)

    def type(self, text):
        os.write(self.terminal, text.encode())

    def wait_for(self, mark, seconds=20.0):
        text, deadline = "", time.monotonic() + seconds
        while mark not in text:
            left = deadline - time.monotonic()
            if left <= 0 or not select.select([self.terminal], [], [], left)[0]:
                self.fail(f"{mark!r} never came: {text!r}")
            text += os.read(self.terminal, 65536).decode(errors="replace")
        return text

    def complete(self, line):
        # The line, a tab, a second for a unique match; then the line is dropped.
        self.type(line + "\t\t")
        self.type("\x15echo do''ne\n")
        shown = self.wait_for("done\r\n")
        # What comes before the prompt is edited by the terminal, not by the shell.
        if ">" not in shown.rpartition("done\r\n")[2]:
            self.wait_for(">")
        return re.sub(r"\x1b\[[0-9;?]*[A-Za-z]", "", shown).replace("\r", "").replace("\n", " ")

    def test_everything(self):
        self.check_all(self.complete)


class UsageTest(unittest.TestCase):
    def test_unknown_shell(self):
        for arguments in (("csh",), (), ("bash", "zsh")):
            result = run(DRAV, "completion", *arguments)
            self.assertEqual((result.returncode, result.stdout), (2, ""))
            self.assertRegex(result.stderr, r"\Adrav: [^\n]+\n\Z")


if __name__ == "__main__":
    DRAV = os.path.abspath(sys.argv[1])
    harness.run_tests(sys.argv[:1] + sys.argv[2:])
