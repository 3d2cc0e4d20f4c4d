"""The DLL as it is given away: small, stripped, and without a trace of the folder that it was built in."""
import os
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
import pe_image  # noqa: E402
import pyreport  # noqa: E402

BUILD = pathlib.Path(os.environ["PRODSWEEP_BUILD"])
DLL = BUILD / "bin" / "prodsweep.dll"


class ReleaseImageTest(unittest.TestCase):
    def test_debug_information_is_in_a_file_of_its_own(self):
        self.assertEqual([], [s.name for s in pe_image.Image(DLL).sections if s.name.startswith((".debug", "/"))])
        debug = DLL.with_name("prodsweep.dll.debug").read_bytes()
        self.assertIn(b"listing.cpp", debug)

    def test_names_no_folder_of_the_build(self):
        for path in (BUILD, pathlib.Path(__file__).resolve().parents[2]):
            self.assertNotIn(str(path).encode(), DLL.read_bytes())

    def test_is_small(self):
        self.assertLess(DLL.stat().st_size, 500 * 1024)


if __name__ == "__main__":
    pyreport.main("dll_release_image", BUILD / "tests")
