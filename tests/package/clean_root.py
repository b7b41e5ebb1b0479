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
CGROUP = "drav-package-check"
# Makes the folder $1 the root of namespaces of its own, within the process group $2 of the
# kernel's, and starts systemd there. Devices and processes of this machine stay outside.
BOOT = r"""
echo $$ >"$2/cgroup.procs"
exec unshare --mount --propagation private --pid --ipc --uts --cgroup --fork --kill-child \
  sh -e -c '
    mount --rbind "$1" "$1"
    cd "$1"
    mount -t proc proc proc
    mount -t sysfs -o ro sysfs sys
    mount -t cgroup2 cgroup2 sys/fs/cgroup
    mount -t tmpfs -o mode=755 tmpfs run
    mount --rbind dev mnt
    mount -t tmpfs -o mode=755 tmpfs dev
    for name in null zero full random urandom tty; do
      : >dev/$name
      mount --bind mnt/$name dev/$name
    done
    mkdir dev/pts dev/shm
    mount -t devpts -o newinstance,ptmxmode=0666 devpts dev/pts
    ln -s pts/ptmx dev/ptmx
    umount --lazy mnt
    pivot_root . mnt
    umount --lazy /mnt
    exec env -i container=unshare PATH="$PATH" /lib/systemd/systemd
  ' sh "$1"
"""


class CheckFailed(Exception):
    """Says what was found instead of what was wanted."""


class CleanRoot:
    def __init__(self, root: pathlib.Path, log: pathlib.Path) -> None:
        self.root = root
        self._log = log
        self._systemd = 0  # its number, while it runs

    def path(self, name: str) -> pathlib.Path:
        return self.root / name.lstrip("/")

    def mount(self) -> None:
        for options in (["-t", "proc", "proc", "/proc"],
                        ["-t", "proc", "proc", self.path("/proc")],
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
        enter: list = ["chroot", self.root]
        if self._systemd:
            enter = ["nsenter", f"--target={self._systemd}", "--mount", "--pid", "--ipc", "--uts",
                     "--cgroup"]
        result = subprocess.run([*prefix, *enter, *command], env=ENVIRONMENT, text=True,
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
    def background(self, *command: str, environment: dict[str, str] | None = None) -> Iterator[None]:
        """Runs in the root as long as the block; its errors go to the log."""
        with self._log.open("a", encoding="utf-8") as log:
            process = subprocess.Popen(["chroot", self.root, *command],
                                       env=ENVIRONMENT | (environment or {}),
                                       stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        try:
            yield
        finally:
            process.terminate()
            process.wait(timeout=30)

    @contextlib.contextmanager
    def scheduler(self) -> Iterator[None]:
        """A cupsd with the root's own configuration, ready for requests."""
        with self.background("/usr/sbin/cupsd", "-f"):
            wait_for(lambda: self.path(SOCKET).exists() and
                     self.try_run("lpstat", "-h", f"/{SOCKET}", "-r").returncode == 0,
                     "the scheduler does not answer")
            yield

    @contextlib.contextmanager
    def booted(self) -> Iterator[None]:
        """The root's own systemd runs, and every service that is enabled."""
        mounts = [line.split() for line in pathlib.Path("/proc/mounts").read_text().splitlines()]
        group = next((pathlib.Path(folder) / CGROUP for _, folder, kind, *_ in mounts
                      if kind == "cgroup2"), None)
        if group is None:
            raise CheckFailed("systemd needs a cgroup2 file system")
        group.mkdir(exist_ok=True)
        policy = self.path("/usr/sbin/policy-rc.d")
        policy.rename(policy.with_suffix(".off"))  # packages start their services here
        with self._log.open("a", encoding="utf-8") as log:
            process = subprocess.Popen(["sh", "-e", "-c", BOOT, "sh", self.root, group],
                                       stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        children = pathlib.Path(f"/proc/{process.pid}/task/{process.pid}/children")
        try:
            wait_for(lambda: self._knows_systemd(children), "systemd does not start")
            if self.try_run("systemctl", "is-system-running", "--wait").returncode != 0:
                raise CheckFailed(self.try_run("systemctl", "--failed", "--plain").stdout)
            yield
        finally:
            self.try_run("systemctl", "poweroff", "--no-block")
            self._systemd = 0
            try:
                process.wait(timeout=60)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
            policy.with_suffix(".off").rename(policy)

    def _knows_systemd(self, children: pathlib.Path) -> bool:
        """Whether it is ready to be asked; until then the child may be the shell before it."""
        numbers = children.read_text().split()
        if not numbers or pathlib.Path(f"/proc/{numbers[0]}/comm").read_text() != "systemd\n":
            return False
        self._systemd = int(numbers[0])
        if self.try_run("test", "-S", "/run/systemd/private").returncode == 0:
            return True
        self._systemd = 0
        return False

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
