# SPDX-License-Identifier: Apache-2.0
"""Writes CUPS raster streams of versions 1, 2 and 3 in both byte orders.

The header layout is that of <cups/raster.h>; the stream forms are those of the
published "CUPS Raster Format": the sync word in the order of the numbers, one
header a page, then the pixel rows, which version 2 alone compresses.
"""
import dataclasses
import struct
from collections.abc import Iterable, Mapping

Value = int | float | str
Values = Value | tuple[Value, ...]

BIG = ">"
LITTLE = "<"
BYTE_ORDERS = (BIG, LITTLE)
VERSIONS = (1, 2, 3)

K = 3  # cupsColorSpace of grey pages on which 0 is no ink

SYNC_WORDS = {1: b"RaSt", 2: b"RaS2", 3: b"RaS3"}
HEADER_SIZES = {1: 420, 2: 1796, 3: 1796}

# Name, struct code, count; a string of 64 bytes is "64s".
FIELDS_V1: tuple[tuple[str, str, int], ...] = (
    ("MediaClass", "64s", 1), ("MediaColor", "64s", 1),
    ("MediaType", "64s", 1), ("OutputType", "64s", 1),
    ("AdvanceDistance", "I", 1), ("AdvanceMedia", "I", 1), ("Collate", "I", 1),
    ("CutMedia", "I", 1), ("Duplex", "I", 1), ("HWResolution", "I", 2),
    ("ImagingBoundingBox", "I", 4), ("InsertSheet", "I", 1), ("Jog", "I", 1),
    ("LeadingEdge", "I", 1), ("Margins", "I", 2), ("ManualFeed", "I", 1),
    ("MediaPosition", "I", 1), ("MediaWeight", "I", 1), ("MirrorPrint", "I", 1),
    ("NegativePrint", "I", 1), ("NumCopies", "I", 1), ("Orientation", "I", 1),
    ("OutputFaceUp", "I", 1), ("PageSize", "I", 2), ("Separations", "I", 1),
    ("TraySwitch", "I", 1), ("Tumble", "I", 1),
    ("cupsWidth", "I", 1), ("cupsHeight", "I", 1), ("cupsMediaType", "I", 1),
    ("cupsBitsPerColor", "I", 1), ("cupsBitsPerPixel", "I", 1),
    ("cupsBytesPerLine", "I", 1), ("cupsColorOrder", "I", 1),
    ("cupsColorSpace", "I", 1), ("cupsCompression", "I", 1),
    ("cupsRowCount", "I", 1), ("cupsRowFeed", "I", 1), ("cupsRowStep", "I", 1),
)
FIELDS_V2 = FIELDS_V1 + (
    ("cupsNumColors", "I", 1), ("cupsBorderlessScalingFactor", "f", 1),
    ("cupsPageSize", "f", 2), ("cupsImagingBBox", "f", 4),
    ("cupsInteger", "I", 16), ("cupsReal", "f", 16), ("cupsString", "64s", 16),
    ("cupsMarkerType", "64s", 1), ("cupsRenderingIntent", "64s", 1),
    ("cupsPageSizeName", "64s", 1),
)


