#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Stages an installation, looks at every file of it, and takes it away again."""
import argparse
import os
import pathlib
import shutil
import sys
import tempfile
import unittest

import cups_models
import harness
import staged

sys.path.insert(0, str(staged.SOURCE / "tests" / "support"))
import markdown_links  # noqa: E402  pylint: disable=wrong-import-position

ARGUMENTS = argparse.Namespace()


def expected_files() -> dict[str, int]:
    """Mode by path of all that an installation has."""
    prefix, data = ARGUMENTS.prefix, ARGUMENTS.cups_data
    modes = {
        f"{ARGUMENTS.cups_filters}/rastertodrav": 0o755,
        f"{ARGUMENTS.cups_filters}/picturetodrav": 0o755,
        f"{data}/drv/drav.drv": 0o644,
        f"{data}/mime/drav.types": 0o644,
        f"{data}/mime/drav.convs": 0o644,
        f"{prefix}/bin/drav": 0o755,
        f"{prefix}/libexec/drav/drav-picture-reader": 0o755,
        f"{prefix}/libexec/drav/drav-text-reader": 0o755,
        f"{prefix}/share/man/man1/drav.1": 0o644,
        f"{prefix}/share/man/man8/rastertodrav.8": 0o644,
        f"{prefix}/share/man/man8/picturetodrav.8": 0o644,
        f"{prefix}/share/doc/drav/CHANGES.md": 0o644,
        f"{prefix}/share/doc/drav/LICENSE": 0o644,
    }
    modes |= {f"{data}/ppdc/{name}": 0o644 for name in staged.driver_parts()}
    modes |= {f"{prefix}/share/doc/drav/{name}": 0o644 for name in staged.guides()}
    if ARGUMENTS.with_completions:
        modes |= {f"{prefix}/share/{name}": 0o644 for name in staged.COMPLETIONS}
    if ARGUMENTS.with_app:
        modes[f"{prefix}/bin/drav-printer-app"] = 0o755
        modes[f"{prefix}/share/man/man1/drav-printer-app.1"] = 0o644
        for name in ("systemd/system/drav-printer-app.service", "sysusers.d/drav-printer-app.conf",
                     "tmpfiles.d/drav-printer-app.conf",
                     "udev/rules.d/60-drav-printer-app.rules"):
            modes[f"{prefix}/lib/{name}"] = 0o644
        for name in ("bash-completion/completions/drav-printer-app",
                     "zsh/site-functions/_drav-printer-app",
                     "fish/vendor_completions.d/drav-printer-app.fish"):
            modes[f"{prefix}/share/{name}"] = 0o644
    if ARGUMENTS.with_clean:
        modes[f"{prefix}/libexec/drav/drav-clean"] = 0o755
        for unit in ("service", "timer"):
            modes[f"{prefix}/lib/systemd/system/drav-clean.{unit}"] = 0o644
    return modes


class StagedTest(unittest.TestCase):
    """Every test has a stage of its own, under a folder that all may pass."""

    def setUp(self):
        self.scratch = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.stage = self.scratch / "stage"
        self.stage.mkdir(mode=0o755)

    def enterContext(self, context):  # unittest has its own from Python 3.11
        value = context.__enter__()
        self.addCleanup(context.__exit__, None, None, None)
        return value

    def install(self, *options: str) -> None:
        result = staged.run([ARGUMENTS.cmake, "--install", ARGUMENTS.build, *options], self.stage)
        self.assertEqual(result.returncode, 0, result.stderr)

    def uninstall(self, stage: pathlib.Path | None = None):
        return staged.run([ARGUMENTS.cmake, "--build", ARGUMENTS.build, "--target", "uninstall"],
                          stage or self.stage)


class InstallTest(StagedTest):
    def test_every_file_with_its_mode(self):
        self.install()
        self.assertEqual(staged.files(self.stage), expected_files())

    def test_every_folder_can_be_passed_by_the_spooler(self):
        self.install()
        closed = {name: oct(mode) for name, mode in staged.folders(self.stage).items()
                  if mode != 0o755}
        self.assertEqual(closed, {})

    @unittest.skipIf(os.geteuid() != 0, "only root can give files away")
    def test_the_filter_belongs_to_root_even_when_it_was_somebody_elses(self):
        self.install()
        installed = self.stage / ARGUMENTS.cups_filters.lstrip("/") / "rastertodrav"
        os.chown(installed, 65534, 65534)
        self.install()
        self.assertEqual((installed.stat().st_uid, installed.stat().st_gid), (0, 0))

    def test_pictures_are_a_part_of_their_own(self):
        """What needs libvips, and the rules that lead to it, come and go together."""
        self.install("--component", "pictures")
        self.assertEqual(set(staged.files(self.stage)), {
            f"{ARGUMENTS.cups_filters}/picturetodrav", f"{ARGUMENTS.cups_data}/mime/drav.convs",
            *(f"{ARGUMENTS.prefix}/libexec/drav/drav-{kind}-reader"
              for kind in ("picture", "text"))})

    def test_links_of_the_guides_stay_in_their_folder(self):
        """The print server's guide also has a package without the others."""
        self.install()
        documents = self.stage / ARGUMENTS.prefix.lstrip("/") / "share/doc/drav"
        alone = self.scratch / "alone"
        alone.mkdir()
        shutil.copy(documents / "printer-application.md", alone)
        for name in staged.guides():
            self.assertTrue((documents / name).exists(), name)
        for folder in (documents, alone):
            found = sorted(folder.glob("*.md"))
            self.assertEqual([fault for document in found
                              for fault in markdown_links.broken(document, folder)], [])
            # A link that led out of the folder has become the name of what it led to.
            self.assertNotIn("](../", "".join(path.read_text(encoding="utf-8") for path in found))

    def test_the_clearing_job_runs_the_installed_program(self):
        if not ARGUMENTS.with_clean:
            self.skipTest("drav-clean is not built")
        self.install()
        units = self.stage / ARGUMENTS.prefix.lstrip("/") / "lib/systemd/system"
        (command,) = [line for line in (units / "drav-clean.service").read_text().splitlines()
                      if line.startswith("ExecStart=")]
        self.assertEqual(command, f"ExecStart={ARGUMENTS.prefix}/libexec/drav/drav-clean "
                                  "--older-than 1d")


