# SPDX-License-Identifier: Apache-2.0
"""A network printer that keeps what it was sent."""
import socket
import threading


class RecordingPrinter:
    """Takes one connection after the other; each is a job."""

    def __init__(self) -> None:
        self._jobs: list[bytes] = []
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.port: int = self._listener.getsockname()[1]
        threading.Thread(target=self._serve, daemon=True).start()

    def _serve(self) -> None:
        while True:
            connection, _ = self._listener.accept()
            with connection:
                received = bytearray()
                while block := connection.recv(65536):
                    received += block
            self._jobs.append(bytes(received))

    def take_jobs(self) -> list[bytes]:
        """The jobs since the last call."""
        jobs, self._jobs = self._jobs, []
        return jobs
