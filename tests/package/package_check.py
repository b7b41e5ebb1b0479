#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Installs, prints with, upgrades, removes and purges the Debian packages in a clean root.

scripts/package-check makes the packages and the root, and runs this in namespaces
of its own. Prints a row for each check and stops at the first that fails.
"""
import argparse
import os
import pathlib
import re
import shutil
import stat
import struct
import subprocess
import sys
import time

from clean_root import CheckFailed, CleanRoot, SOCKET, wait_for
from recording_printer import RecordingPrinter

ARGUMENTS = argparse.Namespace()
DRIVER, PICTURES, TOOLS = "printer-driver-drav", "drav-pictures", "drav-tools"
FILTER = "/usr/lib/cups/filter/rastertodrav"
PICTURE_FILTER = "/usr/lib/cups/filter/picturetodrav"
PICTURE_READER = "/usr/libexec/drav/drav-picture-reader"
TEXT_READER = "/usr/libexec/drav/drav-text-reader"
RULES = "/usr/share/cups/mime/drav.convs"
UPDATER = "/usr/share/cups/ppd-updaters/printer-driver-drav.ppd-updater"
CLEAN = "/usr/libexec/drav/drav-clean"
TIMER_LINK = "/etc/systemd/system/timers.target.wants/drav-clean.timer"
DIAGNOSTICS = "/var/spool/cups/tmp"
QUEUE = "stencil"
DAY = 24 * 60 * 60
# What apt, dpkg and cups keep about any package and any job; no file of ours.
BOOKS = re.compile(r"/var/(lib/(dpkg|apt)|log|cache/(apt|cups|debconf|ldconfig|man))(/|$)"
                   r"|/etc/ld\.so\.cache$|/etc/cups/(printers|subscriptions)\.conf"
                   r"|/var/spool/cups/[cd]\d+")


def need(condition: bool, complaint: str) -> None:
    if not condition:
        raise CheckFailed(complaint)


def packages(folder: pathlib.Path) -> list[pathlib.Path]:
    found = sorted(folder.glob("*.deb"))
    need([path.name.split("_")[0] for path in found] == [PICTURES, TOOLS, DRIVER],
         f"not the three packages: {[path.name for path in found]}")
    return found


def field(package: pathlib.Path, name: str) -> str:
    return subprocess.run(["dpkg-deb", "-f", package, name], check=True, capture_output=True,
                          text=True).stdout.strip()


class Check:
    """The checks in their order; each gives the text of its row."""

    def __init__(self, root: CleanRoot) -> None:
        self.root = root
        self.printer = RecordingPrinter()
        self.before: dict[str, tuple[int, int, int]] = {}
        self.with_clean = False

    def lintian(self) -> str:
        result = subprocess.run(["lintian", "--allow-root", "--show-overrides", "--fail-on", "error",
                                 *packages(ARGUMENTS.old)], check=False, capture_output=True,
                                text=True)
        marks = [line[0] for line in result.stdout.splitlines() if re.match(r"[EWO]: ", line)]
        counts = {mark: marks.count(mark) for mark in "EWO"}
        need(result.returncode == 0 and counts["E"] == 0, result.stdout + result.stderr)
        need(counts["O"] <= 1, f"{counts['O']} overrides")
        return f"0 errors, {counts['W']} warnings, {counts['O']} overrides"

    def install(self) -> str:
        """The dependencies are there already: apt must want nothing besides."""
        with self.root.scheduler():  # makes its folders at its first start
            pass
        self.before = self.root.entries()
        self.put(ARGUMENTS.old)
        return f"{field(packages(ARGUMENTS.old)[-1], 'Version')}, no package missing"

    def put(self, folder: pathlib.Path) -> None:
        names = []
        for package in packages(folder):
            shutil.copy(package, self.root.path("/tmp"))
            names.append(f"/tmp/{package.name}")
        self.root.run("apt-get", "install", "-y", "--no-install-recommends", *names)

    def owners_and_modes(self) -> str:
        listed = self.root.run("dpkg-query", "--listfiles", DRIVER, PICTURES, TOOLS).split()
        added = set(self.root.entries()) - set(self.before)
        seen = 0
        for name in added & set(listed):
            status = self.root.path(name).lstat()
            mode = stat.S_IMODE(status.st_mode)
            program = (name in (FILTER, PICTURE_FILTER, PICTURE_READER, TEXT_READER, CLEAN, "/usr/bin/drav")
                       or stat.S_ISDIR(status.st_mode))
            need((status.st_uid, status.st_gid) == (0, 0), f"{name} is not root's")
            need(mode == (0o755 if program else 0o644), f"{name} has the mode {mode:o}")
            seen += 1
        need({FILTER, PICTURE_FILTER, PICTURE_READER, TEXT_READER, "/usr/bin/drav"} <= added,
             "a program is missing")
        self.with_clean = CLEAN in added
        for folder in pathlib.PurePosixPath(FILTER).parents:  # as the scheduler wants them
            status = self.root.path(str(folder)).stat()
            need(status.st_uid == 0 and not status.st_mode & 0o022 and status.st_mode & 0o001,
                 f"{folder} is open to others or closed to lp")
        return f"{seen} files and folders, root's, 755 and 644"

    def programs_start(self) -> str:
        missing = self.root.run("ldd", FILTER, PICTURE_FILTER, PICTURE_READER, TEXT_READER,
                                "/usr/bin/drav")
        need("not found" not in missing, missing)
        without = self.root.run("ldd", FILTER, PICTURE_FILTER, TEXT_READER, "/usr/bin/drav")
        need("libvips" not in without, "libvips is in a program that reads no picture")
        version = self.root.run("drav", "--version").strip()
        need(self.root.try_run(FILTER).returncode == 1, "the filter does not start")
        return version

    def models(self) -> str:
        with self.root.scheduler():
            lines = self.root.run("lpinfo", "-h", f"/{SOCKET}", "-m").splitlines()
        ours = [line for line in lines if "drav" in line.lower()]
        need(bool(ours), "no model is listed")
        need(all(line.startswith("drv:///drav.drv/") for line in ours), "\n".join(ours))
        texts = [line.split(" ", 1)[1] for line in ours]
        need(len(set(texts)) == len(texts), "\n".join(ours))
        self.model = next((line.split()[0] for line in ours if "dravsa43" in line),
                          ours[0].split()[0])
        return f"{len(ours)}, each once"

    def timer(self) -> str:
        if not self.with_clean:
            return "not in this build"
        need(self.root.path(TIMER_LINK).is_symlink(), "the timer is not enabled")
        self.root.run("systemd-analyze", "verify", "--man=no",
                      "/usr/lib/systemd/system/drav-clean.timer",
                      "/usr/lib/systemd/system/drav-clean.service")
        security = self.root.run("systemd-analyze", "security", "--offline=true", "--threshold=20",
                                 "/usr/lib/systemd/system/drav-clean.service")
        level = re.search(r"exposure level for drav-clean.service: ([\d.]+)", security)
        return f"enabled, units sound, exposure {level[1] if level else '?'} of 10"

    def print_page(self) -> str:
        with self.root.scheduler():
            self.root.run("lpadmin", "-h", f"/{SOCKET}", "-p", QUEUE, "-E", "-m", self.model,
                          "-v", f"socket://127.0.0.1:{self.printer.port}/?snmp=false",
                          "-o", "PrintDensity=11")
            drawn = self.send()
        need(bool(self.pictures()), "the filter left no diagnostic picture")
        return drawn

    def send(self) -> str:
        """Prints the document; the scheduler is there already."""
        shutil.copy(ARGUMENTS.document, self.root.path("/tmp/page.pdf"))
        self.root.run("lp", "-h", f"/{SOCKET}", "-d", QUEUE, "-o", "PageSize=A4", "/tmp/page.pdf")
        wait_for(lambda: not self.root.run("lpstat", "-h", f"/{SOCKET}", "-o"), "the job hangs")
        log = self.root.path("/var/log/cups/error_log").read_text(encoding="utf-8", errors="replace")
        need("insecure permissions" not in log, "the scheduler calls the filter insecure")
        jobs = self.printer.take_jobs()
        need(len(jobs) == 1, f"{len(jobs)} jobs reached the printer")
        head = b"\0" * 64 + b"\x1b@" + b"\x1f\x1b\x1f\x13\x14" + bytes([11])
        need(jobs[0].startswith(head), f"the job begins with {jobs[0][:80].hex()}")
        need(jobs[0].endswith(b"\x1bv"), f"the job ends with {jobs[0][-16:].hex()}")
        self.root.path("/tmp/job.bin").write_bytes(jobs[0])
        drawn = self.root.run("drav", "render", "/tmp/job.bin", "/tmp/job.png").strip()
        width, height = struct.unpack(">II", self.root.path("/tmp/job.png").read_bytes()[16:24])
        need(width >= 384 and height >= 384, f"a page of {width} x {height} dots")
        need(any(jobs[0][200:]), "a blank page")
        return f"{len(jobs[0])} bytes, {drawn}"

    def pictures(self) -> set[str]:
        return {path.name for path in self.root.path(DIAGNOSTICS).glob("*.bmp")}

    def clearing(self) -> str:
        """As the unit runs it: root without a single capability."""
        if not self.with_clean:
            return "not in this build"
        folder = self.root.path(DIAGNOSTICS)
        victim = self.root.path("/var/lib/victim.bmp")
        kept = {"origin_2026-1-2_3_4_5_7.bmp", "origin_2026-1-2_3_4_5_0.bmp.txt", "other.bmp",
                "dithered_2026-1-2_3_4_5_9.bmp", "sub"}
        old = {"origin_2026-1-2_3_4_5_6.bmp", "dithered_2026-1-2_3_4_5_60.bmp"}
        victim.write_bytes(b"BM")
        (folder / "dithered_2026-1-2_3_4_5_9.bmp").symlink_to("/var/lib/victim.bmp")
        (folder / "sub").mkdir()
        (folder / "sub/origin_2026-1-2_3_4_5_6.bmp").write_bytes(b"BM")
        fresh = self.pictures() - kept
        for name in (kept | old) - {"sub", "dithered_2026-1-2_3_4_5_9.bmp"}:
            (folder / name).write_bytes(b"BM")
        long_ago = time.time() - 2 * DAY
        for path in [*folder.iterdir(), folder / "sub/origin_2026-1-2_3_4_5_6.bmp", victim]:
            if path.name not in fresh and path.name != "origin_2026-1-2_3_4_5_7.bmp":
                os.utime(path, (long_ago, long_ago), follow_symlinks=False)
        for path in folder.iterdir():
            os.chown(path, 7, 7, follow_symlinks=False)  # lp's, as the filter's own are
        unit = self.root.path("/usr/lib/systemd/system/drav-clean.service").read_text("utf-8")
        command = re.search(r"^ExecStart=(.*)$", unit, re.M)
        need(bool(command), "the unit runs nothing")
        self.root.run(*command[1].split(), prefix=(
            "setpriv", "--bounding-set=-all,+sys_chroot", "--inh-caps=-all", "--no-new-privs"))
        left = {path.name for path in folder.iterdir()}
        need(not left & old, f"old pictures stay: {left & old}")
        need(kept | fresh <= left, f"removed besides: {(kept | fresh) - left}")
        need(victim.exists() and (folder / "sub/origin_2026-1-2_3_4_5_6.bmp").exists(),
             "a link or a folder was followed")
        victim.unlink()
        shutil.rmtree(folder / "sub")
        for name in kept - {"sub", "origin_2026-1-2_3_4_5_7.bmp"}:
            (folder / name).unlink()
        return f"{len(old)} old pictures removed, {len(kept | fresh)} others kept"

    def upgrade(self) -> str:
        """With the timer off, a choice of the queue's own, and the scheduler at work."""
        ppd = self.root.path(f"/etc/cups/ppd/{QUEUE}.ppd")
        old, new = (field(packages(folder)[-1], "Version").split("-")[0]
                    for folder in (ARGUMENTS.old, ARGUMENTS.new))
        need(f'*FileVersion: "{old}"' in ppd.read_text("utf-8"), "the queue has another PPD file")
        if self.with_clean:
            self.root.run("systemctl", "disable", "drav-clean.timer")
        with self.root.scheduler():
            self.put(ARGUMENTS.new)
            text = ppd.read_text("utf-8")
            need(f'*FileVersion: "{new}"' in text, "the queue's PPD file did not follow")
            need("*DefaultPrintDensity: 11" in text, "the queue lost its own choice")
            need(not self.root.path(TIMER_LINK).is_symlink(), "the timer is on again")
            self.send()
        return f"{old} to {new}: PPD file followed, queue's choice kept, prints"

    def timer_on_again(self) -> str:
        if not self.with_clean:
            return "not in this build"
        self.root.run("systemctl", "enable", "drav-clean.timer")
        self.put_again()
        need(self.root.path(TIMER_LINK).is_symlink(), "the timer is off")
        return "stayed off in the upgrade, on when enabled"

    def put_again(self) -> None:
        for package in packages(ARGUMENTS.new):
            self.root.run("dpkg", "-i", f"/tmp/{package.name}")

    def remove(self) -> str:
        with self.root.scheduler():
            self.root.run("lpadmin", "-h", f"/{SOCKET}", "-x", QUEUE)
        self.root.run("apt-get", "remove", "-y", DRIVER, PICTURES, TOOLS)
        for name in (FILTER, UPDATER, CLEAN, PICTURE_FILTER, PICTURE_READER, RULES,
                     "/usr/bin/drav", "/usr/share/cups/drv/drav.drv"):
            need(not self.root.path(name).exists(), f"{name} is still there")
        return "programs and driver source gone"

    def purge(self) -> str:
        other = self.root.path(DIAGNOSTICS) / "drav-notes.bin"
        other.write_bytes(b"not ours")
        stamp = self.root.path("/var/lib/systemd/timers/stamp-drav-clean.timer")
        if self.with_clean:
            picture = self.root.path(DIAGNOSTICS) / "origin_2026-1-2_3_4_5_0.bmp"
            picture.write_bytes(b"BM")
            record = self.root.path(DIAGNOSTICS) / "drav-20260102030405.bin"
            record.write_bytes(b"\x1dv0")
            stamp.parent.mkdir(exist_ok=True)
            stamp.touch()
        self.root.run("dpkg", "--purge", DRIVER, PICTURES, TOOLS)
        need(other.exists(), "a file of others was removed")
        other.unlink()
        if stamp.parent.exists() and not any(stamp.parent.iterdir()):
            stamp.parent.rmdir()
        after = self.root.entries()
        residue = sorted(name for name in set(after) - set(self.before) if not BOOKS.match(name))
        residue += sorted(name for name in after if "drav" in name.lower() and name not in residue)
        lost = sorted(name for name in set(self.before) - set(after) if not BOOKS.match(name))
        changed = sorted(name for name in set(after) & set(self.before)
                         if after[name] != self.before[name] and not BOOKS.match(name))
        need(not residue + lost + changed,
             f"residue {residue}, lost {lost}, mode or owner changed {changed}")
        return f"{len(after)} files as before"

    def run(self) -> bool:
        steps = {
            "lintian": self.lintian,
            "install": self.install,
            "owners and modes": self.owners_and_modes,
            "programs start": self.programs_start,
            "models": self.models,
            "timer": self.timer,
            "print through cupsd": self.print_page,
            "clearing job": self.clearing,
            "upgrade": self.upgrade,
            "timer after upgrades": self.timer_on_again,
            "remove": self.remove,
            "purge": self.purge,
        }
        for name, step in steps.items():
            start = time.monotonic()
            try:
                text, passed = step(), True
            except (CheckFailed, OSError, subprocess.SubprocessError) as error:
                text, passed = str(error), False
            mark = "ok" if passed else "FAILED"
            print(f"{mark:<6}  {name:<20}  {time.monotonic() - start:5.1f} s  {text}", flush=True)
            if not passed:
                return False
        return True


def main() -> None:
    parser = argparse.ArgumentParser()
    for name in ("root", "log", "old", "new", "document"):
        parser.add_argument(f"--{name}", type=pathlib.Path, required=True)
    parser.parse_args(namespace=ARGUMENTS)
    root = CleanRoot(ARGUMENTS.root, ARGUMENTS.log)
    root.mount()
    sys.exit(0 if Check(root).run() else 1)


if __name__ == "__main__":
    main()
