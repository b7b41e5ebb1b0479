# SPDX-License-Identifier: Apache-2.0
"""The exact bytes around the rasters, for every option at each of its values."""
import filter_case
import ppd_text
from filter_case import DOTS_BAND, DOTS_PAGE, ZEROS, FilterCase, dots_job

# Options; then, in hexadecimal, what they add after the density command, at each
# page start, after each page feed, and before the status request.
Row = tuple[dict[str, str], str, str, str, str]

BUZZER = {"BuzzerRepeat": "2", "BuzzerOnTime": "3"}
TOP_LOGO = {"DocTopLogoID": "1", "DocTopLogoMode": "0", "DocTopLogoPosition": "1"}
BOTTOM_LOGO = {"DocBottomLogoID": "1", "DocBottomLogoMode": "0", "DocBottomLogoPosition": "1"}

PARTIAL = "0A0A0A0A1D5601"
FULL = "0A0A0A0A1D5600"

ROWS: tuple[Row, ...] = (
    ({"PageType": "0"}, "", "", "", ""),
    ({"PageType": "2"}, "", "", "", ""),
    ({"pageCutType": "0"}, "", "", "", ""),
    ({"pageCutType": "1"}, "", "", PARTIAL, ""),
    ({"pageCutType": "2"}, "", "", FULL, ""),
    ({"pageCutType": "3"}, "", "", "", ""),
    ({"pageCutType": "-1"}, "", "", "", ""),
    ({"pageCutType": "2147483647"}, "", "", "", ""),
    ({"docCutType": "0"}, "", "", "", ""),
    ({"docCutType": "1"}, "", "", "", PARTIAL),
    ({"docCutType": "2"}, "", "", "", FULL),
    ({"docCutType": "3"}, "", "", "", ""),
    ({"docCutType": "-1"}, "", "", "", ""),
    ({"pageCutType": "2", "docCutType": "2"}, "", "", FULL, FULL),
    ({"pageCutType": "1", "docCutType": "2"}, "", "", PARTIAL, FULL),
    ({"FeedCutAfterJobEnd": "0"}, "", "", "", ""),
    ({"FeedCutAfterJobEnd": "1"}, "", "", "", "1B4A78 1B6401"),
    ({"FeedCutAfterJobEnd": "3"}, "", "", "", "1B4A78 1B6403"),
    ({"FeedCutAfterJobEnd": "255"}, "", "", "", "1B4A78 1B64FF"),
    ({"FeedCutAfterJobEnd": "256"}, "", "", "", "1B4A78 1B6400"),
    ({"FeedCutAfterJobEnd": "-5"}, "", "", "", ""),
    ({"FeedCutAfterJobEnd": "lines"}, "", "", "", ""),
    ({"CashDrawer1Setting": "0"}, "", "", "", ""),
    ({"CashDrawer1Setting": "1"}, "1B70004040", "", "", ""),
    ({"CashDrawer1Setting": "2"}, "", "", "", "1B70004040"),
    ({"CashDrawer1Setting": "3"}, "", "", "", ""),
    ({"CashDrawer2Setting": "0"}, "", "", "", ""),
    ({"CashDrawer2Setting": "1"}, "1B70014040", "", "", ""),
    ({"CashDrawer2Setting": "2"}, "", "", "", "1B70014040"),
    ({"CashDrawer2Setting": "-2"}, "", "", "", ""),
    ({"DocumentBuzzerSetting": "0", **BUZZER}, "", "", "", ""),
    ({"DocumentBuzzerSetting": "1", **BUZZER}, "1B420203", "", "", ""),
    ({"DocumentBuzzerSetting": "2", **BUZZER}, "", "", "", "1B420203"),
    ({"DocumentBuzzerSetting": "3", **BUZZER}, "", "", "", ""),
    ({"PageBuzzerSetting": "0", **BUZZER}, "", "", "", ""),
    ({"PageBuzzerSetting": "1", **BUZZER}, "", "1B420203", "", ""),
    ({"PageBuzzerSetting": "2", **BUZZER}, "", "", "1B420203", ""),
    ({"PageBuzzerSetting": "3", **BUZZER}, "", "", "", ""),
    (BUZZER, "", "", "", ""),
    ({"DocumentBuzzerSetting": "1"}, "1B42FFFF", "", "", ""),
    ({"PageBuzzerSetting": "1"}, "", "1B42FFFF", "", ""),
    ({"PageBuzzerSetting": "2", "BuzzerRepeat": "-1", "BuzzerOnTime": "-1"},
     "", "", "1B42FFFF", ""),
    ({"DocumentBuzzerSetting": "2", "BuzzerRepeat": "5"}, "", "", "", "1B4205FF"),
    ({"DocumentBuzzerSetting": "1", "BuzzerRepeat": "300", "BuzzerOnTime": "-2"},
     "1B422CFE", "", "", ""),
    ({**TOP_LOGO, "DocTopLogoID": "0"}, "", "", "", ""),
    ({**TOP_LOGO, "DocTopLogoID": "-1"}, "", "", "", ""),
    (TOP_LOGO, "1B6101 1C700100 1B6100", "", "", ""),
    ({**TOP_LOGO, "DocTopLogoID": "7"}, "1B6101 1C700700 1B6100", "", "", ""),
    ({**TOP_LOGO, "DocTopLogoMode": "1"}, "1B6101 1C700101 1B6100", "", "", ""),
    ({**TOP_LOGO, "DocTopLogoMode": "2"}, "1B6101 1C700102 1B6100", "", "", ""),
    ({**TOP_LOGO, "DocTopLogoMode": "3"}, "1B6101 1C700103 1B6100", "", "", ""),
    ({**TOP_LOGO, "DocTopLogoPosition": "0"}, "1B6100 1C700100 1B6100", "", "", ""),
    ({**TOP_LOGO, "DocTopLogoPosition": "2"}, "1B6102 1C700100 1B6100", "", "", ""),
    ({"DocTopLogoID": "2"}, "1B61FF 1C7002FF 1B6100", "", "", ""),
    ({"DocTopLogoMode": "1", "DocTopLogoPosition": "1"}, "", "", "", ""),
    ({**BOTTOM_LOGO, "DocBottomLogoID": "0"}, "", "", "", ""),
    ({**BOTTOM_LOGO, "DocBottomLogoID": "-1"}, "", "", "", ""),
    (BOTTOM_LOGO, "", "", "1B6101 1C700100 1B6100", ""),
    ({**BOTTOM_LOGO, "DocBottomLogoID": "255"}, "", "", "1B6101 1C70FF00 1B6100", ""),
    ({**BOTTOM_LOGO, "DocBottomLogoMode": "1"}, "", "", "1B6101 1C700101 1B6100", ""),
    ({**BOTTOM_LOGO, "DocBottomLogoMode": "2"}, "", "", "1B6101 1C700102 1B6100", ""),
    ({**BOTTOM_LOGO, "DocBottomLogoMode": "3"}, "", "", "1B6101 1C700103 1B6100", ""),
    ({**BOTTOM_LOGO, "DocBottomLogoPosition": "0"}, "", "", "1B6100 1C700100 1B6100", ""),
    ({**BOTTOM_LOGO, "DocBottomLogoPosition": "2"}, "", "", "1B6102 1C700100 1B6100", ""),
    ({"DocBottomLogoID": "2"}, "", "", "1B61FF 1C7002FF 1B6100", ""),
    # Orders: drawers, buzzer, logo at the start; cut, then buzzer after a page;
    # feed, cut, buzzer, drawers at the end.
    ({"CashDrawer1Setting": "1", "CashDrawer2Setting": "1", "DocumentBuzzerSetting": "1",
      **BUZZER, **TOP_LOGO},
     "1B70004040 1B70014040 1B420203 1B6101 1C700100 1B6100", "", "", ""),
    ({**BOTTOM_LOGO, "pageCutType": "1", "PageBuzzerSetting": "2", **BUZZER},
     "", "", f"1B6101 1C700100 1B6100 {PARTIAL} 1B420203", ""),
    ({"FeedCutAfterJobEnd": "9", "docCutType": "2", "DocumentBuzzerSetting": "2",
      "CashDrawer1Setting": "2", "CashDrawer2Setting": "2", **BUZZER},
     "", "", "", f"1B4A78 1B6409 {FULL} 1B420203 1B70004040 1B70014040"),
    # One template serves several senders; no parameter of one shows in another.
    ({"DocTopLogoID": "1", "DocTopLogoMode": "3", "DocTopLogoPosition": "2",
      "DocBottomLogoID": "9", "DocBottomLogoMode": "1", "DocBottomLogoPosition": "0"},
     "1B6102 1C700103 1B6100", "", "1B6100 1C700901 1B6100", ""),
)