@dataclasses.dataclass(frozen=True)
class Page:
    """One page: its pixel rows as they go out, and its header by field names."""

    pixels: bytes
    header: Mapping[str, Values]

    @property
    def bytes_per_line(self) -> int:
        value = self.header["cupsBytesPerLine"]
        assert isinstance(value, int)
        return value

    @property
    def bytes_per_pixel(self) -> int:
        bits = self.header["cupsBitsPerPixel"]
        assert isinstance(bits, int)
        return max(1, bits // 8)


def page(width: int, height: int, pixels: bytes, **fields: Values) -> Page:
    """A page of `pixels` (8-bit K, 300 dpi, rows of `width` bytes unless named otherwise)."""
    header: dict[str, Values] = {
        "HWResolution": (300, 300), "NumCopies": 1,
        "PageSize": (width * 72 // 300, height * 72 // 300),
        "cupsWidth": width, "cupsHeight": height,
        "cupsBitsPerColor": 8, "cupsBitsPerPixel": 8, "cupsBytesPerLine": width,
        "cupsColorOrder": 0, "cupsColorSpace": K, "cupsNumColors": 1,
        "cupsPageSize": (width * 72 / 300, height * 72 / 300),
        "cupsPageSizeName": "X80MMY200MM",
    }
    header.update(fields)
    return Page(pixels, header)


def grey(rows: Iterable[bytes], **fields: Values) -> Page:
    """An 8-bit K page of these rows, all of one length."""
    rows = list(rows)
    if len({len(row) for row in rows}) != 1:
        raise ValueError("the rows differ in length")
    return page(len(rows[0]), len(rows), b"".join(rows), **fields)


def header_bytes(header: Mapping[str, Values], version: int, order: str) -> bytes:
    """The page header; fields that are not named are 0. Version 1 drops the later ones."""
    unknown = set(header) - {name for name, _, _ in FIELDS_V2}
    if unknown:
        raise ValueError(f"no such header fields: {sorted(unknown)}")
    out = bytearray()
    for name, code, count in FIELDS_V1 if version == 1 else FIELDS_V2:
        given = header.get(name, ())
        values = list(given) if isinstance(given, tuple) else [given]
        values += [""] * (count - len(values)) if code == "64s" else [0] * (count - len(values))
        if len(values) != count:
            raise ValueError(f"{name} takes {count} values")
        if code == "64s":
            values = [str(value).encode("utf-8") for value in values]
        out += struct.pack(f"{order}{code}" if count == 1 else order + code * count, *values)
    assert len(out) == HEADER_SIZES[version]
    return bytes(out)


def compress_row(row: bytes, size: int = 1) -> bytes:
    """Run lengths of one row of pixels of `size` bytes.

    A byte of 0 to 127 repeats the next pixel that often and once more; one of 129
    to 255 stands before 257 minus it pixels that are all different.
    """
    pixels = [row[i:i + size] for i in range(0, len(row), size)]
    out = bytearray()
    i = 0
    while i < len(pixels):
        run = 1
        while run < 128 and i + run < len(pixels) and pixels[i + run] == pixels[i]:
            run += 1
        if run > 1:
            out += bytes([run - 1]) + pixels[i]
            i += run
            continue
        end = i + 1
        while end < len(pixels) and end - i < 128 and pixels[end] != pixels[end - 1]:
            end += 1
        if end < len(pixels) and pixels[end] == pixels[end - 1]:
            end -= 1  # that pixel starts the next run
        count = max(1, end - i)
        out += bytes([0 if count == 1 else 257 - count]) + b"".join(pixels[i:i + count])
        i += count
    return bytes(out)


def compress(pixels: bytes, bytes_per_line: int, size: int = 1) -> bytes:
    """Version 2 rows: a count of further equal rows (0 to 255), then the row's run lengths."""
    rows = [pixels[i:i + bytes_per_line] for i in range(0, len(pixels), bytes_per_line)]
    out = bytearray()
    i = 0
    while i < len(rows):
        equal = 1
        while equal < 256 and i + equal < len(rows) and rows[i + equal] == rows[i]:
            equal += 1
        out += bytes([equal - 1]) + compress_row(rows[i], size)
        i += equal
    return bytes(out)


def page_bytes(one: Page, version: int = 3, order: str = LITTLE) -> bytes:
    """Header and rows of a page."""
    pixels = one.pixels
    if version == 2 and pixels:
        pixels = compress(pixels, one.bytes_per_line, one.bytes_per_pixel)
    return header_bytes(one.header, version, order) + pixels


def sync_bytes(version: int = 3, order: str = LITTLE) -> bytes:
    """The word that opens the stream."""
    word = SYNC_WORDS[version]
    return word if order == BIG else word[::-1]


def stream(pages: Iterable[Page], version: int = 3, order: str = LITTLE) -> bytes:
    """A whole raster stream."""
    return sync_bytes(version, order) + b"".join(page_bytes(p, version, order) for p in pages)
