# SPDX-License-Identifier: Apache-2.0
"""A network printer that keeps what it is sent; it can be slow, hang up, or not answer."""
import contextlib
import dataclasses
import socket
import struct
import threading
import time

_SMALL = 4096  # bytes of receive buffer: little is under way to a printer that waits
_RESET = struct.pack("ii", 1, 0)  # closing resets the connection


@dataclasses.dataclass
class Received:
    """One connection: a job, or as much of it as came."""

    data: bytearray = dataclasses.field(default_factory=bytearray)
    ended: bool = False   # the sender closed it, or it was dropped
    dropped: bool = False


class FakePrinter:
    """Listens on a port of its own.

    `pause_at` stops reading of the first connection at that many bytes until
    `resume`; `drop_at` resets the first connection there; `rate` is bytes a
    second. A printer that was made with `answers` False refuses connections
    until `answer` is called.
    """

    def __init__(self, *, pause_at: int | None = None, drop_at: int | None = None,
                 rate: float = 0.0, answers: bool = True) -> None:
        self._pause_at = pause_at
        self._drop_at = drop_at
        self._rate = rate
        self._resumed = threading.Event()
        self._changed = threading.Condition()
        self._paused = False
        self._received: list[Received] = []
        self._closing = False
        self._connection: socket.socket | None = None
        self._thread: threading.Thread | None = None
        self._socket = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        if pause_at is not None or rate:
            self._socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, _SMALL)
        self._socket.bind(("127.0.0.1", 0))
        self.port = self._socket.getsockname()[1]
        if answers:
            self.answer()

    @property
    def uri(self) -> str:
        return f"socket://127.0.0.1:{self.port}/?snmp=false"

    def answer(self) -> None:
        """Takes connections from now on."""
        self._socket.listen(64)
        self._thread = threading.Thread(target=self._serve, daemon=True)
        self._thread.start()

    def _serve(self) -> None:
        while True:
            try:
                connection, _ = self._socket.accept()
            except OSError:
                return
            with connection:
                self._connection = connection
                if not self._closing:
                    self._receive(connection)

    def _receive(self, connection: socket.socket) -> None:
        first = not self._received
        received = Received()
        with self._changed:
            self._received.append(received)
            self._changed.notify_all()
        while True:
            self._wait_to_resume(first, len(received.data))
            data = self._read(connection, first, len(received.data))
            received.data += data
            if first and self._drop_at is not None and len(received.data) >= self._drop_at:
                connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, _RESET)
                received.dropped = True
            if not data or received.dropped:
                break
            if self._rate:
                time.sleep(len(data) / self._rate)
        connection.close()
        with self._changed:
            received.ended = True
            self._changed.notify_all()

    def _wait_to_resume(self, first: bool, count: int) -> None:
        if not first or self._pause_at is None or count < self._pause_at:
            return
        with self._changed:
            self._paused = True
            self._changed.notify_all()
        self._resumed.wait()

    def _read(self, connection: socket.socket, first: bool, count: int) -> bytes:
        size = 1024 if self._rate else 65536
        for limit in (self._pause_at, self._drop_at):
            if first and limit is not None and count < limit:
                size = min(size, limit - count)
        try:
            return connection.recv(size)
        except OSError:
            return b""

    def resume(self) -> None:
        self._resumed.set()

    def wait_paused(self, timeout: float) -> None:
        """Until it has read up to `pause_at` and stopped reading."""
        with self._changed:
            if not self._changed.wait_for(lambda: self._paused, timeout):
                raise AssertionError(f"the printer has not got {self._pause_at} bytes")

    def wait_jobs(self, count: int, timeout: float = 60.0) -> list[Received]:
        """Until `count` connections have ended; all of them."""
        def done() -> bool:
            return sum(one.ended for one in self._received) >= count
        with self._changed:
            if not self._changed.wait_for(done, timeout):
                raise AssertionError(f"{count} jobs wanted, got "
                                     f"{[(len(r.data), r.ended) for r in self._received]}")
            return list(self._received)

    @property
    def connections(self) -> list[Received]:
        with self._changed:
            return list(self._received)

    def close(self) -> None:
        """Waits for its thread: a descriptor must not be another socket's while it is in use."""
        self._closing = True
        self._resumed.set()
        for one in (self._socket, self._connection):
            if one is not None:
                with contextlib.suppress(OSError):
                    one.shutdown(socket.SHUT_RDWR)
        if self._thread is not None:
            self._thread.join()
        self._socket.close()
