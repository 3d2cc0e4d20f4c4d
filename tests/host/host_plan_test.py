"""prodsweep plan: what it says of a removal, and that a saved plan holds only for the machine that it was made on."""
import json
import re
import os
import subprocess
import time
import unittest
from xml.sax.saxutils import quoteattr

from windows import BUILD, Installation, REPORTS, ROOT, UserKey, product, run, windows_path

import pyreport

REFUSED = 1603 % 256


def section(op_code, *entries):
    return f"<s op_code='{op_code}' minimum_score='1'>{''.join(entries)}</s>"


def entry(**attributes):
    return "<e " + " ".join(f"{name}={quoteattr(value)}" for name, value in attributes.items()) + "/>"


def descriptor(*sections):
    return ("<uninstall_information><version_list><v1/></version_list><v1><install_folder name='none'/>"
            f"<win_nt>{''.join(sections)}</win_nt></v1></uninstall_information>")


def wait_for_start(tool):
    """The tool tells by a file beside it that it runs."""
    for _ in range(300):
        if tool.with_name(tool.name + ".started").exists():
            return
        time.sleep(0.1)
    raise RuntimeError(f"{tool.name} does not run")


class Planned(unittest.TestCase):
    planned = ["Anvil"]

    def setUp(self):
        self.host = Installation("plan")
        self.addCleanup(self.host.close)
        self.key = UserKey("plan")
        self.marked = False

    def mark(self, key):
        if not self.marked:
            self.addCleanup(self.key.close)
        self.marked = True
        self.key.add_version(key)

    def path(self, name):
        return self.host.path(name.replace("/", "\\"))

    def install(self, name, *sections, folder="intern"):
        self.mark(name)
        mark = section("del_regkey", entry(name=f"{self.key.path}\\{name}"))
        self.host.write(f"{folder}/{name}.xml", descriptor(*sections, mark))

    def catalogue(self, *names, other=(), head=""):
        elements = [product(name, self.key.version("1", name), file=f"{name}.xml") for name in names]
        self.host.catalogues(own=[head, *elements], other=[
            product(name, self.key.version("1", name), file=f"{name}.xml") for name in other])

    def anvil(self, *sections):
        """One product beside another, so that it is not the last of its family."""
        self.install("Anvil", *sections)
        self.install("Bellows")
        self.catalogue("Anvil", "Bellows")

    def forced(self, *sections):
        """One product that is not installed, and planned by force all the same: that takes less time."""
        self.host.write("intern/Anvil.xml", descriptor(*sections))
        self.host.catalogues(own=[product("Anvil", file="Anvil.xml")])

    def plan(self, *arguments):
        ended = self.host.run("plan", *(arguments or self.planned), "--json")
        self.assertEqual((ended.code, ended.err_text()), (0, ""))
        return json.loads(ended.out_text())

    def items(self, stage, plan=None, place=0):
        stages = (plan or self.plan())["products"][place]["stages"]
        return [item for found in stages if found["stage"] == stage for item in found["items"]]

    def states(self, stage, **options):
        return [(item["name"], item["state"]) for item in self.items(stage, **options)]


