"""The demo on a machine of the test's own: real installers, and what is found before and after."""
import os
import shutil
import subprocess
import unittest

import windows
from windows import BUILD, MAPPED, REPORTS, ROOT

import pyreport

PREFIX = "demo_test"
BASE = MAPPED / "wine" / PREFIX
NOTHING_FOUND = """\
Product           Kind   Installed  Versions found
----------------  -----  ---------  --------------
Halvane Notes     own    no         -
Halvane Archive   own    no         -
Halvane Studio    own    no         -
Dunmarrow Ledger  other  no         -
Pellworth Viewer  other  no         -

5 products, 0 installed.
"""
ALL_FOUND = """\
Product           Kind   Installed  Versions found
----------------  -----  ---------  ----------------------------------------------------------------------------
Halvane Notes     own    yes        {C88CB445-D6F8-4480-80D0-46AC8CF573AE} (edition: Standard; language: en, de)
Halvane Archive   own    yes        UpdateLocation (edition: Professional; language: en)
Halvane Studio    own    no         -
Dunmarrow Ledger  other  yes        DunmarrowLedger7 (maker: Dunmarrow Software; removal: silent)
Pellworth Viewer  other  no         -

5 products, 3 installed.
"""
INSTALLED_FILES = [
    "Program Files/Halvane/Notes/notes.exe", "Program Files/Halvane/Notes/welcome.txt",
    "Program Files/Halvane/Archive/archive.exe", "Program Files/Halvane/Archive/templates/weekly.template",
    "Program Files/Halvane/Archive/uninstall.exe", "Program Files/Common Files/Halvane/Shared/words.dat",
    "Program Files/Dunmarrow/Ledger 7/ledger.exe", "Program Files/Dunmarrow/Ledger 7/forms/invoice.txt",
    "Program Files/Dunmarrow/Ledger 7/uninstall.exe", "ProgramData/Dunmarrow/Ledger/last_form.txt",
    "ProgramData/Microsoft/Windows/Start Menu/Programs/Halvane/Halvane Archive.lnk",
    "ProgramData/Microsoft/Windows/Start Menu/Programs/Dunmarrow/Dunmarrow Ledger.lnk",
    "users/Public/Desktop/Dunmarrow Ledger.lnk",
]


class Demo(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        # What an earlier demo left must not show in this one.
        shutil.rmtree(BASE, ignore_errors=True)
        cls.stale = BASE / "prefix" / "drive_c" / "Program Files" / "Halvane" / "stale.txt"
        cls.stale.parent.mkdir(parents=True)
        cls.stale.touch()
        cls.addClassCleanup(shutil.rmtree, BASE, True)
        run = subprocess.run([ROOT / "tools" / "demo.sh", BUILD], env={**os.environ, "PRODSWEEP_PREFIX": PREFIX},
                             stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=500, check=False)
        cls.code, cls.story, cls.errors = run.returncode, run.stdout, run.stderr

    def test_story_comes_to_its_end(self):
        self.assertEqual((self.code, self.errors), (0, ""))
        self.assertIn("\nFound 3 of 3.", self.story)

    def test_nothing_is_found_before_and_all_three_after(self):
        before, installing, after = (self.story.find(text) for text in [NOTHING_FOUND, "C:\\setup\\", ALL_FOUND])
        self.assertNotIn(-1, (before, installing, after), self.story)
        self.assertTrue(before < installing < after, self.story)

    def test_installers_put_files_and_shortcuts_on_the_machine(self):
        drive = BASE / "prefix" / "drive_c"
        self.assertEqual([name for name in INSTALLED_FILES if not (drive / name).exists()], [])

    def test_machine_is_made_anew(self):
        self.assertFalse(self.stale.exists())

    def test_no_control_codes_go_into_a_pipe(self):
        self.assertNotIn("\x1b", self.story)
        self.assertNotIn("\r", self.story)


if __name__ == "__main__":
    pyreport.main("demo", REPORTS)
