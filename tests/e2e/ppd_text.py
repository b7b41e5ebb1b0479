# SPDX-License-Identifier: Apache-2.0
"""Builds the text of PPD files with chosen options, defaults and attributes."""
from collections.abc import Mapping, Sequence

# The default choice, or the default and further choices.
Choices = str | Sequence[str]

HALFTONES = (
    "None", "FloydSteinberg", "Ordered", "Burkes", "Stucki", "JarvisJudiceNinke",
    "Sierra", "StevensonArce", "Tattoo", "Tattoo_X8",
)

# Every option that the filter reads besides PageSize, switched off, with the
# choices that the tests set from the job's options.
ALL_OPTIONS: dict[str, Choices] = {
    "PageType": ("0", "1"),
    "pageCutType": ("0", "1", "2", "3"),
    "docCutType": ("0", "1", "2", "3"),
    "FeedCutAfterJobEnd": ("0", "1", "3", "9"),
    "CashDrawer1Setting": ("0", "1", "2"),
    "CashDrawer2Setting": ("0", "1", "2"),
    "DocumentBuzzerSetting": ("0", "1", "2"),
    "PageBuzzerSetting": ("0", "1", "2"),
    "BuzzerOnTime": ("1", "2", "3", "9"),
    "BuzzerRepeat": ("1", "2", "3", "9"),
    "DocTopLogoID": ("0", "1", "2"),
    "DocTopLogoMode": ("0", "1", "2", "3"),
    "DocTopLogoPosition": ("0", "1", "2"),
    "DocBottomLogoID": ("0", "1", "2"),
    "DocBottomLogoMode": ("0", "1", "2", "3"),
    "DocBottomLogoPosition": ("0", "1", "2"),
    "HalftoneType": HALFTONES,
    "Brightness": ("0", "-20", "20"),
    "PrintDensity": ("0", "3", "15"),
    "RecordPrinterCommands": ("0", "1"),
    "StencilMirror": ("False", "True"),
    "HalfTurn": ("False", "True"),
    "InvertPage": ("False", "True"),
    "Contrast": ("0", "10", "50"),
    "PaperFrame": ("0", "1", "5"),
    "TrimPaper": ("None", "End", "Both"),
    "KeepPictures": ("True", "False"),
}

_HEAD = """\
*PPD-Adobe: "4.3"
*FormatVersion: "4.3"
*FileVersion: "1.0"
*LanguageVersion: English
*LanguageEncoding: ISOLatin1
*PCFileName: "E2ETEST.PPD"
*Manufacturer: "Test"
*Product: "(Test)"
*ModelName: "Test printer"
*ShortNickName: "Test printer"
*NickName: "Test printer"
*PSVersion: "(3010.000) 0"
*LanguageLevel: "3"
*ColorDevice: False
*DefaultColorSpace: Gray
*FileSystem: False
*Throughput: "1"
*LandscapeOrientation: Plus90
*TTRasterizer: Type42
*cupsVersion: 2.4
*cupsModelNumber: 7
"""


def _ui(keyword: str, choices: Choices, order: int) -> str:
    names = (choices,) if isinstance(choices, str) else tuple(choices)
    lines = [
        f"*OpenUI *{keyword}/{keyword}: PickOne",
        f"*OrderDependency: {order} AnySetup *{keyword}",
        f"*Default{keyword}: {names[0]}",
        *(f'*{keyword} {name}/{name}: ""' for name in dict.fromkeys(names)),
        f"*CloseUI: *{keyword}",
    ]
    return "\n".join(lines) + "\n"


def ppd_text(
    options: Mapping[str, Choices] | None = None,
    attributes: Mapping[str, str] | None = None,
    page_sizes: Choices = "X80MMY200MM",
    extra_lines: str = "",
) -> str:
    """A PPD with PageSize and these options; the first choice of each is its default.

    Attribute values are quoted; one may span lines. Without arguments every
    option is missing but PageSize.
    """
    parts = [_HEAD, _ui("PageSize", page_sizes, 10)]
    for order, (keyword, choices) in enumerate((options or {}).items(), start=20):
        parts.append(_ui(keyword, choices, order))
    for name, value in (attributes or {}).items():
        end = "\n*End" if "\n" in value else ""
        parts.append(f'*{name}: "{value}"{end}\n')
    parts.append(extra_lines)
    return "".join(parts)


def without_page_size(options: Mapping[str, Choices] | None = None) -> str:
    """A readable PPD that lacks PageSize."""
    parts = [_HEAD]
    for order, (keyword, choices) in enumerate((options or {}).items(), start=20):
        parts.append(_ui(keyword, choices, order))
    return "".join(parts)


def all_options(**defaults: Choices) -> dict[str, Choices]:
    """Every option, switched off but for these defaults; all known choices are kept."""
    unknown = set(defaults) - set(ALL_OPTIONS)
    if unknown:
        raise ValueError(f"no such options: {sorted(unknown)}")
    out = dict(ALL_OPTIONS)
    for keyword, value in defaults.items():
        given = (value,) if isinstance(value, str) else tuple(value)
        out[keyword] = (*given, *ALL_OPTIONS[keyword])
    return out
