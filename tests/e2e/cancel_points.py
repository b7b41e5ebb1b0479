# SPDX-License-Identifier: Apache-2.0
"""Where a job may stop when it is cancelled, and what it then still sends."""
import bisect
from typing import NamedTuple

import escpos_stream

FEED = bytes.fromhex("1B4AA0")
PARTIAL_CUT = bytes.fromhex("0A0A0A0A1D5601")
FULL_CUT = bytes.fromhex("0A0A0A0A1D5600")
CUTS = {"0": b"", "1": PARTIAL_CUT, "2": FULL_CUT}


class Point(NamedTuple):
    """A place in the undisturbed stream at which the job may stop."""

    offset: int
    tail: bytes


class CancelPoints:
    """Every place at which a job of this stream may stop.

    The pages have no logos and one buzzer at most, at their start. A job stops
    behind its start, a page's start, a band, or a whole page.
    """

    def __init__(self, whole: bytes, page_cut: str, job_cut: str) -> None:
        self.whole = whole
        items = escpos_stream.decode(whole).items
        self.ends = [item.offset + len(item.data) for item in items if item.name == "band"]
        self._by_length: dict[int, list[Point]] = {}
        ink, pages = False, 0
        for item, following in zip(items, items[1:]):
            if item.name == "band":
                ink = True
            elif item.name == "page feed":
                ink, pages = False, pages + 1
            # A page's cut belongs to its end, and the job's cut is the tail.
            inside = item.name == "page feed" and following.name == CUT_NAMES[page_cut]
            if item.name in _STOPS and not inside:
                self._add(item.offset + len(item.data), self._tail(ink, pages, page_cut, job_cut))

    @staticmethod
    def _tail(ink: bool, pages: int, page_cut: str, job_cut: str) -> bytes:
        if ink:
            return FEED + (CUTS[job_cut] or CUTS[page_cut])
        return CUTS[job_cut] if pages > 0 and not CUTS[page_cut] else b""

    def _add(self, offset: int, tail: bytes) -> None:
        self._by_length.setdefault(offset + len(tail), []).append(Point(offset, tail))

    def find(self, stream: bytes) -> Point | None:
        """The place at which this stream stopped; None when it is none of them."""
        for point in self._by_length.get(len(stream), []):
            if stream == self.whole[:point.offset] + point.tail:
                return point
        return None

    def band_end(self, offset: int) -> int:
        """The end of the band that holds this byte of the stream, or of the one before it."""
        at = bisect.bisect_left(self.ends, offset)
        return self.ends[min(at, len(self.ends) - 1)]


CUT_NAMES = {"0": "", "1": "partial cut", "2": "full cut"}
_STOPS = frozenset(("position", "buzzer", "band", "page feed", "partial cut", "full cut"))
