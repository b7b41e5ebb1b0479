#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs `drav inspect` and `drav render --paper` on what the filter itself sends.

The streams are taken apart a second time by tests/e2e/escpos_stream.py, which shares
no code with drav. The environment names the programs: DRAV_FILTER, DRAV_TOOL.
"""
import json
import os
import pathlib
import random
import subprocess
import sys
from typing import Any

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "e2e"))

import cups_raster  # noqa: E402
import escpos_stream  # noqa: E402
import filter_case  # noqa: E402
import ppd_text  # noqa: E402
from filter_case import FilterCase, RunningFilter  # noqa: E402
from test_render import read_png  # noqa: E402

DRAV = os.environ.get("DRAV_TOOL", "")

# The commands that an item of the second decoder consists of.
KINDS = {
    "zeros": ["padding"], "initialise": ["initialise"], "density": ["density"],
    "drawer 1": ["drawer-pulse"], "drawer 2": ["drawer-pulse"], "buzzer": ["buzzer"],
    "align": ["align"], "logo": ["logo"], "position": ["position"], "page feed": ["feed-units"],
    "job feed": ["feed-units"], "feed lines": ["feed-lines"], "band": ["raster-band"],
    "partial cut": ["line-feed"] * 4 + ["partial-cut"],
    "full cut": ["line-feed"] * 4 + ["full-cut"], "status request": ["status-request"],
}
EVERYTHING = {
    "pageCutType": "1", "docCutType": "2", "FeedCutAfterJobEnd": "3", "CashDrawer1Setting": "1",
    "CashDrawer2Setting": "2", "DocumentBuzzerSetting": "2", "PageBuzzerSetting": "1",
    "BuzzerOnTime": "2", "BuzzerRepeat": "3", "DocTopLogoID": "1", "DocTopLogoMode": "1",
    "DocTopLogoPosition": "1", "DocBottomLogoID": "2", "DocBottomLogoMode": "3",
    "DocBottomLogoPosition": "2", "PrintDensity": "15", "HalftoneType": "None",
}


def pale_page(seed: int, width: int, height: int) -> cups_raster.Page:
    """One dot in nine is dark."""
    rng = random.Random(seed)
    values = bytes([255] + [0] * 8)
    return cups_raster.grey([bytes(rng.choices(values, k=width)) for _ in range(height)])


def black_share(data: bytes) -> float:
    return 100 * int.from_bytes(data, "big").bit_count() / (8 * len(data))


class InspectFilterTest(FilterCase):
    def inspect(self, stream: bytes, *options: str, status: int = 0) -> dict[str, Any]:
        done = subprocess.run([DRAV, "inspect", "--json", "--all", *options, "-"], input=stream,
                              capture_output=True, timeout=60, check=False)
        document = json.loads(done.stdout or b"{}")
        self.assertEqual((done.returncode, done.stderr), (status, b""), document.get("warnings"))
        assert isinstance(document, dict)
        return document

    def print_pages(self, *pages: cups_raster.Page, **options: str) -> bytes:
        outcome = self.run_pages(*pages, ppd=ppd_text.ppd_text(ppd_text.all_options(**options)))
        self.assertEqual((outcome.status, outcome.errors), (0, []))
        return outcome.stdout

    def test_every_command_is_where_the_second_decoder_has_it(self) -> None:
        stream = self.print_pages(pale_page(1, 945, 200), pale_page(2, 945, 97), **EVERYTHING)
        items = escpos_stream.decode(stream).items
        commands = self.inspect(stream)["commands"]
        self.assertEqual([one["kind"] for one in commands],
                         [kind for item in items for kind in KINDS[item.name]])
        offset = 0
        for one in commands:
            self.assertEqual(one["offset"], offset)
            shown = bytes.fromhex(one["bytes"].removesuffix("..."))
            self.assertEqual(stream[offset:offset + len(shown)], shown)
            offset += one["length"]
        self.assertEqual(offset, len(stream))

    def test_totals_are_those_of_the_second_decoder(self) -> None:
        heights = (200, 97, 1)
        stream = self.print_pages(*[pale_page(height, 945, height) for height in heights],
                                  **EVERYTHING)
        decoded = escpos_stream.decode(stream)
        document = self.inspect(stream)
        totals = document["totals"]
        self.assertEqual((totals["jobs"], totals["pages"], totals["rows"]), (1, 3, sum(heights)))
        self.assertEqual(totals["mostBytesPerRow"], len(decoded.rows[0]))
        self.assertAlmostEqual(totals["coveragePercent"], black_share(b"".join(decoded.rows)),
                               places=3)
        for found, rows in zip(document["pages"], escpos_stream.page_rows(decoded), strict=True):
            self.assertEqual(found["rows"], len(rows))
            self.assertAlmostEqual(found["coveragePercent"], black_share(b"".join(rows)), places=3)
        names = decoded.names()
        for key, wanted in (("partialCuts", ("partial cut",)), ("fullCuts", ("full cut",)),
                            ("drawerPulses", ("drawer 1", "drawer 2")), ("buzzers", ("buzzer",)),
                            ("logos", ("logo",)), ("bands", ("band",))):
            self.assertEqual(totals[key], sum(names.count(name) for name in wanted), key)
            self.assertGreater(totals[key], 0, key)

    def test_every_halftone_is_clean(self) -> None:
        for halftone in ppd_text.HALFTONES:
            stream = self.print_pages(pale_page(3, 400, 120), HalftoneType=halftone, docCutType="1")
            self.assertEqual(self.inspect(stream)["warnings"], [], halftone)

    def test_a_record_is_a_record(self) -> None:
        ppd = ppd_text.ppd_text({"RecordPrinterCommands": ("1", "0"), "HalftoneType": "None"},
                                {"dravFilterOutputFile": f"{self.folder}/cmds"})
        outcome = self.run_pages(pale_page(4, 945, 200), pale_page(5, 945, 97), ppd=ppd)
        self.assertEqual(outcome.status, 0)
        [record] = self.folder.glob("cmds-*.bin")
        document = self.inspect(record.read_bytes())
        self.assertEqual((document["kind"], document["warnings"]), ("record", []))
        self.assertEqual(document["totals"]["rows"], 297)
        of_job = self.inspect(outcome.stdout)["totals"]["coveragePercent"]
        self.assertEqual(document["totals"]["coveragePercent"], of_job)

    def test_paper_that_trimming_saved(self) -> None:
        """The pages of a trimmed job against the paper that they were made for."""
        dots, blank = b"\xff" + bytes(202), bytes(203)
        pages = [cups_raster.grey([blank] * above + [dots] * 50 + [blank] * (1548 - above),
                                  HWResolution=(203, 203)) for above in (30, 0, 200)]
        ppd = ppd_text.ppd_text({"TrimPaper": ("None", "End", "Both"), "HalftoneType": "None"})
        for trim, rows in (("None", (1598, 1598, 1598)), ("End", (80, 64, 250)),
                           ("Both", (64, 64, 64))):
            stream = self.run_pages(*pages, ppd=ppd, options=f"TrimPaper={trim}").stdout
            document = self.inspect(stream, "--model", "dravr582", "--paper", "X48MMY200MM")
            self.assertEqual([page["rows"] for page in document["pages"]], list(rows))
            saved = [(1598 - one) * 25.4 / 203 for one in rows]
            for page, wanted in zip(document["pages"], saved, strict=True):
                self.assertAlmostEqual(page["savedMm"], wanted, places=3)
            self.assertAlmostEqual(document["totals"]["savedMm"], sum(saved), places=3)
            self.assertEqual(document["printer"]["paper"], "X48MMY200MM")
            text = subprocess.run(
                [DRAV, "inspect", "--model", "dravr582", "--paper", "X48MMY200MM", "-"],
                input=stream, capture_output=True, timeout=60, check=True).stdout.decode()
            end = "3 of 3 pages are shorter than" if sum(saved) else "no page is shorter than"
            self.assertIn(f"  saved     {sum(saved):.1f} mm: {end} X48MMY200MM (200.0 mm)\n", text)
        self.assertIsNone(self.inspect(stream)["totals"]["savedMm"])
        self.assertIsNone(self.inspect(stream, "--model", "dravr582")["pages"][0]["savedMm"])

    def test_a_page_that_comes_out_black_is_heavy(self) -> None:
        stream = self.print_pages(cups_raster.grey([b"\xff" * 400] * 384), HalftoneType="None")
        document = self.inspect(stream, status=1)
        self.assertEqual([one["kind"] for one in document["warnings"]], ["heavy-job", "heavy-band"])
        self.assertIn("4 of 4 bands of page 1", document["warnings"][1]["text"])

    def test_a_cancelled_job_is_clean(self) -> None:
        tall = cups_raster.grey([b"\0\0\0\xff" * 500] * 960)
        job = RunningFilter(self, ppd_text.ppd_text({"docCutType": "1", "HalftoneType": "None"}))
        job.feed(cups_raster.stream([tall]))
        job.until_blocked()
        job.terminate()
        outcome = job.finish()
        self.assertEqual(outcome.status, 1)
        document = self.inspect(outcome.stdout)
        self.assertEqual(document["warnings"], [])
        self.assertLess(document["totals"]["rows"], 960)
        self.assertEqual(document["totals"]["partialCuts"], 1)

    def test_a_killed_job_is_an_unfinished_band_and_swallows_the_next(self) -> None:
        stream = self.print_pages(pale_page(6, 945, 400), docCutType="1")
        cut = len(stream) // 2
        for rest, kinds in ((b"", ["unfinished-band"]),
                            (stream, ["job-inside-band", "unknown-bytes"])):
            document = self.inspect(stream[:cut] + rest, status=1)
            self.assertEqual([one["kind"] for one in document["warnings"]], kinds)

    def test_the_paper_has_every_row_and_feed(self) -> None:
        stream = self.print_pages(pale_page(7, 945, 200), pale_page(8, 945, 97),
                                  docCutType="1", FeedCutAfterJobEnd="3", HalftoneType="None")
        out = self.folder / "paper.png"
        subprocess.run([DRAV, "render", "--paper", "-", str(out)], input=stream, check=True,
                       capture_output=True, timeout=60)
        _, drawn = read_png(out.read_bytes())
        rows = escpos_stream.decode(stream).rows
        self.assertEqual(drawn[:200], rows[:200])
        self.assertEqual(drawn[200:360], [bytes(len(rows[0]))] * 160)
        self.assertEqual(drawn[360:457], rows[200:])
        feed = 160 + 120 + 3 * 50 + 4 * 50
        self.assertEqual(drawn[457:-3], [bytes(len(rows[0]))] * (feed - 3))
        self.assertEqual(len(drawn), 457 + feed)


if __name__ == "__main__":
    if not DRAV:
        sys.exit("DRAV_TOOL does not name the program")
    filter_case.main()
