# SPDX-License-Identifier: Apache-2.0
"""What every test program in Python does: nothing that it starts outlives it.

A program that imports this ends with its parent, and its children end with it, also when
it is killed. run_tests() names each test that is skipped, and fails when a test has left a
process running.
"""
import contextlib
import ctypes
import os
import pathlib
import re
import signal
import subprocess
import sys
import time
import unittest
from collections.abc import Callable, Iterator
from typing import Any

SKIPPED = 77
GRACE = 5.0  # seconds for a process to end that was just told to

_PR_SET_PDEATHSIG, _PR_CAPBSET_DROP, _PR_SET_CHILD_SUBREAPER = 1, 24, 36
_CAPABILITIES = 64  # at most; those that the kernel does not know are refused
_libc = ctypes.CDLL(None, use_errno=True)
_on_linux = sys.platform == "linux"


def end_with_parent(parent: int) -> None:
    """Ties this process to the process `parent`, which may have ended already."""
    if _on_linux:
        _libc.prctl(_PR_SET_PDEATHSIG, signal.SIGKILL)
        if os.getppid() != parent:
            os.kill(os.getpid(), signal.SIGKILL)


class _BoundPopen(subprocess.Popen):  # type: ignore[type-arg]
    """A child that ends with this process."""

    def __init__(self, *arguments: Any, preexec_fn: Callable[[], None] | None = None,
                 **more: Any) -> None:
        parent = os.getpid()

        def prepare() -> None:
            end_with_parent(parent)
            if preexec_fn is not None:
                preexec_fn()

        super().__init__(*arguments, preexec_fn=prepare, **more)


def without_privileges() -> None:
    """For preexec_fn: root's program meets the rights of files as its owner does.

    No other user need be able to go where the program is, and it works in a user namespace
    too, which has no other user.
    """
    if _on_linux and os.geteuid() == 0:
        for capability in range(_CAPABILITIES):
            _libc.prctl(_PR_CAPBSET_DROP, capability, 0, 0, 0)


def _left_children() -> dict[int, str]:
    """Children of this process that still run, those that their own parent left included."""
    with contextlib.suppress(ChildProcessError):
        while os.waitpid(-1, os.WNOHANG)[0] != 0:
            pass
    found = {}
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError):
            fields = (folder / "stat").read_text("utf-8", "replace").rpartition(")")[2].split()
            if fields[0] != "Z" and int(fields[1]) == os.getpid():
                command = (folder / "cmdline").read_bytes().replace(b"\0", b" ")
                found[int(folder.name)] = command.decode("utf-8", "replace").strip()[:120]
    return found


@contextlib.contextmanager
def no_process_left() -> Iterator[None]:
    """Ends the program with 1 when a process is left behind that was not there before."""
    if not _on_linux:
        yield
        return
    before = _left_children()
    _libc.prctl(_PR_SET_CHILD_SUBREAPER, 1)
    yield
    end = time.monotonic() + GRACE
    while (left := _left_children().items() - before.items()) and time.monotonic() < end:
        time.sleep(0.02)
    for number, command in left:
        print(f"FAILED: left running: {command}", flush=True)
        os.kill(number, signal.SIGKILL)
    if left:
        sys.exit(1)


def _name(identity: str) -> str:
    """Class.test, or Class.setUpClass."""
    whole_class = re.fullmatch(r"(\w+) \((.*)\)", identity)
    name = f"{whole_class[2]}.{whole_class[1]}" if whole_class else identity
    return name.removeprefix("__main__.")


def run_tests(arguments: list[str] | None = None) -> None:
    """Runs the tests of the calling program.

    Ends the program with 1 when one failed and SKIPPED when none could run.
    """
    with no_process_left():
        program = unittest.main(module="__main__", argv=arguments or sys.argv[:1], exit=False)
    for test, reason in program.result.skipped:
        print(f"SKIPPED: {_name(test.id())}: {reason}", flush=True)
    if not program.result.wasSuccessful():
        sys.exit(1)
    if program.result.testsRun == len(program.result.skipped):
        sys.exit(SKIPPED)


end_with_parent(os.getppid())
subprocess.Popen = _BoundPopen  # type: ignore[misc]
