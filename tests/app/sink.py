# SPDX-License-Identifier: Apache-2.0
"""A network printer that keeps its jobs, and answers questions for its status."""
import contextlib
import socket
import struct
import threading
import time

QUESTION = b"\x10\x04"  # DLE EOT, then a number
WELL = {2: b"\x12", 3: b"\x12", 4: b"\x12"}
_RESET = struct.pack("ii", 1, 0)
_CLOSE_WAIT = 8  # of the kernel's states of a connection: the other side has closed it


def _has_ended(connection: socket.socket) -> bool:
    """Whether all of it is on its way: this side may still have to read it."""
    try:
        return connection.getsockopt(socket.IPPROTO_TCP, socket.TCP_INFO, 1)[0] == _CLOSE_WAIT
    except OSError:
        return True


class Sink:
    """Listens on a port of its own, or on `port`.

    `answers` are bytes by the number of the question; none for a printer that says
    nothing. `late` seconds pass before each. `stall_at` bytes of a job it stops reading
    until `resume`, `drop_at` it hangs up. `pace` seconds pass after each piece.
    """

    def __init__(self, answers: dict[int, bytes] | None = None, *, late: float = 0.0,
                 stall_at: int | None = None, drop_at: int | None = None, pace: float = 0.0,
                 port: int = 0) -> None:
        self.answers = answers or {}
        self.late = late
        self.stall_at = stall_at
        self.drop_at = drop_at
        self.pace = pace
        self.questions = 0
        self._changed = threading.Condition()
        self._resumed = threading.Event()
        self._jobs: list[bytes] = []
        self._open: dict[int, bytearray] = {}
        self._printing: dict[int, socket.socket] = {}
        self._overlaps = 0
        self._connections: set[socket.socket] = set()
        self._socket = socket.socket()
        self._socket.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        if stall_at is not None or drop_at is not None or pace:  # so that little is under way
            self._socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
        self._socket.bind(("127.0.0.1", port))
        self._socket.listen(8)
        self.port = self._socket.getsockname()[1]
        threading.Thread(target=self._accept, daemon=True).start()

    @property
    def uri(self) -> str:
        return f"socket://127.0.0.1:{self.port}"

    def _accept(self) -> None:
        with contextlib.suppress(OSError):
            while True:
                connection, _ = self._socket.accept()
                self._connections.add(connection)
                threading.Thread(target=self._serve, args=(connection,), daemon=True).start()

    def _serve(self, connection: socket.socket) -> None:
        data = bytearray()
        number = id(data)
        with contextlib.suppress(OSError):
            while piece := connection.recv(4096):
                if not data and piece.startswith(QUESTION):
                    self._answer(connection, piece)
                    continue
                data += piece
                with self._changed:
                    self._open[number] = data
                    self._printing[number] = connection
                    under_way = [one for one in self._printing.values() if not _has_ended(one)]
                    self._overlaps += connection in under_way and len(under_way) > 1
                    self._changed.notify_all()
                if self.drop_at is not None and len(data) >= self.drop_at:
                    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, _RESET)
                    break
                time.sleep(self.pace)
                if self.stall_at is not None and len(data) >= self.stall_at:
                    self._resumed.wait()
        connection.close()
        self._connections.discard(connection)
        if data:
            with self._changed:
                self._open.pop(number, None)
                self._printing.pop(number, None)
                self._jobs.append(bytes(data))
                self._changed.notify_all()

    def _answer(self, connection: socket.socket, piece: bytes) -> None:
        self.questions += 1
        answer = self.answers.get(piece[2])
        if answer is not None:
            time.sleep(self.late)
            connection.sendall(answer)

    def resume(self) -> None:
        self.stall_at = None
        self._resumed.set()

    def wait_bytes(self, count: int, timeout: float = 20.0) -> None:
        """Until a job is under way and so much of it has come."""
        with self._changed:
            if not self._changed.wait_for(
                    lambda: any(len(one) >= count for one in self._open.values()), timeout):
                raise AssertionError(f"no {count} bytes of a job came")

    def jobs(self, count: int = 0, timeout: float = 20.0) -> list[bytes]:
        """What ended connections brought, once there are `count`."""
        with self._changed:
            if not self._changed.wait_for(lambda: len(self._jobs) >= count, timeout):
                raise AssertionError(f"{count} jobs wanted, {len(self._jobs)} came")
            return list(self._jobs)

    def job(self) -> bytes:
        """The one job that came since the last call."""
        (data,) = self.jobs(1)
        self.forget()
        return data

    def forget(self) -> None:
        with self._changed:
            self._jobs.clear()

    @property
    def overlaps(self) -> int:
        """How often bytes came while neither this job nor another had been ended."""
        return self._overlaps

    def close(self) -> None:
        self._resumed.set()
        for one in [self._socket, *self._connections]:
            with contextlib.suppress(OSError):
                one.shutdown(socket.SHUT_RDWR)
            one.close()