class Items(Planned):
    planned = ["Anvil", "--force"]

    def test_folder_is_counted_with_all_that_is_in_it(self):
        for name in ["app/a.txt", "app/deep/b.txt", "app/deep/deeper/c.txt"]:
            self.host.write(name, "12345")
        self.forced(section("del_folder", entry(name=self.path("app"))))
        item = self.items("folders")[0]
        self.assertEqual(item["state"], "present")
        self.assertEqual([item["contents"][name] for name in ["folders", "files", "bytes"]], [3, 3, 15])

    def test_what_is_not_there_is_absent(self):
        self.forced(section("del_folder", entry(name=self.path("none"))), section("del_file", entry(name=self.path("x"))),
                   section("kill_process", entry(target_name="no such.exe")),
                   section("disableandstop_service", entry(name="No such")),
                   section("del_regvalue", entry(key_path="HKCU\\Software\\none", name="x")),
                   section("del_shortcut", entry(path=self.path("no menu"), target_name="x.exe")))
        plan = self.plan()
        for stage in ["folders", "files", "processes", "stopping services", "disabling services", "registry values",
                      "shortcuts"]:
            with self.subTest(stage):
                self.assertEqual([state for _, state in self.states(stage, plan=plan)], ["absent"])

    def test_folder_with_things_in_use_keeps_what_is_around_them(self):
        for name in ["app/own.txt", "app/shared/common.txt", "app/other/own.txt"]:
            self.host.write(name, "x")
        self.install("Anvil", section("del_folder", entry(name=self.path("app"))))
        self.install("Bellows", section("del_file", entry(name=self.path("app/shared/common.txt"))))
        self.catalogue("Anvil", "Bellows")
        item = self.items("folders")[0]
        self.assertEqual(item["state"], "partly in use")
        self.assertEqual([item["contents"][name] for name in ["folders", "files", "inUse"]], [1, 2, 1])
        self.assertEqual([(part["name"], part["state"], part["user"]) for part in item["parts"]],
                         [(self.path("app/shared/common.txt"), "in use", "Bellows")])

    def test_key_with_things_in_use_keeps_what_is_around_them(self):
        self.mark("Anvil\\deep")
        self.install("Anvil")
        self.install("Bellows", section("del_regkey", entry(name=f"{self.key.path}\\Anvil\\deep")))
        self.catalogue("Anvil", "Bellows")
        item = self.items("registry keys")[0]
        self.assertEqual((item["state"], item["contents"]["keys"], item["contents"]["inUse"]), ("partly in use", 1, 1))

    def test_pruned_names_say_by_which_and_whether_they_stay(self):
        for name in ["app/deep/a.txt", "apple/b.txt"]:
            self.host.write(name, "x")
        self.forced(section("del_folder", *(entry(name=self.path(name)) for name in ["app", "app/deep", "apple"])))
        plan = self.plan()
        pruned = [item for item in self.items("folders", plan=plan) if item["state"] == "pruned"]
        self.assertEqual([(item["name"], item["by"], item["reason"]) for item in pruned], [
            (self.path("app/deep"), self.path("app"), "it lies below that one"),
            (self.path("apple"), self.path("app"), "its name just begins alike, so it stays")])
        self.assertEqual([warning["item"] for warning in plan["warnings"]], [self.path("apple")])

    def test_what_the_plan_prunes_is_what_the_removal_leaves(self):
        for name in ["app/deep/a.txt", "apple/b.txt"]:
            self.host.write(name, "x")
        self.anvil(section("del_folder", *(entry(name=self.path(name)) for name in ["app", "app/deep", "apple"])))
        self.assertEqual(self.host.run("uninstall", "-y", "Anvil").code, 0)
        self.assertEqual([(self.host.folder / name).exists() for name in ["app", "apple"]], [False, True])

    def test_file_below_a_folder_goes_with_it(self):
        self.host.write("app/a.txt", "x")
        self.forced(section("del_folder", entry(name=self.path("app"))),
                   section("del_file", entry(name=self.path("app/a.txt"))))
        plan = self.plan()
        item = self.items("files", plan=plan)[0]
        self.assertEqual((item["state"], item["by"]), ("goes with", self.path("app")))
        self.assertEqual(plan["total"]["files"], 1)

    def test_key_search_without_a_plain_item_never_runs(self):
        self.forced(section("del_regkey", entry(name=self.key.path, data_str="x")))
        plan = self.plan()
        item = self.items("registry keys", plan=plan)[0]
        self.assertEqual((item["kind"], item["state"]), ("key search", "skipped"))
        self.assertIn("never runs", plan["warnings"][0]["text"])

    def test_key_search_finds_what_it_would_delete(self):
        self.mark("found\\here")
        self.anvil(section("del_regkey", entry(name=f"{self.key.path}\\found", data_str="x", complete_str="yes")))
        item = self.items("registry keys")[0]
        self.assertEqual((item["kind"], item["state"], item["detail"]), ("key search", "present",
                                                                         'values equal to "x"'))
        self.assertEqual([part["name"] for part in item["parts"]], [f"{self.key.path}\\found\\here\\UpdateLocation"])

    def test_pattern_of_values_lists_what_it_matches(self):
        for name in ["Anvil one", "Anvil two", "Other"]:
            run("reg", "add", self.key.path, "/v", name, "/d", "x", "/f")
        self.anvil(section("del_regvalue", entry(key_path=self.key.path, name="Anvil*")))
        item = self.items("registry values")[0]
        self.assertEqual(sorted(part["name"] for part in item["parts"]), ["Anvil one", "Anvil two"])
        self.assertEqual(item["contents"]["values"], 2)

    def test_pattern_with_a_star_inside_fails(self):
        self.forced(section("del_regvalue", entry(key_path="HKCU\\Software", name="An*vil")))
        self.assertEqual(self.states("registry values"), [("HKCU\\Software", "fails")])

    def test_entries_at_fault_say_what_is_missing(self):
        self.forced(section("del_file", entry(path="no_folder", name="x"), entry(path="windows_folder")),
                   section("kill_process", entry(name="x")), section("disable_service", "<e/>"),
                   section("exec_tool", entry(tool_name="x.exe", os="x32")))
        plan = self.plan()
        reasons = [[item["reason"] for item in self.items(stage, plan=plan)]
                   for stage in ["files", "processes", "disabling services", "tools"]]
        self.assertEqual(reasons, [['the folder "no_folder" is not known', "it has no name"],
                                   ["it has no target_name"], ["it has no name"], ["it is meant for 32-bit systems"]])

    def test_tools_and_functions_say_whether_they_are_there(self):
        self.host.write("tools/there.exe", "x")
        self.forced(section("exec_tool", entry(tool_name="tools\\there.exe", cmd_line="/q", wait="yes"),
                           entry(tool_name="tools\\there", cmd_line=""), entry(tool_name="none.exe"),
                           entry(module="none.dll", method_name="Clean")))
        self.assertEqual([(item["name"], item["state"], item["detail"]) for item in self.items("tools")], [
            (f"{self.path('none.dll')} Clean", "fails", None),
            (f'"{self.path("tools/there.exe")}" /q', "present", "waited for"),
            (f'"{self.path("tools/there")}" ', "present", "not waited for"),
            (f'"{self.path("none.exe")}" ', "fails", "not waited for")])

    def test_tool_that_is_not_waited_for_and_deleted_is_warned_of(self):
        self.host.write("app/clean.exe", "x")
        self.forced(section("exec_tool", entry(tool_name="app\\clean.exe")),
                   section("del_folder", entry(name=self.path("app"))))
        self.assertIn("not waited for", self.plan()["warnings"][0]["text"])

    def test_tool_that_an_earlier_product_deletes_fails(self):
        self.host.write("shared/clean.exe", "x")
        self.install("Anvil", section("del_folder", entry(name=self.path("shared"))))
        self.install("Bellows", section("exec_tool", entry(tool_name="shared\\clean.exe", wait="yes")))
        self.catalogue("Anvil", "Bellows")
        item = self.items("tools", plan=self.plan("--all-installed", "--kind", "own"), place=1)[0]
        self.assertEqual((item["state"], item["by"]), ("fails", self.path("shared")))

    def test_files_marked_for_the_restart(self):
        self.forced(section("del_file", entry(path="windows_folder", name="#####win.ini"),
                           entry(path="windows_folder", name="#####no such.ini")))
        plan = self.plan()
        self.assertEqual(self.states("restart", plan=plan),
                         [("C:\\windows\\win.ini", "at restart"), ("C:\\windows\\no such.ini", "absent")])
        self.assertTrue(plan["restart"])

    def test_restart_that_an_entry_asks_for(self):
        self.forced(section("del_file", entry(name=self.path("none"), restart_required="yes")))
        plan = self.plan()
        self.assertEqual((plan["products"][0]["asksRestart"], plan["restart"]), (True, True))

    def test_links_are_told_with_where_they_lead_and_counted_as_what_they_hold(self):
        self.host.write("elsewhere/a.txt", "x")
        self.host.write("app/own.txt", "x")
        (self.host.folder / "app" / "link").symlink_to(self.host.folder / "elsewhere")
        self.forced(section("del_folder", entry(name=self.path("app"))))
        item = self.items("folders")[0]
        self.assertEqual([(part["kind"], part["name"], part["leadsTo"]) for part in item["parts"]],
                         [("link", self.path("app/link"), self.path("elsewhere"))])
        self.assertEqual([item["contents"][name] for name in ["files", "links"]], [2, 1])

    def test_links_that_lead_in_a_circle_end(self):
        self.host.write("app/own.txt", "x")
        for name in ["one", "two"]:
            (self.host.folder / "app" / name).symlink_to(self.host.folder / "app")
        self.forced(section("del_folder", entry(name=self.path("app"))))
        plan = self.plan()
        contents = self.items("folders", plan=plan)[0]["contents"]
        self.assertEqual([contents[name] for name in ["folders", "files", "links", "complete"]], [1, 1, 2, True])
        for warning, name in zip(plan["warnings"], ["one", "two"], strict=True):
            self.assertIn(self.path(f"app/{name}") + '" in it leads round in a circle', warning["text"])

    def test_what_a_link_to_the_folder_above_leads_to_is_counted(self):
        self.host.write("app/beside.txt", "x")
        self.host.write("app/deep/own.txt", "x")
        (self.host.folder / "app" / "deep" / "link").symlink_to(self.host.folder / "app")
        self.forced(section("del_folder", entry(name=self.path("app/deep"))))
        # Its own file under both names.
        self.assertEqual(self.items("folders")[0]["contents"]["files"], 3)

    def test_links_that_lead_to_each_other_end(self):
        for name, other in [("app/a", "app/b"), ("app/b", "app/a")]:
            self.host.write(f"{name}/own.txt", "x")
            (self.host.folder / name / "link").symlink_to(self.host.folder / other)
        self.forced(section("del_folder", entry(name=self.path("app/a"))))
        self.assertEqual(self.items("folders")[0]["contents"]["files"], 2)

    def test_link_to_a_folder_beside_it_is_no_circle(self):
        self.host.write("app/deep/deeper/own.txt", "x")
        (self.host.folder / "app" / "link").symlink_to(self.host.folder / "app" / "deep")
        self.forced(section("del_folder", entry(name=self.path("app"))))
        plan = self.plan()
        self.assertEqual((plan["warnings"], self.items("folders", plan=plan)[0]["contents"]["files"]), ([], 2))

    def plan_while_held_runs(self, *sections):
        """The plan while "app/held.exe", in a folder that is to go, runs."""
        program = self.host.add_file("app/held.exe", REPORTS / "tool.exe")
        self.host.write("app/free.txt", "x")
        self.forced(section("del_folder", entry(name=self.path("app"))), *sections)
        held = subprocess.Popen([ROOT / "cmake" / "wine", windows_path(program), "linger"], stdin=subprocess.DEVNULL,
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, cwd=BUILD)
        try:
            wait_for_start(program)
            return self.plan(*self.planned, "--html", self.path("plan.html"))
        finally:
            run("taskkill", "/f", "/im", "held.exe")
            held.wait()

    def test_running_program_waits_for_the_restart(self):
        plan = self.plan_while_held_runs()
        parts = self.items("folders", plan=plan)[0]["parts"]
        self.assertEqual([(part["name"], part["state"]) for part in parts], [(self.path("app/held.exe"), "at restart")])
        self.assertTrue(plan["restart"])
        self.assertEqual(plan["total"]["atRestart"], 1)
        # Items, dealt with, at restart: the folder goes, but for the file that waits.
        self.assertIn("folders</th><td>1</td><td>1</td><td>1</td>",
                      (self.host.folder / "plan.html").read_text(encoding="utf-8"))
        self.assertEqual(self.items("folders")[0]["parts"], [])

    def test_running_program_that_is_ended_first_goes_at_once(self):
        plan = self.plan_while_held_runs(section("kill_process", entry(target_name="HELD.exe")))
        self.assertEqual(self.items("processes", plan=plan)[0]["detail"], "1 runs")
        self.assertEqual(self.items("folders", plan=plan)[0]["parts"], [])
        self.assertFalse(plan["restart"])


