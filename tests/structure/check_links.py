#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Every relative link of the source's documents leads to a file and a heading."""
import os
import pathlib
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(SOURCE / "tests" / "support"))

import harness  # noqa: E402  pylint: disable=wrong-import-position
import markdown_links  # noqa: E402  pylint: disable=wrong-import-position

NOT_OURS = ("build", "demo", "node_modules")


def documents() -> list[pathlib.Path]:
    found = []
    for folder, folders, files in os.walk(SOURCE):
        folders[:] = [name for name in folders if name not in NOT_OURS and name[0] != "."]
        found += [pathlib.Path(folder, name) for name in files if name.endswith(".md")]
    return sorted(found)


class LinksTest(unittest.TestCase):
    def test_every_document(self) -> None:
        found = documents()
        self.assertIn(SOURCE / "README.md", found)
        self.assertGreater(sum(len(markdown_links.links(path.read_text(encoding="utf-8")))
                               for path in found), 30)
        self.assertEqual([fault for path in found
                          for fault in markdown_links.broken(path, SOURCE)], [])

    def test_what_counts_as_broken(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            top = pathlib.Path(folder) / "top"
            top.mkdir()
            (top / "there.md").write_text("# A heading, with `code` & more\n## Twice\n## Twice\n",
                                          encoding="utf-8")
            (top.parent / "outside.md").write_text("", encoding="utf-8")
            good = ("there.md", "there.md#a-heading-with-code--more", "there.md#twice-1", "#own",
                    "https://host.invalid/x", "mailto:x@host.invalid")
            bad = ("gone.md", "there.md#nothing", "#nothing", "../outside.md", "gone.png")
            page = top / "page.md"
            page.write_text("# Own\n" + "".join(f"[x]({link}) ![y]({link})\n" for link in good)
                            + "`[x](gone.md)`\n\n    [x](gone.md)\n```\n[x](gone.md)\n```\n",
                            encoding="utf-8")
            self.assertEqual(markdown_links.broken(page, top), [])
            for link in bad:
                for text in (f"[x]({link})", f"[x]: {link}", f'<img src="{link}">'):
                    page.write_text(f"# Own\n{text}\n", encoding="utf-8")
                    self.assertEqual(len(markdown_links.broken(page, top)), 1, text)


if __name__ == "__main__":
    harness.run_tests()
