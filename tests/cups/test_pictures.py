# SPDX-License-Identifier: Apache-2.0
"""Pictures of every kind through the scheduler and the picture filter, on all models; text
and PDF pages on rolls.

What must be printed is computed by Pillow's levels, the placing in exact fractions of
tests/documents, and the plain model of the printer's stream.
"""
import concurrent.futures
import dataclasses
import os
import pathlib
import random
import re
import struct
import sys
import tempfile

sys.path.insert(0, os.environ["DRAV_DOCUMENT_TESTS"])
sys.path.insert(1, str(pathlib.Path(__file__).resolve().parents[1] / "e2e_tools"))
# pylint: disable=wrong-import-position
from PIL import Image  # noqa: E402

import cups_case  # noqa: E402
import cups_raster  # noqa: E402
import documents  # noqa: E402
import drav_case  # noqa: E402
import escpos_stream  # noqa: E402
import expected  # noqa: E402
import ipp  # noqa: E402
import picture_files  # noqa: E402
import placing_model  # noqa: E402
import raster_file  # noqa: E402
from cups_case import CupsCase, Queue  # noqa: E402
from driver_file import DriverFile  # noqa: E402

PPDS = pathlib.Path(os.environ["DRAV_PPDS"])
LONGEST = 3000  # mm, of a page on a roll
BLOCK = 8       # pixels: those of a JPEG, so that its edges stay


@dataclasses.dataclass(frozen=True)
class Model:
    name: str
    dpi: int
    size: str
    width: float      # mm, of the paper
    printable: float  # points

    @property
    def paper(self) -> placing_model.Paper:
        def dots(millimetres: float) -> int:
            return int(millimetres / 25.4 * self.dpi + 0.5)
        width = dots(self.width)
        beyond = max(0, width - int(self.printable * self.dpi / 72))
        return placing_model.Paper((self.dpi, self.dpi), width, dots(LONGEST),
                                   (0, 0, beyond, 0), True)


MODELS = (Model("dravr582", 203, "X58MMY100MM", 58, 135.3103),
          Model("dravr802", 203, "X72MMY200MM", 72, 203.4089),
          Model("dravr803", 300, "X80MMY100MM", 80, 202.92),
          Model("dravsa43", 300, "X210MMY100MM", 210, 575.4))


