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

    def test_prefix_that_can_not_be_made_is_named_with_its_log(self):
        with tempfile.TemporaryDirectory(prefix="prodsweep-") as folder:
            root = pathlib.Path(folder)
            script(root / "wine64", "echo it could not be loaded >&2", "exit 3")
            script(root / "wineserver64")
            text = (ROOT / "cmake" / "wine").read_text(encoding="utf-8")
            (root / "script").write_text(text.replace("/usr/lib/wine/", f"{root}/"), encoding="utf-8")
            ended = subprocess.run(["bash", root / "script", "cmd"], capture_output=True, text=True, check=False,
                                   env={**os.environ, "PRODSWEEP_BUILD_ROOT": str(root)})
            self.assertEqual((ended.returncode, ended.stdout), (1, ""))
            self.assertIn("it could not be loaded", ended.stderr)
            self.assertIn(f"{root}/wine/main/wineboot.log", ended.stderr)
            self.assertFalse((root / "wine" / "main" / "ready").exists())


if __name__ == "__main__":
    pyreport.main("dev", REPORTS)
