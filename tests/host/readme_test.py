"""The example of the README compiles without a warning, and its commands run."""
import os
import re
import shlex
import shutil
import subprocess
import unittest

import windows
from windows import BUILD, Installation, REPORTS, ROOT, UserKey, product

import pyreport

CXX = os.environ.get("PRODSWEEP_CXX", "x86_64-w64-mingw32-g++-posix")


class Examples(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.readme = (ROOT / "README.md").read_text(encoding="utf-8")
        cls.host = Installation("readme")
        cls.addClassCleanup(cls.host.close)
        key = UserKey("readme")
        cls.addClassCleanup(key.close)
        cls.host.catalogues(own=[product("Here", key.version("1", "here")), product("Away", key.version("1", "away"))],
                            other=[product("Else", key.version("1", "here"))])
        key.add_version("here")
        cls.samples = Installation("readme-samples")
        cls.addClassCleanup(cls.samples.close)
        shutil.copytree(ROOT / "samples" / "catalogue", cls.samples.folder, dirs_exist_ok=True)

    def test_example_lists_what_is_installed(self):
        examples = re.findall(r"^```cpp\n(.*?)^```", self.readme, re.MULTILINE | re.DOTALL)
        self.assertEqual(len(examples), 1)
        source = self.host.write("example.cpp", examples[0])
        program = self.host.folder / "example.exe"
        made = subprocess.run(
            [CXX, "-std=c++20", "-Wall", "-Wextra", "-Wpedantic", "-Werror", f"-I{ROOT / 'include'}", source, "-o", program,
             "-static", BUILD / "lib" / "libprodsweep.dll.a", "-loleaut32"], capture_output=True, text=True, check=False)
        self.assertEqual((made.returncode, made.stderr), (0, ""))
        ended = windows.run(windows.windows_path(program), cwd=self.host.folder)
        self.assertEqual(ended.code, 0)
        self.assertEqual(ended.out_text().splitlines(), ["Here, kind 1", "Else, kind 2"])

    def test_commands_of_the_readme_run(self):
        commands = re.findall(r"^    prodsweep (\S.*?)(?:   .*)?$", self.readme, re.MULTILINE)
        self.assertEqual(["list", "explain", "plan", "uninstall", "pending", "check"],
                         [shlex.split(command)[0] for command in commands])
        for command in commands:
            with self.subTest(command):
                ended = self.samples.run(*shlex.split(command), cwd=self.samples.folder)
                self.assertEqual((ended.code, ended.err), (0, b""))

    def test_readme_fits_a_screen_or_little_more(self):
        self.assertLessEqual(len(self.readme.splitlines()), 80)


if __name__ == "__main__":
    pyreport.main("readme", REPORTS)