class Truth(Planned):
    """The plan is made, then carried out: each says the same."""
    planned = ["Anvil"]

    def carry_out(self):
        ended = self.host.run("uninstall", "Anvil", "--yes", "--json")
        return json.loads(ended.out_text())

    def test_name_that_no_file_can_have_fails_and_asks_for_a_restart(self):
        log = self.host.write("app/a.log", "x")
        self.anvil(section("del_file", entry(name=self.path("app/*.log"))))
        plan = self.plan()
        self.assertEqual(self.states("files", plan=plan), [(self.path("app/*.log"), "fails")])
        self.assertIn("wildcard", plan["warnings"][0]["text"])
        self.assertEqual((plan["restart"], self.carry_out()["restart"], log.exists()), (True, True, True))

    def test_marked_file_asks_for_a_restart_though_its_folder_takes_it_along(self):
        run("reg", "add", self.key.path, "/v", "Folder", "/d", self.path("app"), "/f")
        self.host.write("app/a.txt", "x")
        self.anvil(section("del_folder", entry(path="app_path")),
                   section("del_file", entry(path="app_path", name="#####a.txt")))
        own = self.host.folder / "intern" / "Anvil.xml"
        own.write_text(own.read_text().replace("<install_folder name='none'/>",
                                               f"<app_path key='{self.key.path}' name='Folder'/>"))
        plan = self.plan()
        self.assertEqual(self.states("restart", plan=plan), [(self.path("app/a.txt"), "goes with")])
        self.assertEqual((plan["restart"], self.carry_out()["restart"]), (True, True))

    def test_folder_with_circles_goes_but_for_them_and_asks_for_a_restart(self):
        file = self.host.write("app/a.txt", "x")
        for name in ["one", "two"]:
            (self.host.folder / "app" / name).symlink_to(self.host.folder / "app")
        self.anvil(section("del_folder", entry(name=self.path("app"))))
        self.assertEqual((self.plan()["restart"], self.carry_out()["restart"]), (True, True))
        self.assertFalse(file.exists())

    def test_what_a_link_to_the_folder_above_leads_to_goes(self):
        files = [self.host.write(f"app/{name}", "x") for name in ["beside.txt", "deep/own.txt"]]
        (self.host.folder / "app" / "deep" / "link").symlink_to(self.host.folder / "app")
        self.anvil(section("del_folder", entry(name=self.path("app/deep"))))
        self.assertEqual((self.plan()["restart"], self.carry_out()["restart"]), (True, True))
        self.assertEqual([file.exists() for file in files], [False, False])

    def test_file_that_goes_with_a_folder_of_which_something_stays_is_counted_once(self):
        files = [self.host.write(f"app/{name}", "x") for name in ["a.txt", "deep/b.txt", "deep/kept.txt"]]
        self.install("Anvil", section("del_folder", entry(name=self.path("app"))),
                     section("del_file", *(entry(name=self.path(f"app/{name}")) for name in
                                           ["a.txt", "deep/b.txt", "deep/kept.txt"])))
        self.install("Bellows", section("del_file", entry(name=self.path("app/deep/kept.txt"))))
        self.catalogue("Anvil", "Bellows")
        plan = self.plan()
        self.assertEqual([state for _, state in self.states("files", plan=plan)], ["goes with", "goes with", "in use"])
        self.carry_out()
        self.assertEqual([file.exists() for file in files], [False, False, True])
        self.assertEqual(plan["total"]["files"], 2)

    def test_shortcut_that_is_named_itself_goes(self):
        link = self.host.write("menu/Anvil.lnk", "x")
        self.anvil(section("del_shortcut", entry(path=self.path("menu/Anvil.lnk"), target_name="anvil.exe")))
        self.assertEqual(self.states("shortcuts"), [(self.path("menu/Anvil.lnk"), "present")])
        self.carry_out()
        self.assertFalse(link.exists())

    def test_shortcuts_whose_place_goes_first_are_a_failure(self):
        self.host.write("app/menu/a.txt", "x")
        self.anvil(section("del_folder", entry(name=self.path("app"))),
                   section("del_shortcut", entry(path=self.path("app/menu"), target_name="anvil.exe"),
                           entry(path=self.path("app/menu/a.txt"), target_name="anvil.exe")))
        for item in self.items("shortcuts"):
            self.assertEqual((item["state"], item["by"]), ("goes with", self.path("app")))
            self.assertIn("failure of the stage", item["reason"])
        events = {event["stage"]: event["done"] for event in self.carry_out()["products"][0]["events"]}
        self.assertEqual(events["shortcuts"], False)

    def test_missing_place_of_shortcuts_that_stays_in_use_is_no_failure(self):
        places = [self.path("no menu"), self.path("nor this")]
        self.install("Anvil", *(section("del_shortcut", entry(path=place, target_name="anvil.exe")) for place in places))
        self.install("Bellows", section("del_shortcut", entry(path=places[1], target_name="bellows.exe")))
        self.catalogue("Anvil", "Bellows")
        reasons = {item["name"]: item["reason"] for item in self.items("shortcuts")}
        self.assertEqual(reasons, {places[0]: "its place is not there, which counts as a failure of the stage",
                                   places[1]: "its place is not there"})
        self.install("Anvil", section("del_shortcut", entry(path=places[1], target_name="anvil.exe")))
        events = {event["stage"]: event["done"] for event in self.carry_out()["products"][0]["events"]}
        self.assertEqual(events["shortcuts"], True)

    def test_key_search_is_what_the_keys_are_that_it_finds(self):
        for name in ["used", "own"]:
            run("reg", "add", f"{self.key.path}\\{name}", "/v", "is", "/d", name, "/f")
        self.install("Anvil", section("del_regkey", *(entry(name=f"{self.key.path}\\{name}", data_str=text) for name, text
                                                      in [("own", "own"), ("own", "ow"), ("own", "no"), ("used", "used")])))
        self.install("Bellows", section("del_regkey", entry(name=f"{self.key.path}\\used")))
        self.catalogue("Anvil", "Bellows")
        searches = {item["detail"]: item for item in self.items("registry keys") if item["kind"] == "key search"}
        self.assertEqual({detail: item["state"] for detail, item in searches.items()},
                         {'values that hold "no"': "absent", 'values that hold "ow"': "goes with",
                          'values that hold "own"': "present", 'values that hold "used"': "in use"})
        self.carry_out()
        self.assertEqual([run("reg", "query", f"{self.key.path}\\{name}").code for name in ["own", "used"]], [1, 0])


