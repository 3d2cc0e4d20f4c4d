"""The DLLs as they are given away: small, stripped, and without a trace of the folder that they were built in."""
import os
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
import pe_image  # noqa: E402
import pyreport  # noqa: E402

BUILD = pathlib.Path(os.environ["PRODSWEEP_BUILD"])


class ReleaseImage:
    def test_debug_information_is_in_a_file_of_its_own(self):
        self.assertEqual([], [s.name for s in pe_image.Image(self.dll).sections if s.name.startswith((".debug", "/"))])
        debug = self.dll.with_name(self.dll.name + ".debug").read_bytes()
        self.assertIn(self.source, debug)

    def test_names_no_folder_of_the_build(self):
        for path in (BUILD, pathlib.Path(__file__).resolve().parents[2]):
            self.assertNotIn(str(path).encode(), self.dll.read_bytes())

    def test_is_small(self):
        self.assertLess(self.dll.stat().st_size, self.most_kib * 1024)


class ReleaseImageTest(ReleaseImage, unittest.TestCase):
    dll = BUILD / "bin" / "prodsweep.dll"
    source = b"listing.cpp"
    most_kib = 500


class LogReleaseImageTest(ReleaseImage, unittest.TestCase):
    dll = BUILD / "bin" / "log.dll"
    source = b"rotation.cpp"
    most_kib = 250


if __name__ == "__main__":
    pyreport.main("dll_release_image", BUILD / "tests")
