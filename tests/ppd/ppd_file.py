# SPDX-License-Identifier: Apache-2.0
"""Reads PPD files without libcups, and tells what each model of the family must be."""
import dataclasses
import pathlib
import re

LANGUAGES = ("de", "es", "fr", "ja", "zh_CN")
MOST_TEXT_BYTES = 80  # of an option's or a choice's label in libcups
MOST_GROUP_BYTES = 39  # of a group's


@dataclasses.dataclass(frozen=True)
class Model:
    """What a model's PPD file promises."""

    head: int  # dots
    resolution: int  # dots per inch
    cutter: bool
    halftone: str
    page_size: str
    named_sizes: frozenset[str] = frozenset()

    @property
    def stencil(self) -> bool:
        return self.halftone == "Tattoo"


NAMED_SIZES = {"A4": (210, 297), "Letter": (215.9, 279.4), "Tattoo_A5": (210, 148),
               "Tattoo_A6": (105, 148)}
MODELS = {
    "dravr582.ppd": Model(384, 203, False, "FloydSteinberg", "X48MMY200MM"),
    "dravr802.ppd": Model(576, 203, True, "FloydSteinberg", "X72MMY200MM"),
    "dravr803.ppd": Model(848, 300, True, "FloydSteinberg", "X72MMY200MM"),
    "dravsa43.ppd": Model(2400, 300, False, "Tattoo", "A4", frozenset(NAMED_SIZES)),
}

# The choice name of each halftone and the beginning of its label: what it runs.
HALFTONES = {
    "None": "Threshold", "FloydSteinberg": "Ordered 4x4", "Ordered": "Burkes", "Burkes": "Stucki",
    "Stucki": "Jarvis, Judice and Ninke", "JarvisJudiceNinke": "Sierra",
    "Sierra": "Stevenson and Arce", "StevensonArce": "Bayer",
    "Tattoo": "Tattoo stencil (", "Tattoo_X8": "Tattoo stencil X8",
}

ZERO_TO_TWO = {"0", "1", "2"}
FROM_1_TO_9 = {str(number) for number in range(1, 10)}
FROM_0_TO_5 = {str(number) for number in range(6)}
SWITCH = {"False", "True"}
# Every option that the filter reads: its choices and its default, None where the
# default is the model's.
OPTIONS: dict[str, tuple[set[str], str | None]] = {
    "HalftoneType": (set(HALFTONES), None),
    "Brightness": ({"-40", "-35", "-30", "-25", "-20", "-15", "-10", "-5", "0", "2", "5", "10",
                    "15"}, "0"),
    "PrintDensity": ({str(level) for level in range(16)}, "8"),
    "PageType": ({"0", "1"}, "0"),
    "pageCutType": (ZERO_TO_TWO, "0"),
    "docCutType": (ZERO_TO_TWO, None),
    "FeedCutAfterJobEnd": ({"0", "1", "2", "3", "4", "5", "6", "8", "10"}, "0"),
    "CashDrawer1Setting": (ZERO_TO_TWO, "0"),
    "CashDrawer2Setting": (ZERO_TO_TWO, "0"),
    "DocumentBuzzerSetting": (ZERO_TO_TWO, "0"),
    "PageBuzzerSetting": (ZERO_TO_TWO, "0"),
    "BuzzerOnTime": (FROM_1_TO_9, "1"),
    "BuzzerRepeat": (FROM_1_TO_9, "1"),
    "DocTopLogoID": (FROM_0_TO_5, "0"),
    "DocTopLogoMode": ({"0", "1", "2", "3"}, "0"),
    "DocTopLogoPosition": (ZERO_TO_TWO, "1"),
    "DocBottomLogoID": (FROM_0_TO_5, "0"),
    "DocBottomLogoMode": ({"0", "1", "2", "3"}, "0"),
    "DocBottomLogoPosition": (ZERO_TO_TWO, "1"),
    "RecordPrinterCommands": ({"0", "1"}, "0"),
    "StencilMirror": (SWITCH, "False"),
    "HalfTurn": (SWITCH, "False"),
    "InvertPage": (SWITCH, "False"),
    "Contrast": ({"0", "10", "20", "30", "40", "50"}, "0"),
    "PaperFrame": (FROM_0_TO_5, "0"),
    "TrimPaper": ({"None", "End", "Both"}, "None"),
    "KeepPictures": (SWITCH, "True"),
}
STENCIL_ALONE = {"PaperFrame"}  # the other options are the same in all files
# What the printer may have, and whether it has it; None where the model tells.
INSTALLABLE: dict[str, str | None] = {
    "OptionCutter": None, "OptionDrawer1": "False", "OptionDrawer2": "False",
    "OptionLogos": "False",
}


def options_of(model: Model) -> dict[str, tuple[set[str], str | None]]:
    """Every option that a model's file has: its choices and its default."""
    return {option: row for option, row in OPTIONS.items()
            if model.stencil or option not in STENCIL_ALONE}


def defaults(model: Model) -> dict[str, str]:
    """The default choice of every option of a model, paper and colour aside."""
    of_model = {"HalftoneType": model.halftone, "docCutType": "1" if model.cutter else "0",
                "OptionCutter": "True" if model.cutter else "False"}
    found = {option: default for option, (_, default) in options_of(model).items()} | INSTALLABLE
    return {option: of_model[option] if default is None else default
            for option, default in found.items()}


class PpdFile:
    """The lines that matter here."""

    def __init__(self, text: str) -> None:
        self.text = text
        self.attributes: dict[str, list[str]] = {}
        for line in text.splitlines():
            match = re.fullmatch(r'\*(\w+):\s*"?([^"]*)"?', line)
            if match:
                self.attributes.setdefault(match[1], []).append(match[2])

    def choices(self, option: str, language: str = "") -> dict[str, tuple[str, str]]:
        """Choice name -> (label, code) in order, as the PPD rules split a line."""
        keyword = f"{language}.{option}" if language else option
        pattern = re.compile(r"\*" + re.escape(keyword) + r' ([^/: ]+)(?:/([^:]*))?:\s*"([^"]*)"')
        found: dict[str, tuple[str, str]] = {}
        for line in self.text.splitlines():
            if line.startswith(f"*{keyword} "):
                match = pattern.fullmatch(line)
                if not match:
                    raise ValueError(f"cannot be read: {line}")
                if match[1] in found:
                    raise ValueError(f"{keyword} {match[1]} stands twice")
                found[match[1]] = (match[2], match[3])
        return found

    def options(self) -> dict[str, str]:
        """Option name -> label."""
        return dict(re.findall(r"^\*OpenUI \*(\w+)/([^:]+): (?:PickOne|Boolean)$", self.text, re.M))

    def groups(self) -> dict[str, str]:
        """Group name -> label."""
        return dict(re.findall(r"^\*OpenGroup: (\w+)/([^:]+)$", self.text, re.M))

    def constraints(self) -> list[tuple[str, str, str, str]]:
        """(option, choice, option, choice) of each pair that cannot go together."""
        lines = re.findall(r"^\*(?:Non)?UIConstraints: (.*)$", self.text, re.M)
        pattern = re.compile(r"\*(\w+) (\S+) \*(\w+) (\S+)")
        found = []
        for line in lines:
            match = pattern.fullmatch(line)
            if not match:
                raise ValueError(f"cannot be read: {line}")
            found.append((match[1], match[2], match[3], match[4]))
        return found


def read_folder(folder: pathlib.Path) -> dict[str, PpdFile]:
    """All PPD files of a folder by name."""
    return {path.name: PpdFile(path.read_text(encoding="utf-8"))
            for path in sorted(folder.glob("*.ppd"))}