class Selection(Planned):
    def test_products_that_stay_are_asked(self):
        self.anvil()
        self.assertEqual([asked["name"] for asked in self.plan()["products"][0]["asked"]], ["Bellows"])

    def test_what_the_first_takes_out_of_the_seconds_is_counted_once(self):
        self.host.write("app/deep/a.txt", "abc")
        self.addCleanup(self.key.close)
        for key, value in [("deep", "inner"), ("", "outer"), ("", "other")]:
            run("reg", "add", f"{self.key.path}\\{key}".rstrip("\\"), "/v", value, "/d", "x", "/f")
        self.host.write("intern/Anvil.xml", descriptor(
            section("del_folder", entry(name=self.path("app/deep"))),
            section("del_regkey", entry(name=f"{self.key.path}\\deep")),
            section("del_regvalue", entry(key_path=self.key.path, name="outer"))))
        self.host.write("intern/Bellows.xml", descriptor(
            section("del_folder", entry(name=self.path("app"))), section("del_regkey", entry(name=self.key.path))))
        self.host.catalogues(own=[product(name, file=f"{name}.xml") for name in ["Anvil", "Bellows"]])
        total = self.plan("Anvil", "Bellows", "--force")["total"]
        self.assertEqual({count: total[count] for count in ["folders", "files", "bytes", "keys", "values"]},
                         {"folders": 2, "files": 1, "bytes": 3, "keys": 2, "values": 3})
        ended = self.host.run("uninstall", "--yes", "Anvil", "Bellows", "--force", "--max-files", "1", "--max-keys", "2")
        self.assertEqual((ended.code, ended.err_text()), (0, ""))
        self.assertEqual(((self.host.folder / "app").exists(), run("reg", "query", self.key.path).code), (False, 1))

    def test_second_of_two_names_goes_when_the_first_is_gone(self):
        for name in ["Anvil", "Bellows", "Chisel"]:
            self.install(name)
        self.catalogue("Anvil", "Bellows", "Chisel")
        plan = self.plan("Anvil", "Bellows")
        self.assertEqual([[asked["name"] for asked in planned["asked"]] for planned in plan["products"]],
                         [["Bellows", "Chisel"], ["Chisel"]])

    def test_last_of_the_family_runs_the_whole_catalogue_if_it_says_so(self):
        self.install("Anvil")
        self.host.write("intern/Absent.xml", descriptor())
        for head, expected in [("", [("Anvil", "chosen"), ("Absent", "clean-up")]),
                               ("<exec_all>false</exec_all>", [("Anvil", "chosen")])]:
            with self.subTest(head):
                self.catalogue("Anvil", "Absent", head=head)
                self.assertEqual([(planned["name"], planned["why"]) for planned in self.plan()["products"]], expected)

    def test_other_makers_products_protect_nothing_and_that_is_warned_of(self):
        self.host.write("shared/common.txt", "x")
        shared = section("del_folder", entry(name=self.path("shared")))
        for name in ["Cooper", "Dyer"]:
            self.install(name, shared, folder="extern")
        self.catalogue(other=["Cooper", "Dyer"])
        plan = self.plan("Cooper")
        self.assertEqual(self.states("folders", plan=plan), [(self.path("shared"), "present")])
        self.assertIn('"Dyer"', plan["warnings"][0]["text"])

    def test_product_that_is_not_installed_is_left_alone_unless_forced(self):
        self.anvil()
        self.host.write("intern/Absent.xml", descriptor())
        self.catalogue("Anvil", "Bellows", "Absent")
        plan = self.plan("Absent")
        self.assertEqual((plan["products"], plan["notInstalled"]), ([], ["Absent"]))
        self.assertEqual([planned["name"] for planned in self.plan("Absent", "--force")["products"]], ["Absent"])

    def test_missing_descriptors_are_told(self):
        for name in ["Anvil", "Bellows"]:
            self.mark(name)
        self.catalogue("Anvil", "Bellows")
        plan = self.plan()
        self.assertEqual(plan["products"][0]["fault"], "it is missing")
        self.assertEqual([warning["product"] for warning in plan["warnings"]], ["Bellows", "Anvil"])

    def test_unknown_name_and_bad_options_end_as_with_uninstall(self):
        self.anvil()
        for arguments, code in [(["Nothing"], 1605 % 256), ([], 87), (["--all-installed"], 87),
                                (["Anvil", "--force-all", "--kind", "own"], 87), (["Anvil", "--library", ""], 87)]:
            with self.subTest(arguments):
                ended = self.host.run("plan", *arguments)
                self.assertEqual(ended.code, code)
                self.assertRegex(ended.err_text(), r"\Aprodsweep: [^\n]+\n\Z")
        self.assertEqual(self.host.run("plan", "Nothing").err_text(), 'prodsweep: "Nothing" is in no catalogue.\n')

    def test_library_elsewhere_completes_paths_of_tools_by_its_own_folder(self):
        self.host.write("tools/clean.exe", "x")
        self.host.write("tools/clean.dll", "x")
        self.anvil(section("exec_tool", entry(tool_name="tools\\clean.exe", wait="yes"),
                           entry(module="tools\\clean.dll", method_name="Clean")))
        other = Installation("plan-caller", library=None)
        self.addCleanup(other.close)
        ended = other.run("plan", "Anvil", "--json", "--library", self.host.path("prodsweep.dll"))
        plan = json.loads(ended.out_text())
        self.assertEqual(self.states("tools", plan=plan), [(f"{self.path('tools/clean.dll')} Clean", "present"),
                                                           (f'"{self.path("tools/clean.exe")}" ', "present")])
        self.assertEqual(self.states("tools", plan=plan), self.states("tools"))

    def test_text_of_the_plan_names_what_would_be_done_besides_deleting(self):
        self.host.write("tools/there.exe", "x")
        self.forced(section("exec_tool", entry(tool_name="tools\\there.exe"), entry(tool_name="tools\\there.exe", cmd_line="/x"),
                            entry(path="windows_system", module="kernel32.dll", method_name="GetTickCount")))
        text = self.host.run("plan", "Anvil", "--force").out_text()
        self.assertTrue(text.endswith("\nIn all: nothing would be deleted; 1 function would be called, 2 tools would be run.\n"),
                        text)

    def test_restart_is_told_with_what_it_is_for(self):
        self.forced(section("del_file", entry(name=self.path("none"), restart_required="yes"),
                            entry(name=self.path("*.log"))))
        text = self.host.run("plan", "Anvil", "--force").out_text()
        self.assertTrue(text.endswith(f"""\
In all: nothing would go.
A restart of the machine would be needed to finish, for:
  Anvil: the entry name="{self.path('none')}" restart_required="yes"
  Anvil: {self.path('*.log')}
"""), text)
        self.assertEqual(self.plan("Anvil", "--force")["products"][0]["restartFor"],
                         [f'the entry name="{self.path("none")}" restart_required="yes"', self.path("*.log")])

    def test_danger_is_told_once_and_in_the_words_of_the_refusal(self):
        self.forced(section("del_folder", entry(name="C:\\users\\Public")))
        text = self.host.run("plan", "Anvil", "--force").out_text()
        self.assertIn("      present: it must not go, so it was not looked into\n", text)
        danger = re.search("^DANGER: (.*)$", text, re.MULTILINE)[1]
        self.assertEqual(danger, '"C:\\users\\Public" of "Anvil" is a user\'s profile')
        self.assertIn(danger, self.host.run("uninstall", "-y", "Anvil", "--force").err_text())

    def test_text_says_it_all_in_lines(self):
        self.host.write("app/a.txt", "x")
        self.host.write("shared/common.txt", "x")
        self.install("Anvil", section("del_folder", *(entry(name=self.path(name)) for name in ["app", "shared"])))
        self.install("Bellows", section("del_folder", entry(name=self.path("shared"))))
        self.catalogue("Anvil", "Bellows")
        self.assertEqual(self.host.run("plan", "Anvil").out_text(), f"""\
Anvil (kind own)
  Bellows stays and is asked what it uses
  folders
    {self.path('app')}
      present (1 folder, 1 file of 1 byte)
    {self.path('shared')}
      in use by Bellows
  registry keys
    {self.key.path}\\Anvil
      present (2 keys, 1 value)

In all: 1 folder, 1 file of 1 byte, 2 keys, 1 value, 1 stays in use.
""")


