"""Whole machines before and after removals: what goes is what the descriptors name, and all else is as it was."""
import itertools
import unittest

import family
from family import SERVICE, SWEEP, left_of
from machine import Machine, REPORTS

import pyreport

PRODUCTS = frozenset(family.GOES)
SHARING = {"Anvil", "Bellows"}


def kept_name(removed):
    return "without " + ", ".join(sorted(removed) or ["none"])


class Removal(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.machine = Machine()
        cls.before = cls.machine.state()
        family.lay_out(cls.machine)
        cls.installed = cls.machine.state(keep=kept_name([]))

    def setUp(self):
        self.machine.go_back_to(kept_name([]))

    def uninstall(self, product):
        return self.machine.run(f"{SWEEP}\\prodsweep.exe", "uninstall", "--yes", product)

    def assert_became(self, expected, state):
        self.assertEqual(expected.differences(state), [])

    def remove_next(self, removed):
        """Removes each of the products that are left, each on the machine where these are removed, and goes on
        from there. A machine that was reached in another order is the same one, since it was compared whole."""
        for product in sorted(PRODUCTS - removed):
            now = removed | {product}
            with self.subTest(f"{product}, gone before: {sorted(removed)}"):
                self.machine.go_back_to(kept_name(removed))
                ended = self.machine.run(f"{SWEEP}\\prodsweep.exe", "uninstall", "--yes", product)
                self.assertEqual((ended.code, ended.err), (0, ""), ended)
                expected = left_of(self.installed, *now, sharing_stays=not SHARING <= now)
                self.assert_became(expected, self.machine.state(keep=kept_name(now)))
                if now not in self.seen:
                    self.seen.append(now)
                    self.remove_next(now)

    def test_installing_puts_there_what_the_removal_takes_away_and_more(self):
        added = self.before.differences(self.installed)
        self.assertEqual([line for line in added if not line.startswith("+ ")], [])
        for place in [*itertools.chain(*family.GOES.values()), *family.SHARED]:
            self.assertIn(f"+ {place}", added)

    def test_each_order_of_removal_leaves_what_the_descriptors_leave(self):
        self.seen = []
        self.remove_next(frozenset())
        self.assertIn(PRODUCTS, self.seen)

    def test_restart_takes_nothing_away_and_brings_nothing_back(self):
        for product in PRODUCTS:
            self.uninstall(product)
        self.machine.restart()
        self.assert_became(left_of(self.installed, *PRODUCTS, sharing_stays=False), self.machine.state())

    def test_service_is_stopped_by_the_removal(self):
        self.assertIn("RUNNING", self.machine.run("sc", "query", SERVICE).out)
        self.assertEqual(self.uninstall("Anvil").code, 0)
        self.assertNotIn("RUNNING", self.machine.run("sc", "query", SERVICE).out)


if __name__ == "__main__":
    pyreport.main("machine_removal", REPORTS)