def blocks(width: int, height: int) -> picture_files.Levels:
    """Black and white squares without any symmetry."""
    rng = random.Random(width * 1000 + height)
    cells = [[rng.choice((0, 255)) for _ in range(width // BLOCK)] for _ in range(height // BLOCK)]
    cells[0][0], cells[-1][-1] = 0, 255
    return [[level for level in row for _ in range(BLOCK)] for row in cells for _ in range(BLOCK)]


def sixteen_bits(levels: picture_files.Levels) -> bytes:
    rows = [b"".join(struct.pack(">H", level * 257) for level in row) for row in levels]
    return picture_files.png(len(levels[0]), len(levels), 16, 0, rows)


def soft(levels: picture_files.Levels) -> Image.Image:
    """Black of two opacities, which lies on white as dark and light grey."""
    grey = picture_files.image(levels)
    black = Image.new("L", grey.size, 0)
    opacity = grey.point(lambda level: 60 if level else 200)
    return Image.merge("RGBA", (black, black, black, opacity))


def svg(levels: picture_files.Levels, dpi: int) -> bytes:
    """One unit is one dot."""
    width, height = len(levels[0]), len(levels)
    squares = "".join(f'<rect x="{x}" y="{y}" width="{BLOCK}" height="{BLOCK}"/>'
                      for y in range(0, height, BLOCK) for x in range(0, width, BLOCK)
                      if levels[y][x] == 0)
    return (f'<?xml version="1.0"?>\n<!-- a drawing -->\n<svg xmlns="http://www.w3.org/2000/svg" '
            f'width="{width / dpi:.9f}in" height="{height / dpi:.9f}in" '
            f'viewBox="0 0 {width} {height}" shape-rendering="crispEdges">{squares}</svg>').encode()


def pixel_map(levels: picture_files.Levels, kind: int) -> bytes:
    width, height = len(levels[0]), len(levels)
    flat = picture_files.flat(levels)
    if kind == 4:
        rows = [int("".join("1" if level == 0 else "0" for level in row), 2).to_bytes(
            width // 8, "big") for row in levels]
        return b"P4\n%d %d\n" % (width, height) + b"".join(rows)
    if kind == 6:
        flat = bytes(level for level in flat for _ in range(3))
    return b"P%d\n%d %d\n255\n" % (kind, width, height) + flat


Files = dict[str, bytes]


def files_of_every_kind(levels: picture_files.Levels, folder: pathlib.Path) -> Files:
    """None states a resolution. No name tells what is in it."""
    grey = picture_files.image(levels)
    rgb = Image.merge("RGB", (grey, grey, grey))
    cmyk = grey.convert("CMYK")
    saved = picture_files.saved
    found = {"png": saved(grey, "PNG"), "png rgb": saved(rgb, "PNG"),
             "png rgba": saved(soft(levels), "PNG"), "png 16": sixteen_bits(levels),
             "jpeg": saved(grey, "JPEG", quality=95),
             "jpeg cmyk": saved(cmyk, "JPEG", quality=95),
             "tiff": saved(grey, "TIFF"), "tiff cmyk": saved(cmyk, "TIFF"),
             "gif": saved(grey, "GIF"), "webp": saved(rgb, "WEBP", lossless=True),
             "pbm": pixel_map(levels, 4), "pgm": pixel_map(levels, 5),
             "ppm": pixel_map(levels, 6)}
    source = folder / "source.png"
    source.write_bytes(found["png rgb"])
    for name, more in (("heic", ()), ("avif", ("-A",))):
        target = folder / f"{name}.heif"
        picture_files.heif(source, target, *more)
        found[name] = target.read_bytes()
    for number in range(1, 9):
        seen = picture_files.image(picture_files.stored_for(levels, number))
        found[f"exif {number}"] = saved(seen, "JPEG", quality=95, exif=picture_files.exif(number))
    return found


def files_for(levels: picture_files.Levels, dpi: int) -> Files:
    """Kinds whose size depends on the resolution that they state."""
    twice = picture_files.image(levels).resize((2 * len(levels[0]), 2 * len(levels)),
                                               Image.Resampling.NEAREST)
    per_metre = round(2 * dpi / 0.0254)
    chunk = picture_files.chunk(b"pHYs", struct.pack(">IIB", per_metre, per_metre, 1))
    plain = picture_files.saved(twice, "PNG")
    at = plain.index(b"IDAT") - 4
    return {"svg": svg(levels, dpi), "png twice as fine": plain[:at] + chunk + plain[at:],
            "bmp": picture_files.saved(picture_files.image(levels), "BMP", dpi=(dpi, dpi)),
            "jpeg states it": picture_files.saved(picture_files.image(levels), "JPEG",
                                                  quality=95, dpi=(dpi, dpi))}


class PicturesTest(CupsCase):
    @classmethod
    def prepare(cls) -> None:
        cls.cups.install_pictures(cups_case.variable("DRAV_PICTURE_FILTER"),
                                  cups_case.variable("DRAV_PICTURE_READER"),
                                  cups_case.variable("DRAV_TEXT_READER"))

    def model_queue(self, model: Model) -> Queue:
        driver = DriverFile.load(PPDS / f"{model.name}.ppd")
        return self.queue(driver)

    def wanted(self, queue: Queue, model: Model, levels: picture_files.Levels,
               options: cups_case.Options) -> bytes:
        """The stream of a job that prints these levels, one dot a pixel."""
        placed = placing_model.place((len(levels[0]), len(levels)), (0, 0), model.paper,
                                     dict(options))
        rows = levels
        for _ in range(placed.quarters):
            rows = [list(column) for column in zip(*rows)][::-1]
        self.assertEqual((len(rows[0]), len(rows)), placed.size)
        page = [bytearray(placed.page[0]) for _ in range(placed.page[1])]
        for y, row in enumerate(rows):
            start = placed.at[0]
            page[placed.at[1] + y][start:start + len(row)] = bytes(255 - level for level in row)
        raster = self.folder / f"{model.name}.ras"
        raster.write_bytes(cups_raster.stream([cups_raster.grey(
            map(bytes, page), HWResolution=(model.dpi, model.dpi), cupsPageSizeName=model.size)]))
        return expected.stream(expected.settings(queue.driver, options), raster_file.read(raster))

    def test_every_kind_on_every_model(self) -> None:
        levels = blocks(168, 104)
        common = files_of_every_kind(levels, self.folder)
        with concurrent.futures.ThreadPoolExecutor(len(MODELS)) as pool:
            for result in [pool.submit(self.print_all, model, levels, common) for model in MODELS]:
                result.result()

    def print_all(self, model: Model, levels: picture_files.Levels, common: Files) -> None:
        plain = {"PageSize": model.size, "HalftoneType": "None"}
        jobs = [(name, data, plain) for name, data in
                (common | files_for(levels, model.dpi)).items()]
        moved = {**plain, "position": "right", "orientation-requested": "4"}
        jobs.append(("turned, at the right", common["png"], moved))
        queue = self.model_queue(model)
        want = {id(options): self.wanted(queue, model, levels, options)
                for options in (plain, moved)}
        numbers = []
        for name, data, options in jobs:
            path = self.folder / f"{model.name} {name}.txt"
            path.write_bytes(data)
            numbers.append(self.submit(queue, path, options))
        received = queue.printer.wait_jobs(len(jobs))
        states = [self.cups.wait_job(number) for number in numbers]
        started = re.findall(r"\[Job (\d+)\] Started filter \S+/picturetodrav ", self.cups.log())
        for (name, _, options), number, state, got in zip(jobs, numbers, states, received,
                                                          strict=True):
            with self.subTest(model.name, picture=name):
                self.assertEqual(state, ipp.COMPLETED, name)
                self.assertIn(str(number), started)
                self.assert_same(got.data, want[id(options)])
        for name, _, options in jobs:
            self.assertEqual(self.proof(model, self.folder / f"{model.name} {name}.txt", options),
                             drav_case.pages_of(want[id(options)]), name)

    def proof(self, model: Model, path: pathlib.Path,
              options: cups_case.Options) -> list[list[bytes]]:
        """The dots that drav proof shows of a job."""
        given = [part for name, value in options.items() for part in ("-o", f"{name}={value}")]
        with tempfile.TemporaryDirectory(dir=self.folder) as folder:
            return drav_case.proof_pages(os.environ["DRAV_TOOL"], path, pathlib.Path(folder),
                                         "--ppd", str(PPDS / f"{model.name}.ppd"), *given)

    # ---- Text and PDF --------------------------------------------------------------

    def printed(self, queue: Queue, jobs: list[tuple[pathlib.Path, cups_case.Options]],
                program: str) -> list[list[list[bytes]]]:
        """The rows of each page of each job; `program` must have made them."""
        numbers = [self.submit(queue, path, options) for path, options in jobs]
        received = queue.printer.wait_jobs(len(jobs))
        for number in numbers:
            self.assertEqual(self.cups.wait_job(number), ipp.COMPLETED, self.lines(number))
            self.assertIn(program, re.findall(r"Started filter \S+/(\w+) ",
                                              "\n".join(self.cups.job_log(number))))
        return [escpos_stream.page_rows(escpos_stream.decode(bytes(one.data)))
                for one in received]

    def assert_marked(self, rows: list[bytes], dpi: int, size: tuple[float, float],
                      at: tuple[float, float] = (0, 0)) -> None:
        """A page of documents.marked_pdf at its true size, upright, with its corner at `at` mm."""
        def dots(millimetres: float) -> int:
            return round(millimetres / 25.4 * dpi)
        self.assertLessEqual(abs(len(rows) - dots(size[1])), 1)
        side, x, y = documents.SQUARE_MM, *at
        for inside in range(dots(y + side) + 2, dots(y + 2 * side) - 2):
            bits = f"{int.from_bytes(rows[inside], 'big'):0{8 * len(rows[inside])}b}"
            self.assertNotIn("1", bits[:dots(x + side) - 2])
            self.assertNotIn("0", bits[dots(x + side) + 2:dots(x + 2 * side) - 2])
            self.assertNotIn("1", bits[dots(x + 2 * side) + 2:dots(x + 12) - 2])
        for outside in (*range(dots(y + side) - 2), *range(dots(y + 2 * side) + 2,
                                                           dots(y + 2 * side + 0.5))):
            self.assertNotIn("1", f"{int.from_bytes(rows[outside], 'big'):b}")

    def test_pdf_pages_are_upright_and_of_their_size(self) -> None:
        plain = {"HalftoneType": "None"}
        sizes = ((72, 60), (72, 350), (72, 200), (40, 30))
        jobs = [(documents.marked_pdf(self.folder / f"{width}x{length}.pdf", width, length, 5),
                 {**plain, "position": "left"}) for width, length in sizes]
        custom = {**plain, "PageSize": "Custom.72x60mm"}
        jobs.append((jobs[0][0], custom))
        pages = self.printed(self.model_queue(MODELS[1]), jobs, "picturetodrav")
        for size, (page,) in zip((*sizes, sizes[0]), pages, strict=True):
            with self.subTest(size=size):
                self.assert_marked(page, 203, size)

        # Sheets, and rolls without the filter for pictures, have CUPS's own converters.
        sheets = self.printed(self.model_queue(MODELS[3]), [
            (documents.marked_pdf(self.folder / "a4.pdf", 210, 297, 5), plain),
            (documents.marked_pdf(self.folder / "wide.pdf", 203, 100, 5),
             {**plain, "PageSize": "Custom.203x100mm"})], "gstoraster")
        for size, (page,) in zip(((210, 297), (203, 100)), sheets, strict=True):
            with self.subTest(size=size):
                self.assert_marked(page, 300, size)
        old = DriverFile.load(PPDS / "dravr802.ppd").with_filter()
        (page,), = self.printed(self.queue(old), [(jobs[0][0], custom)], "gstoraster")
        self.assert_marked(page, 203, (72, 60))

    def test_text(self) -> None:
        """48 columns on 80 mm, in one line; 12 lines take 60 mm at most."""
        files = {"one": "W" * 48, "two": "W" * 49, "receipt": "Bread        2.40\n" * 12,
                 "pages": "first\fsecond\tpage\n"}
        paths = []
        for name, text in files.items():
            paths.append(self.folder / f"{name}.txt")
            paths[-1].write_text(text)
        one, two, receipt, pages = self.printed(
            self.model_queue(MODELS[1]),
            [(path, {"HalftoneType": "None", "TrimPaper": "End"}) for path in paths],
            "picturetodrav")
        line = 203 * 3.5 / 25.4
        self.assertLess(len(one[0]), line)
        self.assertGreater(len(two[0]), len(one[0]))
        self.assertLess(len(two[0]), 2 * line)
        self.assertLessEqual(len(receipt[0]), 60 / 25.4 * 203)
        self.assertGreater(len(receipt[0]), 11 * 2.5 / 25.4 * 203)
        self.assertEqual(len(pages), 2)


if __name__ == "__main__":
    cups_case.main()
