# SPDX-License-Identifier: Apache-2.0
"""Gives a test program a scratch /var/spool/cups/tmp of its own.

The filter leaves pictures in that folder. The program runs itself again in a
mount namespace of its own, where scratch memory covers the folder; the machine's
own folder is never touched. Where the machine forbids that, the program ends
with one line and the exit status 77.
"""
import contextlib
import os
import pathlib
import subprocess
import sys
import unittest
from collections.abc import Iterator

SPOOL = pathlib.Path("/var/spool/cups/tmp")
SKIPPED = 77

_INSIDE = "DRAV_E2E_INSIDE"
_OUTER_NAMESPACE = "DRAV_E2E_OUTER_NAMESPACE"
_PROBE = "--probe-private-spool"

_covered = False


def _namespace() -> str:
    return os.readlink("/proc/self/ns/mnt")


def _unshare() -> list[str]:
    command = ["unshare", "--mount", "--propagation", "private"]
    return command if os.geteuid() == 0 else [*command, "--map-root-user", "--user"]


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


def _probe_failure(environment: dict[str, str]) -> str:
    """Why no scratch folder can be had; empty when it can."""
    command = [*_unshare(), sys.executable, os.path.abspath(__file__), _PROBE]
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


def enter() -> None:
    """Returns once the scratch folder is in place, in a new run of the program."""
    if os.environ.get(_INSIDE) == str(os.getpid()):
        _cover_spool()
        return
    environment = dict(os.environ)
    environment[_OUTER_NAMESPACE] = _namespace()
    reason = _probe_failure(environment)
    if reason:
        print(f"SKIPPED: no scratch folder over {SPOOL} on this machine: {reason}", flush=True)
        sys.exit(SKIPPED)
    environment[_INSIDE] = str(os.getpid())  # unshare keeps the process
    command = [*_unshare(), sys.executable, *sys.argv]
    os.execvpe(command[0], command, environment)


def is_private() -> bool:
    """True once `enter` has put the scratch folder in place."""
    return _covered


@contextlib.contextmanager
def scratch_memory(path: pathlib.Path, options: str) -> Iterator[None]:
    """Covers a folder with scratch memory of these mount options for a while."""
    if not is_private():
        raise RuntimeError("no mount namespace of our own")
    _mount(path, options)
    try:
        yield
    finally:
        subprocess.run(["umount", "-l", str(path)], check=True, stdin=subprocess.DEVNULL)


def run_tests(arguments: list[str] | None = None) -> None:
    """Runs the tests of the calling program and names those that were skipped.

    Ends the program with 1 when one failed and SKIPPED when none could run.
    """
    program = unittest.main(module="__main__", argv=arguments, exit=False)
    for test, reason in program.result.skipped:
        print(f"SKIPPED: {test}: {reason}", flush=True)
    if not program.result.wasSuccessful():
        sys.exit(1)
    if program.result.testsRun == len(program.result.skipped):
        sys.exit(SKIPPED)


if __name__ == "__main__":
    if sys.argv[1:] != [_PROBE]:
        sys.exit("this is no program of its own")
    _cover_spool()
