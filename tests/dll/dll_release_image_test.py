"""The DLLs and the program as they are given away: small, stripped, without a trace of when and in which folder they were built."""
import os
import pathlib
import re
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
import pe_image  # noqa: E402
import pyreport  # noqa: E402

BUILD = pathlib.Path(os.environ["PRODSWEEP_BUILD"])
ROOT = pathlib.Path(__file__).resolve().parents[2]
# As the compiler's __DATE__ and __TIME__ write them.
DATE_OR_TIME = re.compile(rb"(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [ 123]\d 20\d\d|\d\d:\d\d:\d\d")


class ReleaseImage:
    @classmethod
    def setUpClass(cls):
        cls.path = BUILD / "bin" / cls.file
        cls.image = pe_image.Image(cls.path)

    def test_debug_information_is_in_a_file_of_its_own(self):
        self.assertEqual([], [s.name for s in self.image.sections if s.name.startswith((".debug", "/"))])
        self.assertIn(self.source, self.path.with_name(self.file + ".debug").read_bytes())

    def test_does_not_name_that_file(self):
        # A link to it holds its checksum, and so the folders that it names.
        self.assertNotIn(".gnu_debuglink", [s.name for s in self.image.sections])
        self.assertEqual((0, 0), self.image.directories[pe_image.DEBUG])

    def test_names_no_folder_of_the_build(self):
        for path in (str(BUILD), str(ROOT)):
            for shown in (path, path.replace("/", "\\")):
                self.assertNotIn(shown.encode(), self.image.data)
                self.assertNotIn(shown.encode("utf-16-le"), self.image.data)

    def test_carries_no_time(self):
        self.assertEqual(0, self.image.timestamp)
        self.assertEqual({0}, set(self.image.timestamps_of_tables()))
        self.assertEqual([], [found.group() for found in DATE_OR_TIME.finditer(self.image.data)])

    def test_is_small(self):
        self.assertLess(len(self.image.data), self.most_kib * 1024)


class ReleaseImageTest(ReleaseImage, unittest.TestCase):
    file = "prodsweep.dll"
    source = b"listing.cpp"
    most_kib = 500


class LogReleaseImageTest(ReleaseImage, unittest.TestCase):
    file = "log.dll"
    source = b"rotation.cpp"
    most_kib = 250


class HostReleaseImageTest(ReleaseImage, unittest.TestCase):
    file = "prodsweep.exe"
    source = b"plan_page.cpp"
    most_kib = 3000


if __name__ == "__main__":
    pyreport.main("dll_release_image", BUILD / "tests")
