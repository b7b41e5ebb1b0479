# SPDX-License-Identifier: Apache-2.0
"""Reads the pictures that drav writes, and makes those that it reads."""
import dataclasses
import hashlib
import struct
import zlib

CHANNELS = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}  # by PNG colour type


@dataclasses.dataclass
class Png:
    """A decoded PNG: rows of bytes as they are packed in the file."""

    width: int
    height: int
    depth: int
    color: int
    rows: list[bytes]
    chunks: list[tuple[bytes, bytes]]

    def chunk(self, name: bytes) -> list[bytes]:
        return [body for found, body in self.chunks if found == name]

    def texts(self) -> dict[str, str]:
        """Of the tEXt and uncompressed iTXt chunks."""
        out = {}
        for body in self.chunk(b"tEXt"):
            key, _, value = body.partition(b"\0")
            out[key.decode("latin-1")] = value.decode("latin-1")
        for body in self.chunk(b"iTXt"):
            key, _, rest = body.partition(b"\0")
            out[key.decode("latin-1")] = rest[2:].split(b"\0", 2)[2].decode("utf-8")
        return out

    def dots(self) -> list[bytes]:
        """Rows of a 1-bit grey picture with a 1 for each black dot."""
        assert (self.depth, self.color) == (1, 0), (self.depth, self.color)
        return [bytes(value ^ 255 for value in row) for row in self.rows]

    def page(self) -> list[bytes]:
        """The same of a proof, without the margin in which lost ink is hatched."""
        left, top, right, bottom = map(int, self.texts().get("Drav-Margins", "0 0 0 0").split())
        rows = self.dots()
        return [row[left // 8:len(row) - right // 8] for row in rows[top:len(rows) - bottom]]


def _unfilter(kind: int, line: bytes, above: bytes, step: int) -> bytes:
    row = bytearray(line)
    if kind == 0:
        return line
    for x, add in enumerate(line):
        left = row[x - step] if x >= step else 0
        up = above[x]
        if kind == 1:
            guess = left
        elif kind == 2:
            guess = up
        elif kind == 3:
            guess = (left + up) // 2
        else:
            corner = above[x - step] if x >= step else 0
            base = left + up - corner
            guess = min((left, up, corner), key=lambda value: abs(base - value))
        row[x] = (add + guess) & 255
    return bytes(row)


def read_png(data: bytes) -> Png:
    """Checks the structure and all checksums on the way."""
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        raise ValueError("no PNG signature")
    at, chunks = 8, []
    while at < len(data):
        length, name = struct.unpack_from(">I4s", data, at)
        body = data[at + 8:at + 8 + length]
        if struct.unpack_from(">I", data, at + 8 + length) != (zlib.crc32(name + body),):
            raise ValueError(f"checksum of {name!r}")
        chunks.append((name, body))
        at += 12 + length
    if chunks[0][0] != b"IHDR" or chunks[-1] != (b"IEND", b""):
        raise ValueError("chunks out of order")
    width, height, depth, color, *rest = struct.unpack(">IIBBBBB", chunks[0][1])
    if rest != [0, 0, 0]:
        raise ValueError(f"not plain: {rest}")
    bits = depth * CHANNELS[color]
    size, step = (width * bits + 7) // 8, max(1, bits // 8)
    packed = zlib.decompress(b"".join(body for name, body in chunks if name == b"IDAT"))
    if len(packed) != height * (size + 1):
        raise ValueError(f"{len(packed)} bytes for {height} rows of {size}")
    rows, above = [], bytes(size)
    for start in range(0, len(packed), size + 1):
        above = _unfilter(packed[start], packed[start + 1:start + 1 + size], above, step)
        rows.append(above)
    return Png(width, height, depth, color, rows, chunks)


def make_png(width: int, height: int, depth: int, color: int, rows: list[bytes],
             **chunks: bytes) -> bytes:
    """A PNG of packed rows; further chunks by name go before the data."""
    def chunk(name: bytes, body: bytes) -> bytes:
        return struct.pack(">I", len(body)) + name + body + struct.pack(">I", zlib.crc32(name + body))

    header = struct.pack(">IIBBBBB", width, height, depth, color, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
            b"".join(chunk(name.encode(), body) for name, body in chunks.items()) +
            chunk(b"IDAT", zlib.compress(b"".join(b"\0" + row for row in rows), 9)) +
            chunk(b"IEND", b""))


def make_pgm(width: int, height: int, pixels: bytes) -> bytes:
    assert len(pixels) == width * height
    return b"P5\n%d %d\n255\n" % (width, height) + pixels


def _pdf(objects: list[bytes], trailer: bytes) -> bytes:
    out = b"%PDF-1.4\n"
    places = []
    for number, body in enumerate(objects, 1):
        places.append(len(out))
        out += b"%d 0 obj\n" % number + body + b"\nendobj\n"
    table = b"".join(b"%010d 00000 n \n" % place for place in places)
    return (out + b"xref\n0 %d\n0000000000 65535 f \n" % (len(objects) + 1) + table +
            b"trailer << /Size %d /Root 1 0 R %s >>\nstartxref\n%d\n%%%%EOF\n" %
            (len(objects) + 1, trailer, len(out)))


def _stream(data: bytes, entries: bytes = b"") -> bytes:
    return b"<< %s /Length %d >>\nstream\n" % (entries, len(data)) + data + b"\nendstream"


def make_pdf(contents: list[bytes], width: float = 226.77, height: float = 566.93) -> bytes:
    """A page for each content stream; the streams are compressed."""
    count = len(contents)
    kids = b" ".join(b"%d 0 R" % (3 + 2 * i) for i in range(count))
    objects = [b"<< /Type /Catalog /Pages 2 0 R >>",
               b"<< /Type /Pages /Kids [%s] /Count %d >>" % (kids, count)]
    for i, content in enumerate(contents):
        objects.append(b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 %.2f %.2f] /Contents %d 0 R >>"
                       % (width, height, 4 + 2 * i))
        objects.append(_stream(zlib.compress(content), b"/Filter /FlateDecode"))
    return _pdf(objects, b"")


# Algorithms 3.1 to 3.4 of the PDF 1.4 reference: the standard handler, revision 2.
_PAD = bytes.fromhex("28bf4e5e4e758a4164004e56fffa01082e2e00b6d0683e802f0ca9fe6453697a")


def _rc4(key: bytes, data: bytes) -> bytes:
    state, j = list(range(256)), 0
    for i in range(256):
        j = (j + state[i] + key[i % len(key)]) & 255
        state[i], state[j] = state[j], state[i]
    out, i, j = bytearray(), 0, 0
    for value in data:
        i = (i + 1) & 255
        j = (j + state[i]) & 255
        state[i], state[j] = state[j], state[i]
        out.append(value ^ state[(state[i] + state[j]) & 255])
    return bytes(out)


def make_encrypted_pdf(password: bytes) -> bytes:
    """A page that opens with this password alone; an empty one opens by itself."""
    def padded(text: bytes) -> bytes:
        return (text + _PAD)[:32]

    name = b"0123456789abcdef"
    owner = _rc4(hashlib.md5(padded(b"owner")).digest()[:5], padded(password))
    rights = 0xFFFFFFFC
    key = hashlib.md5(padded(password) + owner + rights.to_bytes(4, "little") + name).digest()[:5]
    object_key = hashlib.md5(key + (4).to_bytes(3, "little") + b"\0\0").digest()[:10]
    content = _rc4(object_key, b"0 g 40 100 100 300 re f")
    objects = [b"<< /Type /Catalog /Pages 2 0 R >>",
               b"<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
               b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 226.77 566.93] /Contents 4 0 R >>",
               _stream(content),
               b"<< /Filter /Standard /V 1 /R 2 /O <%s> /U <%s> /P -4 >>" %
               (owner.hex().encode(), _rc4(key, _PAD).hex().encode())]
    return _pdf(objects, b"/Encrypt 5 0 R /ID [<%s> <%s>]" % ((name.hex().encode(),) * 2))
