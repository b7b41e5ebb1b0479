#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Has print_page.mjs print from the page of drav-printer-app in Chromium to a printer of ours.

    test_print_page.py FOLDER

FOLDER gets the package that drives the browser, and the screenshots.
"""
import json
import pathlib
import signal
import subprocess
import sys
import tempfile

from test_proof_page import HERE, balls, find_programs, install_driver

sys.path.insert(0, str(HERE.parent / "app"))

# pylint: disable=wrong-import-position
import harness  # noqa: E402
from app_case import Server, free_port  # noqa: E402
from escpos_stream import decode  # noqa: E402
from pictures import make_png  # noqa: E402
from sink import Sink  # noqa: E402


def write_drawing(path: pathlib.Path, width: int, height: int) -> str:
    """Grey, at 300 dpi."""
    rows = [bytes(255 - level for level in row) for row in balls(width, height, 4)]
    path.write_bytes(make_png(width, height, 8, 0, rows))
    return str(path)


def compare(folder: pathlib.Path, job: bytes) -> None:
    """The part of the paper that the screen showed, with what the printer got for it."""
    part = json.loads((folder / "shown.json").read_text())
    levels = (folder / "shown.grey").read_bytes()
    rows = decode(job).rows
    compared = unlike = black = 0
    for y in range(part["height"]):
        row = part["y"] + y
        if not 0 <= row < len(rows):
            continue
        for x in range(part["width"]):
            column = part["x"] + x
            if not 0 <= column < 8 * len(rows[0]):
                continue
            dot = rows[row][column >> 3] >> (7 - column % 8) & 1
            level = levels[y * part["width"] + x]
            compared += 1
            black += dot
            unlike += not (level < 40 if dot else level > 215)
    assert compared > 200_000 and black > 10_000, (compared, black)
    assert unlike == 0, f"{unlike} of {compared} dots are not as the screen showed them"
    print(f"{compared} dots compared, {black} of them black")


def main() -> None:
    folder = pathlib.Path(sys.argv[1]).absolute()
    programs = find_programs()
    folder.mkdir(parents=True, exist_ok=True)
    install_driver(programs["npm"], folder)
    with (harness.no_process_left(),
          tempfile.TemporaryDirectory(prefix="drav-browser-") as scratch):
        here = pathlib.Path(scratch)
        server, printer = Server(here), Sink()
        try:
            server.add("Stencil", printer.uri)
            server.add("Away", f"socket://127.0.0.1:{free_port()}", "dravr802")
            (here / "notes.txt").write_text("some text\n")
            config = {"chromium": programs["chromium"], "folder": str(folder),
                      "url": f"http://localhost:{server.port}/print",
                      "drawing": write_drawing(here / "dragon.png", 2480, 3508),
                      "small": write_drawing(here / "rose.png", 600, 400),
                      "text": str(here / "notes.txt")}
            path = here / "config.json"
            path.write_text(json.dumps(config))
            done = subprocess.run([programs["node"], HERE / "print_page.mjs", path], timeout=250,
                                  check=False)
            if done.returncode == 0:
                compare(folder, printer.jobs(3)[0])
        finally:
            server.stop(signal.SIGKILL)
            printer.close()
    sys.exit(done.returncode)


if __name__ == "__main__":
    main()
