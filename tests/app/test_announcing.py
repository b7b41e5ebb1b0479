#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What avahi tells the network of the server, in a network and a /run of the test's own."""
import ctypes
import os
import pathlib
import shlex
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest
from collections.abc import Callable
from typing import Any

import private_network
from app_case import AppCase
from ipp_client import Client

HOST = "192.0.2.7"
PROGRAMS = ("dbus-daemon", "avahi-daemon", "avahi-browse")
MACHINE = "parlour"
HOSTNAME = pathlib.Path("/etc/hostname")
AVAHI_SOCKET = pathlib.Path("/run/avahi-daemon/socket")
BUS = """<busconfig>
  <type>system</type>
  <listen>unix:path={folder}/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/> <allow own="*"/> <allow send_type="method_call"/>
    <allow send_destination="*"/> <allow receive_sender="*"/>
  </policy>
</busconfig>
"""
AVAHI = """[server]
use-ipv6=no
disallow-other-stacks=no
[wide-area]
enable-wide-area=no
[publish]
publish-workstation=no
publish-hinfo=no
"""
_CLONE_NEWNS, _CLONE_NEWUTS = 0x20000, 0x4000000
_MS_BIND, _MS_REC, _MS_PRIVATE = 0x1000, 0x4000, 1 << 18


def enter_own_machine() -> bool:
    """One of another name. avahi's socket and number are below /run, whatever its settings."""
    libc = ctypes.CDLL(None, use_errno=True)
    if (libc.unshare(_CLONE_NEWNS | _CLONE_NEWUTS) != 0 or
            libc.mount(b"none", b"/", None, _MS_REC | _MS_PRIVATE, None) != 0 or
            libc.mount(b"drav-run", b"/run", b"tmpfs", 0, None) != 0):
        return False
    name = pathlib.Path("/run/hostname")
    name.write_text(f"{MACHINE}\n")
    socket.sethostname(MACHINE)
    return libc.mount(bytes(name), bytes(HOSTNAME), None, _MS_BIND, None) == 0


def until(what: str, holds: Callable[[], Any], timeout: float = 15.0) -> Any:
    end = time.monotonic() + timeout
    while not (found := holds()):
        if time.monotonic() > end:
            raise AssertionError(f"{what} within {timeout} s")
        time.sleep(0.1)
    return found


def services(kind: str) -> dict[str, dict[str, str]]:
    """Name -> fields of its TXT record, with its host and port."""
    said = subprocess.run(["avahi-browse", "--resolve", "--parsable", "--terminate",
                           "--no-db-lookup", kind],
                          capture_output=True, text=True, timeout=30, check=False)
    found = {}
    for line in said.stdout.splitlines():
        if not line.startswith("="):
            continue
        _, _, _, name, _, _, host, _, port, text = line.split(";", 9)
        fields = dict(one.partition("=")[::2] for one in shlex.split(text))
        found[name.replace("\\032", " ")] = {**fields, "host": host, "port": port}
    return found


class AnnouncingTest(AppCase):
    options = ("share=yes", "tls=no")

    @classmethod
    def setUpClass(cls) -> None:
        folder = tempfile.TemporaryDirectory(prefix="drav-bus-")
        cls.addClassCleanup(folder.cleanup)
        base = pathlib.Path(folder.name)
        (base / "bus.conf").write_text(BUS.format(folder=base))
        (base / "avahi.conf").write_text(AVAHI)
        os.environ["DBUS_SYSTEM_BUS_ADDRESS"] = f"unix:path={base}/bus"
        cls.start("dbus-daemon", "--nofork", "--nopidfile", f"--config-file={base}/bus.conf")
        until("no message bus", (base / "bus").exists)
        cls.start("avahi-daemon", "--no-drop-root", "--no-chroot", "--no-rlimits",
                  "--no-proc-title", f"--file={base}/avahi.conf")
        until("no avahi", AVAHI_SOCKET.exists)
        super().setUpClass()

    @classmethod
    def start(cls, *command: str) -> None:
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)

        def end() -> None:
            process.terminate()
            process.wait(10)

        cls.addClassCleanup(end)

    def test_a_tablet_finds_a_queue_and_what_it_needs_to_print(self) -> None:
        printer = self.sink()
        self.server.run("add", "-d", "Stencil lines", "-v", printer.uri, "-m", "dravsa43")
        client = self.server.client("Stencil_lines")
        found = until("the queue is not announced",
                      lambda: services("_universal._sub._ipp._tcp").get("Stencil lines"))
        attributes = client.printer()
        for field, want in (("rp", "ipp/print/Stencil_lines"),
                            ("ty", "Drav Stencil A4 300 dpi"),
                            ("product", "(Drav Stencil A4 300 dpi)"),
                            ("URF", ",".join(attributes["urf-supported"])),
                            ("UUID", attributes["printer-uuid"][0].removeprefix("urn:uuid:")),
                            ("Color", "F"), ("Duplex", "F"), ("txtvers", "1"), ("qtotal", "1"),
                            ("port", str(self.server.port)), ("host", f"{MACHINE}.local")):
            with self.subTest(field):
                self.assertEqual(found[field], want)
        formats = found["pdl"].split(",")
        self.assertLessEqual({"image/urf", "image/pwg-raster", "image/jpeg", "application/pdf"},
                             set(formats))
        self.assertLessEqual(set(formats), set(attributes["document-format-supported"]))
        self.assertEqual(services("_ipp._tcp")["Stencil lines"], found)
        self.assertEqual(Client(self.server.port, "/" + found["rp"], HOST).printer()[
            "printer-name"], ["Stencil lines"])
        report = subprocess.run([os.environ["DRAV_TOOL"], "doctor"], capture_output=True, text=True,
                                env=self.server.environment, timeout=60, check=False).stdout
        self.assertRegex(report, r"(?m)^ok .*queue Stencil lines: is announced as Stencil lines$")
        self.server.run("delete", "-d", "Stencil lines")
        until("the queue is still announced",
              lambda: "Stencil lines" not in services("_ipp._tcp"))

    def test_a_server_that_is_not_shared_announces_nothing(self) -> None:
        server = self.server
        server.add("Receipt", self.sink().uri)
        until("the queue is not announced", lambda: "Receipt" in services("_ipp._tcp"))
        server.wait_state("DNSSDName Receipt")
        server.stop(signal.SIGKILL)
        server.options = ()
        server.start()
        # PAPPL would call the machine "localhost", as this server calls itself.
        self.assertEqual((socket.gethostname(), HOSTNAME.read_text()), (MACHINE, f"{MACHINE}\n"))
        server.add("Another", self.sink().uri)
        time.sleep(1.5)  # longer than what is announced takes
        self.assertEqual(services("_ipp._tcp"), {})
        self.assertEqual(services("_ipps-system._tcp"), {})
        server.stop()
        server.options = self.options
        server.start()


if __name__ == "__main__":
    missing = [one for one in PROGRAMS if shutil.which(one) is None]
    if missing:
        print(f"SKIP: {', '.join(missing)} is not installed")
        sys.exit(77)
    private_network.enter(small_buffers=False)
    if not private_network.add_address(HOST) or not enter_own_machine():
        print("SKIP: this machine allows no network of the test's own")
        sys.exit(77)
    unittest.main()
