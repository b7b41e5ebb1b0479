# SPDX-License-Identifier: Apache-2.0
"""What scripts/fresh-check lets pass, and what not."""
import pathlib
import tempfile
import unittest

import allowed_skips
import fresh_check
import harness

RESULTS = """<testsuite>
  <testcase name="good" status="run"><system-out>fine</system-out></testcase>
  <testcase name="bad" status="fail"/>
  <testcase name="whole" status="notrun"/>
  <testcase name="part" status="run"><system-out>SKIPPED: Some.test_it: a reason
OK</system-out></testcase>
  <testcase name="many" status="run"><system-out>[  SKIPPED ] Limits.OfThree (0 ms)
[  PASSED  ] 2 tests.
[  SKIPPED ] 1 test, listed below:
[  SKIPPED ] Limits.OfThree
</system-out></testcase>
</testsuite>
"""
RULES = """# comment
whole | root,user | release | a reason
part: Some.test_it | root | release,asan-ubsan | a reason
many: Limits.OfThree | root,user,container | release,asan-ubsan | a reason
"""


class FreshCheckTest(unittest.TestCase):
    def setUp(self) -> None:
        scratch = tempfile.TemporaryDirectory(prefix="drav-fresh-")
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)
        self.junit = self.folder / "release.xml"
        self.junit.write_text(RESULTS, "utf-8")

    def results(self, rules: str, run: str, build: str) -> fresh_check.Run:
        path = self.folder / "rules.txt"
        path.write_text(rules, "utf-8")
        row = fresh_check.Run(run)
        fresh_check.Check(self.folder, allowed_skips.read(path)).results(row, build, self.junit)
        return row

    def test_counts(self) -> None:
        row = self.results(RULES, "root", "release")
        self.assertEqual((row.passed, row.failed, row.skipped), (4, 1, 3))
        self.assertEqual(row.complaints, ["release: bad failed"])

    def test_skips_of_another_run_or_build_are_not_allowed(self) -> None:
        for run, build, wanted in (("user", "release", ["part: Some.test_it"]),
                                   ("root", "asan-ubsan", ["whole"]),
                                   ("container", "release", ["whole", "part: Some.test_it"])):
            self.assertEqual(self.results(RULES, run, build).complaints, [
                f"{build}: bad failed",
                *(f"{build}: {test} is skipped, which is not allowed here" for test in wanted)])

    def test_no_results_are_a_failure(self) -> None:
        self.junit.unlink()
        row = self.results(RULES, "root", "release")
        self.assertEqual((row.failed, len(row.complaints)), (1, 1))
        self.junit.write_text("<testsuite/>", "utf-8")
        self.assertEqual(self.results(RULES, "root", "release").failed, 1)

    def test_every_rule_has_a_reason(self) -> None:
        allowed_skips.read(pathlib.Path(__file__).parents[1] / "allowed-skips.txt")
        with self.assertRaises(ValueError):
            self.results("whole | root | release |\n", "root", "release")


if __name__ == "__main__":
    harness.run_tests()
