# SPDX-License-Identifier: Apache-2.0
"""What a job must send, by the independent model, from the raster that its chain delivered."""
import os
import pathlib
import subprocess
import tempfile
from collections.abc import Mapping, Sequence

import driver_file
import escpos_stream
import raster_file

_PAGE_FEED = bytes.fromhex("1B4AA0")
_CUTS = {"1": bytes.fromhex("0A0A0A0A1D5601"), "2": bytes.fromhex("0A0A0A0A1D5600")}
_UNSENT = ("PageSize", "PageType", "RecordPrinterCommands")  # no byte depends on their value


def settings(driver: driver_file.DriverFile, options: Mapping[str, str]) -> dict[str, str]:
    """The model's settings: the driver file's defaults under the job's options."""
    out = {}
    for option in driver_file.OPTIONS:
        if option not in _UNSENT and driver.has(option):
            name = "halftoneName" if option == "HalftoneType" else option[0].lower() + option[1:]
            out[name] = options.get(option, driver.default(option))
    width = driver.attribute("MaxMediaWidth")
    if width is not None:
        out["maxMediaWidth"] = width
    return out


def stream(chosen: Mapping[str, str], pages: Sequence[raster_file.RasterPage]) -> bytes:
    """All bytes of a job of these pages."""
    with tempfile.TemporaryDirectory(prefix="drav-model-") as name:
        folder = pathlib.Path(name)
        lines = [f"{key} {value}" for key, value in chosen.items()]
        for number, page in enumerate(pages):
            (folder / f"page{number}").write_bytes(page.pixels)
            resolution = page.header["HWResolution"]
            assert isinstance(resolution, tuple)
            words = [*(page.number(field) for field in ("cupsWidth", "cupsBytesPerLine",
                                                        "cupsHeight")), *resolution,
                     *(page.number(field) for field in ("cupsBitsPerPixel", "NumCopies",
                                                        "cupsColorSpace")),
                     page.header["cupsPageSizeName"] or "-", f"page{number}"]
            lines.append("page " + " ".join(str(word) for word in words))
        (folder / "job.txt").write_text("\n".join(lines) + "\n", "utf-8")
        subprocess.run([os.environ["DRAV_MODEL_STREAM"], name], check=True, timeout=120)
        return (folder / "expected.stdout").read_bytes()


def _tail(chosen: Mapping[str, str], ink: bool, pages_out: int) -> bytes:
    """How a cancelled job ends: what sticks in the printer comes out, and is cut off once."""
    page_cut, job_cut = _CUTS.get(chosen["pageCutType"], b""), _CUTS.get(chosen["docCutType"], b"")
    if ink:
        return _PAGE_FEED + (job_cut or page_cut)
    return job_cut if pages_out and not page_cut else b""


def cancelled(whole: bytes, chosen: Mapping[str, str]) -> set[bytes]:
    """Every stream that a cancelled job may leave behind, from the one that it would have sent.

    It may not have begun, or have come to its end before the cancel. Else it stops
    behind its setup, a page start, a band or a page end.
    """
    items = escpos_stream.decode(whole).items
    out = {b"", whole}
    at = next(i for i, item in enumerate(items) if item.name == "position") + 1
    ink = int(chosen["docTopLogoID"]) > 0
    page_end = 1 + (3 if int(chosen["docBottomLogoID"]) > 0 else 0)
    page_end += (chosen["pageCutType"] in _CUTS) + (chosen["pageBuzzerSetting"] == "2")

    def may_stop_here(pages_out: int) -> None:
        out.add(whole[:items[at].offset] + _tail(chosen, ink, pages_out))

    may_stop_here(0)
    for page in range(sum(item.name == "page feed" for item in items)):
        at += chosen["pageBuzzerSetting"] == "1"
        may_stop_here(page)
        while items[at].name == "band":
            at, ink = at + 1, True
            may_stop_here(page)
        at, ink = at + page_end, False
        may_stop_here(page + 1)
    return out
