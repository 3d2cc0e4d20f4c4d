"""The script of the project, as far as it can be tried without being what runs the tests."""
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

from windows import REPORTS, ROOT

import pyreport


def script(path, *lines):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text("\n".join(["#!/bin/sh", *lines, ""]), encoding="ascii")
    path.chmod(0o755)


class Clone(unittest.TestCase):
    """A folder with the script in it, on a machine that has every package and whose Wine is what the test makes of it."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="prodsweep-")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name) / "a clone"
        (self.root / "build" / "third_party" / "expat").mkdir(parents=True)
        shutil.copy(ROOT / "dev", self.root)
        script(self.root / "tools" / "dpkg-query", "echo install ok installed")

    def dev(self, *arguments):
        return subprocess.run([self.root / "dev", *arguments], capture_output=True, text=True, check=False,
                              env={**os.environ, "PATH": f"{self.root / 'tools'}:{os.environ['PATH']}"})

    def test_wine_that_does_not_start_is_named_with_its_log(self):
        script(self.root / "cmake" / "wine", "echo no memory for a prefix >&2", "exit 3")
        ended = self.dev("setup")
        self.assertEqual(ended.returncode, 1)
        self.assertIn("no memory for a prefix", ended.stdout)
        self.assertRegex(ended.stdout, r"failed: .*cmake/wine.* \(see build/wine\.log\)")

    def test_setup_has_nothing_to_say_when_all_is_there(self):
        script(self.root / "cmake" / "wine", "echo chatter")
        ended = self.dev("setup")
        self.assertEqual((ended.returncode, ended.stdout, ended.stderr), (0, "", ""))


class Wine(unittest.TestCase):
    """cmake/wine, with another Wine behind it."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="prodsweep-")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        self.prefix = self.root / "wine" / "main"
        script(self.root / "wineserver64")
        text = (ROOT / "cmake" / "wine").read_text(encoding="utf-8")
        (self.root / "script").write_text(text.replace("/usr/lib/wine/", f"{self.root}/"), encoding="utf-8")

    def wine(self, *arguments):
        return subprocess.run(["bash", self.root / "script", *arguments], capture_output=True, text=True, check=False,
                              env={**os.environ, "PRODSWEEP_BUILD_ROOT": str(self.root),
                                   "PATH": f"{self.root / 'tools'}:{os.environ['PATH']}"})

    def wine_that_tells_its_layout(self):
        script(self.root / "wine64", 'echo "${LAYOUT:-by chance}"')
        self.prefix.mkdir(parents=True)
        (self.prefix / "ready").touch()

    def test_prefix_that_can_not_be_made_is_named_with_its_log(self):
        script(self.root / "wine64", "echo it could not be loaded >&2", "exit 3")
        ended = self.wine("cmd")
        self.assertEqual((ended.returncode, ended.stdout), (1, ""))
        self.assertIn("it could not be loaded", ended.stderr)
        self.assertIn(f"{self.prefix}/wineboot.log", ended.stderr)
        self.assertFalse((self.prefix / "ready").exists())

    def test_no_program_meets_its_own_heap_where_wine_maps_a_page(self):
        self.wine_that_tells_its_layout()
        script(self.root / "tools" / "setarch",
               'test "$1" = --addr-no-randomize && shift && LAYOUT=fixed exec "$@"')
        self.assertEqual(self.wine("cmd").stdout, "fixed\n")
        self.assertEqual(self.wine("--collect", "cmd").stdout, "fixed\n")

    def test_container_that_forbids_that_runs_programs_all_the_same(self):
        self.wine_that_tells_its_layout()
        script(self.root / "tools" / "setarch", "echo setarch: not permitted >&2", "exit 1")
        ended = self.wine("cmd")
        self.assertEqual((ended.returncode, ended.stdout, ended.stderr), (0, "by chance\n", ""))


if __name__ == "__main__":
    pyreport.main("dev", REPORTS)
