"""What CMake makes of the sources on a machine and in a folder that are not as one would wish."""
import pathlib
import shlex
import subprocess
import tempfile
import unittest

from windows import REPORTS, ROOT

import pyreport


class Configure(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="prodsweep-")
        cls.addClassCleanup(folder.cleanup)
        # The path of a clone with a blank in it, for CMake does not look where the link leads.
        cls.root = pathlib.Path(folder.name) / "a clone"
        cls.root.symlink_to(ROOT)
        cls.build = pathlib.Path(folder.name) / "a build"

    def configure(self, *settings):
        return subprocess.run(["cmake", "-G", "Ninja", "-S", self.root, "-B", self.build, "-DCMAKE_BUILD_TYPE=Release",
                               f"-DCMAKE_TOOLCHAIN_FILE={self.root}/cmake/mingw-w64-x86_64.cmake", *settings],
                              capture_output=True, text=True, check=False)

    def test_tool_that_only_tests_need_is_asked_for_by_name(self):
        # A test would be missing without a word else.
        tools = {"MAKENSIS": "makensis", "WIXL": "wixl", "CMAKE_NM": "nm"}
        for lacking, name in tools.items():
            with self.subTest(name):
                # What is not found is looked for; what is off is not.
                ended = self.configure(*(f"-D{tool}={'OFF' if tool == lacking else 'NOTFOUND'}" for tool in tools))
                self.assertEqual(ended.returncode, 1)
                self.assertIn(f"{name} is missing. ./dev setup installs what the build needs.", " ".join(ended.stderr.split()))

    def test_folder_with_a_blank_in_its_name_links_the_tests(self):
        ended = self.configure()
        self.assertEqual((ended.returncode, ended.stderr), (0, ""))
        told = subprocess.run(["ninja", "-C", self.build, "-t", "commands", "common_tests"], capture_output=True, text=True,
                              check=True)
        words = shlex.split(told.stdout.splitlines()[-1])
        self.assertEqual(words[words.index("-wrapper") + 1], f"{self.root}/cmake/with_lld")


if __name__ == "__main__":
    pyreport.main("configure", REPORTS)
