# SPDX-License-Identifier: Apache-2.0
"""Takes the byte stream of a job apart, command by command.

Knows what the filter may send and nothing else: an unknown byte, a parameter
that no command of the filter carries, or a command or band that is cut short is
a StreamError.
"""
from typing import NamedTuple

ZERO_BYTES = 64
MAX_BAND_ROWS = 96


class StreamError(ValueError):
    """The stream is not what a printer of this family takes."""


class Item(NamedTuple):
    """One command with all of its bytes."""

    offset: int
    name: str
    data: bytes


class Job(NamedTuple):
    """A decoded stream: its commands in order, and all raster rows."""

    items: list[Item]
    rows: list[bytes]

    def names(self) -> list[str]:
        return [item.name for item in self.items]


# Leading bytes, name, number of parameter bytes behind them.
_COMMANDS: tuple[tuple[bytes, str, int], ...] = (
    (b"\x1b\x40", "initialise", 0),
    (b"\x1f\x1b\x1f\x13\x14", "density", 1),
    (b"\x1b\x70\x00\x40\x40", "drawer 1", 0),
    (b"\x1b\x70\x01\x40\x40", "drawer 2", 0),
    (b"\x1b\x42", "buzzer", 2),
    (b"\x1b\x61", "align", 1),
    (b"\x1c\x70", "logo", 2),
    (b"\x1b\x24\x01\x00", "position", 0),
    (b"\x1b\x4a\xa0", "page feed", 0),
    (b"\x1b\x4a\x78", "job feed", 0),
    (b"\x1b\x64", "feed lines", 1),
    (b"\x0a\x0a\x0a\x0a\x1d\x56\x01", "partial cut", 0),
    (b"\x0a\x0a\x0a\x0a\x1d\x56\x00", "full cut", 0),
    (b"\x1b\x76", "status request", 0),
)
_BAND = b"\x1d\x76\x30\x00"


def _band_at(stream: bytes, offset: int) -> Item:
    header = stream[offset:offset + 8]
    if len(header) < 8:
        raise StreamError(f"band header cut short at {offset}")
    width = header[4] | header[5] << 8
    height = header[6] | header[7] << 8
    if width == 0 or not 1 <= height <= MAX_BAND_ROWS:
        raise StreamError(f"band of {width} bytes by {height} rows at {offset}")
    data = stream[offset:offset + 8 + width * height]
    if len(data) < 8 + width * height:
        owed = 8 + width * height - len(data)
        raise StreamError(f"unfinished band at {offset}, {owed} bytes owed")
    return Item(offset, "band", data)


def _item_at(stream: bytes, offset: int) -> Item:
    if stream.startswith(_BAND, offset):
        return _band_at(stream, offset)
    for lead, name, parameters in _COMMANDS:
        if stream.startswith(lead, offset):
            data = stream[offset:offset + len(lead) + parameters]
            if len(data) < len(lead) + parameters:
                raise StreamError(f"{name} cut short at {offset}")
            return Item(offset, name, data)
    raise StreamError(f"unknown bytes at {offset}: {stream[offset:offset + 8].hex(' ')}")


def band_rows(band: Item) -> list[bytes]:
    """The raster rows of one band."""
    width = band.data[4] | band.data[5] << 8
    return [band.data[i:i + width] for i in range(8, len(band.data), width)]


def _decode_from(stream: bytes, offset: int) -> Job:
    items: list[Item] = []
    rows: list[bytes] = []
    while offset < len(stream):
        item = _item_at(stream, offset)
        items.append(item)
        if item.name == "band":
            rows += band_rows(item)
        offset += len(item.data)
    return Job(items, rows)


def decode(stream: bytes) -> Job:
    """A whole job; its 64 zero bytes are the first item."""
    if stream[:ZERO_BYTES] != bytes(ZERO_BYTES):
        raise StreamError("the stream does not begin with 64 zero bytes")
    rest = _decode_from(stream, ZERO_BYTES)
    return Job([Item(0, "zeros", stream[:ZERO_BYTES]), *rest.items], rest.rows)


def decode_bands(record: bytes) -> Job:
    """A command record: raster bands and nothing else."""
    job = _decode_from(record, 0)
    for item in job.items:
        if item.name != "band":
            raise StreamError(f"{item.name} at {item.offset} of a record")
    return job


def page_rows(job: Job) -> list[list[bytes]]:
    """The raster rows of each page that was fed out."""
    pages: list[list[bytes]] = []
    rows: list[bytes] = []
    for item in job.items:
        if item.name == "band":
            rows += band_rows(item)
        elif item.name == "page feed":
            pages.append(rows)
            rows = []
    return pages
