# SPDX-License-Identifier: Apache-2.0
"""A network printer that keeps what it was sent.

    recording_printer.py FOLDER PROGRAM    keeps each job in the folder, drawn by `PROGRAM render`
"""
import pathlib
import socket
import subprocess
import sys
import threading
import time


class RecordingPrinter:
    """Takes one connection after the other; each is a job, unless nothing comes."""

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
            if received:
                self._jobs.append(bytes(received))

    def take_jobs(self) -> list[bytes]:
        """The jobs since the last call."""
        jobs, self._jobs = self._jobs, []
        return jobs


def main() -> None:
    folder, program = pathlib.Path(sys.argv[1]), sys.argv[2]
    printer = RecordingPrinter()
    print(printer.port, flush=True)
    sys.stdout = sys.stderr  # who started it reads the port alone
    number = 0
    while True:
        for job in printer.take_jobs():
            number += 1
            name = folder / f"printed-{number}"
            name.with_suffix(".bin").write_bytes(job)
            subprocess.run([program, "render", name.with_suffix(".bin"), name.with_suffix(".png")],
                           stdout=subprocess.DEVNULL, check=False)
            print(f"printed: {name}.png")
        time.sleep(0.2)


if __name__ == "__main__":
    main()