class Files(Planned):
    """What --html and --save are written to."""

    def setUp(self):
        super().setUp()
        self.forced()

    def assert_refused(self, *arguments, **options):
        ended = self.host.run("plan", "Anvil", *arguments, **options)
        self.assertEqual((ended.code, ended.out), (87, b""))
        self.assertRegex(ended.err_text(), r"\Aprodsweep: [^\n]+\.\n\Z")
        return ended.err_text()

    def test_page_and_saved_plan_in_one_file_are_refused_however_it_is_spelt(self):
        (self.host.folder / "real").mkdir()
        (self.host.folder / "linked").symlink_to(self.host.folder / "real")
        for page, saved in [("same.txt", "same.txt"), ("same.txt", "SAME.TXT"), ("same.txt", self.path("same.txt")),
                            ("same.txt", "real\\..\\same.txt"), ("real\\same.txt", "linked\\same.txt")]:
            with self.subTest(page=page, saved=saved):
                self.assertIn("same file", self.assert_refused("--html", page, "--save", saved, cwd=self.host.folder))
                self.assertEqual(list(self.host.folder.rglob("same.txt")), [])

    def test_log_in_a_file_of_another_option_is_refused_and_the_file_is_kept(self):
        self.host.add_file("log.dll", BUILD / "bin" / "log.dll")
        self.host.write("kept.txt", "kept")
        for command in [("plan", "Anvil", "--save"), ("plan", "Anvil", "--html"), ("uninstall", "--yes", "--plan")]:
            with self.subTest(command):
                ended = self.host.run(*command, self.path("kept.txt"), "--log", self.path("KEPT.txt"))
                self.assertEqual((ended.code, ended.out), (87, b""))
                self.assertEqual(ended.err_text(), f"prodsweep: {command[-1]} and --log name the same file, "
                                                   f"\"{self.path('KEPT.txt')}\"; say two.\n")
                self.assertEqual((self.host.folder / "kept.txt").read_text(encoding="utf-8"), "kept")

    def test_page_and_saved_plan_beside_each_other_are_written(self):
        ended = self.host.run("plan", "Anvil", "--html", self.path("a.html"), "--save", self.path("a.json"))
        self.assertEqual((ended.code, ended.err_text()), (0, ""))
        self.assertTrue((self.host.folder / "a.html").exists() and (self.host.folder / "a.json").exists())

    def test_files_of_prodsweep_are_not_written_over(self):
        self.host.add_file("log.dll", BUILD / "bin" / "log.dll")
        for option, name in [("--save", "products.xml"), ("--html", "detection.xml"), ("--save", "intern/Anvil.xml"),
                             ("--html", "extern/new.xml"), ("--save", "prodsweep.dll"), ("--html", "PRODSWEEP.EXE"),
                             ("--save", "log.dll"), ("--html", "x/../Products.XML"), ("--log", "log.ini")]:
            with self.subTest(option, name=name):
                before = {path: path.read_bytes() for path in self.host.folder.rglob("*") if path.is_file()}
                sentence = self.assert_refused(option, self.path(name))
                self.assertIn(f'{option} cannot write to "{self.path(name)}": it is one of prodsweep\'s own files', sentence)
                after = {path: path.read_bytes() for path in self.host.folder.rglob("*") if path.is_file()}
                self.assertEqual(after, before)

    def test_files_of_a_library_elsewhere_are_not_written_over_either(self):
        self.host.add_file("lib/prodsweep.dll", self.host.folder / "prodsweep.dll")
        for name in ["products.xml", "detection.xml"]:
            self.host.write(f"lib/{name}", (self.host.folder / name).read_text(encoding="utf-8"))
        self.host.add_file("log.dll", BUILD / "bin" / "log.dll")
        for name in ["lib/products.xml", "products.xml"]:
            before = (self.host.folder / name).read_bytes()
            for option in ["--save", "--html", "--log"]:
                with self.subTest(option, name=name):
                    self.assert_refused(option, self.path(name), "--library", self.path("lib/prodsweep.dll"))
                    self.assertEqual((self.host.folder / name).read_bytes(), before)

    def test_log_of_any_command_is_not_written_over_the_librarys_catalogue(self):
        catalogue = self.host.write("lib/products.xml", "<uninstall_information/>")
        library = self.path("lib/prodsweep.dll")
        for command in [("list",), ("explain", "Anvil"), ("plan", "Anvil"), ("uninstall", "--yes", "Anvil"), ("pending",)]:
            with self.subTest(command):
                ended = self.host.run(*command, "--library", library, "--log", self.path("lib/products.xml"))
                self.assertEqual((ended.code, ended.out), (87, b""))
                self.assertEqual(catalogue.read_text(encoding="utf-8"), "<uninstall_information/>")

    def test_empty_name_of_a_file_is_told_with_its_option(self):
        for command in [("plan", "Anvil", "--save"), ("plan", "Anvil", "--html"), ("uninstall", "--plan"), ("list", "--log")]:
            with self.subTest(command):
                ended = self.host.run(*command, "")
                self.assertEqual((ended.code, ended.err_text()), (87, f"prodsweep: {command[-1]} needs a file.\n"))

    def test_folder_of_prodsweep_is_told_to_be_no_file(self):
        for option in ["--save", "--log"]:
            with self.subTest(option):
                self.host.add_file("log.dll", BUILD / "bin" / "log.dll") if option == "--log" else None
                ended = self.host.run("plan", "Anvil", option, self.path(""))
                self.assertEqual(ended.code, 29, ended)


