#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Options as attributes of jobs and as defaults of queues: the bytes of the filter."""
import unittest

from app_case import AppCase, as_filter_raster, drawing, filtered, pwg
from cups_raster import page
from ipp_client import BOOLEAN, ENUM, INTEGER, KEYWORD, Attribute

# Attribute, a value that is not the standard one, the same in the driver file's words.
OPTIONS = (
    (KEYWORD, "halftone-type", "stucki", "HalftoneType=Burkes"),
    (INTEGER, "brightness", -35, "Brightness=-35"),
    (INTEGER, "contrast", 40, "Contrast=40"),
    (BOOLEAN, "mirror", True, "StencilMirror=True"),
    (BOOLEAN, "half-turn", True, "HalfTurn=True"),
    (BOOLEAN, "invert", True, "InvertPage=True"),
    (KEYWORD, "trim-paper", "both", "TrimPaper=Both"),
    (KEYWORD, "page-cut", "full", "pageCutType=2"),
    (KEYWORD, "job-cut", "full", "docCutType=2"),
    (INTEGER, "feed-lines", 8, "FeedCutAfterJobEnd=8"),
    (KEYWORD, "cash-drawer-1", "job-start", "CashDrawer1Setting=1"),
    (KEYWORD, "cash-drawer-2", "job-end", "CashDrawer2Setting=2"),
    (KEYWORD, "job-buzzer", "job-end", "DocumentBuzzerSetting=2"),
    (KEYWORD, "page-buzzer", "page-start", "PageBuzzerSetting=1"),
    (INTEGER, "top-logo", 3, "DocTopLogoID=3"),
    (INTEGER, "bottom-logo", 5, "DocBottomLogoID=5"),
    (INTEGER, "print-darkness", 20, "PrintDensity=3"),
)
# What shows together with others alone.
COMPANIONS = (
    ((INTEGER, "buzzer-length", 7), (INTEGER, "buzzer-repeat", 4),
     (KEYWORD, "job-buzzer", "job-start")),
    ((KEYWORD, "top-logo-size", "tall"), (KEYWORD, "top-logo-position", "right"),
     (INTEGER, "top-logo", 1)),
    ((KEYWORD, "bottom-logo-size", "wide"), (KEYWORD, "bottom-logo-position", "left"),
     (INTEGER, "bottom-logo", 2)),
)
COMPANION_OPTIONS = ("BuzzerOnTime=7 BuzzerRepeat=4 DocumentBuzzerSetting=1",
                     "DocTopLogoMode=2 DocTopLogoPosition=2 DocTopLogoID=1",
                     "DocBottomLogoMode=1 DocBottomLogoPosition=0 DocBottomLogoID=2")


