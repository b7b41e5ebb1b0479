# SPDX-License-Identifier: Apache-2.0
"""Pictures for the tests, written by Pillow, by other programs, or byte by byte."""
import io
import pathlib
import struct
import subprocess
import zlib

from PIL import Image

Levels = list[list[int]]


def ramp(width: int, height: int) -> Levels:
    """Grey levels of which no two rows or columns are alike."""
    return [[(x * 7 + y * 31 + x * y) % 256 for x in range(width)] for y in range(height)]


def flat(levels: Levels) -> bytes:
    return bytes(value for row in levels for value in row)


def image(levels: Levels) -> Image.Image:
    return Image.frombytes("L", (len(levels[0]), len(levels)), flat(levels))


def chunk(name: bytes, body: bytes) -> bytes:
    return struct.pack(">I", len(body)) + name + body + struct.pack(">I", zlib.crc32(name + body))


def png(width: int, height: int, depth: int, color: int, rows: list[bytes],
        *more: tuple[bytes, bytes]) -> bytes:
    """Any PNG; `rows` as they are packed, `more` chunks in front of them."""
    header = struct.pack(">IIBBBBB", width, height, depth, color, 0, 0, 0)
    data = zlib.compress(b"".join(b"\0" + row for row in rows))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header)
            + b"".join(chunk(*one) for one in more)
            + chunk(b"IDAT", data) + chunk(b"IEND", b""))


def metres(per_metre: int, unit: int = 1) -> tuple[bytes, bytes]:
    return b"pHYs", struct.pack(">IIB", per_metre, per_metre, unit)


def tiff(width: int, height: int, bits: int, photometric: int, samples: int, data: bytes,
         extra: list[tuple[int, int, int]] | None = None) -> bytes:
    """An uncompressed strip; `extra` entries of (tag, type, value)."""
    entries = {256: (3, 1, width), 257: (3, 1, height), 259: (3, 1, 1), 262: (3, 1, photometric),
               273: (4, 1, 8), 277: (3, 1, samples), 278: (3, 1, height), 279: (4, 1, len(data))}
    body = struct.pack("<2sHI", b"II", 42, 8 + len(data) + len(data) % 2) + data
    body += b"\0" * (len(data) % 2)
    for tag, kind, value in extra or []:
        entries[tag] = (kind, 1, value)
    after = len(body) + 2 + 12 * (len(entries) + 1) + 4
    bits_entry = (3, samples, after if samples > 2 else bits | bits << 16)
    entries[258] = bits_entry
    out = struct.pack("<H", len(entries))
    for tag in sorted(entries):
        out += struct.pack("<HHII", tag, *entries[tag])
    return body + out + struct.pack("<I", 0) + struct.pack("<H", bits) * samples


def exif(orientation: int) -> bytes:
    data = Image.Exif()
    data[0x0112] = orientation
    return data.tobytes()


def exif_dpi(across: int, down: int, unit: int = 2) -> bytes:
    """The unit is 2 for inches and 3 for centimetres."""
    data = Image.Exif()
    data[0x011A], data[0x011B], data[0x0128] = float(across), float(down), unit
    return data.tobytes()


def saved(picture: Image.Image, kind: str, **options) -> bytes:
    out = io.BytesIO()
    picture.save(out, kind, **options)
    return out.getvalue()


def heif(source: pathlib.Path, target: pathlib.Path, *options: str) -> None:
    """By libheif's own program, without loss."""
    subprocess.run(["heif-enc", "-L", *options, str(source), "-o", str(target)], check=True,
                   capture_output=True, timeout=60)


def stored_for(levels: Levels, orientation: int) -> Levels:
    """What a camera held this way stores, so that `levels` is what was seen.

    By the standard's words: which side of the scene the first row and the first column are.
    """
    height, width = len(levels), len(levels[0])
    rows_from_top, columns_from_left = [
        (True, True), (True, False), (False, False), (False, True),
        (True, True), (True, False), (False, False), (False, True)][orientation - 1]
    if orientation <= 4:  # the first row is the top or the bottom
        order_y = range(height) if rows_from_top else range(height - 1, -1, -1)
        order_x = range(width) if columns_from_left else range(width - 1, -1, -1)
        return [[levels[y][x] for x in order_x] for y in order_y]
    # The first row is the left (5, 8) or the right (6, 7) side; the first column is the top
    # (5, 6) or the bottom (7, 8).
    order_x = range(width) if orientation in (5, 8) else range(width - 1, -1, -1)
    order_y = range(height) if orientation in (5, 6) else range(height - 1, -1, -1)
    return [[levels[y][x] for y in order_y] for x in order_x]
