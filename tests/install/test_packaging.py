#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The Debian packages' own maintainer scripts in every mode, what debian/ says, and the units.

    test_packaging.py --clean PROGRAM --units FOLDER [--with-app]

The scripts run with programs of the system's that only note how they were called,
and with a scratch folder in the place of /run/systemd/system. What debhelper adds to them
is tried by scripts/package-check.
"""
import argparse
import fnmatch
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
SCRIPTS = staged.SOURCE / "debian"
RUNNING = "/run/systemd/system"
TIMER = "drav-clean.timer"
STATE = "var/lib/drav-printer-app"
STUB = """#!/bin/sh
printf '%s %s\\n' "${0##*/}" "$*" >>"$STUB_LOG"
exit "$STUB_STATUS"
"""
RESTART = "deb-systemd-invoke try-restart cups.service"
# How dpkg calls the scripts (Debian Policy 6.5), and what they do then.
FAILED_UPGRADE = ("failed-upgrade", "3.0-1", "3.1-1")
CONFLICT = ("in-favour", "other", "1.0-1")
REMOVALS: dict[tuple[str, ...], list[str]] = {
    ("remove",): [],
    ("purge",): [],
    ("upgrade", "3.1-1"): [],
    FAILED_UPGRADE: [],
    ("abort-install",): [],
    ("abort-install", "3.0-1"): [],
    ("abort-upgrade", "3.0-1"): [],
    ("disappear", "other", "1.0-1"): [],
}
MODES: dict[str, dict[tuple[str, ...], list[str]]] = {
    "printer-driver-drav.postrm": REMOVALS,
    "drav-printer-app.postrm": REMOVALS,
    # The scheduler reads its rules when it starts.
    "drav-pictures.postrm": REMOVALS | {("remove",): [RESTART]},
    "drav-pictures.postinst": {
        ("configure", ""): [RESTART],
        ("configure", "3.0-1"): [RESTART],
        ("abort-upgrade", "3.1-1"): [RESTART],
        ("abort-remove",): [RESTART],
        ("abort-remove", *CONFLICT): [RESTART],
        ("abort-deconfigure", *CONFLICT, "removing", "third", "2.0-1"): [RESTART],
        ("triggered", "/usr/share/cups/mime"): [],
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
        self.state = self.root / STATE
        self.link = self.root / "run/drav-printer-app.sock"
        for path in (self.stamp, self.state / "spool/job", self.link, *(self.tmp / name for name in PRINTED_PAGES + OTHER_FILES)):
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text("x", encoding="utf-8")

    def run_script(self, name: str, *arguments: str, root: bool = False,
                   status: int = 0) -> list[str]:
        """What the script called, `root` as with a package that is put below a folder."""
        # All that it may touch is below the scratch folder, whatever it does.
        text = (SCRIPTS / name).read_text(encoding="utf-8").replace(RUNNING, str(self.running))
        script = self.folder / name
        script.write_text(text, encoding="utf-8")
        log = self.folder / "log"
        log.write_text("", encoding="utf-8")
        environment = {"PATH": f"{self.stubs}:{self.tools}", "STUB_LOG": str(log),
                       "STUB_STATUS": str(status)}
        if root or RESTART not in text:  # which would clear the machine's own folders
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

    def test_without_systemd_nothing_is_started_or_stopped(self) -> None:
        self.running.rmdir()
        for name, modes in MODES.items():
            for arguments in modes:
                self.assertEqual(self.run_script(name, *arguments), [], arguments)

    def test_below_another_root_nothing_is_started_or_stopped(self) -> None:
        for name, modes in MODES.items():
            for arguments in modes:
                self.assertEqual(self.run_script(name, *arguments, root=True), [], arguments)

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
        for arguments in REMOVALS:
            if arguments != ("purge",):
                self.run_script("printer-driver-drav.postrm", *arguments)
                self.assertEqual(self.files(), everything, arguments)
                self.assertTrue(self.stamp.exists(), arguments)
        (self.tmp / "sub").mkdir()
        (self.tmp / "sub" / PRINTED_PAGES[0]).write_text("x", encoding="utf-8")
        (self.tmp / "origin_2026-1-2_3_4_5_9.bmp").symlink_to(self.tmp / OTHER_FILES[0])
        self.run_script("printer-driver-drav.postrm", "purge")
        self.assertEqual(self.files(), {*OTHER_FILES, "sub", "origin_2026-1-2_3_4_5_9.bmp"})
        self.assertTrue((self.tmp / "sub" / PRINTED_PAGES[0]).exists())
        self.assertFalse(self.stamp.exists())

    def test_a_purge_follows_no_link(self) -> None:
        elsewhere = self.folder / "elsewhere"
        self.tmp.rename(elsewhere)
        self.tmp.symlink_to(elsewhere)
        self.run_script("printer-driver-drav.postrm", "purge")
        self.assertEqual(self.files(), {*PRINTED_PAGES, *OTHER_FILES})

    def test_only_a_purge_takes_the_servers_folder_and_a_removal_its_link(self) -> None:
        for arguments in REMOVALS:
            if arguments not in (("remove",), ("purge",)):
                self.run_script("drav-printer-app.postrm", *arguments)
                self.assertTrue(self.link.exists(), arguments)
        self.run_script("drav-printer-app.postrm", "remove")
        self.assertFalse(self.link.exists())
        self.assertTrue((self.state / "spool/job").exists())
        self.run_script("drav-printer-app.postrm", "purge")
        self.assertFalse(self.state.exists())
        self.assertEqual([path.name for path in self.state.parent.iterdir()], ["systemd"])

    def test_every_script_is_tried_here(self) -> None:
        """And lets debhelper add its own parts at the end."""
        scripts = {path.name: path.read_text(encoding="utf-8") for path in SCRIPTS.iterdir()
                   if path.suffix in (".preinst", ".postinst", ".prerm", ".postrm", ".config")}
        self.assertEqual(set(scripts), set(MODES))
        self.assertEqual([name for name, text in scripts.items()
                          if not text.endswith("\n\n#DEBHELPER#\n")], [])


def packages_of(script: pathlib.Path, name: str) -> list[str]:
    """Of one of the lists in scripts/lib.sh."""
    (entries,) = re.findall(rf"^{name}=\(\n(.*?)^\)", script.read_text("utf-8"), re.M | re.S)
    return re.findall(r'^  "([^|]+)\|', entries, re.M)


class SourcePackageTest(unittest.TestCase):
    def test_version_is_that_of_the_source(self) -> None:
        entry = (SCRIPTS / "changelog").read_text(encoding="utf-8").splitlines()[0]
        build = (staged.SOURCE / "CMakeLists.txt").read_text(encoding="utf-8")
        packaged = re.fullmatch(r"drav \(([\d.]+)-\d+\) unstable; urgency=medium", entry)
        project = re.search(r"^project\(drav VERSION ([\d.]+) ", build, re.M)
        assert packaged is not None and project is not None, entry
        self.assertEqual(packaged[1], project[1])

    def test_needs_what_every_build_needs(self) -> None:
        text = (SCRIPTS / "control").read_text(encoding="utf-8")
        (field,) = re.findall(r"^Build-Depends:(.*(?:\n .*)*)", text, re.M)
        needed = {entry.split()[0] for entry in field.split(",") if "<cross>" not in entry}
        wanted = set(packages_of(staged.SOURCE / "scripts/lib.sh", "BUILD_PACKAGES"))
        self.assertEqual(needed - {"debhelper-compat", "dh-sequence-installsysusers"},
                         wanted - {"g++"})  # of build-essential


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


# What the documents promise of the print server: its folders, the network and the printers on
# USB, and else as little as the clearing job.
APP_HARDENING = {name: values for name, values in HARDENING.items() if name not in (
    "PrivateDevices", "PrivateNetwork", "IPAddressDeny")} | {
        "User": ["_drav"], "SupplementaryGroups": ["lp"], "StateDirectoryMode": ["0700"],
        "RestrictAddressFamilies": ["AF_UNIX AF_INET AF_INET6 AF_NETLINK"],
        "DevicePolicy": ["closed"], "DeviceAllow": ["char-usb rw"], "RemoveIPC": ["yes"],
        # Limits on memory and time are set for the decoders.
        "SystemCallFilter": ["@system-service", "~@privileged"],
        "SystemCallErrorNumber": ["EPERM"]}


class ServerUnitTest(unittest.TestCase):
    def setUp(self) -> None:
        if not ARGUMENTS.with_app:
            self.skipTest("drav-printer-app is not built")
        self.unit = read_unit(ARGUMENTS.units / "drav-printer-app.service")
        self.service = self.unit["Service"]

    def test_hardening(self) -> None:
        self.assertEqual({name: self.service.get(name) for name in APP_HARDENING}, APP_HARDENING)
        # Nothing else widens it again.
        self.assertEqual(set(self.service) - set(APP_HARDENING), {
            "Type", "ExecStart", "Restart", "TimeoutStopSec", "StateDirectory",
            "RuntimeDirectory", "Environment"})

    def test_its_user_and_folders_are_those_that_the_package_knows(self) -> None:
        (user,) = re.findall(r"^u (\S+) - \".*\" (\S+)$", (
            staged.SOURCE / "packaging/systemd/drav-printer-app.sysusers").read_text("utf-8"), re.M)
        self.assertEqual(user, (self.service["User"][0], f"/{STATE}"))
        self.assertEqual(f"var/lib/{self.service['StateDirectory'][0]}", STATE)

    def test_it_may_write_to_printers_on_usb_and_to_no_other_device(self) -> None:
        """As udev(7) reads the rule; scripts/package-check has udev itself read it."""
        lines = (staged.SOURCE / "packaging/udev/60-drav-printer-app.rules").read_text("utf-8")
        rules = [re.findall(r'([A-Z]+)(==|=)"([^"]*)"(?:, |$)', line)
                 for line in lines.splitlines() if line and not line.startswith("#")]
        self.assertEqual(len(rules), 1)
        self.assertEqual(", ".join(f'{key}{sign}"{value}"' for key, sign, value in rules[0]),
                         lines.splitlines()[-1])

        def given(**device: str) -> dict[str, str]:
            holds = all(fnmatch.fnmatchcase(device[key], value)
                        for key, sign, value in rules[0] if sign == "==")
            return {key: value for key, sign, value in rules[0] if sign == "=" and holds}
        (group,) = self.service["SupplementaryGroups"]
        for number in ("lp0", "lp15"):
            self.assertEqual(given(SUBSYSTEM="usbmisc", KERNEL=number),
                             {"GROUP": group, "MODE": "0660"})
        for subsystem, name in (("usbmisc", "hiddev0"), ("usbmisc", "lpa"), ("printer", "lp0"),
                                ("usb", "lp0")):
            self.assertEqual(given(SUBSYSTEM=subsystem, KERNEL=name), {})

    def test_every_users_commands_find_it(self) -> None:
        """By the name that the library looks for, which leads to the service's own folder."""
        (link,) = re.findall(r"^L\+ (\S+) - - - - (\S+)$", (
            staged.SOURCE / "packaging/systemd/drav-printer-app.tmpfiles").read_text("utf-8"), re.M)
        self.assertEqual(link, ("/run/drav-printer-app.sock",
                                f"{self.service['RuntimeDirectory'][0]}/server.sock"))

    def test_starts_with_the_machine_at_the_port_that_the_guide_names(self) -> None:
        self.assertEqual(self.unit["Install"], {"WantedBy": ["multi-user.target"]})
        (command,) = self.service["ExecStart"]
        port = re.fullmatch(r"\S+/drav-printer-app server -o server-port=(\d+)", command)
        assert port is not None, command
        guide = (staged.SOURCE / "docs/printer-application.md").read_text(encoding="utf-8")
        self.assertIn(f"http://localhost:{port[1]}/", guide)


def main() -> None:
    parser = argparse.ArgumentParser()
    parser.add_argument("--clean", required=True)
    parser.add_argument("--units", type=pathlib.Path, required=True)
    parser.add_argument("--with-app", action="store_true")
    parser.parse_args(namespace=ARGUMENTS)
    harness.run_tests()


if __name__ == "__main__":
    main()