class OptionTest(AppCase):
    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        cls.printer = cls.shared_sink()
        cls.client = cls.server.add("receipts", cls.printer.uri, "dravr802")
        inked = drawing(160, 24)  # between rows that trimming takes off
        cls.page = page(160, 114, bytes(160 * 40) + inked + bytes(160 * 50),
                        HWResolution=(203, 203))
        cls.raster = as_filter_raster([cls.page], "X72MMY200MM")

    def assertPrints(self, options: str, *job: Attribute) -> None:
        self.assertCompleted(
            self.printed(self.client, "image/pwg-raster", pwg([self.page]), *job))
        self.assertSameBytes(self.printer.job(), filtered(self.raster, options, "dravr802"))

    def test_each_attribute_of_a_job(self) -> None:
        plain = filtered(self.raster, "", "dravr802")
        for tag, name, value, options in OPTIONS:
            with self.subTest(name):
                self.assertTrue(filtered(self.raster, options, "dravr802") != plain)
                self.assertPrints(options, Attribute(tag, name, value))
        for attributes, options in zip(COMPANIONS, COMPANION_OPTIONS):
            with self.subTest(options):
                self.assertPrints(options, *(Attribute(*one) for one in attributes))

    def test_each_default_of_a_queue_reaches_its_jobs(self) -> None:
        self.client = self.server.add("defaults", self.printer.uri, "dravr802")
        together = []
        for tag, name, value, options in OPTIONS:
            status = self.client.set_defaults(Attribute(tag, f"{name}-default", value))
            self.assertEqual(status, 0, name)
            together.append(options)
            with self.subTest(name):
                self.assertPrints(" ".join(together))
        self.assertEqual(self.client.printer()["halftone-type-default"], ["stucki"])
        # A job's own value comes before the queue's.
        self.assertPrints(" ".join(together) + " HalftoneType=None StencilMirror=False",
                          Attribute(KEYWORD, "halftone-type", "threshold"),
                          Attribute(BOOLEAN, "mirror", False))

    def test_the_modify_command_sets_defaults(self) -> None:
        client = self.server.add("modified", self.printer.uri, "dravr802")
        self.server.run("modify", "-d", "modified", "-o", "mirror=true",
                        "-o", "halftone-type=burkes", "-o", "feed-lines=4")
        self.client = client
        self.assertPrints("StencilMirror=True HalftoneType=Ordered FeedCutAfterJobEnd=4")

    def test_the_usual_queues_of_a_model(self) -> None:
        uri = self.printer.uri
        self.server.run("add", "-v", uri, "-m", "dravr802", "-o", "queues=usual")
        self.client = self.server.client("Receipt")
        self.assertPrints("TrimPaper=End")
        self.server.run("add", "-v", uri, "-m", "dravsa43", "-o", "queues=usual")
        for name, halftone in (("Stencil_lines", "tattoo"), ("Stencil_shading", "tattoo-x8")):
            printer = self.server.client(name).printer()
            self.assertEqual(printer["halftone-type-default"], [halftone])
            self.assertEqual(printer["printer-name"], [name.replace("_", " ")])
        # One that is there already, and a model that is not.
        self.server.run("add", "-v", uri, "-m", "dravr802", "-o", "queues=usual", status=1)
        said = self.server.run("add", "-v", uri, "-m", "other", "-o", "queues=usual", status=2)
        self.assertRegex(said, r"\Adrav-printer-app: [^\n]+ -m [^\n]+\n\Z")

    def test_finishings_trim_is_a_partial_cut_that_job_cut_overrides(self) -> None:
        trim = Attribute(ENUM, "finishings", 11)
        self.client.set_defaults(Attribute(KEYWORD, "job-cut-default", "none"))
        self.addCleanup(self.client.set_defaults,
                        Attribute(KEYWORD, "job-cut-default", "partial"))
        self.assertPrints("docCutType=0")
        self.assertPrints("docCutType=1", trim)
        self.assertPrints("docCutType=2", trim, Attribute(KEYWORD, "job-cut", "full"))

    def test_values_that_mean_nothing_leave_the_default(self) -> None:
        self.assertPrints("", Attribute(KEYWORD, "halftone-type", "nobody"),
                          Attribute(KEYWORD, "mirror", "perhaps"),
                          Attribute(INTEGER, "trim-paper", 9))

    def test_what_is_advertised(self) -> None:
        printer = self.client.printer()
        for tag, name, _, _ in OPTIONS:
            if name == "print-darkness":
                continue
            self.assertIn(name, printer["job-creation-attributes-supported"])
            self.assertIn(f"{name}-default", printer)
        self.assertEqual(printer["brightness-supported"], [(-40, 15)])
        self.assertEqual(len(printer["halftone-type-supported"]), 10)
        self.assertNotIn("frame-supported", printer)  # this model has none
        self.assertEqual(printer["sides-supported"], ["one-sided"])
        self.assertEqual(printer["printer-resolution-supported"], [(203, 203)])
        self.assertEqual(set(printer["pwg-raster-document-type-supported"]),
                         {"black_8", "sgray_8"})
        self.assertEqual(printer["print-scaling-default"], ["auto-fit"])
        self.assertIn("application/pdf", printer["document-format-supported"])
        (ready,) = printer["media-col-ready"]
        self.assertEqual(ready["media-size"], [{"x-dimension": [7200], "y-dimension": [20000]}])
        for name in ("urf-supported", "pwg-raster-document-sheet-back", "mopria-certified",
                     "print-rendering-intent-supported", "preferred-attributes-supported"):
            self.assertIn(name, printer)


if __name__ == "__main__":
    unittest.main()
