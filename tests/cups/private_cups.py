# SPDX-License-Identifier: Apache-2.0
"""A scheduler of our own: its folders, socket, spool and filters lie in a scratch folder.

Nothing of the machine's own scheduler is read but its converters, backends and
data files, which are linked to, and the program cupsd, which is copied so that
a security profile bound to its path does not apply. It listens on a socket file
alone and announces nothing.
"""
import grp
import os
import pathlib
import pwd
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable, Sequence

import fake_printer
import ipp

SYSTEM_BIN = pathlib.Path("/usr/lib/cups")
SYSTEM_DATA = pathlib.Path("/usr/share/cups")
TIMEOUT = 60.0
SPOOLER = "lp"  # user and group that filters run as

_PARTS = ("etc/ppd", "etc/ssl", "lib/filter", "lib/backend", "share", "spool/tmp", "cache",
          "state/certs", "log", "tap", "sbin", "doc")

_CUPS_FILES = """\
ServerRoot {root}/etc
ServerBin {root}/lib
DataDir {root}/share
DocumentRoot {root}/doc
RequestRoot {spool}
TempDir {spool}/tmp
CacheDir {root}/cache
StateDir {root}/state
ServerKeychain {root}/etc/ssl
AccessLog {root}/log/access_log
ErrorLog {root}/log/error_log
PageLog {root}/log/page_log
LogFilePerm 0644
User lp
Group lp
SystemGroup root
Printcap {root}/state/printcap
SyncOnClose No
SetEnv DRAV_TAP {root}/tap
SetEnv DBUS_SYSTEM_BUS_ADDRESS unix:path={root}/no-bus
"""

_CUPSD = """\
Listen {root}/sock
LogLevel {level}
LogTimeFormat usecs
MaxLogSize 0
Browsing No
WebInterface No
MaxClients 200
PreserveJobHistory Yes
PreserveJobFiles No
<Location />
  Order allow,deny
  Allow all
</Location>
<Policy default>
  JobPrivateAccess all
  JobPrivateValues none
  SubscriptionPrivateAccess all
  SubscriptionPrivateValues none
  <Limit All>
    Order deny,allow
    Allow all
  </Limit>
</Policy>
"""


def missing_part() -> str:
    """What a private scheduler lacks on this machine; empty when it has all."""
    if sys.platform != "linux":
        return "mount namespaces are Linux's"
    if os.geteuid() != 0:
        return "a scheduler runs its filters as lp and wants them owned by root; run as root"
    for program in ("cupsd", "lpadmin", "lp", "cancel", "cupsenable", "gs"):
        if find_program(program) is None:
            return f"no {program} here"
    for name in ("pdftopdf", "gstoraster", "imagetoraster", "texttopdf"):
        if not (SYSTEM_BIN / "filter" / name).exists():
            return f"no converter {name} in {SYSTEM_BIN}/filter"
    try:
        pwd.getpwnam(SPOOLER)
        grp.getgrnam(SPOOLER)
    except KeyError:
        return f"no user and group {SPOOLER}"
    return ""


def find_program(name: str) -> str | None:
    return shutil.which(name, path=os.environ.get("PATH", "") + ":/usr/sbin:/sbin")


