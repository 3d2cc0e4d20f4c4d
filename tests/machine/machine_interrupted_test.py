"""A removal that is ended at any moment and run again comes to the end that it would have come to at once."""
import os
import random
import signal
import time
import unittest

import family
from machine import Machine, REPORTS, seen, unix_path

import pyreport

INTERRUPTIONS = 50
SEED = 4711
FOLDERS, FILES_IN_EACH, SINGLE_FILES, KEYS, VALUES = 20, 10, 100, 40, 10
ALL_FILES = FOLDERS * FILES_IN_EACH + SINGLE_FILES
# The first product is removed without being interrupted.
PRODUCTS = [f"P{number:02}" for number in range(INTERRUPTIONS + 1)]


def folder(name):
    return f"C:\\Program Files\\Batch\\{name}"


def descriptor(name):
    """The value by which the product is found goes last of all: values go behind keys, and in the order of their
    keys. So the product counts as installed as long as anything of it is left."""
    files = "".join(f'<f path="common_app_data" name="Batch\\{name}\\{i}.dat"/>' for i in range(SINGLE_FILES))
    values = "".join(f'<v key_path="HKLM\\Software\\Batch values\\{name}" name="{i}"/>' for i in range(VALUES))
    return (f'<uninstall_information><version_list><v/></version_list><v><install_folder name="Batch\\{name}"/><win_nt>'
            f'<a op_code="del_folder"><f path="app_path"/></a><b op_code="del_file">{files}</b>'
            f'<c op_code="del_regkey"><k name="HKLM\\Software\\Batch\\{name}"/>'
            f'<k name="HKLM\\Software\\Wow6432Node\\Batch\\{name}"/></c><d op_code="del_regvalue">{values}'
            f'<v key_path="HKLM\\Software\\Marks\\{name}\\UpdateLocation" name="Path"/></d>'
            "</win_nt></v></uninstall_information>")


def registry(name):
    keys = [f"[HKEY_LOCAL_MACHINE\\Software\\{view}Batch\\{name}\\{i // 5}\\{i % 5}]\n\"a\"=\"b\"\n\"c\"=dword:00000001\n"
            for view, count in [("", KEYS), ("Wow6432Node\\", KEYS // 4)] for i in range(count)]
    values = "".join(f"\"{i}\"=\"x\"\n" for i in range(VALUES))
    return ("".join(keys) + f"[HKEY_LOCAL_MACHINE\\Software\\Batch values\\{name}]\n\"stays\"=\"x\"\n{values}"
            f"[HKEY_LOCAL_MACHINE\\Software\\Marks\\{name}\\UpdateLocation]\n\"Path\"=\"here\"\n\"Stays\"=\"x\"\n")


def lay_out(machine, name):
    for i in range(FOLDERS):
        for j in range(FILES_IN_EACH):
            # Folders in folders, so that the tree has depth.
            machine.write(f"{folder(name)}\\{i % 5}\\{i}\\{j}.txt", f"{i} {j}")
    for i in range(SINGLE_FILES):
        machine.write(f"C:\\ProgramData\\Batch\\{name}\\{i}.dat", f"{i}")
    machine.write(f"C:\\ProgramData\\Batch\\{name}\\stays.dat", "no descriptor names it")
    sweeper = f"C:\\sweep\\{name}"
    family.place_sweeper(machine, sweeper)
    machine.write(f"{sweeper}\\products.xml", f'<uninstall_information><exec_all>false</exec_all><product name="{name}" '
                  f'file="{name}.xml"><version name="1" keypath="HKLM\\Software\\Marks\\{name}" keyvalue="Path"/>'
                  "</product></uninstall_information>")
    machine.write(f"{sweeper}\\detection.xml", "<uninstall_information/>")
    machine.write(f"{sweeper}\\intern\\{name}.xml", descriptor(name))


def goes(name):
    return [f"C:/Program Files/Batch/{name}", f"HKLM/Software/Batch/{name}", f"HKLM/Software/Wow6432Node/Batch/{name}",
            *[f"C:/ProgramData/Batch/{name}/{i}.dat" for i in range(SINGLE_FILES)],
            *[f'HKLM/Software/Batch values/{name} = "{i}"' for i in range(VALUES)],
            f'HKLM/Software/Marks/{name}/UpdateLocation = "Path"']


def files_left(name):
    """Without the one that stays. Counted while they go: os.walk steps over folders that are gone by the time
    that it comes to them."""
    places = [folder(name), f"C:\\ProgramData\\Batch\\{name}"]
    return sum(len(files) for place in places for _, _, files in os.walk(unix_path(place))) - 1


def with_parents(place):
    """The place, and the folders or keys that it is in."""
    key, _, _ = place.partition(" = ")
    pieces = key.split("/")
    return {place, *("/".join(pieces[:count]) for count in range(1, len(pieces) + 1))}


class Interrupted(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.machine = Machine()
        for name in PRODUCTS:
            lay_out(cls.machine, name)
        cls.machine.import_registry("".join(registry(name) for name in PRODUCTS))
        cls.installed = cls.machine.state()

    def interrupt(self, name, files_gone, pause):
        """Ends the removal once that many files are gone and the pause is over. What is found out later does not
        depend on when the end came, or on whether the removal was quicker."""
        removal = self.machine.popen(f"C:\\sweep\\{name}\\prodsweep.exe", "uninstall", "--yes", name)
        try:
            deadline = time.monotonic() + 30
            while ALL_FILES - files_left(name) < files_gone and removal.poll() is None and time.monotonic() < deadline:
                time.sleep(0.0005)
            time.sleep(pause)
        finally:
            removal.send_signal(signal.SIGKILL)
            removal.wait(20)

    def run_again(self, name):
        """Wine learns of the end a moment later than this host; until then the removal still counts as running."""
        deadline = time.monotonic() + 20
        while True:
            ended = self.machine.run(f"C:\\sweep\\{name}\\prodsweep.exe", "uninstall", "--yes", name)
            if ended.code != seen(1618) or time.monotonic() > deadline:
                return ended
            time.sleep(0.1)

    def points(self):
        """Most of them among the files; the others when the files are gone, among the keys and values."""
        chance = random.Random(SEED)
        for index in range(INTERRUPTIONS):
            if index % 3 == 0:
                yield ALL_FILES, chance.uniform(0, 0.012)
            else:
                yield chance.randrange(1, ALL_FILES), 0

    def test_second_run_ends_where_an_uninterrupted_one_does(self):
        self.assertEqual(self.run_again(PRODUCTS[0]).code, 0)
        midway = 0
        for name, (files_gone, pause) in zip(PRODUCTS[1:], self.points()):
            with self.subTest(name, files_gone=files_gone, pause=pause):
                self.interrupt(name, files_gone, pause)
                midway += 0 < files_left(name) < ALL_FILES
                ended = self.run_again(name)
                self.assertEqual((ended.code, ended.err), (0, ""), ended)
        # Of the 33 that were to come among the files; else nothing was tried.
        self.assertGreater(midway, 5)
        gone = set().union(*(goes(name) for name in PRODUCTS))
        self.assertTrue(gone <= self.installed.places.keys())
        expected = self.installed.without(lambda place: not gone.isdisjoint(with_parents(place)))
        self.assertEqual(expected.differences(self.machine.state()), [])


if __name__ == "__main__":
    pyreport.main("machine_interrupted", REPORTS)
