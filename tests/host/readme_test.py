"""The examples of the README compile without a warning and do what they say."""
import os
import re
import shlex
import subprocess
import unittest

import windows
from windows import BUILD, Installation, REPORTS, ROOT, UserKey, product

import pyreport

CXX = os.environ.get("PRODSWEEP_CXX", "x86_64-w64-mingw32-g++-posix")
CC = os.environ.get("PRODSWEEP_CC", "x86_64-w64-mingw32-gcc-posix")
COMPILERS = {
    "cpp": ([CXX, "-std=c++20"], ["-static", BUILD / "lib" / "libprodsweep.dll.a", "-loleaut32"]),
    "c": ([CC, "-std=c99"], ["-static", "-loleaut32"]),
}


class Examples(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.readme = (ROOT / "README.md").read_text(encoding="utf-8")
        cls.host = Installation("readme")
        cls.addClassCleanup(cls.host.close)
        key = UserKey("readme")
        cls.addClassCleanup(key.close)
        cls.host.catalogues(own=[product("Here", key.version("1", "here")), product("Away", key.version("1", "away"))],
                            other=[product("Else", key.version("1", "here")), product("Dunmarrow Ledger"),
                                   product("Halvane Archive")])
        key.add_version("here")

    def run_example(self, language):
        examples = re.findall(rf"^```{language}\n(.*?)^```", self.readme, re.MULTILINE | re.DOTALL)
        self.assertEqual(len(examples), 1)
        source = self.host.write(f"example.{language}", examples[0])
        program = self.host.folder / f"example_{language}.exe"
        command, libraries = COMPILERS[language]
        made = subprocess.run(
            [*command, "-Wall", "-Wextra", "-Wpedantic", "-Werror", f"-I{ROOT / 'include'}", source, "-o",
             program, *libraries], capture_output=True, text=True, check=False)
        self.assertEqual((made.returncode, made.stderr), (0, ""))
        ended = windows.run(windows.windows_path(program), cwd=self.host.folder)
        self.assertEqual(ended.code, 0)
        return ended.out_text().splitlines()

    def test_cpp_example_lists_what_is_installed(self):
        self.assertEqual(self.run_example("cpp"), ["Here, kind 1", "Else, kind 2"])

    def test_c_example_lists_the_own_catalogue(self):
        self.assertEqual(self.run_example("c"), ["Here", "Away"])

    def test_commands_of_the_readme_run(self):
        commands = re.findall(r"^    prodsweep (\S.*?)(?:   .*)?$", self.readme, re.MULTILINE)
        self.assertEqual(len(commands), 5)
        for command in commands:
            with self.subTest(command):
                ended = self.host.run(*shlex.split(command))
                self.assertEqual((ended.code, ended.err), (0, b""))

    def test_readme_fits_a_screen_or_little_more(self):
        self.assertLessEqual(len(self.readme.splitlines()), 80)


if __name__ == "__main__":
    pyreport.main("readme", REPORTS)
