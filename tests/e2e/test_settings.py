# SPDX-License-Identifier: Apache-2.0
"""The driver file: unreadable ones, defaults against job options, page sizes, look-up lines."""
import os
import subprocess
import sys

import cups_raster
import filter_case
import ppd_text
from filter_case import DOTS_PAGE, FULL_CUT, JOB_END, PARTIAL_CUT, FilterCase, dots_job

RASTER = cups_raster.stream([DOTS_PAGE])

# In the order of the look-ups.
LOGGED_OPTIONS = (
    "PageType", "pageCutType", "docCutType", "FeedCutAfterJobEnd", "CashDrawer1Setting",
    "CashDrawer2Setting", "DocumentBuzzerSetting", "PageBuzzerSetting", "BuzzerOnTime",
    "BuzzerRepeat", "DocTopLogoID", "DocTopLogoMode", "DocBottomLogoID", "DocBottomLogoMode",
    "DocTopLogoPosition", "DocBottomLogoPosition",
)


class DriverFileTest(FilterCase):
    def test_no_driver_file(self) -> None:
        outcome = self.run_filter(RASTER, environment=self.environment(None))
        self.assert_failed(outcome, b"")
        self.assertEqual(outcome.lines, outcome.errors)

    def test_driver_file_that_cannot_be_read(self) -> None:
        self.write("no.ppd", "This is no driver file.\n")
        self.write("empty.ppd", "")
        (self.folder / "folder.ppd").mkdir()
        for name in ("missing.ppd", "no.ppd", "empty.ppd", "folder.ppd", ""):
            with self.subTest(name):
                environment = self.environment(None) | {"PPD": name and str(self.folder / name)}
                outcome = self.run_filter(RASTER, environment=environment)
                self.assert_failed(outcome, b"")
                self.assertEqual(outcome.lines, outcome.errors)

    def test_driver_file_without_page_size(self) -> None:
        for options in ({}, ppd_text.all_options(RecordPrinterCommands="1")):
            with self.subTest(options=len(options)):
                ppd = ppd_text.without_page_size(options)
                outcome = self.run_filter(RASTER, ppd=ppd)
                self.assert_failed(outcome, b"", "PageSize")
                self.assertEqual(os.listdir(self.folder), ["printer.ppd"])

    def test_any_page_size_prints(self) -> None:
        for size in ("X80MMY200MM", "X57D5MMY100MM", "X80Y200M", "Letter", "X", "XY", "A4",
                     "X80MMY200", "X" + "1" * 30 + "MMY2MM", "X80MMY" + "9" * 30 + "MM",
                     "X" + "D" * 36, "X1234567890123456789Y1234567890123456789"):
            with self.subTest(size):
                outcome = self.run_filter(RASTER, ppd=ppd_text.ppd_text(page_sizes=size))
                self.assert_job(outcome, dots_job())

    def test_size_of_the_job(self) -> None:
        ppd = ppd_text.ppd_text(page_sizes=("A4", "X80MMY200MM"))
        for options in ("PageSize=X80MMY200MM", "PageSize=A4", "media=A4", "PageSize=Nowhere"):
            with self.subTest(options):
                self.assert_job(self.run_filter(RASTER, ppd=ppd, options=options), dots_job())


