# SPDX-License-Identifier: Apache-2.0
"""The system calls of a normal job: what the filter opens, and what it never asks for."""
import os
import pathlib
import re
import subprocess
import unittest
from typing import NamedTuple

import cups_raster
import filter_case
import ppd_text
from filter_case import DOTS_PAGE, SPOOL, FilterCase

# Everything that a job asks of the kernel. No program is started (execve once, by
# the tracer; no fork, clone or wait), nothing is sent over a network (no socket),
# no file is removed, renamed, linked or given other rights, and no identity or
# privilege is changed.
CALLS = frozenset((
    # loading the program and its libraries
    "execve", "access", "openat", "pread64", "mmap", "mprotect", "munmap", "close", "read",
    "newfstatat", "fstat", "arch_prctl", "set_tid_address", "set_robust_list", "rseq",
    "prlimit64", "getrandom", "prctl", "futex",
    # memory
    "brk", "mremap", "madvise",
    # signals and descriptors of the job, its files
    "rt_sigaction", "rt_sigprocmask", "fcntl", "ftruncate", "lseek", "write",
    # whether HOME of the environment can be trusted (libcups)
    "getuid", "geteuid", "getgid", "getegid",
    "exit_group",
    # libc++ where a static variable is made
    *(("gettid",) if filter_case.LIBCXX else ()),
))

# What may be read besides the PPD file and the raster: the C library's and libcups's
# own start-up.
READABLE = re.compile(
    r"/etc/ld\.so\.(?:cache|preload)"
    r"|/(?:usr/)?lib(?:32|64|x32)?/(?:[\w+-]+/)?[\w+.-]+\.so(?:\.[\d.]+)?"
    r"|/etc/localtime|/usr/share/zoneinfo/[\w/+:-]+"
    r"|/usr/lib/locale/[\w./@-]+|/usr/share/(?:cups/)?locale/[\w./@-]+"
    r"|/etc/cups/client\.conf|/etc/gnutls/config|/proc/sys/crypto/fips_enabled")

LINE = re.compile(r"^\d+\s+(?P<name>\w+)\((?P<arguments>.*)\)\s+= (?P<result>.*)$")
OPENED = re.compile(r'^AT_FDCWD(?:<[^>]*>)?, "(?P<path>[^"]*)", (?P<flags>[A-Z_|]+)'
                    r"(?:, (?P<mode>0\d*))?$")


class Call(NamedTuple):
    """One call as the tracer wrote it."""

    name: str
    arguments: str
    result: str


