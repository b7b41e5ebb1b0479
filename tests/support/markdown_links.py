# SPDX-License-Identifier: Apache-2.0
"""Links of Markdown documents, and which of them lead nowhere."""
import pathlib
import re
import unicodedata
import urllib.parse


def without_code(text: str) -> str:
    """The text without fenced, indented and inline code."""
    text = re.sub(r"^(```|~~~).*?^\1", "", text, flags=re.M | re.S)
    text = re.sub(r"^(?: {4}|\t).*$", "", text, flags=re.M)
    return re.sub(r"(`+).+?\1", "", text)


def links(text: str) -> list[str]:
    """The targets of links and pictures in this file tree."""
    plain = without_code(text)
    found = re.findall(r"\]\(\s*<?([^)\s>]+)>?(?:\s+\"[^\"]*\")?\s*\)", plain)
    found += re.findall(r"^\[[^]]+\]:\s+<?([^\s>]+)", plain, re.M)
    found += re.findall(r"<(?:img|a|source)\s[^>]*?(?:src|href|srcset)=\"([^\"]+)\"", plain)
    return [target for target in found if not re.match(r"[a-z][a-z0-9+.-]*:|//", target)]


def anchors(text: str) -> set[str]:
    """What the headings are called in links, as the usual hosts of sources call them."""
    found: set[str] = set()
    fenceless = re.sub(r"^(```|~~~).*?^\1", "", text, flags=re.M | re.S)
    for heading in re.findall(r"^#{1,6} +(.*?)(?: +#+)?$", fenceless, re.M):
        words = re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", heading).lower()
        name = "".join(letter for letter in words if letter in " -_"
                       or unicodedata.category(letter)[0] in "LN").replace(" ", "-")
        number = 0
        while name + (f"-{number}" if number else "") in found:
            number += 1
        found.add(name + (f"-{number}" if number else ""))
    return found | set(re.findall(r"<a\s[^>]*?(?:id|name)=\"([^\"]+)\"", text))


def broken(document: pathlib.Path, top: pathlib.Path) -> list[str]:
    """Links of a document to what is not there, or is not below `top`."""
    faults = []
    for target in links(document.read_text(encoding="utf-8")):
        path, _, anchor = urllib.parse.unquote(target).partition("#")
        place = (document.parent / path).resolve() if path else document
        if not place.exists() or not place.is_relative_to(top.resolve()):
            faults.append(f"{document}: {target} leads nowhere")
        elif anchor and place.suffix == ".md" and anchor not in anchors(
                place.read_text(encoding="utf-8")):
            faults.append(f"{document}: {target} names no heading")
    return faults
