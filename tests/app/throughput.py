# SPDX-License-Identifier: Apache-2.0
"""Receipts a minute through one queue of the printer application and through one of CUPS.

    throughput.py BUILD-FOLDER     (see scripts/soak-app)
"""
import pathlib
import sys
import tempfile
import time

import cups_case
import measure
import private_cups
import private_network
import private_spool
from app_case import Server
from sink import Sink

JOBS = 48


def of_the_server(folder: pathlib.Path, document: bytes) -> float:
    printer = Sink()
    server = Server(folder, "log-level=warn")
    client = server.add("receipts", printer.uri, "dravr803")
    start = time.monotonic()
    for _ in range(JOBS):
        status, answer = client.print_job("application/pdf", document)
        assert status == 0, answer
    printer.jobs(JOBS, 600)
    rate = JOBS / (time.monotonic() - start) * 60
    server.stop()
    return rate


def main() -> None:
    private_spool.enter()
    private_network.enter(small_buffers=False)
    with tempfile.TemporaryDirectory(prefix="drav-measure-") as name:
        folder = pathlib.Path(name)
        bench = measure.Bench(pathlib.Path(sys.argv[1]), folder)
        try:
            queues = bench.queues(1)
            by_cups = bench.jobs_a_minute(queues, JOBS, bench.receipt, measure.RECEIPT)
        finally:
            bench.cups.stop()
        cups_case.clear_pictures()
        ours = of_the_server(folder, bench.receipt.read_bytes())
    print(f"- one queue, {JOBS} receipts from a PDF: {ours:.0f} a minute; "
          f"the queue of CUPS {by_cups:.0f}")
    if ours < by_cups:
        sys.exit("the printer application is slower than the queue of CUPS")


if __name__ == "__main__":
    if missing := private_cups.missing_part():
        sys.exit(f"no private scheduler on this machine: {missing}")
    main()
