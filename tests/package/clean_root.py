# SPDX-License-Identifier: Apache-2.0
"""A clean root folder: programs run in it, files are looked at, a scheduler works in it.

Only for a process in namespaces of its own: what is mounted here ends with them.
"""
import contextlib
import os
import pathlib
import subprocess
import time
from collections.abc import Iterator

ENVIRONMENT = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "HOME": "/root", "LC_ALL": "C.UTF-8",
               "DEBIAN_FRONTEND": "noninteractive"}
SOCKET = "run/cups/cups.sock"


class CheckFailed(Exception):
    """Says what was found instead of what was wanted."""


class CleanRoot:
    def __init__(self, root: pathlib.Path, log: pathlib.Path) -> None:
        self.root = root
        self._log = log

    def path(self, name: str) -> pathlib.Path:
        return self.root / name.lstrip("/")

    def mount(self) -> None:
        for options in (["-t", "proc", "proc", self.path("/proc")],
                        ["-t", "tmpfs", "tmpfs", self.path("/run")],
                        ["--bind", "/dev", self.path("/dev")],
                        ["-t", "devpts", "devpts", self.path("/dev/pts")]):
            subprocess.run(["mount", *options], check=True)
        subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
        policy = self.path("/usr/sbin/policy-rc.d")  # packages start no service here
        policy.write_text("#!/bin/sh\nexit 101\n", encoding="utf-8")
        policy.chmod(0o755)

    def try_run(self, *command: str, prefix: tuple[str, ...] = ()) -> subprocess.CompletedProcess:
        """Runs in the root; what it printed goes to the log too."""
        result = subprocess.run([*prefix, "chroot", self.root, *command], env=ENVIRONMENT, text=True,
                                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, check=False)
        with self._log.open("a", encoding="utf-8") as log:
            log.write(f"$ {' '.join(command)}\n{result.stdout}[{result.returncode}]\n")
        return result

    def run(self, *command: str, prefix: tuple[str, ...] = ()) -> str:
        result = self.try_run(*command, prefix=prefix)
        if result.returncode != 0:
            last = (result.stdout.strip().splitlines() or ["no word"])[-1]
            raise CheckFailed(f"{' '.join(command[:4])} ended with {result.returncode}: {last}")
        return result.stdout

    @contextlib.contextmanager
    def scheduler(self) -> Iterator[None]:
        """A cupsd with the root's own configuration, ready for requests."""
        process = subprocess.Popen(["chroot", self.root, "/usr/sbin/cupsd", "-f"], env=ENVIRONMENT,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        try:
            wait_for(lambda: self.path(SOCKET).exists() and
                     self.try_run("lpstat", "-h", f"/{SOCKET}", "-r").returncode == 0,
                     "the scheduler does not answer")
            yield
        finally:
            process.terminate()
            process.wait(timeout=30)

    def entries(self) -> dict[str, tuple[int, int, int]]:
        """Mode, owner and group of everything, by path."""
        skipped = {self.path(name) for name in ("/proc", "/sys", "/dev", "/run", "/tmp")}
        found = {}
        for folder, folders, files in os.walk(self.root):
            folders[:] = [name for name in folders if pathlib.Path(folder, name) not in skipped]
            for name in [*folders, *files]:
                path = pathlib.Path(folder, name)
                status = path.lstat()
                found["/" + path.relative_to(self.root).as_posix()] = (
                    status.st_mode, status.st_uid, status.st_gid)
        return found


def wait_for(condition, complaint: str, seconds: float = 60) -> None:
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise CheckFailed(complaint)
        time.sleep(0.1)
