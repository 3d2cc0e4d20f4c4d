"""What cannot be deleted while the machine runs is registered in order and gone after the restart."""
import re
import time
import unittest

import family
from family import SWEEP
from machine import BASE, Machine, REPORTS, files, seen, unix_path

import pyreport

APP = "C:\\Program Files\\Holder"
MANAGER = "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\Session Manager"
FOREIGN = "C:\\foreign\\waits.txt"
DESCRIPTOR = """<uninstall_information><version_list><v1/></version_list><v1>
<install_folder name="Holder"/>
<win_nt>
<folders op_code="del_folder"><f path="app_path"/></folders>
<files op_code="del_file">
  <f path="common_app_data" name="#####z_waits.dat"/><f path="common_app_data" name="#####a_waits.dat"/>
  <f path="common_app_data" name="#####absent.dat"/><f path="common_app_data" name="goes_now.dat"/>
</files>
<keys op_code="del_regkey"><k name="HKLM\\Software\\Holder"/></keys>
</win_nt></v1></uninstall_information>"""
CATALOGUE = """<uninstall_information><exec_all>false</exec_all><product name="Holder" file="Holder.xml">
<version name="1" keypath="HKLM\\Software\\Holder" keyvalue="Path"/></product></uninstall_information>"""
# First what the "#####" files put there, sorted; then in the order in which the deletions failed: each program
# that runs, and each folder once what it holds has been tried.
REGISTERED = ["C:\\ProgramData\\a_waits.dat", "C:\\ProgramData\\z_waits.dat", f"{APP}\\a\\deep\\held.exe",
              f"{APP}\\a\\deep", f"{APP}\\a", f"{APP}\\held.exe", APP]


def registered():
    """The paths that wait for the restart, in order. The machine must be stopped."""
    text = (BASE / "prefix" / "system.reg").read_text(encoding="utf-8", errors="replace")
    found = re.search(r'^"PendingFileRenameOperations"=str\(7\):"((?:[^"\\]|\\.|\\\n\s*)*)"', text, re.MULTILINE)
    if not found:
        return []
    pieces = re.sub(r"\\\n\s*", "", found[1]).replace("\\\\", "\\").split("\\0")
    return [piece.removeprefix("\\??\\") for piece in pieces if piece]


class Restart(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        """One story: a product is removed while two of its programs run, and the machine is restarted."""
        cls.machine = Machine()
        family.place_sweeper(cls.machine)
        cls.machine.write(f"{SWEEP}\\products.xml", CATALOGUE)
        cls.machine.write(f"{SWEEP}\\detection.xml", "<uninstall_information/>")
        cls.machine.write(f"{SWEEP}\\intern\\Holder.xml", DESCRIPTOR)
        for name in ["a_waits.dat", "z_waits.dat", "goes_now.dat"]:
            cls.machine.write(f"C:\\ProgramData\\{name}", name)
        cls.machine.write(f"{APP}\\free.txt", "free")
        cls.machine.write(FOREIGN, "another program registered it")
        cls.machine.write("C:\\foreign\\stays.txt", "nobody registered it")
        cls.machine.import_registry('[HKEY_LOCAL_MACHINE\\Software\\Holder\\UpdateLocation]\n"Path"="here"\n')
        # A path, and no new name for it.
        pending = f"\\??\\{FOREIGN}\0\0\0".encode("utf-16-le").hex(",")
        cls.machine.import_registry(f'[{MANAGER}]\n"PendingFileRenameOperations"=hex(7):{pending}\n')
        cls.before = files()
        held = [cls.hold(f"{APP}\\held.exe"), cls.hold(f"{APP}\\a\\deep\\held.exe")]
        cls.ended = cls.machine.run(f"{SWEEP}\\prodsweep.exe", "uninstall", "--yes", "Holder")
        cls.removed = files()
        cls.machine.stop()
        for program in held:
            program.wait(20)
        cls.waiting = registered()
        cls.machine.start()
        cls.restarted = files()
        cls.machine.stop()
        cls.left_waiting = registered()

    @classmethod
    def hold(cls, path):
        program = cls.machine.copy(path, REPORTS / "tool.exe")
        running = cls.machine.popen(path, "linger")
        started = program.with_name(program.name + ".started")
        deadline = time.monotonic() + 30
        while not started.exists():
            if time.monotonic() > deadline:
                running.kill()
                raise RuntimeError(f"{path} does not run")
            time.sleep(0.05)
        return running

    def test_removal_tells_that_a_restart_is_needed(self):
        self.assertEqual(self.ended.code, seen(3010), self.ended)

    def test_what_is_held_and_what_is_to_wait_stays_until_the_restart(self):
        left = {place for place in self.removed.below("C:/Program Files/Holder", "C:/ProgramData")
                if place in ["C:/" + path[3:].replace("\\", "/") for path in REGISTERED]}
        self.assertEqual(len(left), len(REGISTERED))

    def test_what_is_free_goes_at_once(self):
        for path in [f"{APP}\\free.txt", "C:\\ProgramData\\goes_now.dat"]:
            place = "C:/" + path[3:].replace("\\", "/")
            self.assertIn(place, self.before.places)
            self.assertNotIn(place, self.removed.places)

    def test_registered_behind_what_others_registered_and_in_the_order_of_the_list(self):
        self.assertEqual(self.waiting, [FOREIGN, *REGISTERED])

    def test_restart_carries_it_out_and_touches_nothing_else(self):
        gone = ["- C:/" + path[3:].replace("\\", "/") for path in [FOREIGN, *REGISTERED]]
        self.assertEqual(sorted(self.removed.differences(self.restarted)), sorted(gone))

    def test_nothing_waits_after_the_restart(self):
        self.assertEqual(self.left_waiting, [])
        self.assertFalse(unix_path(APP).exists())


if __name__ == "__main__":
    pyreport.main("machine_restart", REPORTS)
