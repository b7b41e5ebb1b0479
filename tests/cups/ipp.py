# SPDX-License-Identifier: Apache-2.0
"""Asks a scheduler for the state of jobs and queues: as much of IPP (RFC 8010, 8011) as that takes."""
import http.client
import socket
import struct
from collections.abc import Sequence

Attributes = dict[str, list[object]]

GET_JOB_ATTRIBUTES = 0x0009
GET_PRINTER_ATTRIBUTES = 0x000B
GET_DEFAULT = 0x4001

# job-state
PENDING, HELD, PROCESSING, STOPPED, CANCELED, ABORTED, COMPLETED = range(3, 10)
ENDED = (CANCELED, ABORTED, COMPLETED)
# printer-state
PRINTER_IDLE, PRINTER_PROCESSING, PRINTER_STOPPED = 3, 4, 5

_TAG_OPERATION = 0x01
_TAG_END = 0x03
_LAST_DELIMITER = 0x0F
_INTEGER, _BOOLEAN, _ENUM = 0x21, 0x22, 0x23
_NAME, _KEYWORD, _URI, _CHARSET, _LANGUAGE = 0x42, 0x44, 0x45, 0x47, 0x48


class _SocketConnection(http.client.HTTPConnection):
    """HTTP over a socket file."""

    def __init__(self, path: str) -> None:
        super().__init__("localhost", timeout=30)
        self._path = path

    def connect(self) -> None:
        self.sock = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.sock.settimeout(self.timeout)
        self.sock.connect(self._path)


def _attribute(tag: int, name: str, value: str) -> bytes:
    name_bytes, value_bytes = name.encode(), value.encode()
    return (struct.pack(">BH", tag, len(name_bytes)) + name_bytes
            + struct.pack(">H", len(value_bytes)) + value_bytes)


def _value(tag: int, data: bytes) -> object:
    if tag in (_INTEGER, _ENUM):
        return struct.unpack(">i", data)[0]
    if tag == _BOOLEAN:
        return data != b"\0"
    return data.decode("utf-8", "backslashreplace")


def _parse(body: bytes) -> Attributes:
    """All attributes of an answer; those of several groups fall together."""
    status = struct.unpack(">H", body[2:4])[0]
    if status >= 0x0400 and status != 0x0406:
        raise RuntimeError(f"IPP status {status:04x}")
    out: Attributes = {}
    name = ""
    at = 8
    while at < len(body) and body[at] != _TAG_END:
        tag = body[at]
        at += 1
        if tag <= _LAST_DELIMITER:
            continue
        (length,) = struct.unpack_from(">H", body, at)
        if length:
            name = body[at + 2:at + 2 + length].decode()
        at += 2 + length
        (length,) = struct.unpack_from(">H", body, at)
        out.setdefault(name, []).append(_value(tag, body[at + 2:at + 2 + length]))
        at += 2 + length
    return out


def request(path: str, operation: int, attributes: Sequence[tuple[int, str, str]]) -> Attributes:
    """One operation at the scheduler behind the socket file `path`."""
    body = struct.pack(">BBHI", 2, 0, operation, 1) + bytes([_TAG_OPERATION])
    body += _attribute(_CHARSET, "attributes-charset", "utf-8")
    body += _attribute(_LANGUAGE, "attributes-natural-language", "en")
    for tag, name, value in attributes:
        body += _attribute(tag, name, value)
    body += bytes([_TAG_END])
    connection = _SocketConnection(path)
    try:
        connection.request("POST", "/", body, {"Content-Type": "application/ipp"})
        return _parse(connection.getresponse().read())
    except http.client.HTTPException as error:
        raise OSError(str(error)) from error
    finally:
        connection.close()


def job_attributes(path: str, job: int) -> Attributes:
    return request(path, GET_JOB_ATTRIBUTES, [
        (_URI, "job-uri", f"ipp://localhost/jobs/{job}"),
        (_NAME, "requesting-user-name", "root"), (_KEYWORD, "requested-attributes", "all")])


def printer_attributes(path: str, queue: str) -> Attributes:
    return request(path, GET_PRINTER_ATTRIBUTES, [
        (_URI, "printer-uri", f"ipp://localhost/printers/{queue}"),
        (_KEYWORD, "requested-attributes", "printer-description")])
