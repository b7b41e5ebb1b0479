# SPDX-License-Identifier: Apache-2.0
"""Draws the documents that the tests print. Every PDF page carries a black square to look for."""
import pathlib
import random
import struct
import subprocess
import zlib
from collections.abc import Sequence

MM = 72 / 25.4  # points
SQUARE_MM = 5.0  # side of the square, and its distance from the left and the upper edge


def _pdf(path: pathlib.Path, width_mm: float, height_mm: float, contents: Sequence[bytes],
         images: Sequence[bytes] = ()) -> pathlib.Path:
    """Pages of these content streams; the font is /F, the images are /I0, /I1 and so on."""
    objects: list[bytes] = []

    def add(body: bytes) -> int:
        objects.append(body)
        return len(objects)

    font = add(b"<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>")
    names = b" ".join(b"/I%d %d 0 R" % (i, add(image)) for i, image in enumerate(images))
    resources = b"<< /Font << /F %d 0 R >> /XObject << %s >> >>" % (font, names)
    parent = len(objects) + 2 * len(contents) + 1
    kids = []
    for content in contents:
        stream = add(b"<< /Length %d >>\nstream\n" % len(content) + content + b"\nendstream")
        kids.append(add(b"<< /Type /Page /Parent %d 0 R /MediaBox [0 0 %.3f %.3f] /Resources %s"
                        b" /Contents %d 0 R >>" % (parent, width_mm * MM, height_mm * MM,
                                                   resources, stream)))
    add(b"<< /Type /Pages /Kids [%s] /Count %d >>"
        % (b" ".join(b"%d 0 R" % kid for kid in kids), len(kids)))
    root = add(b"<< /Type /Catalog /Pages %d 0 R >>" % parent)
    out = bytearray(b"%PDF-1.4\n")
    offsets = []
    for number, body in enumerate(objects, 1):
        offsets.append(len(out))
        out += b"%d 0 obj\n" % number + body + b"\nendobj\n"
    table = len(out)
    out += b"xref\n0 %d\n0000000000 65535 f \n" % (len(objects) + 1)
    out += b"".join(b"%010d 00000 n \n" % offset for offset in offsets)
    out += b"trailer\n<< /Size %d /Root %d 0 R >>\nstartxref\n%d\n%%%%EOF\n" % (
        len(objects) + 1, root, table)
    path.write_bytes(out)
    return path


def _square(height_mm: float) -> bytes:
    return b"0 g %.3f %.3f %.3f %.3f re f\n" % (
        SQUARE_MM * MM, (height_mm - 2 * SQUARE_MM) * MM, SQUARE_MM * MM, SQUARE_MM * MM)


def _bars(number: int, height_mm: float) -> bytes:
    """A number as ten bars right of the square, so that no two jobs print the same."""
    out = b""
    for bit in range(10):
        if number >> bit & 1:
            out += b"0 g %.3f %.3f %.3f %.3f re f\n" % (
                (12 + 2 * bit) * MM, (height_mm - 2 * SQUARE_MM) * MM, MM, SQUARE_MM * MM)
    return out


def blank_pdf(path: pathlib.Path, width_mm: float, height_mm: float) -> pathlib.Path:
    return _pdf(path, width_mm, height_mm, [b" "])


def marked_pdf(path: pathlib.Path, width_mm: float, height_mm: float, number: int,
               pages: int = 1) -> pathlib.Path:
    """Small and quick: the square, the number, and a grey ramp below, on each page."""
    contents = []
    for page in range(pages):
        content = _square(height_mm) + _bars(number * 8 + page, height_mm)
        for step in range(16):
            content += b"%.3f g %.3f %.3f %.3f %.3f re f\n" % (
                step / 15, (5 + 2 * step) * MM, (height_mm - 16) * MM, 2 * MM, 4 * MM)
        contents.append(content)
    return _pdf(path, width_mm, height_mm, contents)


def text_pdf(path: pathlib.Path, width_mm: float, height_mm: float, pages: int) -> pathlib.Path:
    """Lines of text, another number of them on each page."""
    contents = []
    for page in range(1, pages + 1):
        lines = b"".join(b"(Page %d, line %d: 2 x espresso, 1 x cake) Tj T*\n" % (page, line)
                         for line in range(1, 6 * page))
        contents.append(_square(height_mm) + b"BT /F 9 Tf 12 TL %.3f %.3f Td\n%sET\n"
                        % (5 * MM, (height_mm - 20) * MM, lines))
    return _pdf(path, width_mm, height_mm, contents)


def photo_rows(width: int, height: int) -> list[bytes]:
    """Grey rows as of a photo: soft shades, edges, fine grain. 255 is paper."""
    rng = random.Random(width * 10007 + height)
    grain = rng.randbytes(width * 7 + 251)
    shade = [abs((x * 510 // width) - 255) for x in range(width)]
    rows = []
    for y in range(height):
        level = y * 180 // height
        start = rng.randrange(251)
        row = bytearray(min(255, max(0, (s * 3 // 4 + level) // 2 + 40 + (g & 15)))
                        for s, g in zip(shade, grain[start:start + width]))
        if y % 64 < 3:  # edges
            row[width // 4:width // 2] = bytes(width // 2 - width // 4)
        rows.append(bytes(row))
    return rows


def photo_pdf(path: pathlib.Path, width_mm: float, height_mm: float, dpi: float) -> pathlib.Path:
    """A picture that fills the page, and the square on it."""
    width, height = (round(size / 25.4 * dpi) for size in (width_mm, height_mm))
    data = zlib.compress(b"".join(photo_rows(width, height)))
    image = (b"<< /Type /XObject /Subtype /Image /Width %d /Height %d /ColorSpace /DeviceGray"
             b" /BitsPerComponent 8 /Filter /FlateDecode /Length %d >>\nstream\n"
             % (width, height, len(data)) + data + b"\nendstream")
    content = (b"q %.3f 0 0 %.3f 0 0 cm /I0 Do Q\n" % (width_mm * MM, height_mm * MM)
               + _square(height_mm))
    return _pdf(path, width_mm, height_mm, [content], [image])


def png(path: pathlib.Path, rows: Sequence[bytes]) -> pathlib.Path:
    """An 8-bit grey picture."""
    def chunk(kind: bytes, data: bytes) -> bytes:
        return (struct.pack(">I", len(data)) + kind + data
                + struct.pack(">I", zlib.crc32(kind + data)))
    head = struct.pack(">IIBBBBB", len(rows[0]), len(rows), 8, 0, 0, 0, 0)
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head)
                     + chunk(b"IDAT", zlib.compress(b"".join(b"\0" + row for row in rows)))
                     + chunk(b"IEND", b""))
    return path


def jpeg(path: pathlib.Path, source: pathlib.Path, dpi: int) -> pathlib.Path:
    """The first page of a PDF as a grey JPEG picture."""
    subprocess.run(["gs", "-q", "-dSAFER", "-dNOPAUSE", "-dBATCH", "-sDEVICE=jpeggray",
                    f"-r{dpi}", "-dLastPage=1", f"-sOutputFile={path}", str(source)],
                   check=True, timeout=60)
    return path
