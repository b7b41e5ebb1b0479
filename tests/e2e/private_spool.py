# SPDX-License-Identifier: Apache-2.0
"""Gives a test program a scratch /var/spool/cups/tmp of its own, or its turn at the real one.

The filter leaves pictures in that folder. The program runs itself again in a mount
namespace of its own, where scratch memory covers the folder. Where the machine forbids
that, as most containers do, the programs use the folder itself, one after the other:
what is in it already stays, what they made goes at their end, also when they are killed.
A machine whose scheduler runs has that folder in use: there the program ends with one line
and the exit status 77.
"""
import atexit
import contextlib
import fcntl
import functools
import grp
import os
import pathlib
import pwd
import shutil
import signal
import stat
import subprocess
import sys
import tempfile
import unittest
from collections.abc import Callable, Iterator
from typing import Any

import harness

SPOOL = pathlib.Path("/var/spool/cups/tmp")

_INSIDE = "DRAV_E2E_INSIDE"
_OUTER_NAMESPACE = "DRAV_E2E_OUTER_NAMESPACE"
_PROBE = "--probe-private-spool"
_SCHEDULER = "cupsd"
_OWN_FOLDERS = f"{tempfile.gettempdir()}/drav-"  # of the schedulers that tests start
_SCHEDULERS_SOCKETS = ("/run/cups/cups.sock", "/var/run/cups/cups.sock")

_covered = False
_in_turn = False
_strangers: frozenset[str] = frozenset()  # names in the real folder that are not ours


def _namespace() -> str:
    return os.readlink("/proc/self/ns/mnt")


def _ways() -> list[list[str]]:
    """How a mount namespace may be had, the first that works is taken."""
    mounts = ["unshare", "--mount", "--propagation", "private"]
    as_user = [*mounts, "--user", "--map-root-user"]
    return [mounts, as_user] if os.geteuid() == 0 else [as_user]


def _mount(path: pathlib.Path, options: str) -> None:
    subprocess.run(["mount", "-t", "tmpfs", "-o", options, "drav-e2e", str(path)],
                   check=True, stdin=subprocess.DEVNULL)


def _cover_spool() -> None:
    """Only ever called inside the namespace, which it makes sure of."""
    global _covered
    if _namespace() == os.environ[_OUTER_NAMESPACE]:
        raise RuntimeError("still in the machine's own mount namespace")
    folder = SPOOL
    while not folder.is_dir():
        folder = folder.parent
    if folder == pathlib.Path("/"):
        raise RuntimeError("no folder to cover but the root")
    _mount(folder, "mode=0755,size=512m")
    SPOOL.mkdir(parents=True, exist_ok=True)
    SPOOL.chmod(0o1777)
    if list(SPOOL.iterdir()):
        raise RuntimeError(f"{SPOOL} is not a scratch folder")
    _covered = True


def _probe_failure(way: list[str], environment: dict[str, str]) -> str:
    """Why no scratch folder can be had in this way; empty when it can."""
    command = [*way, sys.executable, os.path.abspath(__file__), _PROBE]
    try:
        probe = subprocess.run(command, env=environment, stdin=subprocess.DEVNULL,
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                               timeout=60, check=False)
    except (OSError, subprocess.TimeoutExpired) as error:
        return str(error)
    if probe.returncode == 0:
        return ""
    lines = probe.stdout.strip().splitlines()
    return lines[-1] if lines else f"status {probe.returncode}"


def _machines_scheduler() -> str:
    """What shows that the machine's own scheduler is at work; empty when nothing does."""
    sockets = pathlib.Path("/proc/net/unix").read_text("utf-8", "replace").split()
    for socket in _SCHEDULERS_SOCKETS:
        if socket in sockets:
            return f"something listens at {socket}"
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError):
            command = (folder / "cmdline").read_bytes().decode("utf-8", "replace")
            program = command.partition("\0")[0]
            if pathlib.PurePath(program).name == _SCHEDULER and _OWN_FOLDERS not in command:
                return f"{program} runs"
    return ""


def _open_to_filters() -> None:
    """As a scheduler leaves the folder when it starts: for root and the filters."""
    with contextlib.suppress(KeyError):
        os.chown(SPOOL, pwd.getpwnam("root").pw_uid, grp.getgrnam("lp").gr_gid)
        SPOOL.chmod(0o1770)


