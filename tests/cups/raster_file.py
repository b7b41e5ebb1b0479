# SPDX-License-Identifier: Apache-2.0
"""Reads the CUPS raster streams that converters write: version 3, numbers of this machine.

The header layout is that of <cups/raster.h>, as tests/e2e/cups_raster.py has it.
"""
import pathlib
import struct
import sys
from typing import NamedTuple

import cups_raster

_ORDER = "<" if sys.byteorder == "little" else ">"
_SYNC = cups_raster.sync_bytes(3, _ORDER)


class RasterPage(NamedTuple):
    """A page: its header by field names, and its pixel rows one after the other."""

    header: dict[str, object]
    pixels: bytes

    def number(self, field: str) -> int:
        value = self.header[field]
        assert isinstance(value, int)
        return value

    @property
    def rows(self) -> list[bytes]:
        size = self.number("cupsBytesPerLine")
        return [self.pixels[at:at + size] for at in range(0, len(self.pixels), size)]


def _header(data: bytes) -> dict[str, object]:
    out: dict[str, object] = {}
    at = 0
    for name, code, count in cups_raster.FIELDS_V2:
        layout = _ORDER + (code if count == 1 else code * count)
        values = [value.split(b"\0")[0].decode("utf-8", "backslashreplace")
                  if isinstance(value, bytes) else value
                  for value in struct.unpack_from(layout, data, at)]
        out[name] = values[0] if count == 1 else tuple(values)
        at += struct.calcsize(layout)
    return out


def read(path: pathlib.Path) -> list[RasterPage]:
    """All pages; a page that is cut short is an error."""
    data = path.read_bytes()
    if data[:4] != _SYNC:
        raise ValueError(f"{path} is no raster of version 3: {data[:4]!r}")
    size = cups_raster.HEADER_SIZES[3]
    pages = []
    at = 4
    while at < len(data):
        if len(data) - at < size:
            raise ValueError(f"{path}: header cut short")
        header = _header(data[at:at + size])
        at += size
        length = int(str(header["cupsBytesPerLine"])) * int(str(header["cupsHeight"]))
        if len(data) - at < length:
            raise ValueError(f"{path}: page {len(pages) + 1} cut short")
        pages.append(RasterPage(header, data[at:at + length]))
        at += length
    return pages
