#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The manual pages are sound, and tell of every command and option there is."""
import argparse
import os
import re
import shutil
import subprocess
import sys
import unittest

import harness
import staged

ARGUMENTS = argparse.Namespace()
PAGES = sorted((staged.SOURCE / "man").iterdir())


def rendered(name: str) -> str:
    """A page as plain text in lines so long that nothing is broken."""
    text = subprocess.run(["mandoc", "-T", "ascii", "-O", "width=500", staged.SOURCE / "man" / name],
                          check=True, capture_output=True, text=True).stdout
    return re.sub(".\b", "", text)  # printed twice for bold, over _ for underlined


def help_of(*command: str) -> str:
    return subprocess.run([ARGUMENTS.drav, *command, "--help"], check=True, capture_output=True,
                          text=True, env={**os.environ, "COLUMNS": "200"}).stdout


def drav_commands() -> list[str]:
    _, _, listed = help_of().partition("Subcommands:\n")
    return re.findall(r"^  ([a-z][a-z-]*) ", listed.split("\n\n")[0], re.M)


class ManualTest(unittest.TestCase):
    def test_pages_have_no_fault(self):
        for page in PAGES:
            result = subprocess.run(["mandoc", "-T", "lint", "-W", "warning", page], check=False,
                                    capture_output=True, text=True)
            self.assertEqual((result.returncode, result.stdout), (0, ""), page)

    def test_drav_page_has_every_command_with_its_options(self):
        page = rendered("drav.1")
        commands = drav_commands()
        self.assertIn("render", commands)
        # From a command's entry to the next one.
        entries = {command: re.search(rf"(?ms)^     {command}\b.*?(?=^     [a-z]|^[A-Z])", page)
                   for command in commands}
        for command, entry in entries.items():
            self.assertIsNotNone(entry, f"drav {command} is not in drav(1)")
            text = entry[0]
            if re.search(r"Takes\s+the\s+options\s+of\s+proof\s+but", text):
                text += entries["proof"][0]
            options = set(re.findall(r"^ +(?:-\w,)?(--?[\w-]+)", help_of(command), re.M))
            missing = [option for option in options - {"--help"}
                       if not re.search(rf"(?<![\w-]){option}(?![\w-])", text)]
            self.assertEqual(missing, [], f"options of drav {command} that drav(1) does not tell of")

    def test_printer_application_page_has_every_command(self):
        page = rendered("drav-printer-app.1")
        for command in ("server", "add", "autoadd", "modify", "delete", "default", "devices",
                        "drivers", "printers", "options", "submit", "jobs", "cancel", "pause",
                        "resume", "status", "shutdown"):
            self.assertRegex(page, rf"\b{command}\b")
        source = (staged.SOURCE / "app/server.cc").read_text(encoding="utf-8")
        options = set(re.findall(r'(?:options|chosen)\.(?:text|isOn)\("([a-z-]+)"', source))
        self.assertGreaterEqual(len(options), 10)
        self.assertEqual([one for one in sorted(options - {"private-server"})  # PAPPL's own
                          if not re.search(rf"\b{one}=", page)], [])

    def test_filter_page_has_every_key_that_the_filter_reads(self):
        page = rendered("rastertodrav.8")
        source = (staged.SOURCE / "filter/settings.cc").read_text(encoding="utf-8")
        keys = set(re.findall(r'(?:choiceOf\(|isMarked\(|dravPpdGet\w+\(ppd(?:\.get\(\))?, |\{)'
                              r'"(\w+)"', source))
        self.assertGreaterEqual(len(keys), 20)
        missing = [key for key in sorted(keys - {"PageSize"})  # every driver has that
                   if not re.search(rf"\b{key}\b", page)]
        self.assertEqual(missing, [])


def main() -> None:
    parser = argparse.ArgumentParser()
    parser.add_argument("--drav", required=True)
    parser.parse_args(namespace=ARGUMENTS)
    if not shutil.which("mandoc"):
        print("SKIPPED: mandoc is not installed")
        sys.exit(harness.SKIPPED)
    harness.run_tests()


if __name__ == "__main__":
    main()
