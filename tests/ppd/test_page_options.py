# SPDX-License-Identifier: Apache-2.0
"""The options that mirror, turn, invert, frame or trim a page, and that keep no pictures.

Jobs of the filter with the built driver files, on small pages that are no image of
themselves. DRAV_PPDS names the folder of the files; the whole-program tests are in
PYTHONPATH.
"""
import contextlib
import os
import pathlib
import random
import re
import threading

import cups_raster
import escpos_stream
import filter_case
from ppd_file import MODELS, read_folder

FOLDER = pathlib.Path(os.environ["DRAV_PPDS"])
DOCUMENT = pathlib.Path(os.environ["DRAV_OPTIONS_DOCUMENT"])
RECEIPT, STENCIL = "dravr582.ppd", "dravsa43.ppd"
NEUTRAL = {"StencilMirror": "False", "HalfTurn": "False", "InvertPage": "False", "Contrast": "0",
           "PaperFrame": "0", "TrimPaper": "None", "KeepPictures": "True"}
PLAIN = "HalftoneType=None docCutType=0"  # one pixel of full ink, one dot
HEATS = "WARN:The page is printed white on black, its solid areas heat the print head!"

# The frame at 300 dpi in dots: the area inside, top and bottom, and the sides by level.
INSIDE = {"Tattoo_A6": (1181, 1394), "A4": (2362, 3248), "Tattoo_A5": (2362, 1394)}
TOP = 12
SIDES = {1: 12, 2: 24, 3: 35, 4: 47, 5: 59}

Rows = list[str]  # a row's dots from left to right, "1" for a black one


def raster_page(rows: Rows, **fields: cups_raster.Values) -> cups_raster.Page:
    levels = bytes.maketrans(b"01", b"\x00\xff")
    return cups_raster.grey([row.encode().translate(levels) for row in rows], **fields)


def blank(width: int, height: int) -> Rows:
    return ["0" * width] * height


def art(width: int, height: int, seed: int = 1) -> Rows:
    """Rows of which no two are alike, nor any its own image."""
    source = random.Random(seed)
    return [f"1{source.getrandbits(width - 2):0{width - 2}b}0" for _ in range(height)]


def mirrored(rows: Rows) -> Rows:
    return [row[::-1] for row in rows]


def inverted(rows: Rows) -> Rows:
    return [row.translate(str.maketrans("01", "10")) for row in rows]


def without_our_options(text: str) -> str:
    """A driver file as it was before it had these options."""
    for option in NEUTRAL:
        text = re.sub(rf"(?ms)^\*OpenUI \*{option}/.*?^\*CloseUI: \*{option}\n", "", text)
        text = re.sub(rf"(?m)^.*\*{option}\b.*\n|^\*\w+\.(?:Translation )?{option}\b.*\n", "", text)
    return text


