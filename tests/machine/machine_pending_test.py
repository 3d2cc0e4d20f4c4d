"""prodsweep pending: what waits for the restart, whose it is, and a reinstallation that survives the restart."""
import json
import re
import time
import unittest

import family
from family import SWEEP
from machine import Machine, REPORTS, seen, unix_path

import pyreport

APP = "C:\\Program Files\\Holder"
HELD = f"{APP}\\bin\\held.exe"
FOREIGN = "C:\\foreign\\waits.txt"
FOLDER, MOVED = "C:\\foreign\\folder", "C:\\foreign\\moved"
NEW, OLD = "C:\\foreign\\new.txt", "C:\\foreign\\old.txt"
PROGRAM = f"{SWEEP}\\prodsweep.exe"
MANAGER = "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\Session Manager"
LISTS = ["PendingFileRenameOperations", "PendingFileRenameOperations2"]
DESCRIPTOR = """<uninstall_information><version_list><v1/></version_list><v1>
<install_folder name="Holder"/>
<win_nt>
<folders op_code="del_folder"><f path="app_path"/></folders>
<keys op_code="del_regkey"><k name="HKLM\\Software\\Holder"/></keys>
</win_nt></v1></uninstall_information>"""
CATALOGUE = """<uninstall_information><exec_all>false</exec_all><product name="Holder" file="Holder.xml">
<version name="1" keypath="HKLM\\Software\\Holder" keyvalue="Path"/></product></uninstall_information>"""


def entry(source, target=None, replace=False):
    return f"\\??\\{source}\0" + (("!" if replace else "") + f"\\??\\{target}" if target else "") + "\0"