class OptionsTest(FilterCase):
    def cut(self, ppd: str, options: str) -> bytes:
        outcome = self.run_filter(RASTER, ppd=ppd, options=options)
        self.assertEqual((outcome.status, outcome.errors), (0, []))
        start = dots_job()[:-len(JOB_END)]
        self.assertTrue(outcome.stdout.startswith(start))
        self.assertTrue(outcome.stdout.endswith(JOB_END))
        return outcome.stdout[len(start):-len(JOB_END)]

    def test_the_job_wins_over_the_default(self) -> None:
        ppd = ppd_text.ppd_text({"docCutType": ("1", "0", "2")})
        for options, want in (("", PARTIAL_CUT), ("docCutType=2", FULL_CUT), ("docCutType=0", b""),
                              ("docCutType=1", PARTIAL_CUT),
                              ("fit-to-page docCutType=2 sides=one-sided", FULL_CUT),
                              ("docCutType='2'", FULL_CUT)):
            with self.subTest(options):
                self.assertEqual(self.cut(ppd, options), want)

    def test_choice_that_does_not_exist_leaves_the_default(self) -> None:
        ppd = ppd_text.ppd_text({"docCutType": ("1", "0", "2")})
        self.assertEqual(self.cut(ppd, "docCutType=7"), PARTIAL_CUT)

    def test_options_that_the_file_lacks_cannot_be_set(self) -> None:
        self.assertEqual(self.cut(ppd_text.ppd_text(), "docCutType=2 MaxMediaWidth=1"), b"")

    def test_each_option_found_is_logged_in_order(self) -> None:
        values = {name: str(number) for number, name in enumerate(LOGGED_OPTIONS, start=20)}
        outcome = self.run_filter(RASTER, ppd=ppd_text.ppd_text(dict(reversed(values.items()))))
        self.assertEqual(outcome.status, 0)
        self.assertEqual(outcome.lines[:len(values)], [
            f"DEBUG:getOptionChoiceIndex: {name} = {value}" for name, value in values.items()])
        self.assertEqual(len(outcome.having("DEBUG:getOptionChoiceIndex")), len(values))

    def test_options_not_found_are_not_logged(self) -> None:
        ppd = ppd_text.ppd_text({"docCutType": "-3", "Brightness": "0", "HalftoneType": "None",
                                 "PrintDensity": "1", "RecordPrinterCommands": "0"})
        outcome = self.run_filter(RASTER, ppd=ppd)
        self.assertEqual(outcome.having("DEBUG:getOptionChoiceIndex"),
                         ["DEBUG:getOptionChoiceIndex: docCutType = -3"])

    def test_names_that_are_no_numbers_read_as_0(self) -> None:
        ppd = ppd_text.ppd_text({"pageCutType": "Full", "docCutType": "2nd"})
        outcome = self.run_filter(RASTER, ppd=ppd)
        self.assertEqual(outcome.lines[:2], ["DEBUG:getOptionChoiceIndex: pageCutType = 0",
                                             "DEBUG:getOptionChoiceIndex: docCutType = 2"])
        self.assert_job(outcome, dots_job()[:-2] + FULL_CUT + JOB_END)


class LocaleTest(FilterCase):
    """Numbers of the driver file have a decimal point wherever the spooler runs."""

    def with_locale(self, variable: str, name: str) -> dict[str, str]:
        """The variables of a locale that is made into the test's folder."""
        made = self.folder / "locales" / f"{name}.UTF-8"
        if not made.exists():
            made.parent.mkdir(exist_ok=True)
            subprocess.run(["localedef", "-i", name, "-f", "UTF-8", str(made)], check=True,
                           stdout=subprocess.DEVNULL, timeout=filter_case.TIMEOUT)
        return {"LOCPATH": str(made.parent), variable: made.name}

    def assert_decimal_comma(self, variables: dict[str, str]) -> None:
        """The C library finds the locale, and a program that asks for it gets a comma."""
        code = "import locale; locale.setlocale(locale.LC_ALL, ''); print(locale.str(0.5))"
        done = subprocess.run([sys.executable, "-c", code], check=True, stdout=subprocess.PIPE,
                              env={"PATH": "/usr/bin:/bin"} | variables)
        self.assertEqual(done.stdout, b"0,5\n")

    def test_decimal_comma(self) -> None:
        # 2.88 points at 300 dpi are 12 dots, 2 points are 8.
        raster = cups_raster.stream([cups_raster.grey([b"\xff" * 16] * 3)])
        ppd = ppd_text.ppd_text({"HalftoneType": "Tattoo", "Brightness": "-20"},
                                {"MaxMediaWidth": "2.88"}, page_sizes="X57D5MMY100MM")
        plain = self.run_filter(raster, ppd=ppd)
        self.assertEqual(plain.status, 0)
        skipped = "DEBUG:Calc skip pixels : maxMediaLinePixels(12), cupsBytesPerLine(16)"
        self.assertIn(skipped, plain.lines)
        for name, variable in (("de_DE", "LC_ALL"), ("de_DE", "LANG"), ("de_DE", "LC_NUMERIC")):
            with self.subTest(name, variable=variable):
                variables = self.with_locale(variable, name)
                self.assert_decimal_comma(variables)
                environment = self.environment(ppd)
                del environment["LANG"]
                if filter_case.SANITIZED:  # the C library never frees the parts of LOCPATH
                    environment["ASAN_OPTIONS"] = (environment.get("ASAN_OPTIONS", "")
                                                   + ":detect_leaks=0")
                outcome = self.run_filter(raster, environment=environment | variables)
                self.assert_job(outcome, plain.stdout)
                self.assertIn(skipped, outcome.lines)


if __name__ == "__main__":
    filter_case.main()
