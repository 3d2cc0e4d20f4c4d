"""The example of the README compiles without a warning, in C and in C++, and its commands run."""
import os
import re
import shlex
import shutil
import subprocess
import unittest

import windows
from windows import BUILD, Installation, REPORTS, ROOT, UserKey, product

import pyreport

CC = "x86_64-w64-mingw32-gcc-posix"
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]
# The compiler that the README names stands for both; the source's name tells which language is meant.
COMPILERS = {
    "list.c": [os.environ.get("PRODSWEEP_CC", CC), "-std=c99", *WARNINGS],
    "list.cpp": [os.environ.get("PRODSWEEP_CXX", "x86_64-w64-mingw32-g++-posix"), "-std=c++20", *WARNINGS],
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
                            other=[product("Else", key.version("1", "here"))])
        key.add_version("here")
        cls.samples = Installation("readme-samples")
        cls.addClassCleanup(cls.samples.close)
        shutil.copytree(ROOT / "samples" / "catalogue", cls.samples.folder, dirs_exist_ok=True)

    def build(self, source):
        """By the README's own command line."""
        command, = re.findall(r"^```sh\n(.*)\n```$", self.readme, re.MULTILINE)
        compiler, *arguments = shlex.split(command)
        meant = {"list.c": source, "include": ROOT / "include",
                 "build/mingw-release/lib/libprodsweep.dll.a": BUILD / "lib" / "libprodsweep.dll.a"}
        self.assertEqual((compiler, set(meant) - set(arguments)), (CC, set()))
        made = subprocess.run([*COMPILERS[source], *(meant.get(argument, argument) for argument in arguments)],
                              cwd=self.host.folder, capture_output=True, text=True, check=False)
        self.assertEqual((made.returncode, made.stderr), (0, ""))

    def test_example_lists_what_is_installed_in_c_and_in_cpp(self):
        example, = re.findall(r"^```c\n(.*?)^```", self.readme, re.MULTILINE | re.DOTALL)
        for source in COMPILERS:
            with self.subTest(source):
                self.host.write(source, example)
                self.build(source)
                ended = windows.run(self.host.path("list.exe"), cwd=self.host.folder)
                (self.host.folder / "list.exe").unlink()
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