class PageOptionsTest(filter_case.FilterCase):
    def setUp(self) -> None:
        super().setUp()
        self.files = {name: ppd.text for name, ppd in read_folder(FOLDER).items()}
        self.assertEqual(set(self.files), set(MODELS))

    def run_rows(self, name: str, page: cups_raster.Page,
                 options: str) -> tuple[filter_case.Outcome, Rows]:
        """The rows that were sent, with their padding."""
        outcome = self.run_pages(page, ppd=self.files[name], options=f"{PLAIN} {options}")
        self.assertEqual((outcome.status, outcome.errors), (0, []), options)
        (rows,) = escpos_stream.page_rows(escpos_stream.decode(outcome.stdout))
        return outcome, [f"{int.from_bytes(row):0{len(row) * 8}b}" for row in rows]

    def sent(self, name: str, rows: Rows, options: str) -> Rows:
        """What became of the rows; the padding behind them must be blank."""
        _, found = self.run_rows(name, raster_page(rows), options)
        width = len(rows[0])
        for row in found:
            self.assertEqual(set(row[width:]) - {"0"}, set(), "padding")
        return [row[:width] for row in found]

    def test_neutral_choices_change_no_byte(self) -> None:
        shades = [bytes((x * 7 + y * 3) % 256 for x in range(99)) for y in range(130)]
        shades += [bytes(99)] * 40
        chosen = " ".join(f"{option}={choice}" for option, choice in NEUTRAL.items())
        for name, text in self.files.items():
            before = without_our_options(text)
            for option in NEUTRAL:
                self.assertNotIn(option, before)
            for halftone in ("Tattoo", "None", "Sierra"):
                with self.subTest(f"{name} {halftone}"):
                    jobs = [self.run_pages(cups_raster.grey(shades), ppd=ppd,
                                           options=f"HalftoneType={halftone} {options}")
                            for ppd, options in ((before, ""), (text, ""), (text, chosen))]
                    self.assert_bytes(jobs[1].stdout, jobs[0].stdout)
                    self.assert_bytes(jobs[2].stdout, jobs[0].stdout)
                    self.assertEqual([job.status for job in jobs], [0] * 3)

    def test_mirrored_and_turned(self) -> None:
        rows = art(21, 100)
        turned = mirrored(rows)[::-1]
        for name in self.files:
            with self.subTest(name):
                self.assertEqual(self.sent(name, rows, ""), rows)
                self.assertEqual(self.sent(name, rows, "StencilMirror=True"), mirrored(rows))
                self.assertEqual(self.sent(name, rows, "HalfTurn=True"), turned)
                self.assertEqual(self.sent(name, rows, "StencilMirror=True HalfTurn=True"),
                                 rows[::-1])

    def test_the_right_end_of_the_printed_row_is_lost(self) -> None:
        rows = art(430, 3)
        kept = slice(376)  # of the head's 384 dots; the last few are the row's rounding
        for options, wanted in (("", rows), ("StencilMirror=True", mirrored(rows)),
                                ("HalfTurn=True", mirrored(rows)[::-1]),
                                ("StencilMirror=True HalfTurn=True", rows[::-1])):
            with self.subTest(options):
                page = raster_page(rows, HWResolution=(203, 203))
                _, found = self.run_rows(RECEIPT, page, options)
                self.assertEqual([row[kept] for row in found], [row[kept] for row in wanted])
                self.assertEqual({len(row) for row in found}, {384})

    def test_the_log_names_the_side_of_the_drawing(self) -> None:
        page = raster_page(art(430, 3), HWResolution=(203, 203))
        kept = len(self.run_rows(RECEIPT, page, "")[1][0])
        self.assertEqual(kept, 384)
        for options, side in (("", ""), ("StencilMirror=True", "left"), ("HalfTurn=True", "left"),
                              ("StencilMirror=True HalfTurn=True", "right")):
            outcome, _ = self.run_rows(RECEIPT, page, options)
            lost = [f"DEBUG:The {side} 47 columns of the drawing lie beyond the head"]
            self.assertEqual([line for line in outcome.lines if "beyond the head" in line],
                             lost if side else [])
        outcome, _ = self.run_rows(RECEIPT, raster_page(art(380, 3), HWResolution=(203, 203)),
                                   "StencilMirror=True")
        self.assertEqual([line for line in outcome.lines if "beyond the head" in line], [])

    def test_white_on_black(self) -> None:
        rows = art(21, 100)
        for name in self.files:
            with self.subTest(name):
                self.assertEqual(self.sent(name, rows, "InvertPage=True"), inverted(rows))
                self.assertEqual(self.sent(name, blank(21, 100), "InvertPage=True"),
                                 blank(21, 100))
        outcome, _ = self.run_rows(RECEIPT, raster_page(rows), "InvertPage=True")
        self.assertEqual(outcome.having("WARN:"), [HEATS])

    def test_white_on_black_is_trimmed_by_its_ink(self) -> None:
        rows = blank(21, 30) + art(21, 100) + blank(21, 40)
        self.assertEqual(self.sent(STENCIL, rows, "InvertPage=True TrimPaper=Both"),
                         inverted(rows[30:130]))

    def test_contrast_changes_greys_alone(self) -> None:
        greys = cups_raster.grey([bytes(range(256))] * 64)
        for halftone in ("FloydSteinberg", "Tattoo"):
            seen = []
            for contrast in range(0, 51, 10):
                options = f"HalftoneType={halftone} Contrast={contrast}"
                _, rows = self.run_rows(STENCIL, greys, options)
                seen.append("".join(rows))
            self.assertEqual(len(set(seen)), 6, halftone)
        rows = art(21, 100)
        self.assertEqual(self.sent(STENCIL, rows, "Contrast=50"), rows)

    def allowed_frames(self) -> set[tuple[str, int]]:
        """The papers and thicknesses that the driver file lets together."""
        ppd = read_folder(FOLDER)[STENCIL]
        pairs = {(size, level) for size in ppd.choices("PageSize") for level in SIDES}
        return pairs - {(size, int(level)) for option, level, paper, size in ppd.constraints()
                        if (option, paper) == ("PaperFrame", "PageSize")}

    def check_frame(self, size: str, width: int, height: int, level: int) -> None:
        """All four sides, each dot of them, and nothing else on a page without ink."""
        page = raster_page(blank(width, height), cupsPageSizeName=size)
        outcome, rows = self.run_rows(STENCIL, page, f"PageSize={size} PaperFrame={level}")
        self.assertEqual(outcome.having("WARN:"), [])
        side, (across, down) = SIDES[level], INSIDE[size]
        left = (width - across) // 2 - side
        above = (height - down) // 2 - TOP
        length = len(rows[0])
        bare, solid, open_row = ("0" * length, f"{'0' * left}{'1' * (across + 2 * side)}",
                                 f"{'0' * left}{'1' * side}{'0' * across}{'1' * side}")
        wanted = [bare] * above + [solid.ljust(length, "0")] * TOP
        wanted += [open_row.ljust(length, "0")] * down + [solid.ljust(length, "0")] * TOP
        wanted += [bare] * (height - len(wanted))
        self.assertEqual([y for y in range(height) if rows[y] != wanted[y]], [])
        self.assertEqual(len(rows), height)

    def check_no_frame(self, size: str, width: int, height: int, level: int) -> None:
        """Not a dot of a frame, and one warning."""
        page = raster_page(blank(width, height), cupsPageSizeName=size)
        outcome, rows = self.run_rows(STENCIL, page, f"PageSize={size} PaperFrame={level}")
        self.assertEqual(set("".join(rows)), {"0"}, f"{size} {level}")
        (line,) = outcome.having("WARN:")
        self.assertRegex(line, r"^WARN:The frame of \d+ x \d+ dots does not fit the ")

    def test_allowed_frames_print_whole_on_pages_with_room(self) -> None:
        """The narrowest page and the widest that the guide names, as low as the frame."""
        allowed = self.allowed_frames()
        self.assertEqual(allowed, {("A4", 1), ("Tattoo_A5", 1),
                                   *(("Tattoo_A6", level) for level in SIDES)})
        guide = DOCUMENT.read_text(encoding="utf-8")
        told = {}
        for row in re.findall(r"^\| (`(?:A4|Tattoo_A\d).*) \| 1.* \| (\d.*?) columns(.*) \|$", guide,
                              re.M):
            for size in re.findall(r"`(\w+)`", row[0]):
                told[size] = [int(number) for number in re.findall(r"\d+", row[1])]
        for size, level in sorted(allowed):
            across, down = INSIDE[size]
            narrowest = across + 2 * SIDES[level]
            self.assertEqual(told[size][level - 1], narrowest, size)
            height = down + 2 * TOP
            self.check_frame(size, narrowest, height, level)
            self.check_frame(size, 2400, height, level)
            self.check_no_frame(size, narrowest - 1, height, level)
            self.check_no_frame(size, narrowest, height - 1, level)

    def test_allowed_frames_on_the_sheets_of_the_driver(self) -> None:
        sheets = {"A4": (2480, 3508), "Tattoo_A5": (2480, 1748), "Tattoo_A6": (1240, 1748)}
        for size, level in sorted(self.allowed_frames()):
            whole = size == "Tattoo_A6" and level <= 2
            (self.check_frame if whole else self.check_no_frame)(size, *sheets[size], level)

    def test_other_pairs_draw_no_frame(self) -> None:
        """What the driver file excludes, `lp` sends all the same."""
        for size, width, height, level in (("A4", 2480, 3508, 2), ("A4", 2400, 3508, 2),
                                           ("Tattoo_A5", 2480, 1748, 5),
                                           ("Letter", 2550, 3300, 1), ("Letter", 2400, 3300, 1)):
            self.check_no_frame(size, width, height, level)
        for size in ("X203MMY297MM", "Custom"):
            page = raster_page(blank(300, 200), cupsPageSizeName=size)
            outcome, rows = self.run_rows(STENCIL, page, "PaperFrame=3")
            self.assertEqual((set("".join(rows)), outcome.having("WARN:")), ({"0"}, []), size)

    def test_trimmed(self) -> None:
        rows = blank(21, 120) + art(21, 30) + blank(21, 150)
        least = 95  # 8 mm at 300 dpi
        for name in self.files:
            with self.subTest(name):
                self.assertEqual(self.sent(name, rows, "TrimPaper=None"), rows)
                self.assertEqual(self.sent(name, rows, "TrimPaper=End"), rows[:150])
                self.assertEqual(self.sent(name, rows, "TrimPaper=Both"), rows[120:120 + least])
        self.assertEqual(self.sent(STENCIL, rows[100:160], "TrimPaper=Both"), rows[100:160])
        coarse = raster_page(rows, HWResolution=(203, 203))
        _, found = self.run_rows(RECEIPT, coarse, "TrimPaper=Both")
        self.assertEqual([row[:21] for row in found], rows[120:120 + 64])
        for trim in ("End", "Both"):
            self.assertEqual(self.sent(STENCIL, blank(21, 300), f"TrimPaper={trim}"), [])

    def test_a_framed_page_is_not_trimmed(self) -> None:
        page = raster_page(blank(1240, 1748), cupsPageSizeName="Tattoo_A6")
        _, framed = self.run_rows(STENCIL, page, "PaperFrame=1")
        _, trimmed = self.run_rows(STENCIL, page, "PaperFrame=1 TrimPaper=Both")
        self.assertEqual(trimmed, framed)

    def test_trimming_leaves_the_commands(self) -> None:
        pages = [raster_page(rows) for rows in (art(21, 96) + blank(21, 200), blank(21, 300),
                                                blank(21, 104) + art(21, 96))]
        options = "pageCutType=1 DocTopLogoID=1 DocBottomLogoID=2 FeedCutAfterJobEnd=3"
        jobs = [escpos_stream.decode(self.run_pages(
            *pages, ppd=self.files[STENCIL], options=f"{PLAIN} {options} TrimPaper={trim}").stdout)
            for trim in ("None", "Both")]
        whole, trimmed = ([item.data for item in job.items if item.name != "band"] for job in jobs)
        self.assertEqual(trimmed, whole)
        self.assertEqual([len(rows) for rows in escpos_stream.page_rows(jobs[1])], [96, 0, 96])

    @staticmethod
    def feed_until_it_ends(job: filter_case.RunningFilter,
                           pages: list[cups_raster.Page]) -> None:
        with contextlib.suppress(BrokenPipeError):
            job.feed(cups_raster.stream(pages))

    def test_trimmed_and_cancelled(self) -> None:
        """The bands that came out are whole and those of the job that nobody disturbs."""
        rows = blank(2000, 200) + art(2000, 960) + blank(2000, 300)
        pages = [raster_page(rows), raster_page(blank(2000, 100)), raster_page(rows[::-1])]
        options = (f"{PLAIN} TrimPaper=Both pageCutType=1 docCutType=2 DocTopLogoID=1 "
                   "DocBottomLogoID=2")
        whole = self.run_pages(*pages, ppd=self.files[STENCIL], options=options).stdout
        bands = [item for item in escpos_stream.decode(whole).items if item.name == "band"]
        self.assertEqual(len(bands), 2 * 10)
        ends = [item.offset + len(item.data) for item in bands]
        feed, cut = bytes.fromhex("1B4AA0"), bytes.fromhex("0A0A0A0A1D5600")
        stopped = []
        for count in (0, 150_000, 300_000):
            job = filter_case.RunningFilter(self, self.files[STENCIL], options)
            feeder = threading.Thread(target=self.feed_until_it_ends, args=(job, pages))
            feeder.start()
            out = b""
            while len(out) < count:
                out += job.read_some(count - len(out))
            job.until_logged("DEBUG:printImage: Starting to print the processed image")
            job.until_blocked()
            job.terminate()
            outcome = job.finish()
            feeder.join()
            out += outcome.stdout
            self.assertEqual((outcome.status, outcome.errors), (1, []))
            stopped += [end for end in ends if out == whole[:end] + feed + cut]
        self.assertEqual(len(stopped), 3, "a cancelled job ended elsewhere than behind a band")
        self.assertEqual(len(set(stopped)), 3)

    def test_no_picture_is_kept(self) -> None:
        page = raster_page(art(21, 100))
        for name in self.files:
            for keep, count in (("False", 0), ("True", 2)):
                self.clear_spool()
                outcome, rows = self.run_rows(name, page, f"KeepPictures={keep}")
                self.assertEqual(len(self.pictures()), count, f"{name} {keep}")
                self.assertEqual([row[:21] for row in rows], art(21, 100))
                self.assertEqual(len(outcome.having("DEBUG:printImage: Saving ")), count)


if __name__ == "__main__":
    filter_case.main()
