#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The maintainer scripts of the Debian packages in every mode, and the clearing unit.

    test_packaging.py --clean PROGRAM --units FOLDER

The scripts run with programs of the system's that only note how they were called,
and with a scratch folder in the place of /run/systemd/system.
"""
import argparse
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import harness
import staged

ARGUMENTS = argparse.Namespace()
SCRIPTS = staged.SOURCE / "packaging" / "debian"
RUNNING = "/run/systemd/system"
TIMER = "drav-clean.timer"
STUB = """#!/bin/sh
printf '%s %s\\n' "${0##*/}" "$*" >>"$STUB_LOG"
case "$*" in *was-enabled*) exit "$STUB_WAS_ENABLED" ;; esac
exit "$STUB_STATUS"
"""
ENABLE = [f"deb-systemd-helper unmask {TIMER}",
          f"deb-systemd-helper --quiet was-enabled {TIMER}",
          f"deb-systemd-helper enable {TIMER}"]
NOTE = [*ENABLE[:2], f"deb-systemd-helper update-state {TIMER}"]
RELOAD = "systemctl --system daemon-reload"
RESTART = "deb-systemd-invoke try-restart cups.service"
PURGE = [f"deb-systemd-helper purge {TIMER}", f"deb-systemd-helper unmask {TIMER}"]
# How dpkg calls the scripts (Debian Policy 6.5), and what they do then.
FAILED_UPGRADE = ("failed-upgrade", "3.0-1", "3.1-1")
CONFLICT = ("in-favour", "other", "1.0-1")


def started(action: str) -> list[str]:
    return [*ENABLE, RELOAD, f"deb-systemd-invoke {action} {TIMER}"]


MODES: dict[str, dict[tuple[str, ...], list[str]]] = {
    "postinst": {
        ("configure", ""): started("start"),
        ("configure", "3.0-1"): started("restart"),
        ("abort-upgrade", "3.1-1"): started("restart"),
        ("abort-remove",): started("start"),
        ("abort-remove", *CONFLICT): started("restart"),
        ("abort-deconfigure", *CONFLICT, "removing", "third", "2.0-1"): started("restart"),
        ("triggered", "/usr/share/cups/drv"): [],
    },
    "prerm": {
        ("remove",): [f"deb-systemd-invoke stop {TIMER}"],
        ("remove", *CONFLICT): [f"deb-systemd-invoke stop {TIMER}"],
        ("upgrade", "3.1-1"): [],
        FAILED_UPGRADE: [],
        ("deconfigure", *CONFLICT, "removing", "third", "2.0-1"): [],
    },
    "postrm": {
        ("remove",): [RELOAD],
        ("purge",): PURGE,
        ("upgrade", "3.1-1"): [],
        FAILED_UPGRADE: [],
        ("abort-install",): [],
        ("abort-install", "3.0-1"): [],
        ("abort-upgrade", "3.0-1"): [],
        ("disappear", "other", "1.0-1"): [],
    },
    # The scheduler reads its rules when it starts.
    "pictures/postinst": {
        ("configure", ""): [RESTART],
        ("configure", "3.0-1"): [RESTART],
        ("abort-upgrade", "3.1-1"): [RESTART],
        ("abort-remove",): [RESTART],
        ("abort-remove", *CONFLICT): [RESTART],
        ("abort-deconfigure", *CONFLICT, "removing", "third", "2.0-1"): [RESTART],
        ("triggered", "/usr/share/cups/mime"): [],
    },
    "pictures/postrm": {
        ("remove",): [RESTART],
        ("purge",): [],
        ("upgrade", "3.1-1"): [],
        FAILED_UPGRADE: [],
        ("abort-install",): [],
        ("abort-install", "3.0-1"): [],
        ("abort-upgrade", "3.0-1"): [],
        ("disappear", "other", "1.0-1"): [],
    },
}
# Files in the folder of the pictures, and those that a purge takes.
PRINTED_PAGES = ("origin_2026-1-2_3_4_5_0.bmp", "dithered_2026-11-22_13_14_15_10.bmp",
                 "drav-20260102030405.bin")
OTHER_FILES = ("origin_2026-1-2_3_4_5.bmp", "origin_2026-1-2_3_4_5_0.bmp.txt", "drav-notes.bin",
               "drav-2026.bin", "other.bmp")


class MaintainerScriptsTest(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory(prefix="drav-scripts-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.root = self.folder / "root"
        self.running = self.folder / "running"
        self.running.mkdir()
        self.stubs = self.folder / "stubs"
        self.stubs.mkdir()
        # The scripts find nothing but these: the machine's own systemd is left alone.
        self.tools = self.folder / "tools"
        self.tools.mkdir()
        for name in ("rm", "find"):
            (self.tools / name).symlink_to(str(shutil.which(name)))
        for name in ("deb-systemd-helper", "deb-systemd-invoke", "systemctl"):
            (self.stubs / name).write_text(STUB, encoding="utf-8")
            (self.stubs / name).chmod(0o755)
        self.tmp = self.root / "var/spool/cups/tmp"
        self.stamp = self.root / f"var/lib/systemd/timers/stamp-{TIMER}"
        for path in (self.stamp, *(self.tmp / name for name in PRINTED_PAGES + OTHER_FILES)):
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text("x", encoding="utf-8")

    def run_script(self, name: str, *arguments: str, root: bool = False, enabled: bool = True,
                   status: int = 0) -> list[str]:
        """What the script called, `root` as with a package that is put below a folder."""
        text = (SCRIPTS / name).read_text(encoding="utf-8")
        self.assertIn(RUNNING, text)
        # All that it may touch is below the scratch folder, whatever it does.
        text = text.replace(RUNNING, str(self.running))
        script = self.folder / pathlib.Path(name).name
        script.write_text(text, encoding="utf-8")
        log = self.folder / "log"
        log.write_text("", encoding="utf-8")
        environment = {"PATH": f"{self.stubs}:{self.tools}", "STUB_LOG": str(log),
                       "STUB_WAS_ENABLED": "0" if enabled else "1", "STUB_STATUS": str(status)}
        if root or name == "postrm":  # which would clear the machine's own folder
            environment["DPKG_ROOT"] = str(self.root)
        done = subprocess.run(["/bin/sh", script, *arguments], env=environment,
                              capture_output=True, text=True, check=False)
        self.assertEqual((done.returncode, done.stdout), (0, ""), done.stderr)
        return log.read_text(encoding="utf-8").splitlines()

    def files(self) -> set[str]:
        return {path.name for path in self.tmp.iterdir()}

    def test_every_mode(self) -> None:
        for name, modes in MODES.items():
            for arguments, calls in modes.items():
                with self.subTest(f"{name} {' '.join(arguments)}"):
                    self.assertEqual(self.run_script(name, *arguments), calls)

    def test_a_timer_that_was_disabled_stays_off(self) -> None:
        for arguments, calls in MODES["postinst"].items():
            wanted = [*NOTE, *calls[len(ENABLE):]] if calls else []
            self.assertEqual(self.run_script("postinst", *arguments, enabled=False), wanted)

    def test_without_systemd_nothing_is_started_or_stopped(self) -> None:
        self.running.rmdir()
        for name, modes in MODES.items():
            for arguments, calls in modes.items():
                wanted = [call for call in calls if call.startswith("deb-systemd-helper")]
                self.assertEqual(self.run_script(name, *arguments), wanted, arguments)

    def test_below_another_root_nothing_is_started_or_stopped(self) -> None:
        for name in ("postinst", "prerm", "pictures/postinst", "pictures/postrm"):
            for arguments, calls in MODES[name].items():
                wanted = [call for call in calls if call.startswith("deb-systemd-helper")]
                self.assertEqual(self.run_script(name, *arguments, root=True), wanted, arguments)

    def test_nothing_that_systemd_says_fails_the_package(self) -> None:
        for name, modes in MODES.items():
            for arguments in modes:
                self.run_script(name, *arguments, status=1)
        for stub in self.stubs.iterdir():
            stub.unlink()
        for name, modes in MODES.items():
            for arguments in modes:
                self.assertEqual(self.run_script(name, *arguments), [])

    def test_only_a_purge_takes_printed_pages(self) -> None:
        everything = self.files()
        for arguments in MODES["postrm"]:
            if arguments != ("purge",):
                self.run_script("postrm", *arguments)
                self.assertEqual(self.files(), everything, arguments)
                self.assertTrue(self.stamp.exists(), arguments)
        (self.tmp / "sub").mkdir()
        (self.tmp / "sub" / PRINTED_PAGES[0]).write_text("x", encoding="utf-8")
        (self.tmp / "origin_2026-1-2_3_4_5_9.bmp").symlink_to(self.tmp / OTHER_FILES[0])
        self.run_script("postrm", "purge")
        self.assertEqual(self.files(), {*OTHER_FILES, "sub", "origin_2026-1-2_3_4_5_9.bmp"})
        self.assertTrue((self.tmp / "sub" / PRINTED_PAGES[0]).exists())
        self.assertFalse(self.stamp.exists())

    def test_a_purge_follows_no_link(self) -> None:
        elsewhere = self.folder / "elsewhere"
        self.tmp.rename(elsewhere)
        self.tmp.symlink_to(elsewhere)
        self.run_script("postrm", "purge")
        self.assertEqual(self.files(), {*PRINTED_PAGES, *OTHER_FILES})

    def test_every_script_is_in_the_package(self) -> None:
        scripts = {path.relative_to(SCRIPTS).as_posix() for path in SCRIPTS.rglob("*")
                   if path.is_file() and path.read_bytes().startswith(b"#!")}
        self.assertEqual(scripts, set(MODES))
        text = (staged.SOURCE / "cmake" / "packages.cmake").read_text(encoding="utf-8")
        packed = re.findall(r'PACKAGE_CONTROL_EXTRA\s+"([^"]*)"', text)
        self.assertEqual(sorted(path.replace("${debian}/", "") for paths in packed
                                for path in paths.split(";")), sorted(scripts))


# What the documents promise of the clearing job: no capability, no folder writable but
# the pictures', and nothing of the machine that it has no use for.
HARDENING = {
    "CapabilityBoundingSet": [""], "AmbientCapabilities": [""], "NoNewPrivileges": ["yes"],
    "ProtectSystem": ["strict"], "ProtectHome": ["yes"], "PrivateTmp": ["yes"],
    "PrivateDevices": ["yes"], "PrivateNetwork": ["yes"], "IPAddressDeny": ["any"],
    "ProtectProc": ["invisible"], "ProcSubset": ["pid"], "ProtectClock": ["yes"],
    "ProtectControlGroups": ["yes"], "ProtectHostname": ["yes"], "ProtectKernelLogs": ["yes"],
    "ProtectKernelModules": ["yes"], "ProtectKernelTunables": ["yes"],
    "RestrictAddressFamilies": ["none"], "RestrictNamespaces": ["yes"],
    "RestrictRealtime": ["yes"], "RestrictSUIDSGID": ["yes"], "LockPersonality": ["yes"],
    "MemoryDenyWriteExecute": ["yes"], "SystemCallArchitectures": ["native"],
    "SystemCallFilter": ["@system-service", "~@privileged @resources"], "UMask": ["0077"],
}


def read_unit(path: pathlib.Path) -> dict[str, dict[str, list[str]]]:
    """Section -> setting -> its values, in order."""
    sections: dict[str, dict[str, list[str]]] = {}
    section: dict[str, list[str]] = {}
    for line in path.read_text(encoding="utf-8").splitlines():
        if line.startswith("["):
            section = sections.setdefault(line.strip("[]"), {})
        elif line and not line.startswith("#"):
            name, _, value = line.partition("=")
            section.setdefault(name, []).append(value)
    return sections


class ClearingUnitTest(unittest.TestCase):
    def setUp(self) -> None:
        self.service = read_unit(ARGUMENTS.units / "drav-clean.service")
        self.timer = read_unit(ARGUMENTS.units / TIMER)

    def test_may_write_where_the_program_clears_and_nowhere_else(self) -> None:
        told = subprocess.run([ARGUMENTS.clean, "--help"], check=True, capture_output=True,
                              text=True).stdout
        (folder,) = set(re.findall(r"(?<![\w/])/[\w/]+", told))
        self.assertNotIn("--folder", self.service["Service"]["ExecStart"][0])
        self.assertEqual(self.service["Service"]["ReadWritePaths"], [folder])
        self.assertEqual(self.service["Unit"]["ConditionPathIsDirectory"], [folder])

    def test_hardening(self) -> None:
        settings = self.service["Service"]
        self.assertEqual({name: settings.get(name) for name in HARDENING}, HARDENING)
        # Nothing else widens it again.
        self.assertEqual(set(settings) - set(HARDENING),
                         {"Type", "ExecStart", "Nice", "IOSchedulingClass", "ReadWritePaths"})
        self.assertEqual(settings["Type"], ["oneshot"])

    def test_runs_daily_and_only_by_the_timer(self) -> None:
        self.assertEqual(self.timer["Timer"]["OnCalendar"], ["daily"])
        self.assertEqual(self.timer["Timer"]["Persistent"], ["true"])  # also after a night off
        self.assertEqual(self.timer["Install"], {"WantedBy": ["timers.target"]})
        self.assertNotIn("Unit", self.timer["Timer"])  # the service of its own name
        self.assertNotIn("Install", self.service)

    def test_names_a_manual_that_is_there(self) -> None:
        for unit in (self.service, self.timer):
            (page,) = unit["Unit"]["Documentation"]
            name = re.fullmatch(r"man:(\w+)\((\d)\)", page)
            assert name is not None, page
            self.assertTrue((staged.SOURCE / "man" / f"{name[1]}.{name[2]}").exists(), page)


def main() -> None:
    parser = argparse.ArgumentParser()
    parser.add_argument("--clean", required=True)
    parser.add_argument("--units", type=pathlib.Path, required=True)
    parser.parse_args(namespace=ARGUMENTS)
    harness.run_tests()


if __name__ == "__main__":
    main()
