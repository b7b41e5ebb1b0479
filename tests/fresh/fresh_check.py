#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs the README's commands and the tests in a clean root, and prints a row for each run.

scripts/fresh-check makes the root and runs this as the first process of namespaces of its
own, so that every process that a run leaves behind becomes a child of this one.
"""
import argparse
import dataclasses
import os
import pathlib
import signal
import subprocess
import sys
import time
import xml.etree.ElementTree as ElementTree
from collections.abc import Callable

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools"))

# pylint: disable=wrong-import-position
import allowed_skips  # noqa: E402
import confine  # noqa: E402
import junit_totals  # noqa: E402

HOME, VISITOR = pathlib.Path("/root"), "visitor"
VISITORS_HOME = pathlib.Path("/home", VISITOR)
BUNDLE = "/srv/drav.bundle"
NETWORK = {"http_proxy", "https_proxy", "ftp_proxy", "all_proxy", "no_proxy", "npm_config_registry",
           "npm_config_proxy", "npm_config_https_proxy", "node_extra_ca_certs"}
GRACE = 5.0  # seconds for a process to end that was just told to


@dataclasses.dataclass
class Run:
    """One row of the table."""

    name: str
    seconds: float = 0.0
    passed: int = 0
    failed: int = 0
    skipped: int = 0
    complaints: list[str] = dataclasses.field(default_factory=list)

    def count(self, passed: bool, complaint: str) -> None:
        self.passed += passed
        self.failed += not passed
        if not passed:
            self.complaints.append(complaint)


def mount(*arguments: str) -> None:
    subprocess.run(["mount", *arguments], check=True)


def enter(root: pathlib.Path) -> None:
    """Makes `root` the root folder: with a plain chroot no user namespaces can be made."""
    mount("--bind", str(root), str(root))
    for kind, folder, options in (("proc", "proc", ""), ("sysfs", "sys", "ro"),
                                  ("tmpfs", "run", "mode=0755"), ("tmpfs", "dev", "mode=0755"),
                                  ("devpts", "dev/pts", "newinstance,ptmxmode=0666"),
                                  ("tmpfs", "dev/shm", "mode=1777")):
        (root / folder).mkdir(exist_ok=True)
        mount("-t", kind, "-o", options or "rw", kind, str(root / folder))
        if folder == "dev":
            for name in ("null", "zero", "full", "random", "urandom", "tty"):
                (root / "dev" / name).touch()
                mount("--bind", f"/dev/{name}", str(root / "dev" / name))
    for name, target in (("fd", "/proc/self/fd"), ("stdin", "fd/0"), ("stdout", "fd/1"),
                         ("stderr", "fd/2"), ("ptmx", "pts/ptmx")):
        (root / "dev" / name).symlink_to(target)
    policy = root / "usr/sbin/policy-rc.d"  # packages start no service here
    policy.write_text("#!/bin/sh\nexit 101\n", encoding="utf-8")
    policy.chmod(0o755)
    os.chdir(root)
    subprocess.run(["pivot_root", ".", "."], check=True)
    subprocess.run(["umount", "-l", "."], check=True)
    os.chdir("/")


def environment(home: pathlib.Path) -> dict[str, str]:
    kept = {name: value for name, value in os.environ.items() if name.lower() in NETWORK}
    folders = ("local/sbin", "local/bin", "sbin", "bin") if home == HOME else ("local/bin", "bin")
    path = ":".join(f"/usr/{folder}" for folder in folders)
    return {**kept, "PATH": path, "HOME": str(home), "TERM": "dumb"}


def left_processes() -> dict[int, str]:
    """What runs here but this process; what has ended is reaped."""
    while True:
        try:
            if os.waitpid(-1, os.WNOHANG)[0] == 0:
                break
        except ChildProcessError:
            break
    found = {}
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        if int(folder.name) == os.getpid():
            continue
        try:
            command = (folder / "cmdline").read_bytes().replace(b"\0", b" ").decode(errors="replace")
            if (folder / "stat").read_text("utf-8").rpartition(")")[2].split()[0] != "Z":
                found[int(folder.name)] = command.strip()[:100]
        except OSError:
            pass
    return found


class Check:
    def __init__(self, logs: pathlib.Path, allowed: list[allowed_skips.Rule]) -> None:
        # Opened here, since no path leads to it from the new root.
        self._log_folder = os.open(logs, os.O_RDONLY | os.O_DIRECTORY)
        self._allowed = allowed

    def step(self, run: Run, name: str, command: list[str], folder: pathlib.Path,
             home: pathlib.Path, prepare: Callable[[], None] | None = None) -> bool:
        """Counts as one more check; what it prints goes to a log."""
        start = time.monotonic()
        log = f"{run.name}-{name}.log".replace(" ", "-")
        descriptor = os.open(log, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o644,
                             dir_fd=self._log_folder)
        with open(descriptor, "wb") as out:
            status = subprocess.run(command, cwd=folder, env=environment(home), stdout=out,
                                    stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL,
                                    check=False, preexec_fn=prepare).returncode
        run.count(status == 0, f"{name} ended with status {status}; see {log}")
        print(f"{run.name}: {name}: status {status}, {time.monotonic() - start:.0f} s", flush=True)
        return status == 0

    def results(self, run: Run, build: str, junit: pathlib.Path) -> None:
        """Adds the tests of a build; a skip that is not allowed is a complaint."""
        try:
            cases = junit_totals.cases(junit)
        except (OSError, ElementTree.ParseError) as error:
            run.count(False, f"no results of {build}: {error}")
            return
        if not cases:
            run.count(False, f"no test of {build} ran")
        for case in cases:
            if case.failed:
                run.failed += 1
                run.complaints.append(f"{build}: {case.name} failed")
            run.passed += case.passed
            run.skipped += len(case.skips)  # those within a program too
            for skip in case.skips:
                if not allowed_skips.is_allowed(self._allowed, skip, run.name, build):
                    run.complaints.append(f"{build}: {skip} is skipped, which is not allowed here")

    def end(self, run: Run, start: float) -> None:
        run.seconds = time.monotonic() - start
        end = time.monotonic() + GRACE
        while (left := left_processes()) and time.monotonic() < end:
            time.sleep(0.1)
        for number, command in left.items():
            run.complaints.append(f"left running: {command}")
            os.kill(number, signal.SIGKILL)
        for complaint in run.complaints:
            print(f"{run.name}: {complaint}", flush=True)

    def as_root(self) -> Run:
        run, start = Run("root"), time.monotonic()
        tree = HOME / "drav"
        HOME.chmod(0o700)
        if self.step(run, "clone", ["git", "clone", "-q", BUNDLE, str(tree)], HOME, HOME):
            self.step(run, "demo", ["scripts/demo"], tree, HOME)
            # As for an installation, in the folder that the tests build in.
            self.step(run, "configure", ["cmake", "--preset", "release", "-DDRAV_BUILD_TESTS=OFF"],
                      tree, HOME)
            self.step(run, "test", ["scripts/test"], tree, HOME)
            for build in ("release", "asan-ubsan"):
                self.results(run, build, tree / f"build/test-results/{build}.xml")
        self.end(run, start)
        return run

    def as_user(self) -> Run:
        run, start = Run("user"), time.monotonic()
        tree = VISITORS_HOME / "drav"
        subprocess.run(["useradd", "--create-home", "--shell", "/bin/bash", VISITOR], check=True)
        VISITORS_HOME.chmod(0o700)
        # By its path: the visitor's own does not lead there.
        as_visitor = ["/usr/sbin/runuser", "-u", VISITOR, "--"]
        if self.step(run, "clone", [*as_visitor, "git", "clone", "-q", BUNDLE, str(tree)],
                     VISITORS_HOME, VISITORS_HOME):
            self.step(run, "test", [*as_visitor, "scripts/test"], tree, VISITORS_HOME)
            for build in ("release", "asan-ubsan"):
                self.results(run, build, tree / f"build/test-results/{build}.xml")
        self.end(run, start)
        return run

    def in_a_container(self) -> Run:
        run, start = Run("container"), time.monotonic()
        tree = HOME / "drav"
        junit = tree / "build/test-results/container.xml"
        for kind in ("--mount", "--user"):
            denied = subprocess.run(["unshare", kind, "true"], stderr=subprocess.DEVNULL,
                                    preexec_fn=confine.confine, check=False).returncode != 0
            run.count(denied, f"unshare {kind} is not refused")
        self.step(run, "ctest", ["ctest", "--preset", "release", "--test-output-size-passed",
                                 "1000000", "--output-junit", str(junit)], tree, HOME,
                  confine.confine)
        self.results(run, "release", junit)
        self.end(run, start)
        return run


def table(runs: list[Run]) -> None:
    print(f"\n{'run':<10}  {'passed':>6}  {'failed':>6}  {'skipped':>7}  {'seconds':>7}")
    for run in runs:
        print(f"{run.name:<10}  {run.passed:6}  {run.failed:6}  {run.skipped:7}  {run.seconds:7.0f}")


def main() -> None:
    parser = argparse.ArgumentParser()
    for name in ("root", "allowed", "logs"):
        parser.add_argument(f"--{name}", type=pathlib.Path, required=True)
    parser.add_argument("--runs", nargs="*", default=("as_root", "as_user", "in_a_container"))
    arguments = parser.parse_args()
    try:
        check = Check(arguments.logs, allowed_skips.read(arguments.allowed))
        enter(arguments.root)
    except (OSError, ValueError, subprocess.CalledProcessError) as error:
        print(f"fresh-check: {error}", file=sys.stderr)
        sys.exit(2)
    runs = [getattr(check, name)() for name in arguments.runs]
    table(runs)
    sys.exit(1 if any(run.complaints for run in runs) else 0)


if __name__ == "__main__":
    main()