def tracing_forbidden() -> str:
    """Why no program can be traced here; empty when one can."""
    try:
        done = subprocess.run(["strace", "-o", "/dev/null", "/bin/true"], check=False,
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    except FileNotFoundError:
        return "strace is not installed"
    if done.returncode == 0:
        return ""
    return (done.stderr.strip().splitlines() or ["ptrace is forbidden"])[-1]


FORBIDDEN = tracing_forbidden()


@unittest.skipIf(filter_case.SANITIZED, "sanitizers make system calls of their own")
@unittest.skipIf(os.environ.get("DRAV_COUNTED"), "the counts of coverage are written to a file")
@unittest.skipIf(FORBIDDEN, f"no system calls can be traced here: {FORBIDDEN}")
class SystemCallsTest(FilterCase):
    PAGES = [DOTS_PAGE, cups_raster.grey([bytes(range(200))] * 150),
             cups_raster.grey([bytes(2480)] * 2000)]

    def spooled_environment(self, ppd: str) -> dict[str, str]:
        """The variables that the scheduler sets."""
        return self.environment(ppd) | {
            "HOME": str(SPOOL), "TMPDIR": str(SPOOL), "CHARSET": "utf-8", "LANG": "en_US.UTF-8",
            "CUPS_DATADIR": "/usr/share/cups", "CUPS_SERVERBIN": "/usr/lib/cups",
            "CUPS_SERVERROOT": "/etc/cups", "CUPS_CACHEDIR": "/var/cache/cups",
            "CUPS_STATEDIR": "/run/cups", "CONTENT_TYPE": "application/vnd.cups-raster",
            "FINAL_CONTENT_TYPE": "application/octet-stream", "PRINTER": "receipt-queue",
            "DEVICE_URI": "socket://192.0.2.10", "USER": "lp"}

    def trace(self, ppd: str, named: bool) -> list[Call]:
        """Runs the job under the tracer and takes its record apart."""
        raster = self.write("job.ras", cups_raster.stream(self.PAGES))
        record = self.folder / "trace"
        arguments = [str(raster)] if named else []
        command = ["strace", "-f", "-y", "-s", "0", "-o", str(record), "--",
                   filter_case.filter_path(), *self.arguments("", "1", *arguments)[1:]]
        with raster.open("rb") as source, (self.folder / "out").open("wb") as out:
            done = subprocess.run(
                command, stdin=subprocess.DEVNULL if named else source, stdout=out,
                stderr=subprocess.PIPE, cwd=self.folder, env=self.spooled_environment(ppd),
                timeout=filter_case.TIMEOUT, check=False)
        self.assertEqual(done.returncode, 0, done.stderr[-500:])
        self.assertIn(b"DEBUG:Ready to print.\n", done.stderr)
        calls = []
        for line in record.read_text("utf-8", "backslashreplace").splitlines():
            if "+++ exited with 0 +++" in line:
                continue
            found = LINE.match(line)
            assert found is not None, line
            calls.append(Call(found["name"], found["arguments"], found["result"]))
        self.assertGreater(len(calls), 100)
        return calls

    def assert_no_others(self, calls: list[Call]) -> None:
        self.assertEqual(sorted({call.name for call in calls} - CALLS), [])
        self.assertEqual(len([call for call in calls if call.name == "execve"]), 1)
        for call in calls:
            if call.name == "prctl":
                self.assertTrue(call.arguments.startswith("PR_CAPBSET_READ, "), call)
            if call.name == "futex":
                self.assertIn("FUTEX_WAKE", call.arguments)
            if call.name == "prlimit64":
                self.assertIn("NULL", call.arguments.split(", ")[2], call)

    def opened(self, calls: list[Call]) -> tuple[list[str], list[str]]:
        """The paths that were opened for reading, and those for writing."""
        reads, writes = [], []
        for call in calls:
            if call.name != "openat":
                continue
            found = OPENED.match(call.arguments)
            assert found is not None, call
            flags = set(found["flags"].split("|"))
            if flags & {"O_WRONLY", "O_RDWR", "O_CREAT", "O_TRUNC", "O_APPEND"}:
                self.assertLessEqual({"O_CREAT", "O_NOFOLLOW", "O_CLOEXEC"}, flags, call)
                self.assertEqual(found["mode"], "0600", call)
                writes.append(found["path"])
            else:
                reads.append(found["path"])
        return reads, writes

    def assert_written(self, calls: list[Call], files: list[str]) -> None:
        """Bytes go to standard output, standard error, and these files."""
        allowed = {f"1<{self.folder}/out>"}
        for call in calls:
            if call.name in ("write", "ftruncate"):
                target = call.arguments.split(", ")[0]
                path = re.sub(r"^\d+<(.*)>$", r"\1", target)
                self.assertTrue(target in allowed or target.startswith("2<pipe:")
                                or path in files, call)

    def assert_closed_in_order(self, calls: list[Call], *paths: str) -> None:
        """Each of the files is closed once, one after the other."""
        closed = [call.arguments.partition("<")[2][:-1] for call in calls
                  if call.name == "close" and call.result == "0"]
        self.assertEqual([path for path in closed if path in paths], list(paths))

    def assert_held(self, halftone: str, named: bool, records: bool) -> None:
        ppd = ppd_text.ppd_text({"HalftoneType": halftone,
                                 "RecordPrinterCommands": "1" if records else "0"},
                                {"dravFilterOutputFile": f"{self.folder}/cmds"})
        before = set(os.listdir(self.folder)) | {"trace", "out", "job.ras", "printer.ppd"}
        calls = self.trace(ppd, named)
        self.assert_no_others(calls)
        reads, writes = self.opened(calls)
        stored = [str(path) for path in self.pictures().values()]
        stored += map(str, self.folder.glob("cmds-*.bin"))
        self.assertEqual(len(stored), 2 * len(self.PAGES) + records)
        self.assertEqual(sorted(writes), sorted(stored))
        self.assert_written(calls, stored)
        own = [str(self.folder / "printer.ppd")] + [str(self.folder / "job.ras")] * named
        self.assertEqual(sorted(path for path in reads if not READABLE.fullmatch(path)),
                         sorted(own))
        if named and records:
            self.assert_closed_in_order(calls, own[-1], stored[-1])
        new = set(os.listdir(self.folder)) - before
        self.assertEqual(new, {pathlib.Path(path).name for path in stored
                               if path.startswith(str(self.folder))})

    def test_without_pictures_no_file_is_opened_for_writing(self) -> None:
        ppd = ppd_text.ppd_text({"HalftoneType": "Stucki", "KeepPictures": ("False", "True")})
        calls = self.trace(ppd, named=False)
        self.assert_no_others(calls)
        reads, writes = self.opened(calls)
        self.assertEqual(writes, [])
        self.assert_written(calls, [])
        self.assertEqual([path for path in reads if not READABLE.fullmatch(path)],
                         [str(self.folder / "printer.ppd")])
        # Not even looked at: no call names the spool.
        self.assertEqual([call for call in calls if str(SPOOL) in call.arguments
                          and call.name != "execve"], [])

    def test_raster_on_standard_input(self) -> None:
        self.assert_held("Stucki", named=False, records=False)

    def test_raster_in_a_file_with_a_record(self) -> None:
        self.assert_held("Tattoo_X8", named=True, records=True)


if __name__ == "__main__":
    filter_case.main()