class UninstallTest(StagedTest):
    def test_removes_every_file_and_the_folders_of_its_own(self):
        self.install()
        result = self.uninstall()
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        self.assertEqual(staged.files(self.stage), {})
        named = [name for name in staged.folders(self.stage) if name.endswith("/drav")]
        self.assertEqual(named, [])

    def test_leaves_what_it_did_not_install(self):
        self.install()
        others = [self.stage / ARGUMENTS.cups_data.lstrip("/") / "drv/other.drv",
                  self.stage / ARGUMENTS.prefix.lstrip("/") / "share/doc/drav/notes.txt"]
        for other in others:
            other.write_text("not ours\n", encoding="utf-8")
        self.assertEqual(self.uninstall().returncode, 0)
        self.assertEqual(set(staged.files(self.stage)),
                         {"/" + other.relative_to(self.stage).as_posix() for other in others})

    def test_knows_another_stage_from_this_one(self):
        self.install()
        elsewhere = self.scratch / "elsewhere"
        shutil.copytree(self.stage, elsewhere)
        result = self.uninstall(elsewhere)
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("nothing was installed", result.stdout + result.stderr)
        self.assertEqual(staged.files(elsewhere), expected_files())

    def test_removes_what_was_installed_part_by_part(self):
        for component in ("driver", "pictures", "tools"):
            self.install("--component", component)
        self.assertIn(f"{ARGUMENTS.prefix}/bin/drav", staged.files(self.stage))
        self.assertEqual(self.uninstall().returncode, 0)
        self.assertEqual(staged.files(self.stage), {})

    def test_has_nothing_left_to_do_the_second_time(self):
        self.install()
        self.assertEqual(self.uninstall().returncode, 0)
        self.assertNotEqual(self.uninstall().returncode, 0)


class ModelListTest(StagedTest):
    """What `lpinfo -m` would list from the staged data folder alone."""

    def setUp(self):
        super().setUp()
        if not cups_models.driverd().exists():
            self.skipTest("cups-driverd is not installed (package cups)")
        self.install()
        self.data = self.stage / ARGUMENTS.cups_data.lstrip("/")
        # The shared parts of all drivers are the machine's own.
        for part in (pathlib.Path(ARGUMENTS.cups_data) / "ppdc").iterdir():
            target = self.data / "ppdc" / part.name
            target.parent.mkdir(exist_ok=True)
            if not target.exists():
                target.symlink_to(part)

    def models(self) -> list[tuple[str, str]]:
        return [model for model in cups_models.listed(self.data, self.scratch)
                if "drav" in model[0].lower() or model[1].startswith("Drav")]

    def test_each_model_once(self):
        built = sorted(path.name for path in (pathlib.Path(ARGUMENTS.build) / "ppd").glob("*.ppd"))
        self.assertTrue(built)
        models = self.models()
        self.assertEqual(sorted(name for name, _ in models),
                         [f"drv:///drav.drv/{name}" for name in built])
        self.assertEqual(len({text for _, text in models}), len(built))

    def test_ppd_files_besides_would_be_seen(self):
        before = self.models()
        extra = self.data / "model"
        extra.mkdir(mode=0o755)
        for path in (pathlib.Path(ARGUMENTS.build) / "ppd").glob("*.ppd"):
            shutil.copyfile(path, extra / path.name)
        self.assertEqual(len(self.models()), 2 * len(before))


def main() -> None:
    parser = argparse.ArgumentParser()
    for name in ("cmake", "build", "prefix", "cups-filters", "cups-data"):
        parser.add_argument(f"--{name}", required=True)
    parser.add_argument("--with-clean", action="store_true")
    parser.add_argument("--with-app", action="store_true")
    parser.add_argument("--with-completions", action="store_true")
    parser.parse_args(namespace=ARGUMENTS)
    harness.run_tests()


if __name__ == "__main__":
    main()
