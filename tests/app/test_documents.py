#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Pictures and PDF through the server: the bytes of the filters, or no bytes."""
import os
import pathlib
import subprocess
import unittest

import cups_raster
from app_case import PICTURE_FILTER, PPDS, AppCase, as_filter_raster, filtered
from document_case import split_pages
from drav_case import proof_pages
from escpos_stream import decode
from ipp_client import BOOLEAN, ENUM, INTEGER, KEYWORD, RANGE, Attribute
from picture_files import image, metres, png, ramp, saved
from test_picturetodrav import paper_of

ROWS = os.environ["DRAV_DOCUMENT_ROWS"]
A6 = Attribute(KEYWORD, "media", "iso_a6_105x148mm")
RECEIPT = paper_of(203, (72, 200), 203.4089, True)


def pdf(*pages: tuple[int, int, str]) -> bytes:
    """A PDF of pages: width and height in points, and what is drawn."""
    parts = [b"<</Type/Catalog/Pages 2 0 R>>", b""]
    kids = []
    for width, height, drawing in pages:
        kids.append(f"{len(parts) + 1} 0 R")
        parts.append(f"<</Type/Page/Parent 2 0 R/MediaBox[0 0 {width} {height}]"
                     f"/Contents {len(parts) + 2} 0 R>>".encode())
        parts.append(f"<</Length {len(drawing)}>>stream\n{drawing}\nendstream".encode())
    parts[1] = f"<</Type/Pages/Kids[{' '.join(kids)}]/Count {len(kids)}>>".encode()
    out, places = b"%PDF-1.4\n", []
    for number, part in enumerate(parts, 1):
        places.append(len(out))
        out += f"{number} 0 obj\n".encode() + part + b"\nendobj\n"
    table = "".join(f"{place:010} 00000 n \n" for place in places)
    return out + (f"xref\n0 {len(parts) + 1}\n0000000000 65535 f \n{table}trailer"
                  f"<</Size {len(parts) + 1}/Root 1 0 R>>\nstartxref\n{len(out)}\n%%EOF\n").encode()


