# SPDX-License-Identifier: Apache-2.0
"""Jobs for which the memory does not suffice: refused or reported, never half a page."""
import os
import unittest

import cups_raster
import filter_case
import ppd_text
from filter_case import (DOTS_BAND, DOTS_PAGE, JOB_END, JOB_SETUP, PAGE_END, ZEROS, FilterCase,
                         Outcome, limit_memory)

KIB = 1024
MIB = 1024 * KIB
BUZZER = bytes.fromhex("1B420101")
START = ZEROS + JOB_SETUP
FIRST_PAGE = START + BUZZER + DOTS_BAND + PAGE_END
PAGE = cups_raster.grey([b"\xff" * 1000] * 1000)
PAGE_BANDS = filter_case.band(125, b"\xff" * 12000) * 10 + filter_case.band(125, b"\xff" * 5000)


@unittest.skipIf(filter_case.SANITIZED, "sanitizers need address space without a limit")
class MemoryTest(FilterCase):
    def ppd(self, halftone: str = "None") -> str:
        return ppd_text.ppd_text({"PageBuzzerSetting": "1", "BuzzerOnTime": "1",
                                  "BuzzerRepeat": "1", "HalftoneType": halftone})

    def limited(self, limit: int, *pages: cups_raster.Page, halftone: str = "None") -> Outcome:
        self.clear_spool()
        return self.run_filter(cups_raster.stream(pages), ppd=self.ppd(halftone),
                               prepare=limit_memory(limit))

    def smallest_limit(self) -> int:
        """Address space for the smallest page: the libraries, above all."""
        too_small, enough = 0, 4096 * MIB
        while enough - too_small > 128 * KIB:
            limit = (too_small + enough) // 2
            if self.limited(limit, DOTS_PAGE).status == 0:
                enough = limit
            else:
                too_small = limit
        return enough

    def test_page_that_no_buffer_can_hold_is_refused(self) -> None:
        limit = self.smallest_limit() + 64 * MIB
        huge = cups_raster.page(60000, 60000, bytes(64))
        for good in (0, 1):
            with self.subTest(good=good):
                outcome = self.limited(limit, *[DOTS_PAGE] * good, huge, DOTS_PAGE)
                self.assert_failed(outcome, FIRST_PAGE if good else START,
                                   "cupsHeight", "cupsBytesPerLine", "60000")
                self.assertEqual(outcome.having("CRIT:"), [])

    def kind_of(self, outcome: Outcome) -> str:
        """What became of a page between two small ones; anything else is a failure."""
        third = BUZZER + DOTS_BAND + PAGE_END + JOB_END
        critical = outcome.having("CRIT:")
        ready = outcome.lines[-1:] == ["DEBUG:Ready to print."]
        if outcome.stdout == FIRST_PAGE + BUZZER + PAGE_BANDS + PAGE_END + third:
            self.assertEqual((outcome.status, outcome.errors, critical, ready), (0, [], [], True))
            return "printed"
        if outcome.stdout == FIRST_PAGE + BUZZER + PAGE_END + third:
            self.assertEqual((outcome.status, ready), (0, True))
            self.assertTrue(outcome.errors)
            return "left out"
        self.assertEqual((outcome.status, ready), (1, False), outcome.stderr)
        self.assertEqual(len(outcome.errors) + len(critical), 1, outcome.stderr)
        if critical:
            self.assertEqual(outcome.stdout, FIRST_PAGE + BUZZER)
            return "given up"
        self.assertEqual(outcome.stdout, FIRST_PAGE)
        return "refused"

    @unittest.skipIf("DRAV_COUNTED" in os.environ, "the counts take memory of their own")
    def test_every_shortage_is_reported(self) -> None:
        smallest = self.smallest_limit()
        for halftone in ("None", "Tattoo"):
            kinds = {"refused", "left out", "given up", "printed"}
            seen: list[str] = []
            # Rows and packed dots take some 130 KiB behind the page's own buffers: two steps.
            for step in range(0, 200):
                limit = smallest + step * 64 * KIB
                with self.subTest(halftone, limit=limit):
                    outcome = self.limited(limit, DOTS_PAGE, PAGE, DOTS_PAGE, halftone=halftone)
                    seen.append(self.kind_of(outcome))
            self.assertEqual(seen[0], "refused")
            self.assertEqual(seen[-1], "printed")
            if filter_case.LIBCXX:  # which allocates other sizes, so that this limit may fall between two
                kinds = kinds - {"given up"} | set(seen) & {"given up"}
            self.assertEqual(set(seen), kinds)


if __name__ == "__main__":
    filter_case.main()
