# SPDX-License-Identifier: Apache-2.0
"""Reads a driver's PPD file and makes variants of it for the tests' queues."""
import pathlib
import re

RASTER = "application/vnd.cups-raster"
TAPPED = "application/vnd.drav-raster"  # behind the pass-through that keeps a copy
HELD = "application/vnd.drav-held"      # behind the pass-through that stops in a job
FILTER = "rastertodrav"

# Every option that the filter reads, as the PPD spells it.
OPTIONS = (
    "PageSize", "PageType", "pageCutType", "docCutType", "FeedCutAfterJobEnd",
    "CashDrawer1Setting", "CashDrawer2Setting", "DocumentBuzzerSetting", "PageBuzzerSetting",
    "BuzzerOnTime", "BuzzerRepeat", "DocTopLogoID", "DocTopLogoMode", "DocTopLogoPosition",
    "DocBottomLogoID", "DocBottomLogoMode", "DocBottomLogoPosition", "HalftoneType",
    "Brightness", "PrintDensity", "RecordPrinterCommands", "StencilMirror", "HalfTurn",
    "InvertPage", "Contrast", "PaperFrame", "TrimPaper", "KeepPictures",
)

SMALL = "X40MMY20MM"  # a page of our own, for jobs in great number


class DriverFile:
    """The text of a PPD file."""

    def __init__(self, text: str) -> None:
        self.text = text

    @classmethod
    def load(cls, path: pathlib.Path) -> "DriverFile":
        return cls(path.read_text("utf-8"))

    def save(self, path: pathlib.Path) -> pathlib.Path:
        path.write_text(self.text, "utf-8")
        return path

    # ---- What it says ---------------------------------------------------------

    def has(self, option: str) -> bool:
        return re.search(rf"^\*Default{re.escape(option)}:", self.text, re.M) is not None

    def default(self, option: str) -> str:
        found = re.search(rf"^\*Default{re.escape(option)}: *(\S+)", self.text, re.M)
        if found is None:
            raise KeyError(option)
        return found[1]

    def choices(self, option: str) -> list[str]:
        out = re.findall(rf'^\*{re.escape(option)} ([^/:\s]+)(?:/[^:\n]*)?: *"', self.text, re.M)
        if not out:
            raise KeyError(option)
        return list(dict.fromkeys(out))

    def attribute(self, name: str) -> str | None:
        found = re.search(rf'^\*{re.escape(name)}: *"([^"]*)"', self.text, re.M)
        return found[1] if found else None

    # ---- Variants -------------------------------------------------------------

    def _replaced(self, pattern: str, by: str) -> "DriverFile":
        text, count = re.subn(pattern, lambda _: by, self.text, flags=re.M)
        if count == 0:
            raise ValueError(f"the driver file has nothing like {pattern}")
        return DriverFile(text)

    def with_filter(self, source: str = RASTER, program: str = FILTER) -> "DriverFile":
        """The filter line: what goes in, and the program's name. No other way in stays."""
        only = DriverFile(re.sub(r'(?m)^\*cupsFilter2: *"[^"]* -"\n', "", self.text))
        return only._replaced(r'^\*cupsFilter2: *".*"$',
                              f'*cupsFilter2: "{source} application/octet-stream 0 {program}"')

    def with_attribute(self, name: str, value: str | None) -> "DriverFile":
        """Another value of an attribute, or none at all."""
        line = "" if value is None else f'*{name}: "{value}"'
        return self._replaced(rf'^\*{re.escape(name)}: *"[^"]*"$', line)

    def with_small_page(self) -> "DriverFile":
        """The page size `SMALL` besides the others."""
        points = [40 / 25.4 * 72, 20 / 25.4 * 72]
        width, length = (f"{value:.2f}" for value in points)
        whole_width, whole_length = (round(value) for value in points)
        device = f"<</PageSize[{whole_width} {whole_length}]/ImagingBBox null>>setpagedevice"
        text = self.text
        for name, value in (("PageSize", device), ("PageRegion", device),
                            ("ImageableArea", f"0 0 {width} {length}"),
                            ("PaperDimension", f"{width} {length}")):
            line = f'*{name} {SMALL}/40 x 20 mm: "{value}"\n'
            text, count = re.subn(rf"^(?=\*{name} )", lambda _, line=line: line, text, count=1,
                                  flags=re.M)
            if count != 1:
                raise ValueError(f"the driver file has no {name}")
        return DriverFile(text)
