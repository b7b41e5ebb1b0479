# SPDX-License-Identifier: Apache-2.0
"""No row that the filter sends is above the head: every size of every model, any width.

DRAV_PPDS names the folder of the built files; the whole-program tests are in
PYTHONPATH. A page here is one row high and black all over.
"""
import math
import os
import pathlib

import cups_raster
import escpos_stream
import filter_case
from ppd_file import MODELS, Model, read_folder

FOLDER = pathlib.Path(os.environ["DRAV_PPDS"])
HALFTONES = ("None", "Tattoo_X8")  # one of each way through the printer


def black_page(width: int, resolution: int, **fields: str) -> cups_raster.Page:
    return cups_raster.grey([b"\xff" * width], HWResolution=(resolution, resolution), **fields)


def dots(row: bytes) -> int:
    """How many dots a row has, which begin at its left and have no gap."""
    bits = f"{int.from_bytes(row):0{len(row) * 8}b}".rstrip("0")
    if "0" in bits:
        raise ValueError(f"a gap in {bits}")
    return len(bits)


class WidthTest(filter_case.FilterCase):
    def setUp(self) -> None:
        super().setUp()
        self.files = read_folder(FOLDER)
        self.assertEqual(set(self.files), set(MODELS))

    def rows(self, name: str, pages: list[cups_raster.Page], options: str) -> list[bytes]:
        """The row that each page became, in one job."""
        outcome = self.run_pages(*pages, ppd=self.files[name].text, options=options)
        self.assertEqual((outcome.status, outcome.errors), (0, []))
        found = escpos_stream.page_rows(escpos_stream.decode(outcome.stdout))
        self.assertEqual([len(rows) for rows in found], [1] * len(pages))
        return [rows[0] for rows in found]

    def check(self, model: Model, width: int, row: bytes) -> None:
        """Within the head, and no more than 3 of its dots given away."""
        self.assertLessEqual(len(row) * 8, model.head, width)
        self.assertLessEqual(dots(row), width)
        self.assertGreaterEqual(dots(row), min(width, model.head - 3), width)

    def test_widths_around_the_head(self) -> None:
        for name, model in MODELS.items():
            widths = range(model.head - 5, model.head + 401)
            pages = [black_page(width, model.resolution) for width in widths]
            for halftone in HALFTONES:
                with self.subTest(f"{name} {halftone}"):
                    rows = self.rows(name, pages, f"HalftoneType={halftone}")
                    for width, row in zip(widths, rows, strict=True):
                        self.check(model, width, row)

    def test_every_size(self) -> None:
        for name, model in MODELS.items():
            with self.subTest(name):
                sizes = self.files[name].choices("PaperDimension")
                self.assertGreaterEqual(len(sizes), 9)
                cases = []
                for size, (_, points) in sizes.items():
                    exact = float(points.split()[0]) / 72 * model.resolution
                    # The converters round differently; one of them has whole points first.
                    truncated = int(float(points.split()[0])) / 72 * model.resolution
                    cases += [(size, width) for width in
                              sorted({int(truncated), math.floor(exact), math.ceil(exact)})]
                pages = [black_page(width, model.resolution, cupsPageSizeName=size)
                         for size, width in cases]
                rows = self.rows(name, pages, f"PageSize={cases[0][0]}")
                for (_, width), row in zip(cases, rows, strict=True):
                    self.check(model, width, row)

    def test_custom_pages_wider_than_the_file_allows(self) -> None:
        for name, model in MODELS.items():
            with self.subTest(name):
                pages = [black_page(model.head * times, model.resolution,
                                    cupsPageSizeName="Custom.9999x100") for times in (2, 5, 20)]
                for row in self.rows(name, pages, "PageSize=Custom.9999x100"):
                    self.assertEqual(len(row) * 8, model.head)


if __name__ == "__main__":
    filter_case.main()
