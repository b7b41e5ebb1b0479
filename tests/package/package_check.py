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
SOURCE = pathlib.Path(__file__).resolve().parents[2]
DRIVER, PICTURES, TOOLS = "printer-driver-drav", "drav-pictures", "drav-tools"
APP = "drav-printer-app"
NAMES = [PICTURES, APP, TOOLS, DRIVER]
OLD_NAMES = [PICTURES, TOOLS, DRIVER]  # before there was a print server
FILTER = "/usr/lib/cups/filter/rastertodrav"
PICTURE_FILTER = "/usr/lib/cups/filter/picturetodrav"
PICTURE_READER = "/usr/libexec/drav/drav-picture-reader"
TEXT_READER = "/usr/libexec/drav/drav-text-reader"
RULES = "/usr/share/cups/mime/drav.convs"
UPDATER = "/usr/share/cups/ppd-updaters/printer-driver-drav.ppd-updater"
CLEAN = "/usr/libexec/drav/drav-clean"
APP_PROGRAM = "/usr/bin/drav-printer-app"
PROGRAMS = {FILTER, PICTURE_FILTER, PICTURE_READER, TEXT_READER, CLEAN, APP_PROGRAM, "/usr/bin/drav"}
UNITS = "/lib/systemd/system"
APP_LINK = "/etc/systemd/system/multi-user.target.wants/drav-printer-app.service"
USB_RULE = r"60-drav-printer-app\.rules"
STATE = "/var/lib/drav-printer-app"
MOST_EXPOSED = {"drav-clean": 2.0, APP: 2.5}  # of 10, by systemd's own count
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
    names = [path.name.split("_")[0] for path in found]
    need(names == NAMES or folder == ARGUMENTS.before and names == OLD_NAMES,
         f"not the packages: {[path.name for path in found]}")
    return found


def field(package: pathlib.Path, name: str) -> str:
    return subprocess.run(["dpkg-deb", "-f", package, name], check=True, capture_output=True,
                          text=True).stdout.strip()


