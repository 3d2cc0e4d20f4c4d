"""A plan leaves no trace: the whole machine before and after, with the attributes and times of its files, folders and
keys; and what a plan says is what the removal does."""
import json
import re
import unittest

import family
from family import SWEEP
from machine import BASE, DRIVE, HIVES, Machine, REPORTS, is_in, unix_path

import pyreport

PROGRAM = f"{SWEEP}\\prodsweep.exe"


def times():
    """Of each file and folder of the prefix, as the host sees them: the change of any attribute changes the last one.
    Not the time of the last reading, which each look sets, where the machine keeps it at all; and not the registry's
    files, which Wine writes now and then: keys() looks into them."""
    seen = {}
    for path in [DRIVE, *(BASE / "prefix").rglob("*"), *(BASE / "home").rglob("*")]:
        if path.suffix == ".reg":
            continue
        stat = path.lstat()
        seen[str(path)] = (stat.st_mode, stat.st_size, stat.st_ino, stat.st_mtime_ns, stat.st_ctime_ns)
    return seen


def keys():
    """The time of the last writing of each key, from the registry's files."""
    seen = {}
    for file, hive in HIVES.items():
        text = (BASE / "prefix" / file).read_text(encoding="utf-8", errors="surrogateescape")
        for key, block in re.findall(r"^\[(.*)\] \d+\n((?:[^\[\n].*\n)*)", text, re.MULTILINE):
            time = re.search(r"^#time=(\w+)", block, re.MULTILINE)
            seen[f"{hive}/" + key.replace("\\\\", "/")] = time and time.group(1)
    return seen


def changed(before, after):
    return {place for place in before.keys() | after.keys() if before.get(place) != after.get(place)}


class Plan(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.machine = Machine()
        family.lay_out(cls.machine)
        cls.dress()
        cls.installed = cls.machine.state(keep="planned")

    @classmethod
    def dress(cls):
        """Attributes that a removal, and its look at what others use, would take off."""
        for path in ["C:\\Program Files\\Common Files\\Smithy\\Shared", "C:\\Program Files\\Smithy\\Anvil",
                     "C:\\Program Files\\Smithy\\Anvil\\anvil.exe"]:
            cls.machine.must_run("attrib", "+r", "+h", "+s", path)

    def run_sweep(self, *arguments):
        return self.machine.run(PROGRAM, *arguments)

    def changes_of(self, program, *arguments):
        """What is different on the machine when the program has run: files and folders, and keys."""
        self.machine.go_back_to("planned")
        self.machine.stop()
        files, registry = times(), keys()
        self.machine.start()
        ended = self.machine.run(program, *arguments)
        while_running = times()
        self.machine.stop()
        now = keys()
        self.machine.start()
        return ended, changed(files, while_running), changed(registry, now)

    def test_nothing_is_different_afterwards(self):
        # Wine writes keys of its own when it starts, and when a program first uses COM, since that starts its desktop:
        # which ones is told by a program of its own that does just this.
        _, files_of_wine, keys_of_wine = self.changes_of("wmic", "os", "get", "caption")
        ended, files, keys_of_plan = self.changes_of(PROGRAM, "plan", "Anvil", "Bellows")
        self.assertEqual((ended.code, ended.err), (0, ""), ended)
        self.assertIn(f"{family.APP}Anvil", ended.out)
        self.assertEqual(sorted(files - files_of_wine), [])
        self.assertEqual(sorted(keys_of_plan - keys_of_wine), [])
        self.assertEqual(self.installed.differences(self.machine.state(keep="planned")), [])

    def test_a_removal_would_be_seen_by_that_comparison(self):
        _, files, of_removal = self.changes_of(PROGRAM, "uninstall", "-y", "Anvil")
        self.assertIn(str(unix_path("C:\\Program Files\\Common Files\\Smithy\\Shared")), files)
        self.assertIn("HKLM/Software/Smithy/Family", of_removal)

    def test_what_the_plan_says_is_what_the_removal_does(self):
        self.machine.go_back_to("planned")
        ended = self.run_sweep("plan", "Anvil", "--json")
        planned = json.loads(ended.out)["products"][0]
        before = self.machine.state(keep="planned")
        self.assertEqual(self.run_sweep("uninstall", "-y", "Anvil").code, 0)
        gone = before.places.keys() - self.machine.state().places.keys()
        items = [item for stage in planned["stages"] for item in stage["items"]]
        folders = [item["name"] for item in items if item["kind"] == "folder" and item["state"] == "present"]
        self.assertEqual(folders, ["C:\\Program Files\\Smithy\\Anvil"])
        below = [place for place in gone if is_in(place, "C:/Program Files/Smithy/Anvil")]
        contents = next(item for item in items if item["name"] == folders[0])["contents"]
        self.assertEqual(contents["folders"] + contents["files"], len(below))
        self.assertEqual({item["user"] for item in items if item["state"] == "in use"}, {"Bellows"})
        self.assertFalse([place for place in gone if is_in(place, family.SHARED_FOLDER)])


if __name__ == "__main__":
    pyreport.main("machine_plan", REPORTS)