class PrivateCups:
    """One running scheduler."""

    def __init__(self, filter_binary: pathlib.Path, driver: pathlib.Path,
                 spool: pathlib.Path | None = None, log_level: str = "debug") -> None:
        """Installs `filter_binary` and the driver source `driver`; `start` starts it.

        `spool` is an existing folder to use instead of one within the root.
        """
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="drav-cups-"))
        self.root.chmod(0o755)
        self.spool = spool or self.root / "spool"
        self.ppds = self.root / "etc/ppd"
        self.tap = self.root / "tap"
        self.filters = self.root / "lib/filter"
        self.error_log = self.root / "log/error_log"
        self._process: subprocess.Popen[bytes] | None = None
        self._make_folders()
        self._link_system()
        self.install_filter(filter_binary, "rastertodrav")
        (self.root / "share/drv").mkdir()
        shutil.copy(driver, self.root / "share/drv/drav.drv")
        self._rules = driver.parent.parent / "packaging/mime"
        shutil.copy(self._rules / "drav.types", self.root / "etc/drav.types")
        for part in [*driver.parent.glob("drav*.defs"), *driver.parent.glob("drav*.po")]:
            shutil.copy(part, self.root / "share/ppdc" / part.name)
        (self.root / "etc/cups-files.conf").write_text(
            _CUPS_FILES.format(root=self.root, spool=self.spool), "utf-8")
        (self.root / "etc/cupsd.conf").write_text(_CUPSD.format(root=self.root, level=log_level), "utf-8")

    # ---- Folders --------------------------------------------------------------

    def _make_folders(self) -> None:
        for part in _PARTS:
            (self.root / part).mkdir(parents=True)
        spooler = grp.getgrnam(SPOOLER).gr_gid
        (self.spool / "tmp").mkdir(parents=True, exist_ok=True)
        for folder, mode in ((self.spool, 0o710), (self.spool / "tmp", 0o1770),
                             (self.root / "cache", 0o770), (self.root / "tap", 0o1777)):
            os.chown(folder, 0, spooler)
            folder.chmod(mode)

    def _link_system(self) -> None:
        shutil.copy(str(find_program("cupsd")), self.root / "sbin/cupsd")
        for path in (SYSTEM_BIN / "filter").iterdir():
            if path.name not in ("rastertodrav", "picturetodrav"):
                (self.filters / path.name).symlink_to(path.resolve())
        (self.root / "lib/backend/socket").symlink_to(SYSTEM_BIN / "backend/socket")
        for name in ("daemon", "driver", "notifier", "monitor", "cgi-bin"):
            (self.root / "lib" / name).symlink_to(SYSTEM_BIN / name)
        for path in SYSTEM_DATA.iterdir():
            if path.name not in ("drv", "model", "ppdc"):
                (self.root / "share" / path.name).symlink_to(path)
        (self.root / "share/ppdc").mkdir()
        for path in (SYSTEM_DATA / "ppdc").iterdir():
            if not path.name.startswith("drav"):
                (self.root / "share/ppdc" / path.name).symlink_to(path)
        own = pathlib.Path(__file__).resolve().parent / "chain"
        for path in sorted(own.iterdir()):
            if path.suffix in (".types", ".convs"):
                shutil.copy(path, self.root / "etc" / path.name)
            else:
                self.install_filter(path, path.name)

    def install_filter(self, source: pathlib.Path, name: str) -> pathlib.Path:
        """Copies a filter as `cmake --install` would leave it: root's, mode 755."""
        path = self.filters / name
        shutil.copyfile(source, path)
        os.chown(path, 0, 0)
        path.chmod(0o755)
        return path

    def install_pictures(self, picture_filter: pathlib.Path, *readers: pathlib.Path) -> None:
        """What the package for pictures brings; the filter looks for readers beside itself."""
        self.install_filter(picture_filter, "picturetodrav")
        for reader in readers:
            self.install_filter(reader, reader.name)
        shutil.copy(self._rules / "drav.convs", self.root / "etc/drav.convs")

    # ---- The scheduler --------------------------------------------------------

    def start(self) -> None:
        environment = self.environment()
        environment["DBUS_SYSTEM_BUS_ADDRESS"] = f"unix:path={self.root}/no-bus"
        self._process = subprocess.Popen(
            [str(self.root / "sbin/cupsd"), "-f", "-c", str(self.root / "etc/cupsd.conf"),
             "-s", str(self.root / "etc/cups-files.conf")],
            env=environment, stdin=subprocess.DEVNULL)
        self.wait(self._answers, "the scheduler to answer")

    def _answers(self) -> bool:
        assert self._process is not None
        if self._process.poll() is not None:
            raise AssertionError(f"cupsd ended with status {self._process.returncode}:\n"
                                 + self.log())
        try:
            ipp.request(self.socket, ipp.GET_DEFAULT, [])
        except OSError:
            return False
        return True

    def stop(self) -> None:
        if self._process is not None:
            self._process.terminate()
            try:
                self._process.wait(20)
            except subprocess.TimeoutExpired:
                self._process.kill()
                self._process.wait()
            self._process = None
        shutil.rmtree(self.root, ignore_errors=True)

    @property
    def pid(self) -> int:
        assert self._process is not None
        return self._process.pid

    @property
    def socket(self) -> str:
        return str(self.root / "sock")

    def environment(self) -> dict[str, str]:
        """Variables that lead CUPS's commands to this scheduler and no other."""
        return {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LANG": "C.UTF-8", "TZ": "UTC",
                "HOME": str(self.root / "doc"), "CUPS_SERVER": self.socket}

    def log(self) -> str:
        try:
            return self.error_log.read_text("utf-8", "backslashreplace")
        except FileNotFoundError:
            return ""

    def job_log(self, job: int) -> list[str]:
        """The error log's lines about a job, without time stamps."""
        return [f"{found[1]} {found[2]}" for found in
                re.finditer(rf"^([A-Z]) \[[^]]*\] \[Job {job}\] (.*)$", self.log(), re.M)]

    def wait(self, condition: Callable[[], bool], what: str, timeout: float = TIMEOUT) -> None:
        end = time.monotonic() + timeout
        pause = 0.005
        while not condition():
            if time.monotonic() > end:
                raise AssertionError(f"waited {timeout} s for {what}\n" + self.log()[-6000:])
            time.sleep(pause)
            pause = min(pause * 1.3, 0.05)

    # ---- Commands, as a user gives them ---------------------------------------

    def run(self, *command: str, check: bool = True) -> subprocess.CompletedProcess[str]:
        done = subprocess.run(list(command), env=self.environment(), stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              timeout=TIMEOUT, check=False)
        if check and done.returncode != 0:
            raise AssertionError(f"{' '.join(command)}: {done.stdout}\n{self.log()[-3000:]}")
        return done

    def add_queue(self, name: str, printer: fake_printer.FakePrinter, ppd: pathlib.Path | None,
                  *more: str) -> None:
        """A queue on the socket backend; `more` are further words for lpadmin."""
        driver = [] if ppd is None else ["-P", str(ppd)]
        self.run("lpadmin", "-p", name, "-E", "-v", printer.uri, *driver, *more)

    def submit(self, destination: str, path: pathlib.Path,
               options: Sequence[str] = (), *more: str) -> int:
        """Prints a file with lp; the job's number."""
        words = [word for option in options for word in ("-o", option)]
        done = self.run("lp", "-d", destination, *words, *more, "--", str(path))
        found = re.search(r"request id is \S+-(\d+) ", done.stdout)
        if found is None:
            raise AssertionError(f"lp said {done.stdout!r}")
        return int(found[1])

    def job(self, number: int) -> ipp.Attributes:
        return ipp.job_attributes(self.socket, number)

    def job_state(self, number: int) -> int:
        return int(self.job(number)["job-state"][0])

    def printer_state(self, queue: str) -> int:
        return int(ipp.printer_attributes(self.socket, queue)["printer-state"][0])

    def wait_job(self, number: int, *states: int, timeout: float = TIMEOUT) -> int:
        """Waits for one of the states, `ipp.ENDED` by default; the state it has."""
        wanted = states or ipp.ENDED
        self.wait(lambda: self.job_state(number) in wanted, f"job {number} to come to {wanted}",
                  timeout)
        return self.job_state(number)
