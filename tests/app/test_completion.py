#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Completions of drav-printer-app in real shells, against what the program knows."""
import os
import pathlib
import re
import shutil
import subprocess
import unittest

from app_case import APP, AppCase

SCRIPTS = pathlib.Path(os.environ["DRAV_COMPLETIONS"])
COMMANDS = {"add", "autoadd", "cancel", "default", "delete", "devices", "drivers", "jobs", "modify",
            "options", "pause", "printers", "resume", "server", "shutdown", "status", "submit"}
MODELS = {"dravr582", "dravr802", "dravr803", "dravsa43"}
SETTINGS = ("server-port", "listen-hostname", "share", "tls", "pdf", "web", "file-devices",
            "spool-directory", "state-file", "log-file", "log-level")


class CompletionTest(AppCase):
    def setUp(self) -> None:
        self.environment = self.server.environment | {
            "PATH": f"{pathlib.Path(APP).parent}:{os.environ['PATH']}"}

    def run_shell(self, *command: str) -> str:
        result = subprocess.run(command, env=self.environment, capture_output=True, text=True,
                                timeout=60, check=False, cwd=self.folder)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return result.stdout

    def check(self, complete) -> None:
        if "mine" not in self.server.run("printers"):
            self.server.add("mine", self.sink().uri)
        help_text = self.server.run("--help")
        for command in COMMANDS:
            self.assertRegex(help_text, rf"\b{command}\b")
        self.assertLessEqual(COMMANDS, complete("drav-printer-app", ""))
        self.assertEqual(complete("drav-printer-app", "pau"), {"pause"})
        self.assertEqual(complete("drav-printer-app", "add", "-m", ""), MODELS)
        self.assertEqual(complete("drav-printer-app", "add", "-o", ""), {"queues=usual"})
        offered = complete("drav-printer-app", "server", "-o", "")
        for setting in SETTINGS:
            self.assertIn(setting, help_text)
            self.assertTrue(any(one.startswith(setting + "=") for one in offered), setting)
        self.assertEqual(complete("drav-printer-app", "pause", "-d", ""), {"mine"})

    def test_bash(self) -> None:
        def complete(*words: str) -> set[str]:
            listed = " ".join(f"'{word}'" for word in words)
            out = self.run_shell(
                "bash", "--norc", "-c",
                f'set -u; source "$1"; COMP_WORDS=({listed}); COMP_CWORD={len(words) - 1}; '
                '_drav_printer_app; printf "%s\\n" "${COMPREPLY[@]-}"', "x",
                str(SCRIPTS / "drav-printer-app"))
            return set(out.split())
        self.check(complete)
        if shutil.which("shellcheck"):
            self.run_shell("shellcheck", str(SCRIPTS / "drav-printer-app"))

    @unittest.skipUnless(shutil.which("fish"), "no fish")
    def test_fish(self) -> None:
        def complete(*words: str) -> set[str]:
            out = self.run_shell("fish", "--no-config", "-c",
                                 f"source {SCRIPTS}/drav-printer-app.fish; complete -C "
                                 f"'{' '.join(words)}'")
            return {line.split("\t")[0] for line in out.splitlines()}
        self.check(complete)

    @unittest.skipUnless(shutil.which("zsh"), "no zsh")
    def test_zsh_can_be_read_and_names_every_command(self) -> None:
        script = SCRIPTS / "_drav-printer-app"
        self.run_shell("zsh", "-n", str(script))
        text = script.read_text()
        self.assertEqual(set(re.findall(r"(?m)^    '([a-z]+):", text)), COMMANDS)
        for setting in SETTINGS:
            self.assertRegex(text, rf" {setting}=")


if __name__ == "__main__":
    unittest.main()
