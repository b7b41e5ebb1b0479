#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks that the folders of the product depend on each other in one direction.

Reads the #include lines and the calls of PPD functions. Without arguments it
checks the tree around it, after checking itself on small planted trees.
"""
import pathlib
import re
import sys
import tempfile

# Folder (or one pair of files in it) and the folders that it may include.
ALLOWED = {
    "common": {"common"},
    "common/ppd_lookup": {"common/ppd_lookup", "common", "cups"},
    "simd": {"simd", "hwy"},
    "image": {"image", "simd", "hwy"},
    "tattoo": {"tattoo", "simd", "hwy"},
    "printer": {"printer", "common", "image", "tattoo", "cups"},
    "documents/prepare": {"documents/prepare"},
    "documents": {"documents", "common"},
    "documents/reader": {"documents/reader", "documents", "vips", "seccomp.h", "pango",
                         "cairo.h"},
    "filter/picture": {"filter/picture", "filter", "documents", "printer", "common",
                       "common/ppd_lookup", "cups"},
    "filter": {"filter", "printer", "common", "common/ppd_lookup", "image", "tattoo", "cups"},
    "proof": {"proof", "documents", "documents/prepare", "common", "cups", "png.h"},
    "app": {"app", "filter", "filter/picture", "proof", "documents", "common", "cups", "pappl"},
}
FOLDERS = ("common", "documents", "simd", "image", "tattoo", "printer", "filter", "proof", "app")
# Not for every folder.
LIBRARIES = {"cups", "hwy", "vips", "seccomp.h", "pango", "cairo.h", "pappl", "png.h"}
PPD_CALLERS = {"filter", "filter/picture", "common/ppd_lookup"}

INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]')
PPD_CALL = re.compile(r"\b(ppd[A-Z]\w*|cupsMarkOptions)\s*\(")


def layer_of(path):
    """The layer of a project path such as printer/mono_pack.h."""
    if path.startswith("common/ppd_lookup."):
        return "common/ppd_lookup"
    for part in ("documents/prepare", "documents/reader", "filter/picture"):
        if path.startswith(part + "/"):
            return part
    return path.split("/")[0]


def findings(root):
    for folder in FOLDERS:
        for source in sorted((root / folder).glob("**/*")):
            if source.suffix not in (".cc", ".h"):
                continue
            name = source.relative_to(root).as_posix()
            layer = layer_of(name)
            lines = source.read_text(encoding="utf-8").splitlines()
            for number, line in enumerate(lines, 1):
                include = INCLUDE.match(line)
                if include:
                    system = include[1] == "<"
                    target = include[2]
                    library = target.split("/")[0]
                    if system and library not in LIBRARIES:
                        continue
                    edge = library if system else layer_of(target)
                    if edge not in ALLOWED[layer]:
                        yield f"{name}:{number}: {layer} must not include {target}"
                code = line.split("//")[0]
                if PPD_CALL.search(code) and layer not in PPD_CALLERS:
                    yield f"{name}:{number}: {layer} must not call PPD functions"


def planted(files):
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        for name, text in files.items():
            path = root / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")
        return list(findings(root))


def self_check():
    bad = [
        {"image/a.cc": '#include "common/log.h"\n'},
        {"tattoo/a.h": '#include "image/palette_image.h"\n'},
        {"simd/a.h": '#include "image/row_ops.h"\n'},
        {"common/log.cc": "#include <cups/ppd.h>\n"},
        {"common/log.cc": '#include "common/ppd_lookup.h"\n'},
        {"printer/a.cc": '#include "filter/settings.h"\n'},
        {"printer/a.cc": "x = ppdFindOption(ppd, name);\n"},
        {"printer/a.cc": "#include <hwy/highway.h>\n"},
        {"documents/prepare/a.cc": '#include "image/row_ops.h"\n'},
        {"documents/a.cc": "#include <vips/vips8>\n"},
        {"documents/a.cc": '#include "documents/reader/picture.h"\n'},
        {"documents/reader/a.cc": '#include "common/child_process.h"\n'},
        {"documents/a.cc": '#include "image/row_ops.h"\n'},
        {"filter/a.cc": '#include "tools/drav/render/render.h"\n'},
        {"filter/a.cc": '#include "documents/grey_pages.h"\n'},
        {"filter/a.cc": '#include "app/device.h"\n'},
        {"filter/a.cc": "#include <pappl/pappl.h>\n"},
        {"proof/a.cc": '#include "filter/settings.h"\n'},
        {"app/a.cc": "#include <png.h>\n"},
        {"app/a.cc": '#include "tools/drav/io/text.h"\n'},
        {"app/a.cc": '#include "image/halftones.h"\n'},
        {"app/a.cc": '#include "printer/mono_pack.h"\n'},
        {"app/a.cc": "x = ppdFindOption(ppd, name);\n"},
    ]
    good = {
        "image/a.cc": '#include "simd/rows.h"\n',
        "printer/a.cc": '#include "tattoo/pipeline.h"\n#include <cups/raster.h>\n// ppdClose()\n',
        "documents/prepare/a.cc": '#include "documents/prepare/b.h"\n',
        "filter/a.cc": '#include "common/ppd_lookup.h"\nppdClose(ppd);\n',
    }
    assert planted(good) == [], planted(good)
    for files in bad:
        assert len(planted(files)) == 1, files


def main():
    self_check()
    root = pathlib.Path(__file__).resolve().parents[2]
    count = sum(len(list((root / folder).glob("*.cc"))) for folder in FOLDERS)
    assert count > 20, f"only {count} sources found below {root}"
    found = list(findings(root))
    print("\n".join(found) or f"{count} sources, no edge against the layers")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