class Saved(Planned):
    def setUp(self):
        super().setUp()
        self.host.write("app/a.txt", "x")
        self.anvil(section("del_folder", entry(name=self.path("app"))))
        ended = self.host.run("plan", "Anvil", "--save", self.path("saved.json"))
        self.assertEqual((ended.code, ended.err_text()), (0, ""))
        self.saved = self.host.folder / "saved.json"

    def uninstall(self, *arguments):
        return self.host.run("uninstall", "-y", "--plan", self.path("saved.json"), *arguments)

    def assert_refused(self, *words):
        ended = self.uninstall()
        self.assertEqual(ended.code, REFUSED, ended.err_text())
        self.assertRegex(ended.err_text(), r"\Aprodsweep: the machine is not as the plan [^\n]+; nothing was removed\.\n\Z")
        for word in words:
            self.assertIn(word, ended.err_text())
        self.assertTrue((self.host.folder / "app" / "a.txt").exists())

    def test_saved_plan_is_carried_out_on_the_same_machine(self):
        ended = self.uninstall()
        self.assertEqual((ended.code, ended.err_text()), (0, ""))
        self.assertFalse((self.host.folder / "app").exists())

    def test_program_that_ran_when_the_plan_was_made_is_no_drift(self):
        program = self.host.add_file("app/held.exe", REPORTS / "tool.exe")
        held = subprocess.Popen([ROOT / "cmake" / "wine", windows_path(program), "linger"], stdin=subprocess.DEVNULL,
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, cwd=BUILD)
        try:
            wait_for_start(program)
            self.host.run("plan", "Anvil", "--save", self.path("saved.json"))
        finally:
            run("taskkill", "/f", "/im", "held.exe")
            held.wait()
        self.assertIn('"at restart"', self.saved.read_text(encoding="utf-8"))
        ended = self.uninstall()
        self.assertEqual((ended.code, ended.err_text()), (0, ""))

    def test_new_file_is_drift(self):
        self.host.write("app/b.txt", "x")
        self.assert_refused('of "Anvil"', "would take 2 files, not 1")

    def test_changed_file_of_the_same_size_is_drift(self):
        time.sleep(0.01)
        self.host.write("app/a.txt", "y")
        self.assert_refused(self.path("app"), "something in it has changed")

    def test_replaced_tool_or_dll_is_drift_whatever_its_time(self):
        tools = [self.host.write(name, "x") for name in ["tools/clean.exe", "tools/clean.dll"]]
        self.host.write("intern/Anvil.xml", descriptor(
            section("del_folder", entry(name=self.path("app"))),
            section("exec_tool", entry(tool_name="tools\\clean", wait="yes"),
                    entry(module="tools\\clean.dll", method_name="Clean"))))
        for tool in tools:
            with self.subTest(tool.name):
                self.host.run("plan", "Anvil", "--save", self.path("saved.json"))
                before = tool.stat()
                tool.write_text("y", encoding="utf-8")
                os.utime(tool, ns=(before.st_atime_ns, before.st_mtime_ns))
                self.assert_refused(self.path("tools/clean"), "something in it has changed")

    def test_other_descriptor_is_drift(self):
        self.host.write("intern/Anvil.xml", descriptor(section("del_folder", entry(name=self.path("app")))))
        self.assert_refused('of "Anvil"', "descriptor")

    def test_new_value_is_drift(self):
        run("reg", "add", rf"{self.key.path}\Anvil", "/v", "new", "/d", "x", "/f")
        self.assert_refused(rf"{self.key.path}\Anvil", "would take 2 values, not 1")

    def test_other_catalogue_is_drift(self):
        self.catalogue("Anvil", "Bellows", "Chisel")
        self.assert_refused("the catalogue has changed")

    def test_product_that_went_is_drift(self):
        run("reg", "delete", rf"{self.key.path}\Bellows", "/f")
        self.assert_refused('of "Anvil", other products stay')

    def test_files_that_are_no_plan_of_this_program(self):
        whole = self.saved.read_text(encoding="utf-8")
        plan = json.loads(whole)
        cases = {
            "cut off": (whole[:len(whole) // 2], 13), "empty": ("", 13), "no JSON": ("<plan/>", 13),
            "other format": (json.dumps({**plan, "format": 2}), 13), "a number": ("1", 13), "a list": ("[]", 13),
            "other report": (json.dumps({"format": 1, "products": []}), 13),
            "without selection": (json.dumps({**plan, "selection": None}), 13),
            "products of another kind": (json.dumps({**plan, "products": [1]}), 13),
            "unknown kind": (json.dumps({**plan, "selection": {**plan["selection"], "kind": "mine"}}), 13),
            "no names": (json.dumps({**plan, "selection": {**plan["selection"], "names": []}}), 13),
            "the same name twice": (json.dumps({**plan, "selection": {**plan["selection"], "names": ["Anvil"] * 2}}), 13),
            "without products": (json.dumps({key: plan[key] for key in plan if key != "products"}), 13),
        }
        for name, (text, code) in cases.items():
            with self.subTest(name):
                self.saved.write_text(text, encoding="utf-8")
                ended = self.uninstall()
                self.assertEqual(ended.code, code)
                self.assertRegex(ended.err_text(), r"\Aprodsweep: [^\n]+\.\n\Z")
        self.saved.unlink()
        self.assertEqual(self.uninstall().code, 87)
        self.assertTrue((self.host.folder / "app" / "a.txt").exists())

    def test_plan_in_utf_16_is_refused_with_the_name_of_the_encoding(self):
        whole = self.saved.read_text(encoding="utf-8")
        for encoding in ["utf-16", "utf-16-le", "utf-16-be"]:
            with self.subTest(encoding):
                self.saved.write_bytes(whole.encode(encoding))
                ended = self.uninstall()
                self.assertEqual((ended.code, ended.err_text()), (
                    13, f'prodsweep: the plan "{self.path("saved.json")}" is UTF-16, and must be UTF-8, as --save writes '
                    'it.\n'))

    def test_plan_in_utf_8_with_its_mark_is_carried_out(self):
        self.saved.write_bytes(b"\xef\xbb\xbf" + self.saved.read_bytes())
        self.assertEqual(self.uninstall().code, 0)

    def test_product_that_was_named_twice_goes_once(self):
        self.host.run("plan", "Anvil", "Anvil", "--save", self.path("saved.json"))
        self.assertEqual(json.loads(self.saved.read_text(encoding="utf-8"))["selection"]["names"], ["Anvil"])
        self.assertEqual(self.uninstall().code, 0)

    def test_plan_says_what_is_removed_and_nothing_else_does(self):
        for arguments in [["Anvil"], ["--kind", "own"], ["--force"], ["--all-installed"], ["--force-all"]]:
            with self.subTest(arguments):
                self.assertEqual(self.uninstall(*arguments).code, 87)

    def test_plan_that_cannot_be_written_is_told(self):
        ended = self.host.run("plan", "Anvil", "--save", self.path("none/saved.json"))
        self.assertEqual(ended.code, 29)
        self.assertIn("saved.json", ended.err_text())


if __name__ == "__main__":
    pyreport.main("host_plan", REPORTS)
