# SPDX-License-Identifier: Apache-2.0
"""The Internet Printing Protocol (RFC 8010), as much of it as the tests need."""
import dataclasses
import http.client
import itertools
import ssl
import struct
from collections.abc import Iterable

OPERATION, JOB, END, PRINTER = 1, 2, 3, 4
INTEGER, BOOLEAN, ENUM, RESOLUTION, RANGE = 0x21, 0x22, 0x23, 0x32, 0x33
COLLECTION, END_COLLECTION, MEMBER = 0x34, 0x37, 0x4A
TEXT, NAME, KEYWORD, URI, CHARSET, LANGUAGE, MIME = 0x41, 0x42, 0x44, 0x45, 0x47, 0x48, 0x49

PRINT_JOB, CANCEL_JOB, GET_JOB, GET_PRINTER, SET_PRINTER = 0x02, 0x08, 0x09, 0x0B, 0x13
PAUSE_PRINTER, CREATE_PRINTER, DELETE_PRINTER = 0x10, 0x4C, 0x4E
IDENTIFY_PRINTER, SHUTDOWN_ALL_PRINTERS = 0x3C, 0x62
SERVER_BUSY = 0x0507
PENDING, HELD, PROCESSING, STOPPED, CANCELED, ABORTED, COMPLETED = 3, 4, 5, 6, 7, 8, 9

Value = int | bool | str | bytes | tuple | list | dict


@dataclasses.dataclass
class Attribute:
    tag: int
    name: str
    value: Value


def _packed(tag: int, value: Value) -> bytes:
    if tag in (INTEGER, ENUM):
        return struct.pack(">i", value)
    if tag == BOOLEAN:
        return b"\1" if value else b"\0"
    if tag == RANGE:
        return struct.pack(">ii", *value)
    if tag == RESOLUTION:
        return struct.pack(">iib", *value, 3)
    return value if isinstance(value, bytes) else str(value).encode()


def _field(tag: int, name: str, value: bytes) -> bytes:
    return struct.pack(">BH", tag, len(name)) + name.encode() + struct.pack(
        ">H", len(value)) + value


def _encoded(one: Attribute) -> bytes:
    if one.tag != COLLECTION:
        return _field(one.tag, one.name, _packed(one.tag, one.value))
    out = _field(COLLECTION, one.name, b"")
    for member in one.value:
        out += _field(MEMBER, "", member.name.encode())
        out += _encoded(Attribute(member.tag, "", member.value))
    return out + _field(END_COLLECTION, "", b"")


def _value(tag: int, data: bytes) -> Value:
    if tag in (INTEGER, ENUM):
        return struct.unpack(">i", data)[0]
    if tag == BOOLEAN:
        return data != b"\0"
    if tag == RANGE:
        return struct.unpack(">ii", data)
    if tag == RESOLUTION:
        return struct.unpack(">iib", data)[:2]
    return data.decode("utf-8", "replace")


class _Reader:
    def __init__(self, data: bytes) -> None:
        self._data = data
        self._at = 0

    def take(self, count: int) -> bytes:
        self._at += count
        return self._data[self._at - count:self._at]

    def number(self) -> int:
        return struct.unpack(">H", self.take(2))[0]

    def field(self, tag: int) -> tuple[str, Value]:
        name = self.take(self.number()).decode()
        data = self.take(self.number())
        return name, self.collection() if tag == COLLECTION else _value(tag, data)

    def collection(self) -> dict[str, list[Value]]:
        members: dict[str, list[Value]] = {}
        name = ""
        while (tag := self.take(1)[0]) != END_COLLECTION:
            _, value = self.field(tag)
            if tag == MEMBER:
                name = str(value)
            else:
                members.setdefault(name, []).append(value)
        self.take(self.number() + self.number())  # of the end, which has no name and no value
        return members


def _groups(data: bytes) -> tuple[int, dict[str, list[Value]]]:
    reader = _Reader(data)
    status = struct.unpack(">HHi", reader.take(8))[1]
    found: dict[str, list[Value]] = {}
    last = ""
    while (tag := reader.take(1)[0]) != END:
        if tag < 0x10:
            continue
        name, value = reader.field(tag)
        last = name or last
        found.setdefault(last, []).append(value)
    return status, found


class Client:
    """Requests to one queue of a server on this machine, or to the server."""

    def __init__(self, port: int, path: str, host: str = "127.0.0.1",
                 encrypted: bool = False) -> None:
        self._encrypted = encrypted
        self._host = host
        self._port = port
        self._path = path
        self._numbers = itertools.count(1)

    def connect(self) -> http.client.HTTPConnection:
        if not self._encrypted:
            return http.client.HTTPConnection(self._host, self._port, timeout=60)
        # Nobody vouches for the server's own key.
        context = ssl.create_default_context()
        context.check_hostname, context.verify_mode = False, ssl.CERT_NONE
        return http.client.HTTPSConnection(self._host, self._port, timeout=60, context=context)

    @property
    def uri(self) -> str:
        return f"ipp://{self._host}:{self._port}{self._path}"

    def request(self, operation: int, attributes: Iterable[Attribute] = (),
                job: Iterable[Attribute] = (), document: bytes = b"", group: int = JOB,
                target: str = "printer-uri") -> tuple[int, dict[str, list[Value]]]:
        """Status and attributes of the answer; minus the status of HTTP when it has none."""
        body = struct.pack(">BBHiB", 2, 0, operation, next(self._numbers), OPERATION)
        head = [Attribute(CHARSET, "attributes-charset", "utf-8"),
                Attribute(LANGUAGE, "attributes-natural-language", "en"),
                Attribute(URI, target, self.uri)]
        body += b"".join(_encoded(one) for one in [*head, *attributes])
        job = list(job)
        if job:
            body += bytes([group]) + b"".join(_encoded(one) for one in job)
        body += bytes([END]) + document
        connection = self.connect()
        try:
            connection.request("POST", self._path, body, {"Content-Type": "application/ipp"})
            answer = connection.getresponse()
            return _groups(answer.read()) if answer.status == 200 else (-answer.status, {})
        finally:
            connection.close()

    def print_job(self, format_: str, document: bytes,
                  *job: Attribute) -> tuple[int, dict[str, list[Value]]]:
        return self.request(PRINT_JOB, [Attribute(NAME, "requesting-user-name", "someone"),
                                        Attribute(NAME, "job-name", "a job"),
                                        Attribute(MIME, "document-format", format_)],
                            job, document)

    def job(self, number: int) -> dict[str, list[Value]]:
        return self.request(GET_JOB, [Attribute(INTEGER, "job-id", number)])[1]

    def cancel(self, number: int) -> int:
        return self.request(CANCEL_JOB, [
            Attribute(INTEGER, "job-id", number),
            Attribute(NAME, "requesting-user-name", "someone")])[0]

    def printer(self) -> dict[str, list[Value]]:
        return self.request(GET_PRINTER)[1]

    def set_defaults(self, *attributes: Attribute) -> int:
        return self.request(SET_PRINTER, job=attributes, group=PRINTER)[0]
