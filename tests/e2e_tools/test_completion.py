#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Completes commands of drav in real shells and compares with what its help lists.

    test_completion.py DRAV
"""
import fcntl
import http.server
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
import threading
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


class Scheduler:
    """Stands in for a scheduler that has queues of these names."""

    def __init__(self, *names):
        def text(tag, name, value):
            return (struct.pack(">BH", tag, len(name)) + name + struct.pack(">H", len(value)) +
                    value)

        attributes = (b"\1" + text(0x47, b"attributes-charset", b"utf-8") +
                      text(0x48, b"attributes-natural-language", b"en") +
                      b"".join(b"\4" + text(0x42, b"printer-name", name.encode())
                               for name in names) + b"\3")

        class Answer(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_POST(self):
                request = self.rfile.read(int(self.headers["Content-Length"]))
                body = b"\2\0\0\0" + request[4:8] + attributes
                self.send_response(200)
                self.send_header("Content-Type", "application/ipp")
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Answer)
        self.server.daemon_threads = True
        self.address = f"127.0.0.1:{self.server.server_address[1]}"
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def end(self):
        self.server.shutdown()
        self.server.server_close()


class CompletionCase(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="drav-completion-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.script = self.folder / "_drav"
        (self.folder / "file.bin").touch()
        self.trap = self.folder / "trap"
        (self.folder / "drav").symlink_to(DRAV)
        scheduler = Scheduler("stencil", "receipt", "$(touch${IFS}trap)")
        self.addCleanup(scheduler.end)
        self.environment = {"PATH": f"{self.folder}:/usr/bin:/bin", "HOME": str(self.folder),
                            "LC_ALL": "C.UTF-8", "TERM": "xterm",
                            "CUPS_SERVER": scheduler.address}

    def write_script(self, shell):
        result = run(DRAV, "completion", shell)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.script.write_text(result.stdout, encoding="utf-8")

    def setting(self, name, start):
        """A line that ends inside the value of a job option."""
        return f"drav proof -o {name}={start}"

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
        for line, wanted in (("drav sheet --model dravr", ("dravr582", "dravr802")),
                             ("drav prepare --paper Tattoo", ("Tattoo_A5", "Tattoo_A6")),
                             ("drav proof --paper X48", ("X48MMY100MM", "X48MMY200MM")),
                             ("drav sheet --paper X80MMY", ("X80MMY200MM", "X80MMY300MM")),
                             ("drav proof -o Hal", ("HalftoneType=",)),
                             (self.setting("HalftoneType", "S"), ("Stucki", "Sierra")),
                             (self.setting("Brightness", "-4"), ("-40",))):
            offered = complete(line)
            for word in wanted:
                self.assertIn(word, offered if isinstance(offered, str) else " ".join(offered))
        self.assertIn("file.bin", complete("drav doctor --bundle fi"))
        self.assertIn("file.bin", complete("drav render fi"))
        self.assertFalse(self.trap.exists(), "a queue's name was run")


class BashTest(CompletionCase):
    def setting(self, name, start):
        return f"drav proof -o {name} = {start}"  # the words that bash makes of it

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
        # Custom sizes are typed, so a plain "Custom" is no paper; and render's is a flag.
        self.assertEqual(self.complete("drav sheet --paper C"), sorted(os.listdir(self.folder)))
        self.assertEqual(self.complete("drav render --paper fi"), sorted(os.listdir(self.folder)))
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


class WordsTest(CompletionCase):
    """What the scripts ask the program for."""

    def words(self, kind, **more):
        done = run(DRAV, "completion", "--words", kind, env={**self.environment, **more})
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout.splitlines()

    def test_queues(self):
        self.assertEqual(self.words("queues"), ["$(touch${IFS}trap)", "receipt", "stencil"])

    def test_no_scheduler_is_no_trouble(self):
        start = time.monotonic()
        self.assertEqual(self.words("queues", CUPS_SERVER="127.0.0.1:1"), [])
        self.assertEqual(self.words("queues", CUPS_SERVER=f"{self.folder}/no.sock"), [])
        self.assertLess(time.monotonic() - start, 10)

    def test_options(self):
        names = self.words("options")
        self.assertGreaterEqual(set(names), {"HalftoneType=", "Brightness=", "PageSize="})
        self.assertEqual(len(names), len(set(names)))
        self.assertIn("Stucki", self.words("HalftoneType="))
        self.assertIn("HalftoneType=Stucki", self.words("settings"))
        # A choice that only the receipt printers have, and one that only the other has.
        self.assertGreaterEqual(set(self.words("PageSize=")), {"X48MMY200MM", "A4"})
        self.assertEqual(self.words("nonsense"), [])


class UsageTest(unittest.TestCase):
    def test_unknown_shell(self):
        for arguments in (("csh",), (), ("bash", "zsh")):
            result = run(DRAV, "completion", *arguments)
            self.assertEqual((result.returncode, result.stdout), (2, ""))
            self.assertRegex(result.stderr, r"\Adrav: [^\n]+\n\Z")


if __name__ == "__main__":
    DRAV = os.path.abspath(sys.argv[1])
    harness.run_tests(sys.argv[:1] + sys.argv[2:])
