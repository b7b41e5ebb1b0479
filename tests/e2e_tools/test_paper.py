#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs `drav render --paper` on streams made here and reads its pictures back."""
import tool_case
from test_render import band, page, read_png
from tool_case import CUT, JOB_END, PPD, START, ToolCase, job, pale_rows


class PaperTest(ToolCase):
    def paper(self, stream: bytes, *options: object) -> tuple[str, int, list[bytes], bytes]:
        """What it says, the width and rows of the picture, and the file."""
        self.job.write_bytes(stream)
        out = self.folder / "paper.png"
        result = self.run_drav("render", "--paper", *options, self.job, out)
        note = (b"" if {"--dpi", "--ppd"} & set(options) else
                b"drav: note: 300 dpi assumed, since the rows are as wide as the head of dravsa43; "
                b"--dpi, --model or --ppd sets it\n")
        self.assertEqual((result.returncode, result.stderr), (0, note))
        data = out.read_bytes()
        return result.stdout.decode(), *read_png(data), data

    def test_feeds_and_cuts(self) -> None:
        rows = pale_rows(300, 100)
        said, width, drawn, data = self.paper(
            START + page(rows) + page(rows[:7]) + b"\x1bJ\x78\x1bd\2" + CUT + JOB_END)
        white = bytes(300)
        self.assertEqual(width, 2400)
        feed = 160 + 120 + 100 + 200
        self.assertEqual(drawn[:100], rows)
        self.assertEqual(drawn[100:260], [white] * 160)
        self.assertEqual(drawn[260:267], rows[:7])
        self.assertEqual(drawn[267:267 + feed - 3], [white] * (feed - 3))
        self.assertEqual(len(drawn), 267 + feed)
        for row in drawn[-3:]:
            dots = "".join(f"{byte:08b}" for byte in row)
            self.assertEqual(dots, ("1" * 11 + "0" * 22) * 72 + "1" * 11 + "0" * 13)
        self.assertEqual(said, f"2400 x {267 + feed} dots, 3 bands, 71.7 mm of paper, "
                               "cuts: 1, logos: 0\n")
        self.assertIn(b"pHYs" + (11811).to_bytes(4, "big") * 2 + b"\1", data)

    def test_the_driver_file_gives_width_and_resolution(self) -> None:
        _, width, drawn, data = self.paper(job(pale_rows(10, 5)), "--ppd", PPD)
        self.assertEqual((width, len(drawn)), (2400, 165))
        self.assertEqual(drawn[0], b"\x01" * 10 + bytes(290))
        self.assertIn(b"pHYs" + (11811).to_bytes(4, "big") * 2 + b"\1", data)
        _, width, drawn, data = self.paper(job(pale_rows(10, 5)), "--dpi", 203)
        self.assertEqual((width, len(drawn)), (80, 165))
        self.assertIn(b"pHYs" + (7992).to_bytes(4, "big") * 2 + b"\1", data)

    def test_logos_are_frames_in_their_place(self) -> None:
        logo = bytes.fromhex("1b6101 1c700300 1b6100")
        said, _, drawn, _ = self.paper(START + logo + page(pale_rows(300, 5)) + JOB_END)
        self.assertIn("logos: 1", said)
        self.assertEqual(len(drawn), 118 + 5 + 160)
        self.assertEqual(drawn[118:123], pale_rows(300, 5))
        top = "".join(f"{byte:08b}" for byte in drawn[0])
        self.assertEqual((top.find("1"), top.rfind("1"), top.count("1")), (1058, 1340, 283))

    def test_bad_input_leaves_no_picture(self) -> None:
        out = self.folder / "paper.png"
        for stream in (b"", b"%PDF-1.7\n", job(pale_rows(3, 5)) + b"\x99", b"\x1b@\n",
                       START + band(pale_rows(3, 50))[:10]):
            self.job.write_bytes(stream)
            self.assert_failed(self.run_drav("render", "--paper", self.job, out), "job.bin: ")
            self.assertEqual([path.name for path in self.folder.iterdir()], ["job.bin"])


if __name__ == "__main__":
    tool_case.main()
