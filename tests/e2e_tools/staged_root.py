# SPDX-License-Identifier: Apache-2.0
"""A staged system with a healthy installation of the driver, to plant faults in.

Its files belong to root, so only root can stage it.
"""
import grp
import os
import pathlib
import pwd
import shutil
import tempfile
import time

CONVERTERS = ("pdftopdf", "gstoraster", "imagetoraster", "texttopdf")
OTHER_PPD = """*PPD-Adobe: "4.3"
*cupsFilter: "application/vnd.cups-raster 0 rastertoother"
"""
# What the scheduler goes by, the cheapest first.
RULES = """# Converters
application/vnd.cups-pdf application/vnd.cups-raster 100 pdftoraster
application/vnd.cups-pdf application/vnd.cups-raster 99 gstoraster
application/vnd.cups-pdf image/pwg-raster 1 pdftopwg
"""
MODEL = "MakeModel Drav Stencil A4 300 dpi, 3.13.34\n"
PRINTERS = """# Printer configuration file for CUPS v2.4.2
NextPrinterId 3
<DefaultPrinter {queue}>
PrinterId 1
{make_model}Info {info}
Location {location}
DeviceURI {uri}
State {state}
StateTime 1795271794
{more}Accepting {accepting}
ErrorPolicy retry-job
</DefaultPrinter>
<Printer other>
PrinterId 2
DeviceURI socket://192.0.2.11/
State Idle
Accepting Yes
</Printer>
"""


def reason_to_skip() -> str:
    """Why no system can be staged here; empty when it can."""
    if os.geteuid() != 0:
        return "files of root can only be staged by root"
    try:
        pwd.getpwnam("lp")
        grp.getgrnam("lp")
    except KeyError:
        return "there is no user or group lp"
    return ""


def log_line(text: str, level: str = "E", age: float = 60) -> str:
    stamp = time.strftime("%d/%b/%Y:%H:%M:%S +0000", time.gmtime(time.time() - age))
    return f"{level} [{stamp}] {text}\n"


class StagedRoot:
    """The system below `path`; `filter_dir` and `driver_dir` as they were built."""

    def __init__(self, *, filter_program: str, ppd: str, driver: str, filter_dir: str,
                 driver_dir: str) -> None:
        self.path = pathlib.Path(tempfile.mkdtemp(prefix="drav-root-")).resolve()
        self.path.chmod(0o755)
        self.lp = pwd.getpwnam("lp").pw_uid, grp.getgrnam("lp").gr_gid
        self.server_bin = self.at(filter_dir).parent
        self.filter = self.at(filter_dir) / "rastertodrav"
        self.driver = self.at(driver_dir) / "drav.drv"
        self.ppd = self.at("/etc/cups/ppd/stencil.ppd")
        self.tmp = self.at("/var/spool/cups/tmp")
        self.log = self.at("/var/log/cups/error_log")
        self._copy(filter_program, self.filter, 0o755)
        self._copy(driver, self.driver, 0o644)
        self._copy(ppd, self.ppd, 0o640)
        self.write(self.ppd.with_name("other.ppd"), OTHER_PPD, 0o640)
        for name in CONVERTERS:
            self.write(self.filter.parent / name, "#!/bin/sh\n", 0o755)
        for name in ("socket", "usb", "serial", "parallel", "ipp"):
            self.write(self.server_bin / "backend" / name, "#!/bin/sh\n", 0o744)
        self.write(self.at("/usr/bin/gs"), "#!/bin/sh\n", 0o755)
        self.rules = self.write(self.at(driver_dir).parent / "mime" / "filters.convs", RULES)
        self.write(self.at("/dev/ttyS0"), "", 0o660)
        self.write(self.at("/etc/os-release"), "NAME=Staged\n", 0o644)
        self.write(self.log, log_line("Scheduler started", "I"), 0o640)
        self.tmp.mkdir(parents=True)
        os.chown(self.tmp, 0, self.lp[1])
        self.tmp.chmod(0o1770)
        self.printers()

    def at(self, path: str) -> pathlib.Path:
        return self.path / path.lstrip("/")

    def write(self, path: pathlib.Path, text: str, mode: int = 0o644) -> pathlib.Path:
        path.parent.mkdir(parents=True, exist_ok=True, mode=0o755)
        path.write_text(text, encoding="utf-8")
        path.chmod(mode)
        return path

    def _copy(self, source: str, path: pathlib.Path, mode: int) -> None:
        path.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(source, path)
        path.chmod(mode)

    def printers(self, *, queue: str = "stencil", uri: str = "socket://192.0.2.10/?snmp=false",
                 state: str = "Idle", accepting: str = "Yes", info: str = "", location: str = "",
                 make_model: str = MODEL, more: str = "") -> None:
        self.write(self.at("/etc/cups/printers.conf"),
                   PRINTERS.format(queue=queue, uri=uri, state=state, accepting=accepting,
                                   info=info, location=location, make_model=make_model,
                                   more=more), 0o600)

    def usb_printer(self, device: str = "1-2", printer_class: str = "07") -> None:
        """A USB device as Linux lists it: its words, and an interface for printing."""
        folder = self.at("/sys/bus/usb/devices")
        for part, text in (("manufacturer", "Drav"), ("product", "Stencil"), ("serial", "S1")):
            self.write(folder / device / part, text + "\n")
        self.write(folder / f"{device}:1.0" / "bInterfaceClass", "03\n")
        self.write(folder / f"{device}:1.1" / "bInterfaceClass", printer_class + "\n")

    def edit_ppd(self, old: str, new: str) -> None:
        text = self.ppd.read_text(encoding="latin-1")
        if old not in text:
            raise ValueError(f"{old!r} is not in the PPD")
        self.ppd.write_text(text.replace(old, new), encoding="latin-1")

    def edit_filter(self, old: bytes, new: bytes) -> None:
        """Patches bytes of the program; the length stays."""
        data = self.filter.read_bytes()
        if old not in data or len(old) != len(new):
            raise ValueError(f"{old!r} cannot be replaced")
        self.filter.write_bytes(data.replace(old, new))

    def picture(self, name: str, size: int = 100, age: float = 0) -> pathlib.Path:
        path = self.tmp / name
        path.write_bytes(b"BM")
        os.truncate(path, size)
        path.chmod(0o600)
        os.utime(path, (time.time() - age,) * 2)
        return path

    def remove(self) -> None:
        shutil.rmtree(self.path, ignore_errors=True)
