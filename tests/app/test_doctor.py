#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""drav doctor knows the server: runs, reachable, announced, its printers answer."""
import os
import pathlib
import signal
import subprocess
import unittest

from app_case import AppCase, free_port
from sink import WELL

DRAV = os.environ["DRAV_TOOL"]
AVAHI = pathlib.Path("/run/avahi-daemon/socket")


class DoctorTest(AppCase):
    options = ("share=yes", "tls=no")

    def report(self, **environment: str) -> str:
        """The lines on the server with what mends it."""
        result = subprocess.run([DRAV, "doctor"], env=self.server.environment | environment,
                                text=True, capture_output=True, timeout=60, check=False)
        self.assertEqual(result.stderr, "")
        self.assertGreater(len(result.stdout.splitlines()), 2)
        at = result.stdout.find("printer application")
        return "" if at < 0 else result.stdout[result.stdout.rfind("\n", 0, at) + 1:]

    def test_server_port_queues_and_printers(self) -> None:
        server = self.server
        self.assertRegex(self.report(), r"(?m)^note .*queues: it has none$")
        server.add("near", self.sink(answers=WELL).uri)
        server.add("empty", self.sink(answers={**WELL, 2: b"\x32"}).uri)
        server.add("away", f"socket://127.0.0.1:{free_port()}")
        report = self.report()
        self.assertRegex(report, r"\Aok +printer application: runs; .*\.sock\n")
        self.assertRegex(report, rf"(?m)^ok .*port: answers at localhost:{server.port}$")
        self.assertRegex(report, r"(?m)^ok .*queue near: its printer is there$")
        self.assertRegex(report, r"(?m)^warn .*queue empty: its printer says media-empty$")
        self.assertRegex(report, r"(?m)^FAIL .*queue away: its printer does not answer$")
        if AVAHI.exists():
            self.assertRegex(report, r"(?m)^ok .*queue near: is announced as near$")
        else:
            self.assertRegex(report, r"(?m)^warn .*queue near: is shared, but nobody finds it")
        server.stop(signal.SIGKILL)
        self.assertRegex(self.report(), r"\AFAIL +printer application: does not answer at .*\.sock\n"
                                        r" +fix: sudo systemctl start drav-printer-app\n")
        server.options = ()
        server.start()
        self.assertRegex(self.report(), r"(?m)^note .*queue near: is not announced")
        self.assertEqual(self.report(TMPDIR="/nowhere", SNAP_COMMON="/nowhere"), "")

    def test_a_server_that_a_command_has_started_has_no_port(self) -> None:
        server = self.server
        server.stop(signal.SIGKILL)
        self.addCleanup(server.start)
        server.run("add", "-d", "private", "-v", self.sink().uri, "-m", "dravsa43")
        self.addCleanup(server.run, "shutdown")
        self.assertRegex(self.report(), r"(?m)^warn .*port: it has none: a command has started it")


if __name__ == "__main__":
    unittest.main()
