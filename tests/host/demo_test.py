"""The demo on a machine of the test's own: real installers, and what is found, removed and left on the way."""
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
CHECKED = """\
C:\\prodsweep> prodsweep check .
Nothing found in 7 files.

The catalogues are clean. A draft of a descriptor is not:

C:\\prodsweep> prodsweep check draft.xml
draft.xml:8:14: error: "del_files" is no op_code. Is "del_file" meant? [unknown-op-code]
"""
ALL_FOUND = """\
Product           Kind   Installed  Versions found
----------------  -----  ---------  ----------------------------------------------------------------------------
Halvane Notes     own    yes        {C88CB445-D6F8-4480-80D0-46AC8CF573AE} (edition: Standard; language: en, de)
Halvane Archive   own    yes        UpdateLocation (edition: Professional; language: en)
Halvane Studio    own    no         -
Dunmarrow Ledger  other  yes        DunmarrowLedger7 (maker: Dunmarrow Software; removal: silent)
Pellworth Viewer  other  yes        (found by its descriptor)

5 products, 4 installed.
"""
NOTES_PLANNED = """\
    C:\\Program Files\\Common Files\\Halvane\\Shared
      in use by Halvane Archive
"""
NOTES_REMOVED = """\
Halvane Notes: gone after the restart (its removal asks for a restart of the machine)
  processes           done
  folders             done
  files               done
  shortcuts           done
  registry keys       done
  registry values     done
  stays, in use by Halvane Archive: folder C:\\Program Files\\Common Files\\Halvane\\Shared
  stays, in use by Halvane Archive: file C:\\Program Files\\Common Files\\Halvane\\Shared\\words.dat
  stays, in use by Halvane Archive: key HKEY_LOCAL_MACHINE\\Software\\Halvane\\Shared
  stays, in use by Halvane Archive: value HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs \
"C:\\Program Files\\Common Files\\Halvane\\Shared\\words.dat"

A restart of the machine is needed to finish.
C:\\prodsweep> echo %errorlevel%
3010
"""
WHAT_STAYED = """\
C:\\prodsweep> dir /s /b "C:\\Program Files\\Halvane\\Notes"
C:\\Program Files\\Halvane\\Notes\\welcome.txt
C:\\prodsweep> dir /s /b "C:\\Program Files\\Common Files\\Halvane"
C:\\Program Files\\Common Files\\Halvane\\Shared
C:\\Program Files\\Common Files\\Halvane\\Shared\\words.dat
"""
WHAT_WAITS = """\
C:\\prodsweep> prodsweep pending
   Action  Path                                        Product
-  ------  ------------------------------------------  -------------
1  delete  C:\\Program Files\\Halvane\\Notes\\welcome.txt  Halvane Notes
2  delete  C:\\Program Files\\Halvane\\Notes              Halvane Notes
"""
AFTER_THE_RESTART = """\
$ cmake/wine --stop; cmake/wine wineboot
C:\\prodsweep> dir /b "C:\\Program Files\\Halvane"
Archive
"""
ARCHIVE_REMOVED = """\
Halvane Archive: gone
  stopping services   done
  disabling services  done
  tools               done
  processes           done
  folders             done
  files               done
  shortcuts           done
  registry keys       done
  registry values     done

"""
OTHERS_REMOVED = """\
C:\\prodsweep> prodsweep uninstall --all-installed --kind other --yes --quiet
C:\\prodsweep> echo %errorlevel%
3010
$ cmake/wine --stop; cmake/wine wineboot
"""
NOTHING_LEFT = """\
C:\\prodsweep> prodsweep list --installed
No product is installed.
C:\\prodsweep> prodsweep uninstall "Halvane Notes" --yes
Halvane Notes: was not installed
"""
# What no descriptor names: the folders around the products, which other products of the makers may use.
LEFT_FOLDERS = [
    "Program Files/Common Files/Halvane", "Program Files/Dunmarrow", "Program Files/Halvane", "Program Files/Pellworth",
]
MAKERS = ["Halvane", "Dunmarrow", "Pellworth", "pwfilter"]



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
        self.assertIn("\nRemoved 4 of 4.", self.story)

    def test_steps_follow_each_other(self):
        steps = [NOTHING_FOUND, CHECKED, "C:\\setup\\", ALL_FOUND, NOTES_PLANNED, NOTES_REMOVED, WHAT_STAYED, WHAT_WAITS,
                 AFTER_THE_RESTART, "\n3 products installed.\n", ARCHIVE_REMOVED, OTHERS_REMOVED, NOTHING_LEFT]
        end = 0
        for step in steps:
            start = self.story.find(step, end)
            self.assertNotEqual(start, -1, f"not found, or not behind the step before it:\n{step}\nin\n{self.story}")
            end = start + len(step)

    def test_no_file_is_left_on_the_machine(self):
        drive = BASE / "prefix" / "drive_c"
        left = [file.relative_to(drive).as_posix() for area in ["Program Files", "ProgramData", "users", "windows"]
                for file in (drive / area).rglob("*") if not file.is_dir()]
        self.assertEqual([file for file in left if any(maker in file for maker in MAKERS)], [])

    def test_folders_around_the_products_stay(self):
        drive = BASE / "prefix" / "drive_c"
        self.assertEqual([folder for folder in LEFT_FOLDERS if not (drive / folder).is_dir()], [])

    def test_machine_is_made_anew(self):
        self.assertFalse(self.stale.exists())

    def test_no_control_codes_go_into_a_pipe(self):
        self.assertNotIn("\x1b", self.story)
        self.assertNotIn("\r", self.story)


if __name__ == "__main__":
    pyreport.main("demo", REPORTS)
