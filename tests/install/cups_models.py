# SPDX-License-Identifier: Apache-2.0
"""The models that CUPS would offer, as `lpinfo -m` lists them, without a scheduler."""
import os
import pathlib
import struct
import subprocess

LAST_GROUP_TAG = 0x0F


def driverd() -> pathlib.Path:
    serverbin = subprocess.run(["cups-config", "--serverbin"], check=True, capture_output=True,
                               text=True).stdout.strip()
    return pathlib.Path(serverbin) / "daemon/cups-driverd"


def _driver_groups(message: bytes) -> list[dict[str, str]]:
    """First value of each attribute, by group, of an IPP message (RFC 8010, 3.1)."""
    groups: list[dict[str, str]] = []
    at = 8  # version, status, request
    while at < len(message):
        tag = message[at]
        at += 1
        if tag <= LAST_GROUP_TAG:
            groups.append({})
            continue
        texts = []
        for _ in range(2):
            (length,) = struct.unpack_from(">H", message, at)
            texts.append(message[at + 2:at + 2 + length].decode("utf-8", "replace"))
            at += 2 + length
        if texts[0]:
            groups[-1].setdefault(*texts)
    return [group for group in groups if "ppd-name" in group]


def listed(data: pathlib.Path, scratch: pathlib.Path) -> list[tuple[str, str]]:
    """(name, make and model) of each driver below a CUPS data folder.

    `scratch` holds the cache; no program of the machine is asked for drivers.
    """
    (scratch / "bin/driver").mkdir(parents=True, exist_ok=True)
    (scratch / "cache").mkdir(exist_ok=True)
    environment = {**os.environ, "CUPS_DATADIR": str(data), "CUPS_SERVERBIN": str(scratch / "bin"),
                   "CUPS_CACHEDIR": str(scratch / "cache"), "CUPS_SERVERROOT": str(scratch)}
    answer = subprocess.run([driverd(), "list", "1", "0", "ppd-make=Drav"], env=environment,
                            stdin=subprocess.DEVNULL, capture_output=True, check=True).stdout
    head, _, message = answer.partition(b"\n\n")
    if head != b"Content-Type: application/ipp":
        raise ValueError(f"no answer that can be read: {head!r}")
    return [(group["ppd-name"], group["ppd-make-and-model"]) for group in _driver_groups(message)]
