# SPDX-License-Identifier: Apache-2.0
"""PPD files as libcups sees them: marked choices, conflicts, labels in a language.

What language libcups speaks is settled once a process, by LANG.
"""
import ctypes
import ctypes.util
import pathlib


class _Choice(ctypes.Structure):
    """The beginning of ppd_choice_t of <cups/ppd.h>."""

    _fields_ = [("marked", ctypes.c_char), ("choice", ctypes.c_char * 41),
                ("text", ctypes.c_char * 81)]


def _load() -> ctypes.CDLL | None:
    name = ctypes.util.find_library("cups")
    if name is None:
        return None
    library = ctypes.CDLL(name)
    library.ppdOpenFile.restype = ctypes.c_void_p
    for function in ("ppdFindMarkedChoice", "ppdFindChoice"):
        getattr(library, function).restype = ctypes.POINTER(_Choice)
    library.ppdFindOption.restype = ctypes.c_void_p
    return library


_library = _load()


def is_there() -> bool:
    return _library is not None


class MarkedPpd:
    """A PPD file with its defaults marked. It is kept until the process ends."""

    def __init__(self, path: pathlib.Path) -> None:
        assert _library is not None
        self._cups = _library
        self._ppd = ctypes.c_void_p(self._cups.ppdOpenFile(str(path).encode()))
        if not self._ppd:
            raise OSError(f"libcups cannot read {path}")
        self._cups.ppdMarkDefaults(self._ppd)

    def localize(self) -> None:
        """Takes the labels of the process's language."""
        if self._cups.ppdLocalize(self._ppd) != 0:
            raise ValueError("ppdLocalize failed")

    def mark(self, options: str) -> None:
        """Marks a job's options over what is marked."""
        parsed = ctypes.c_void_p()
        count = self._cups.cupsParseOptions(options.encode(), 0, ctypes.byref(parsed))
        self._cups.cupsMarkOptions(self._ppd, count, parsed)
        self._cups.cupsFreeOptions(count, parsed)

    def conflicts(self) -> int:
        """How many of the marked choices cannot go together with another."""
        return int(self._cups.ppdConflicts(self._ppd))

    def marked(self, option: str) -> str | None:
        found = self._cups.ppdFindMarkedChoice(self._ppd, option.encode())
        return found[0].choice.decode() if found else None

    def label(self, option: str, choice: str) -> str:
        """What a dialog shows for a choice."""
        found = self._cups.ppdFindChoice(
            ctypes.c_void_p(self._cups.ppdFindOption(self._ppd, option.encode())), choice.encode())
        if not found:
            raise KeyError(f"{option} {choice}")
        return bytes(found[0].text).decode("utf-8")