class Pending(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.machine = Machine()
        family.place_sweeper(cls.machine)
        cls.machine.write(f"{SWEEP}\\products.xml", CATALOGUE)
        cls.machine.write(f"{SWEEP}\\detection.xml", "<uninstall_information/>")
        cls.machine.write(f"{SWEEP}\\intern\\Holder.xml", DESCRIPTOR)

    @classmethod
    def set_list(cls, text, name=LISTS[0], of_type=7):
        data = text if isinstance(text, bytes) else text.encode("utf-16-le")
        cls.machine.import_registry(f'[{MANAGER}]\n"{name}"=hex({of_type}):{data.hex(",")}\n')

    def setUp(self):
        self.machine.import_registry(f"[{MANAGER}]\n" + "".join(f'"{name}"=-\n' for name in LISTS))

    def pending(self, *arguments):
        return self.machine.run(PROGRAM, "pending", *arguments)

    def listed(self):
        ended = self.pending("--json")
        self.assertEqual((ended.code, ended.err), (0, ""))
        return json.loads(ended.out)

    def paths(self):
        return [operation["path"] for operation in self.listed()["operations"]]

    def test_nothing_waits(self):
        self.assertEqual(self.pending().out, "Nothing waits for the next restart.\n")
        self.assertEqual(self.listed()["operations"], [])

    def test_both_lists_in_their_order_with_the_products(self):
        self.set_list(entry(HELD.upper()) + entry(NEW, OLD, replace=True) + entry(APP) + "\0")
        self.set_list(entry(FOREIGN) + "\0", LISTS[1])
        ours = [{"name": "Holder", "kind": "own"}]
        self.assertEqual(self.listed()["operations"], [
            {"list": LISTS[0], "action": "delete", "path": HELD.upper(), "target": None, "replaces": False,
             "products": ours},
            {"list": LISTS[0], "action": "rename", "path": NEW, "target": OLD, "replaces": True, "products": []},
            {"list": LISTS[0], "action": "delete", "path": APP, "target": None, "replaces": False, "products": ours},
            {"list": LISTS[1], "action": "delete", "path": FOREIGN, "target": None, "replaces": False, "products": []},
        ])
        self.assertEqual(self.pending().out,
                         "   Action  Path                                                     Product\n"
                         "-  ------  -------------------------------------------------------  -------\n"
                         f"1  delete  {HELD.upper():55}  Holder\n"
                         f"2  rename  {NEW} -> {OLD} (replacing it)  -\n"
                         f"3  delete  {APP:55}  Holder\n"
                         f"4  delete  {FOREIGN:55}  -\n"
                         "\n4 operations wait for the next restart, 2 of the catalogues' products.\n")

    def test_damaged_list_is_told_as_far_as_it_goes(self):
        self.set_list((entry(FOREIGN) + f"\\??\\{OLD}").encode("utf-16-le") + b"x")
        report = self.listed()
        self.assertEqual([operation["action"] for operation in report["operations"]], ["delete", "unclear"])
        self.assertEqual(report["faults"], [
            "PendingFileRenameOperations is damaged: it breaks off within its last entry.",
            "PendingFileRenameOperations is damaged: it ends in half a character."])
        self.assertIn("Note: PendingFileRenameOperations is damaged: it ends", self.pending().out)

    def test_list_of_another_type_is_not_guessed_at(self):
        self.set_list("x\0", of_type=1)
        self.assertEqual(self.listed()["faults"], [
            "PendingFileRenameOperations is no list of texts (REG_MULTI_SZ, 7) but of type 1; it is not looked at."])
        for question in ["--check", "--cancel"]:
            ended = self.pending(question, OLD)
            self.assertEqual(ended.code, seen(1629))
            self.assertEqual(ended.err, "prodsweep: PendingFileRenameOperations is no list of texts (REG_MULTI_SZ, 7) "
                                        "but of type 1; nobody can tell what it holds.\n")

    def test_check_answers_in_one_sentence_and_by_its_exit_code(self):
        self.set_list(entry(HELD) + entry(APP) + entry(NEW, OLD, replace=True) + entry(FOLDER, MOVED) +
                      entry(NEW, FOREIGN) + "\0")
        for path, code, sentence in [
                (HELD, 1, f'"{HELD}" is queued for deletion at the next restart.\n'),
                (HELD.lower().replace("\\", "/"), 1, f'"{HELD.lower()}" is queued for deletion at the next restart.\n'),
                (f"\\??\\{APP}\\", 1, f'"{APP}" is queued for deletion at the next restart.\n'),
                (f"{APP}\\new.txt", 0, f'"{APP}\\new.txt" is not queued itself. The folder above it is: "{APP}" is deleted '
                                       'at the next restart only if it is empty by then, so a file that is written to '
                                       f'"{APP}\\new.txt" stays.\n'),
                (NEW, 1, f'"{NEW}" is queued to be moved to "{OLD}" at the next restart.\n'),
                (OLD, 1, f'"{OLD}" is queued to be replaced by "{NEW}" at the next restart.\n'),
                (f"{FOLDER}\\a.txt", 1, f'"{FOLDER}\\a.txt" is moved at the next restart with the folder above it, '
                                        f'"{FOLDER}", to "{MOVED}".\n'),
                # A renaming that may not replace anything fails when something is there.
                (FOREIGN, 0, f'"{FOREIGN}" is not queued to be deleted, moved or replaced.\n'),
                (f"{APP}s", 0, f'"{APP}s" is not queued to be deleted, moved or replaced.\n')]:
            with self.subTest(path):
                ended = self.pending("--check", path)
                self.assertEqual((ended.code, ended.out, ended.err), (code, sentence, ""))

    def test_check_for_scripts(self):
        self.set_list(entry(HELD) + "\0")
        ended = self.pending("--check", HELD, "--json")
        self.assertEqual((ended.code, json.loads(ended.out)), (1, {
            "format": 1, "path": HELD, "queued": [
                {"list": LISTS[0], "action": "delete", "path": HELD, "target": None, "replaces": False, "loses": True}]}))
        self.set_list(entry(APP) + "\0")
        ended = self.pending("--check", HELD, "--json")
        self.assertEqual((ended.code, [(operation["path"], operation["loses"]) for operation in
                                       json.loads(ended.out)["queued"]]), (0, [(APP, False)]))

    def test_cancel_leaves_the_others_in_their_order(self):
        self.set_list(entry(OLD) + entry(HELD) + entry(NEW, OLD, replace=True) + entry(APP) + entry(FOREIGN) + "\0")
        ended = self.pending("--cancel", HELD)
        self.assertEqual((ended.code, ended.out, ended.err),
                         (0, f'No longer queued: "{HELD}", "{APP}".\n', ""))
        self.assertEqual(self.paths(), [OLD, NEW, FOREIGN])
        ended = self.pending("--cancel", HELD)
        self.assertEqual((ended.code, ended.out), (
            0, f'"{HELD}" was not queued to be deleted, moved or replaced; nothing was changed.\n'))
        self.assertEqual(self.paths(), [OLD, NEW, FOREIGN])

    def test_cancel_takes_out_what_would_move_or_replace_the_file(self):
        self.set_list(entry(HELD, OLD) + entry(NEW, HELD, replace=True) + entry(APP, MOVED) + entry(FOREIGN) + "\0")
        ended = self.pending("--cancel", HELD)
        self.assertEqual((ended.code, ended.err), (0, ""))
        self.assertIn(f'"{NEW}" to "{HELD}"', ended.out)
        self.assertEqual(self.paths(), [FOREIGN])
        self.assertEqual(self.pending("--check", HELD).code, 0)

    def bytes_of_list(self):
        """As they stand in the registry; None when there is no such value."""
        self.machine.must_run("reg", "export", MANAGER, "C:\\list.reg", "/y")
        exported = unix_path("C:\\list.reg").read_bytes().decode("utf-16").replace("\\\r\n", "")
        found = re.search(rf'^"{LISTS[0]}"=hex\(7\):(.*)$', exported, re.MULTILINE)
        return bytes.fromhex(found[1].replace(",", " ")) if found else None

    def test_cancel_loses_nothing_of_an_odd_list(self):
        gone, stays, renamed = entry(HELD), entry(FOREIGN), entry(NEW, OLD, replace=True)
        for name, before, after in [
                ("odd number of texts", gone + f"\\??\\{OLD}\0", f"\\??\\{OLD}\0"),
                ("no end mark", stays + gone + renamed, stays + renamed + "\0"),
                ("pairs of empty texts", "\0\0" + stays + "\0\0" + gone + renamed + "\0\0\0\0",
                 "\0\0" + stays + "\0\0" + renamed + "\0\0\0\0"),
                ("renamed to it without replacing", entry(NEW, HELD) + gone + "\0", entry(NEW, HELD) + "\0"),
                ("nothing else", gone + "\0\0\0", None)]:
            with self.subTest(name):
                self.set_list(before)
                ended = self.pending("--cancel", HELD)
                self.assertEqual((ended.code, ended.out, ended.err),
                                 (0, f'No longer queued: "{HELD}".\n', ""))
                self.assertEqual(self.bytes_of_list(), after and after.encode("utf-16-le"))

    def test_path_that_is_none_and_options_that_do_not_go_together(self):
        for arguments in [["--check", ""], ["--cancel", ""], ["--check", "a", "--cancel", "a"], ["--library", ""]]:
            with self.subTest(arguments):
                self.assertEqual(self.pending(*arguments).code, 87)

    def test_cancel_waits_for_no_removal(self):
        self.set_list(entry(HELD) + "\0")
        tool = self.machine.copy("C:\\tools\\busy.exe", REPORTS / "tool.exe")
        self.machine.write(f"{SWEEP}\\intern\\Busy.xml", DESCRIPTOR.replace(
            '<folders op_code="del_folder"><f path="app_path"/></folders>',
            '<t op_code="exec_tool"><e tool_name="C:\\tools\\busy.exe" cmd_line="linger" wait="yes"/></t>'))
        self.machine.write(f"{SWEEP}\\products.xml", CATALOGUE.replace('"Holder', '"Busy'))
        removal = self.machine.popen(PROGRAM, "uninstall", "--yes", "--force", "Busy")
        try:
            self.wait_for_start(tool)
            ended = self.pending("--cancel", HELD)
        finally:
            self.machine.run("taskkill", "/f", "/im", "busy.exe")
            removal.wait(20)
            self.machine.write(f"{SWEEP}\\products.xml", CATALOGUE)
        self.assertEqual((ended.code, ended.err), (seen(1618), "prodsweep: a removal by this program is running.\n"))
        self.assertEqual(self.paths(), [HELD])

    def wait_for_start(self, program):
        """The tool tells by a file beside it that it runs."""
        started = program.with_name(program.name + ".started")
        deadline = time.monotonic() + 30
        while not started.exists():
            self.assertLess(time.monotonic(), deadline, f"{program} does not run")
            time.sleep(0.05)

    def test_product_that_is_installed_again_survives_the_restart(self):
        """Once with the deletions cancelled and, so that this is known to matter, once without."""
        for cancels in [True, False]:
            with self.subTest(cancels=cancels):
                self.setUp()
                self.remove_while_held()
                self.assertEqual(self.paths(), [HELD, f"{APP}\\bin", APP])
                self.machine.write(HELD, "the new version")
                self.assertEqual(self.pending("--check", HELD).code, 1)
                if cancels:
                    self.assertEqual(self.pending("--cancel", HELD).code, 0)
                    self.assertEqual(self.pending("--check", HELD).code, 0)
                self.machine.restart()
                self.assertEqual(unix_path(HELD).exists(), cancels)

    def remove_while_held(self):
        self.machine.import_registry('[HKEY_LOCAL_MACHINE\\Software\\Holder\\UpdateLocation]\n"Path"="here"\n')
        program = self.machine.copy(HELD, REPORTS / "tool.exe")
        held = self.machine.popen(HELD, "linger")
        try:
            self.wait_for_start(program)
            ended = self.machine.run(PROGRAM, "uninstall", "--yes", "Holder")
        finally:
            self.machine.run("taskkill", "/f", "/im", "held.exe")
            held.wait(20)
        self.assertEqual(ended.code, seen(3010), ended)


if __name__ == "__main__":
    pyreport.main("machine_pending", REPORTS)