DENSITIES = (("0", "00"), ("3", "03"), ("8", "08"), ("15", "0F"), ("16", "10"), ("255", "FF"),
             ("256", "00"), ("-1", "FF"), ("dark", "00"))


def job_bytes(row: Row, pages: int) -> bytes:
    _, setup, page_start, page_end, job_end = (
        part if isinstance(part, dict) else bytes.fromhex(part) for part in row)
    out = ZEROS + bytes.fromhex("1B40 1F1B1F131400") + setup + bytes.fromhex("1B240100")
    for _ in range(pages):
        out += page_start + DOTS_BAND + bytes.fromhex("1B4AA0") + page_end
    return out + job_end + bytes.fromhex("1B76")


class CommandsTest(FilterCase):
    def test_every_option_missing(self) -> None:
        want = bytes(64) + bytes.fromhex(
            "1B40 1F1B1F131400 1B240100 1D763000 0100 0100 FF 1B4AA0 1B76")
        self.assert_job(self.run_pages(DOTS_PAGE), want)

    def test_every_option_off(self) -> None:
        ppd = ppd_text.ppd_text(ppd_text.all_options())
        self.assert_job(self.run_pages(DOTS_PAGE, DOTS_PAGE, ppd=ppd), dots_job(2))

    def test_defaults_of_the_driver_file(self) -> None:
        for row in ROWS:
            with self.subTest(row[0]):
                outcome = self.run_pages(DOTS_PAGE, DOTS_PAGE, ppd=ppd_text.ppd_text(row[0]))
                self.assert_job(outcome, job_bytes(row, 2))
                self.clear_spool()

    def test_options_of_the_job(self) -> None:
        for row in ROWS:
            with self.subTest(row[0]):
                off = {name: ("77", value, "0") for name, value in row[0].items()}
                options = " ".join(f"{name}={value}" for name, value in row[0].items())
                outcome = self.run_pages(DOTS_PAGE, ppd=ppd_text.ppd_text(off), options=options)
                self.assert_job(outcome, job_bytes(row, 1))
                self.clear_spool()

    def test_print_density(self) -> None:
        for value, byte in DENSITIES:
            with self.subTest(value):
                ppd = ppd_text.ppd_text({"PrintDensity": value})
                want = dots_job().replace(bytes.fromhex("1F1B1F131400"),
                                          bytes.fromhex("1F1B1F1314" + byte))
                self.assert_job(self.run_pages(DOTS_PAGE, ppd=ppd), want)

    def test_worked_example(self) -> None:
        ppd = ppd_text.ppd_text({
            "PrintDensity": "3", "CashDrawer1Setting": "1", "CashDrawer2Setting": "0",
            "DocumentBuzzerSetting": "2", "PageBuzzerSetting": "0", "BuzzerRepeat": "2",
            "BuzzerOnTime": "3", "DocTopLogoID": "1", "DocTopLogoMode": "0",
            "DocTopLogoPosition": "1", "DocBottomLogoID": "0", "pageCutType": "0",
            "docCutType": "1", "FeedCutAfterJobEnd": "3"})
        want = bytes(64) + bytes.fromhex(
            "1B40 1F1B1F131403 1B70004040 1B6101 1C700100 1B6100 1B240100"
            "1D763000 0100 0100 FF"
            "1B4AA0"
            "1B4A78 1B6403 0A0A0A0A1D5601 1B420203 1B76")
        self.assert_job(self.run_pages(DOTS_PAGE, ppd=ppd), want)

    def test_default_that_is_no_choice_reads_as_missing(self) -> None:
        # No such choice as the default: nothing is marked, so the option is off.
        for keyword in ("pageCutType", "docCutType", "CashDrawer1Setting"):
            with self.subTest(keyword):
                ppd = ppd_text.ppd_text({keyword: ("2", "1")}).replace(
                    f"*Default{keyword}: 2", f"*Default{keyword}: 9")
                outcome = self.run_pages(DOTS_PAGE, ppd=ppd)
                self.assert_job(outcome, dots_job())
                self.assertNotIn("getOptionChoiceIndex", outcome.stderr)

    def test_options_that_the_driver_file_lacks_change_nothing(self) -> None:
        ppd = ppd_text.ppd_text({"docCutType": ("1", "2")})
        want = dots_job()[:-2] + filter_case.PARTIAL_CUT + dots_job()[-2:]
        for options in ("job-uuid=urn:uuid:1 media=Custom.80x200mm noHold finishings=3", "", " "):
            with self.subTest(options):
                self.assert_job(self.run_pages(DOTS_PAGE, ppd=ppd, options=options), want)


if __name__ == "__main__":
    filter_case.main()
