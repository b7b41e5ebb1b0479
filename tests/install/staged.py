# SPDX-License-Identifier: Apache-2.0
"""A staged installation and what is in it."""
import os
import pathlib
import re
import stat
import subprocess

# Below the prefix's share/, where each shell looks.
COMPLETIONS = ("bash-completion/completions/drav", "zsh/site-functions/_drav",
               "fish/vendor_completions.d/drav.fish")
SOURCE = pathlib.Path(__file__).resolve().parents[2]


def run(command: list[str], stage: pathlib.Path, umask: int = 0o077) -> subprocess.CompletedProcess:
    """Runs with DESTDIR set to the stage, under the umask of a careful root."""
    return subprocess.run(command, env={**os.environ, "DESTDIR": str(stage)}, umask=umask,
                          stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)


def files(stage: pathlib.Path) -> dict[str, int]:
    """Mode of everything below the stage that is no folder, by its path there."""
    return {"/" + path.relative_to(stage).as_posix(): stat.S_IMODE(path.lstat().st_mode)
            for path in stage.rglob("*") if path.is_symlink() or not path.is_dir()}


def folders(stage: pathlib.Path) -> dict[str, int]:
    return {"/" + path.relative_to(stage).as_posix(): stat.S_IMODE(path.lstat().st_mode)
            for path in stage.rglob("*") if path.is_dir() and not path.is_symlink()}


def driver_parts() -> list[str]:
    """What the driver source includes from this tree: options and catalogues."""
    return sorted(path.name for path in (SOURCE / "ppd").iterdir()
                  if path.suffix in (".defs", ".po"))


def guides() -> list[str]:
    """Guides for users that the tree has, and the pictures in them."""
    found = []
    for name in ("install", "printer-application", "options", "troubleshooting", "scale", "proof",
                 "inspect", "doctor", "log-lines", "glossary"):
        path = SOURCE / "docs" / f"{name}.md"
        if path.exists():
            pictures = re.findall(r"\((images/[^)]+)\)", path.read_text(encoding="utf-8"))
            found += [path.name, *pictures]
    return sorted(set(found))
