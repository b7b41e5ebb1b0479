# SPDX-License-Identifier: Apache-2.0
"""Test programs leave nothing behind, also when they are killed, and name what they skip."""
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import harness
import private_spool

HERE = pathlib.Path(__file__).resolve().parent
PROGRAM = """
import subprocess, sys, time, unittest
import harness, private_spool

class Case(unittest.TestCase):
    def test_one(self):
        {body}

harness.run_tests()
"""


def is_running(number: int) -> bool:
    try:
        stat = pathlib.Path(f"/proc/{number}/stat").read_text("utf-8")
    except OSError:
        return False
    return stat.rpartition(")")[2].split()[0] != "Z"


@unittest.skipUnless(sys.platform == "linux", "processes are tied to others on Linux alone")
class HarnessTest(unittest.TestCase):
    def start(self, body: str) -> "subprocess.Popen[str]":
        program = subprocess.Popen(
            [sys.executable, "-c", PROGRAM.format(body=body)], stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL, text=True, env={**os.environ, "PYTHONPATH": str(HERE)})
        assert program.stdout is not None
        self.addCleanup(program.stdout.close)
        self.addCleanup(program.wait)
        self.addCleanup(program.kill)
        return program

    def first_number(self, program: "subprocess.Popen[str]") -> int:
        assert program.stdout is not None
        return int(program.stdout.readline())

    def assert_ends(self, number: int) -> None:
        end = time.monotonic() + 10
        while is_running(number):
            self.assertLess(time.monotonic(), end, "it runs on")
            time.sleep(0.01)

    def test_children_of_a_killed_program_end(self) -> None:
        program = self.start("child = subprocess.Popen(['sleep', '600'])\n"
                             "        print(child.pid, flush=True)\n"
                             "        child.wait()")
        child = self.first_number(program)
        self.assertTrue(is_running(child))
        program.send_signal(signal.SIGKILL)
        self.assert_ends(child)

    def test_program_ends_with_its_parent(self) -> None:
        with tempfile.NamedTemporaryFile("w", suffix=".py") as inner:
            inner.write(PROGRAM.format(body="time.sleep(600)"))
            inner.flush()
            parent = self.start(f"child = subprocess.Popen([sys.executable, {inner.name!r}])\n"
                                "        print(child.pid, flush=True)\n"
                                "        child.wait()")
            child = self.first_number(parent)
            parent.send_signal(signal.SIGKILL)
            self.assert_ends(child)

    def test_left_process_is_a_failure(self) -> None:
        """The orphan of a shell: no child of the program when it was started."""
        program = self.start("subprocess.run('sleep 600 >/dev/null & echo $!', shell=True)")
        output = program.communicate(timeout=60)[0].splitlines()
        self.assertEqual(program.returncode, 1)
        self.assertEqual(output[1:], ["FAILED: left running: sleep 600"])
        self.assert_ends(int(output[0]))

    def test_skipped_tests_are_named(self) -> None:
        program = self.start("self.skipTest('the moon is full')")
        output = program.communicate(timeout=60)[0]
        self.assertEqual(program.returncode, harness.SKIPPED)
        self.assertEqual(output, "SKIPPED: Case.test_one: the moon is full\n")

    def test_without_privileges(self) -> None:
        with tempfile.NamedTemporaryFile("w") as closed:
            os.chmod(closed.name, 0)
            ran = subprocess.run(["cat", closed.name], capture_output=True, text=True,
                                 check=False, preexec_fn=harness.without_privileges)
        self.assertIn("Permission denied", ran.stderr)


TURN = """
import os, pathlib, sys, time
import private_spool
private_spool.SPOOL = pathlib.Path(sys.argv[1])
private_spool._machines_scheduler = lambda: sys.argv[2]
reason = private_spool._take_turn()
print(reason or "ready", *(path.name for path in private_spool.own_files()), flush=True)
if not reason:
    (private_spool.SPOOL / "made").write_text("by us")
    (private_spool.SPOOL / "folder").mkdir()
    print("made", *sorted(path.name for path in private_spool.own_files()), flush=True)
    sys.stdin.readline()
"""


@unittest.skipUnless(sys.platform == "linux", "processes are tied to others on Linux alone")
class TurnTest(unittest.TestCase):
    """At a folder that is not covered."""

    def setUp(self) -> None:
        scratch = tempfile.TemporaryDirectory(prefix="drav-turn-")
        self.addCleanup(scratch.cleanup)
        self.spool = pathlib.Path(scratch.name, "spool/tmp")

    def start(self, scheduler: str = "") -> "subprocess.Popen[str]":
        program = subprocess.Popen(
            [sys.executable, "-c", TURN, str(self.spool), scheduler], text=True,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            env={**os.environ, "PYTHONPATH": str(HERE)})
        self.addCleanup(program.communicate)
        self.addCleanup(program.kill)
        return program

    def lines(self, program: "subprocess.Popen[str]", count: int) -> list[str]:
        assert program.stdout is not None
        return [program.stdout.readline().strip() for _ in range(count)]

    def assert_as_before(self, program: "subprocess.Popen[str]") -> None:
        program.communicate()  # ends with the guard, which has the pipe too
        self.assertEqual(os.listdir(self.spool), ["stranger"])
        self.assertEqual(self.spool.stat().st_mode & 0o7777, 0o755)

    def test_what_others_have_there_stays(self) -> None:
        self.spool.mkdir(parents=True, mode=0o755)
        (self.spool / "stranger").write_text("of others")
        program = self.start()
        self.assertEqual(self.lines(program, 2), ["ready", "made folder made"])
        self.assert_as_before(program)

    def test_killed(self) -> None:
        self.spool.mkdir(parents=True, mode=0o755)
        (self.spool / "stranger").write_text("of others")
        program = self.start()
        self.assertEqual(self.lines(program, 2), ["ready", "made folder made"])
        program.kill()
        self.assert_as_before(program)

    def test_one_after_the_other(self) -> None:
        """The folders were missing: the first makes and removes them, then the second."""
        first = self.start()
        self.assertEqual(self.lines(first, 2), ["ready", "made folder made"])
        second = self.start()
        time.sleep(0.3)
        self.assertIsNone(second.poll())
        self.assertEqual(sorted(os.listdir(self.spool)), ["folder", "made"])
        first.communicate()
        self.assertEqual(self.lines(second, 2), ["ready", "made folder made"])
        second.communicate()
        self.assertFalse(self.spool.parent.exists())

    def test_never_beside_a_scheduler(self) -> None:
        self.spool.mkdir(parents=True)
        program = self.start("cupsd runs")
        self.assertEqual(self.lines(program, 1),
                         ["the machine's scheduler may use it: cupsd runs"])
        program.communicate()
        self.assertEqual(os.listdir(self.spool), [])


class SchedulerTest(unittest.TestCase):
    def test_running_scheduler_is_seen(self) -> None:
        self.assertEqual(private_spool._machines_scheduler(), "")
        with tempfile.TemporaryDirectory(prefix="other-") as folder:
            program = pathlib.Path(folder, "cupsd")
            program.symlink_to("/bin/sleep")
            with subprocess.Popen([program, "600"]) as scheduler:
                self.assertEqual(private_spool._machines_scheduler(), f"{program} runs")
                scheduler.kill()


if __name__ == "__main__":
    harness.run_tests()