class DocumentTest(AppCase):
    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        cls.printer = cls.shared_sink()
        cls.client = cls.server.add("stencil", cls.printer.uri)
        cls.receipt_printer = cls.shared_sink()
        cls.receipts = cls.server.add("receipts", cls.receipt_printer.uri, "dravr802")
        cls.picture = saved(image(ramp(150, 90)), "PNG", dpi=(300, 300))

    def setUp(self) -> None:
        self.printer.forget()
        self.receipt_printer.forget()

    def by_filter(self, picture: bytes, options: str = "", model: str = "dravsa43",
                  copies: int = 1) -> bytes:
        return filtered(picture, f"KeepPictures=False {options}", model, PICTURE_FILTER, copies)

    def rows_of(self, document: bytes, paper, *options: str) -> list:
        path = self.folder / "document"
        path.write_bytes(document)
        result = subprocess.run([ROWS, paper.text(), path, *options], capture_output=True,
                                check=True, timeout=60)
        return split_pages(result.stdout)

    def test_pictures_print_as_the_picture_filter_prints(self) -> None:
        photo = saved(image(ramp(300, 200)), "JPEG", quality=90)
        for format_, document in (("image/png", self.picture), ("image/jpeg", photo),
                                  ("image/gif", saved(image(ramp(40, 30)), "GIF")),
                                  ("application/octet-stream", self.picture)):
            with self.subTest(format_):
                self.assertCompleted(self.printed(self.client, format_, document))
                self.assertSameBytes(self.printer.job(), self.by_filter(document))

    def test_the_dots_are_those_of_drav_proof(self) -> None:
        for name, document, options, job in (
                ("drawing.png", self.picture, ["HalftoneType=Tattoo_X8", "StencilMirror=True"],
                 [Attribute(KEYWORD, "halftone-type", "tattoo-x8"),
                  Attribute(BOOLEAN, "mirror", True)]),
                ("drawing.pdf", pdf((200, 100, "0.5 g 10 10 150 60 re f")), ["HalftoneType=None"],
                 [Attribute(KEYWORD, "halftone-type", "threshold")])):
            with self.subTest(name):
                file = self.folder / name
                file.write_bytes(document)
                arguments = ["--ppd", str(PPDS / "dravr802.ppd")]
                for one in options:
                    arguments += ["-o", one]
                (want,) = proof_pages(os.environ["DRAV_TOOL"], file, self.folder, *arguments)
                self.assertCompleted(self.printed(
                    self.receipts, "application/octet-stream", document, *job))
                self.assertEqual(decode(self.receipt_printer.job()).rows, want)

    def test_a_receipt_is_as_long_as_its_picture(self) -> None:
        self.assertCompleted(self.printed(self.receipts, "image/png", self.picture))
        self.assertSameBytes(self.receipt_printer.job(),
                             self.by_filter(self.picture, model="dravr802"))

    def test_placing_and_copies(self) -> None:
        for name, job, options, copies in (
                ("fit", [A6, Attribute(KEYWORD, "print-scaling", "fit")],
                 "PageSize=Tattoo_A6 print-scaling=fit", 1),
                ("none", [A6, Attribute(KEYWORD, "print-scaling", "none")],
                 "PageSize=Tattoo_A6 print-scaling=none", 1),
                ("turned", [A6, Attribute(ENUM, "orientation-requested", 4)],
                 "PageSize=Tattoo_A6 orientation-requested=4", 1),
                ("copies of a roll", [Attribute(KEYWORD, "media", "om_roll-203-600_203x600mm"),
                                      Attribute(INTEGER, "copies", 3)],
                 "PageSize=X203MMY600MM", 3)):
            with self.subTest(name):
                self.assertCompleted(self.printed(self.client, "image/png", self.picture, *job))
                self.assertSameBytes(self.printer.job(),
                                     self.by_filter(self.picture, options, copies=copies))

    def test_a_wide_picture_is_turned_as_long_as_nobody_says_upright(self) -> None:
        wide = saved(image(ramp(1500, 20)), "PNG", dpi=(300, 300))
        upright = Attribute(ENUM, "orientation-requested", 3)
        seen = set()
        for job, options in (((A6,), ""), ((A6, upright), "orientation-requested=3")):
            self.assertCompleted(self.printed(self.client, "image/png", wide, *job))
            data = self.printer.job()
            self.assertSameBytes(data, self.by_filter(wide, f"PageSize=Tattoo_A6 {options}"))
            seen.add(data)
        self.assertEqual(len(seen), 2)

    def test_pdf_prints_the_page_that_ghostscript_draws(self) -> None:
        document = pdf((200, 100, "0.5 g 10 10 150 60 re f"), (150, 90, "20 20 80 30 re f"),
                       (100, 80, "0.2 g 5 5 50 50 re f"))
        drawn = self.rows_of(document, RECEIPT)
        self.assertEqual(len(drawn), 3)
        pages = [cups_raster.grey(one.rows, HWResolution=(203, 203)) for one in drawn]
        for name, job, want in (("all", (), pages),
                                ("a range", (Attribute(RANGE, "page-ranges", (2, 3)),), pages[1:]),
                                ("copies", (Attribute(INTEGER, "copies", 2),
                                            Attribute(RANGE, "page-ranges", (3, 9))),
                                 [pages[2], pages[2]])):
            with self.subTest(name):
                self.assertCompleted(
                    self.printed(self.receipts, "application/pdf", document, *job))
                self.assertSameBytes(
                    self.receipt_printer.job(),
                    filtered(as_filter_raster(want, "X72MMY200MM"), model="dravr802"))

    def test_what_is_damaged_costs_no_paper_and_the_next_job_prints(self) -> None:
        large = saved(image(ramp(600, 500)), "PNG")
        for name, format_, document in (
                ("cut PNG", "image/png", large[:len(large) // 2]),
                ("cut JPEG", "image/jpeg", saved(image(ramp(200, 200)), "JPEG")[:3000]),
                ("no PNG", "image/png", b"\x89PNG\r\n\x1a\n" + bytes(100)),
                ("no PDF", "application/pdf", b"%PDF-1.4\nnothing"),
                ("text", "application/octet-stream", b"plain text\n" * 30),
                ("huge", "image/png", png(60_000, 60_000, 8, 0, [], metres(11811))),
                ("PostScript", "image/png", b"%!PS\nshowpage\n"),
                ("no such page", "application/pdf", None)):
            with self.subTest(name):
                job = () if document else (Attribute(RANGE, "page-ranges", (7, 8)),)
                one = document or pdf((100, 80, "5 5 50 50 re f"))
                status, answer = self.client.print_job(format_, one, *job)
                if "job-id" in answer:
                    self.assertAborted(self.ended(self.client, answer["job-id"][0]))
                else:
                    self.assertGreaterEqual(status, 0x400)
        self.assertEqual(self.printer.jobs(), [])
        self.assertCompleted(self.printed(self.client, "image/png", self.picture))
        self.assertSameBytes(self.printer.job(), self.by_filter(self.picture))

    def test_a_pdf_that_ghostscript_repairs_is_not_completed_and_costs_no_paper(self) -> None:
        whole = pdf((100, 80, "0.2 g 5 5 50 50 re f"))
        for name, document in (("no table", whole[:whole.index(b"xref")]),
                               ("a cut", whole[:len(whole) // 2]),
                               ("a wrong start", whole.replace(b"startxref\n", b"startxref\n9"))):
            with self.subTest(name):
                self.assertAborted(self.printed(self.receipts, "application/pdf", document))
        self.assertEqual(self.receipt_printer.jobs(), [])
        self.assertCompleted(self.printed(self.receipts, "application/pdf", whole))
        self.receipt_printer.job()

    def test_a_cut_picture_does_not_fill_the_log(self) -> None:
        before = self.server.log.stat().st_size
        self.assertAborted(self.printed(self.client, "image/png", self.picture[:-30]))
        self.assertLess(self.server.log.stat().st_size - before, 100_000)

    def test_no_document_is_kept_after_its_job(self) -> None:
        self.assertCompleted(self.printed(self.client, "image/png", self.picture))
        self.assertAborted(self.printed(self.client, "image/png", self.picture[:200]))
        kept = [one.name for one in (self.folder / "spool").iterdir() if one.suffix != ".ipp"]
        self.assertEqual(kept, [])


if __name__ == "__main__":
    unittest.main()