def _restore(before: os.stat_result | None, made: list[pathlib.Path]) -> None:
    """Takes away what was made since, whoever made it."""
    for path in own_files():
        if path.is_dir() and not path.is_symlink():
            shutil.rmtree(path, ignore_errors=True)
        else:
            path.unlink(missing_ok=True)
    if before is not None:
        os.chown(SPOOL, before.st_uid, before.st_gid)
        SPOOL.chmod(stat.S_IMODE(before.st_mode))
    for folder in reversed(made):
        folder.rmdir()


def _guard(before: os.stat_result | None, made: list[pathlib.Path]) -> None:
    """Starts a process that tidies up as soon as this one has ended, however it does."""
    reader, writer = os.pipe()
    guard = os.fork()
    if guard == 0:
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            signal.signal(number, signal.SIG_IGN)
        os.close(writer)
        os.read(reader, 1)
        _restore(before, made)
        os._exit(0)
    os.close(reader)

    @atexit.register
    def _end() -> None:
        os.close(writer)
        os.waitpid(guard, 0)


def _locked(made: list[pathlib.Path]) -> bool:
    """Locks the folder; false when it was removed by the one who had made it."""
    made.clear()
    for folder in [*reversed(SPOOL.parents), SPOOL]:
        with contextlib.suppress(FileExistsError):
            folder.mkdir()
            made.append(folder)
    lock = os.open(SPOOL, os.O_RDONLY | os.O_DIRECTORY)
    fcntl.flock(lock, fcntl.LOCK_EX)
    if SPOOL.exists() and os.path.samestat(os.fstat(lock), SPOOL.stat()):
        return True
    os.close(lock)
    return False


def _take_turn() -> str:
    """Waits for the folder itself; says why it cannot be used, if so."""
    global _in_turn, _strangers
    made: list[pathlib.Path] = []
    try:
        # Held by the guard too, which inherits it, until all is as it was.
        while not _locked(made):
            pass
        scheduler = _machines_scheduler()
        if scheduler:
            return f"the machine's scheduler may use it: {scheduler}"
        before = SPOOL.stat()
        _strangers = frozenset(os.listdir(SPOOL))
        if os.geteuid() == 0:
            _guard(before, made)
            _open_to_filters()
        elif os.access(SPOOL, os.W_OK | os.X_OK):
            _guard(None, made)
        else:
            return "this user may not write it"
    except OSError as error:
        return str(error)
    _in_turn = True
    return ""


def enter() -> None:
    """Returns once the folder can be used, in a new run of the program where it is covered."""
    if os.environ.get(_INSIDE) == str(os.getpid()):
        _cover_spool()
        return
    environment = dict(os.environ)
    environment[_OUTER_NAMESPACE] = _namespace()
    reasons = []
    for way in _ways():
        reason = _probe_failure(way, environment)
        if not reason:
            environment[_INSIDE] = str(os.getpid())  # unshare keeps the process
            command = [*way, sys.executable, *sys.argv]
            os.execvpe(command[0], command, environment)
        reasons.append(reason)
    reason = _take_turn()
    if reason:
        print(f"SKIPPED: no scratch folder over {SPOOL} on this machine ({'; '.join(reasons)}), "
              f"and not the folder itself: {reason}", flush=True)
        sys.exit(harness.SKIPPED)


def is_ready() -> bool:
    """True once `enter` has put the folder in place."""
    return _covered or _in_turn


def may_mount() -> bool:
    """Whether tests may cover folders with scratch memory."""
    return _covered


def needs_mounts(test: Callable[..., None]) -> Callable[..., None]:
    """For a test about a file system of its own: skipped where none can be mounted."""

    @functools.wraps(test)
    def run(case: unittest.TestCase, *arguments: Any) -> None:
        if not may_mount():
            case.skipTest("no mount namespace can be made here")
        test(case, *arguments)

    return run


def own_files() -> list[pathlib.Path]:
    """What lies in the folder and was not there before this program."""
    return [path for path in SPOOL.iterdir() if path.name not in _strangers]


def clear() -> None:
    """Empties the folder of the program's files."""
    for path in own_files():
        path.unlink()


@contextlib.contextmanager
def scratch_memory(path: pathlib.Path, options: str) -> Iterator[None]:
    """Covers a folder with scratch memory of these mount options for a while."""
    if not may_mount():
        raise RuntimeError("no mount namespace of our own")
    _mount(path, options)
    try:
        yield
    finally:
        subprocess.run(["umount", "-l", str(path)], check=True, stdin=subprocess.DEVNULL)


if __name__ == "__main__":
    if sys.argv[1:] != [_PROBE]:
        sys.exit("this is no program of its own")
    _cover_spool()
