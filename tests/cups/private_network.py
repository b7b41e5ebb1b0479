# SPDX-License-Identifier: Apache-2.0
"""A network of the test program's own, with nothing in it but the loopback interface.

No test can reach a printer of the machine's network by mistake. The buffers of
its connections are kept small as well, so that a printer that stops reading is
soon felt by the filter, whatever the machine's settings are. Where the machine forbids
such a network, its own loopback interface serves, which all test printers listen on.
"""
import ctypes
import fcntl
import functools
import pathlib
import socket
import struct
import unittest
from collections.abc import Callable
from typing import Any

_CLONE_NEWNET = 0x40000000
_SIOCGIFFLAGS, _SIOCSIFFLAGS, _SIOCSIFADDR = 0x8913, 0x8914, 0x8916
_IFF_UP = 1
_WRITE_BUFFER = pathlib.Path("/proc/sys/net/ipv4/tcp_wmem")
_SMALL = 8192  # bytes

_entered = False


def enter(small_buffers: bool = True) -> None:
    """Moves this process and those that it starts, where that is allowed.

    To be called before the first thread.
    """
    if ctypes.CDLL(None, use_errno=True).unshare(_CLONE_NEWNET) != 0:
        return
    global _entered
    _entered = True
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as control:
        request = struct.pack("16sH14x", b"lo", 0)
        request = fcntl.ioctl(control, _SIOCGIFFLAGS, request)
        flags = struct.unpack_from("H", request, 16)[0] | _IFF_UP
        fcntl.ioctl(control, _SIOCSIFFLAGS, struct.pack("16sH14x", b"lo", flags))
    if small_buffers:
        _WRITE_BUFFER.write_text(f"4096 {_SMALL} {_SMALL}", "ascii")


def add_address(address: str) -> bool:
    """Gives the machine a further address in the network of its own; False without one."""
    if _entered:
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as control:
            fcntl.ioctl(control, _SIOCSIFADDR, struct.pack(
                "16sH2x4s8x", b"lo:1", socket.AF_INET, socket.inet_aton(address)))
    return _entered


def needs_small_buffers(test: Callable[..., None]) -> Callable[..., None]:
    """For a test in which the filter must feel that the printer has stopped reading.

    The buffers of the machine's own network hold a few megabytes, a whole job.
    """

    @functools.wraps(test)
    def run(case: unittest.TestCase, *arguments: Any) -> None:
        if not _entered:
            case.skipTest("no network namespace can be made here")
        test(case, *arguments)

    return run
