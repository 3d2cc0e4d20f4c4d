"""Products that real installers put there, each removed by the library instead of by its own uninstaller."""
import shutil
import unittest

import family
from family import SWEEP
from machine import BUILD, Machine, REPORTS, ROOT, files, seen, unix_path

import pyreport

UNINSTALL = "HKLM/Software/Microsoft/Windows/CurrentVersion/Uninstall"
INSTALLERS = [("msiexec", "/i", "C:\\setup\\halvane-notes-2.1.msi", "/qn"),
              ("C:\\setup\\halvane-archive-3.0-setup.exe", "/S"), ("C:\\setup\\dunmarrow-ledger-7.2-setup.exe", "/S")]
# Its folder and its own key first, and its place in the system's list of installed programs.
PRODUCTS = {
    "Halvane Notes": ["C:/Program Files/Halvane/Notes", "HKLM/Software/Halvane/Notes",
                      f"{UNINSTALL}/{{C88CB445-D6F8-4480-80D0-46AC8CF573AE}}"],
    "Halvane Archive": ["C:/Program Files/Halvane/Archive", "HKLM/Software/Halvane/Archive",
                        f"{UNINSTALL}/Halvane Archive"],
    "Dunmarrow Ledger": ["C:/Program Files/Dunmarrow/Ledger 7", "HKLM/Software/Dunmarrow/Ledger/7",
                         f"{UNINSTALL}/DunmarrowLedger7"],
}
SHARED = ["C:/Program Files/Common Files/Halvane/Shared", "HKLM/Software/Halvane/Shared"]
INSTALLED = "three installed"


class Installers(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.machine = Machine()
        cls.before = cls.machine.state()
        family.place_sweeper(cls.machine)
        shutil.copytree(ROOT / "samples" / "catalogue", unix_path(SWEEP), dirs_exist_ok=True)
        shutil.copytree(BUILD / "installers", unix_path("C:\\setup"))
        for installer in INSTALLERS:
            cls.machine.must_run(*installer)
        cls.installed = cls.machine.state(keep=INSTALLED)

    def setUp(self):
        self.machine.go_back_to(INSTALLED)

    def remove(self, *products):
        for product in products:
            ended = self.machine.run(f"{SWEEP}\\prodsweep.exe", "uninstall", "--yes", product)
            # What the machine started for its user may still run, and then waits for the restart.
            self.assertIn(ended.code, [0, seen(3010)], ended)
            self.assertEqual(ended.err, "", ended)
        registry = self.machine.state().places
        self.machine.start()
        return {**{place: what for place, what in registry.items() if place.startswith("HK")}, **files().places}

    def assert_gone(self, places, *roots):
        self.assertEqual([root for root in roots if root in places], [])

    def assert_intact(self, places, *roots):
        mine = self.installed.below(*roots)
        self.assertEqual({place: what for place, what in places.items() if place in mine}, mine)

    def test_installers_put_there_what_is_to_go(self):
        for root in [*sum(PRODUCTS.values(), []), *SHARED]:
            self.assertIn(root, self.installed.places)
            self.assertNotIn(root, self.before.places)

    def test_each_is_removed_and_the_others_stay_whole(self):
        for product in PRODUCTS:
            with self.subTest(product):
                self.machine.go_back_to(INSTALLED)
                places = self.remove(product)
                self.assert_gone(places, *PRODUCTS[product])
                for other in PRODUCTS.keys() - {product}:
                    self.assert_intact(places, *PRODUCTS[other])
                self.assert_intact(places, *SHARED)

    def test_all_three_and_what_two_of_them_shared(self):
        places = self.remove(*PRODUCTS)
        self.assert_gone(places, *SHARED, *sum(PRODUCTS.values(), []))
        # Windows itself, and what else was there before, is as it was.
        self.assertEqual({place: what for place, what in places.items() if place in self.before.places},
                         self.before.places)


if __name__ == "__main__":
    pyreport.main("machine_installers", REPORTS)