class Check:
    """The checks in their order; each gives the text of its row."""

    def __init__(self, root: CleanRoot) -> None:
        self.root = root
        self.printer = RecordingPrinter()
        self.jobs: list[bytes] = []
        self.before: dict[str, tuple[int, int, int]] = {}

    def lintian(self) -> str:
        """The source and all packages, those with the debug symbols too. Machine code that
        happens to look like a misspelt word is none, and neither is Spanish."""
        result = subprocess.run(["lintian", "--allow-root", "--show-overrides", "--display-info",
                                 "--pedantic", "--suppress-tags", "spelling-error-in-binary",
                                 ARGUMENTS.changes], check=False,
                                capture_output=True, text=True)
        found = [line for line in result.stdout.splitlines() if re.match(r"[EWIPXO]: ", line)]
        open_ones = [line for line in found if not line.startswith("O: ")]
        need(result.returncode == 0 and not open_ones, "\n".join(open_ones) + result.stderr)
        return f"source and packages, pedantic: nothing but {len(found)} overrides"

    def install(self) -> str:
        """The dependencies are there already: apt must want nothing besides."""
        with self.root.booted():  # which makes folders, and so does the scheduler
            pass
        self.before = self.root.entries()
        text = "no package missing"
        if ARGUMENTS.before:
            self.put(ARGUMENTS.before)
            self.root.run("systemctl", "disable", "drav-clean.timer")
            self.put(ARGUMENTS.old)
            need(not self.root.path(TIMER_LINK).is_symlink(), "the upgrade switched the timer on")
            self.root.run("systemctl", "enable", "drav-clean.timer")
            text = f"over {field(packages(ARGUMENTS.before)[-1], 'Version')}, timer stayed off"
        else:
            self.put(ARGUMENTS.old)
        return f"{field(packages(ARGUMENTS.old)[-1], 'Version')}, {text}"

    def put(self, folder: pathlib.Path) -> None:
        names = []
        for package in packages(folder):
            shutil.copy(package, self.root.path("/tmp"))
            names.append(f"/tmp/{package.name}")
        self.root.run("apt-get", "install", "-y", "--no-install-recommends", *names)

    def owners_and_modes(self) -> str:
        listed = self.root.run("dpkg-query", "--listfiles", *NAMES).split()
        added = set(self.root.entries()) - set(self.before)
        # What is listed below /lib lies below /usr/lib.
        listed = [f"/usr{name}" if name.startswith("/lib/") else name for name in listed]
        seen = 0
        for name in added & set(listed):
            status = self.root.path(name).lstat()
            mode = stat.S_IMODE(status.st_mode)
            program = name in PROGRAMS or stat.S_ISDIR(status.st_mode)
            need((status.st_uid, status.st_gid) == (0, 0), f"{name} is not root's")
            need(mode == (0o755 if program else 0o644), f"{name} has the mode {mode:o}")
            seen += 1
        need(PROGRAMS <= added, f"missing: {PROGRAMS - added}")
        for folder in pathlib.PurePosixPath(FILTER).parents:  # as the scheduler wants them
            status = self.root.path(str(folder)).stat()
            need(status.st_uid == 0 and not status.st_mode & 0o022 and status.st_mode & 0o001,
                 f"{folder} is open to others or closed to lp")
        return f"{seen} files and folders, root's, 755 and 644"

    def programs_start(self) -> str:
        missing = self.root.run("ldd", *PROGRAMS)
        need("not found" not in missing, missing)
        without = self.root.run("ldd", *(PROGRAMS - {PICTURE_READER}))
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

    def units(self) -> str:
        need(self.root.path(TIMER_LINK).is_symlink(), "the timer is not enabled")
        need(self.root.path(APP_LINK).is_symlink(), "the print server is not enabled")
        self.root.run("systemd-analyze", "verify", "--man=no", f"{UNITS}/drav-clean.timer",
                      f"{UNITS}/drav-clean.service", f"{UNITS}/{APP}.service")
        said = []
        for name, most in MOST_EXPOSED.items():
            unit = f"{UNITS}/{name}.service"
            text = self.root.run("systemd-analyze", "security", "--offline=true",
                                 f"--threshold={int(most * 10)}", unit)
            level = re.search(rf"exposure level for {name}.service: ([\d.]+)", text)
            need(level is not None and float(level[1]) <= most, text[-200:])
            said.append(f"{name} {level[1]}")
        return f"enabled, sound, exposure {', '.join(said)} of 10"

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
        self.wait_for_jobs(1)
        return self.check_job(density=11)

    def check_job(self, density: int = 8) -> str:
        need(len(self.jobs) == 1, f"{len(self.jobs)} jobs reached the printer")
        (job,) = self.jobs
        head = b"\0" * 64 + b"\x1b@" + b"\x1f\x1b\x1f\x13\x14" + bytes([density])
        need(job.startswith(head), f"the job begins with {job[:80].hex()}")
        need(job.endswith(b"\x1bv"), f"the job ends with {job[-16:].hex()}")
        self.root.path("/tmp/job.bin").write_bytes(job)
        drawn = self.root.run("drav", "render", "/tmp/job.bin", "/tmp/job.png").strip()
        width, height = struct.unpack(">II", self.root.path("/tmp/job.png").read_bytes()[16:24])
        need(width >= 384 and height >= 384, f"a page of {width} x {height} dots")
        need(any(job[200:]), "a blank page")
        return f"{len(job)} bytes, {drawn}"

    def as_visitor(self, *command: str) -> str:
        """A command of the print server by a user who is nobody in particular."""
        return self.root.run("setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups",
                             APP_PROGRAM, *command)

    def serves(self) -> int:
        """Until it answers; the number of its process."""
        need(self.root.run("systemctl", "is-active", APP).strip() == "active", "not started")
        wait_for(lambda: self.root.try_run(APP_PROGRAM, "status").returncode == 0,
                 "the print server does not answer")
        return int(self.root.run("systemctl", "show", "-P", "MainPID", APP))

    def usb_rule(self) -> None:
        """udev itself reads it, and has nothing to say of it."""
        said = self.root.run("udevadm", "test", "--action=add", "/devices/virtual/mem/null")
        need(re.search(rf"^Reading rules file: \S+/{USB_RULE}$", said, re.M) is not None,
             "udev does not know the rule for printers on USB")
        complaints = re.findall(rf"^\S+/{USB_RULE}:\d+ .*$", said, re.M)
        need(not complaints, "\n".join(complaints))

    def print_server(self) -> str:
        """As the guide says, by systemd in the unit's sandbox, and once more after a restart."""
        device = f"socket://127.0.0.1:{self.printer.port}/?status=no"
        with self.root.booted():
            shutil.copy(ARGUMENTS.document, self.root.path("/tmp/page.pdf"))
            self.usb_rule()
            self.confined(self.serves())
            self.as_visitor("add", "-v", device, "-m", "dravsa43", "-o", "queues=usual")
            self.as_visitor("-d", "Stencil lines", "/tmp/page.pdf")
            self.wait_for_jobs(1)
            wait_for(lambda: not self.documents(), "the job's document stays")
            self.root.run("systemctl", "restart", APP)
            self.serves()
            queues = self.as_visitor("printers").splitlines()
            need(len(queues) == 2, f"not two queues after a restart: {queues}")
            said = self.root.run("journalctl", "-u", APP, "-o", "cat")
            errors = [line for line in said.splitlines() if line.startswith("E [")
                      and not line.endswith("DNS-SD: Daemon not running")]  # there is no avahi
            need(not errors, "\n".join(errors))
        return f"{len(queues)} queues, kept over a restart; {self.check_job()}"

    def documents(self) -> list[pathlib.Path]:
        return [path for path in self.root.path(f"{STATE}/spool").rglob("*") if path.is_file()]

    def confined(self, number: int) -> None:
        """The rules are in force, not only written."""
        text = self.root.run("cat", f"/proc/{number}/status")
        for name, value in (("CapBnd", "0000000000000000"), ("NoNewPrivs", "1"), ("Seccomp", "2")):
            need(re.search(rf"^{name}:\t{value}$", text, re.M) is not None, f"{name} is otherwise")
        need(self.root.run("stat", "-c", "%U %a", STATE).split() == ["_drav", "700"],
             "others can enter the state folder")

    def wait_for_jobs(self, count: int) -> None:
        self.jobs = []

        def came() -> bool:
            self.jobs += self.printer.take_jobs()
            return len(self.jobs) >= count
        wait_for(came, "no job reached the printer")

    def both_ways(self) -> str:
        """The test of the source package, with the programs that it finds."""
        with self.root.booted():
            for name in ("debian/tests/print", "tests/package/recording_printer.py"):
                copy = self.root.path(f"/tmp/source/{name}")
                copy.parent.mkdir(parents=True)
                shutil.copy(SOURCE / name, copy)
            said = self.root.run("env", "AUTOPKGTEST_TMP=/tmp", "/tmp/source/debian/tests/print")
        return said.strip().splitlines()[-1]

    def pictures(self) -> set[str]:
        return {path.name for path in self.root.path(DIAGNOSTICS).glob("*.bmp")}

    def clearing(self) -> str:
        """As the unit runs it: root without a single capability."""
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
        self.root.run("systemctl", "disable", "drav-clean.timer")
        with self.root.booted():
            before = self.serves()
            queues = self.as_visitor("printers")
            self.put(ARGUMENTS.new)
            need(self.serves() != before, "the older print server still runs")
            need(self.as_visitor("printers") == queues, "the print server lost queues")
            text = ppd.read_text("utf-8")
            need(f'*FileVersion: "{new}"' in text, "the queue's PPD file did not follow")
            need("*DefaultPrintDensity: 11" in text, "the queue lost its own choice")
            need(not self.root.path(TIMER_LINK).is_symlink(), "the timer is on again")
            self.send()
        return f"{old} to {new}: PPD file followed, queue's choice kept, prints"

    def timer_on_again(self) -> str:
        self.root.run("systemctl", "enable", "drav-clean.timer")
        self.put_again()
        need(self.root.path(TIMER_LINK).is_symlink(), "the timer is off")
        return "stayed off in the upgrade, on when enabled"

    def put_again(self) -> None:
        for package in packages(ARGUMENTS.new):
            self.root.run("dpkg", "-i", f"/tmp/{package.name}")

    def remove(self) -> str:
        with self.root.scheduler():
            for queue in (QUEUE, "autopkgtest"):
                self.root.run("lpadmin", "-h", f"/{SOCKET}", "-x", queue)
        self.root.run("apt-get", "remove", "-y", *NAMES)
        for name in (*PROGRAMS, UPDATER, RULES, "/usr/share/cups/drv/drav.drv"):
            need(not self.root.path(name).exists(), f"{name} is still there")
        return "programs and driver source gone"

    def purge(self) -> str:
        other = self.root.path(DIAGNOSTICS) / "drav-notes.bin"
        other.write_bytes(b"not ours")
        stamp = self.root.path("/var/lib/systemd/timers/stamp-drav-clean.timer")
        picture = self.root.path(DIAGNOSTICS) / "origin_2026-1-2_3_4_5_0.bmp"
        picture.write_bytes(b"BM")
        record = self.root.path(DIAGNOSTICS) / "drav-20260102030405.bin"
        record.write_bytes(b"\x1dv0")
        stamp.parent.mkdir(exist_ok=True)
        stamp.touch()
        need(self.root.path(STATE).exists(), "the print server's state went with its program")
        self.root.run("dpkg", "--purge", *NAMES)
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
            "units": self.units,
            "print through cupsd": self.print_page,
            "print server": self.print_server,
            "both ways": self.both_ways,
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
    parser.add_argument("--before", type=pathlib.Path)
    for name in ("root", "log", "changes", "old", "new", "document"):
        parser.add_argument(f"--{name}", type=pathlib.Path, required=True)
    parser.parse_args(namespace=ARGUMENTS)
    root = CleanRoot(ARGUMENTS.root, ARGUMENTS.log)
    root.mount()
    sys.exit(0 if Check(root).run() else 1)


if __name__ == "__main__":
    main()
