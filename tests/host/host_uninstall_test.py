"""prodsweep uninstall: what it removes, what it says of it, and how it ends."""
import contextlib
import json
import os
import subprocess
import time
import unittest

from windows import BUILD, Installation, REPORTS, ROOT, UserKey, product, run, windows_path

import pyreport


def seen(code):
    """The exit code as the build host sees it: its processes end with eight bits."""
    return code % 256


def descriptor(sections):
    return ("<uninstall_information><version_list><v1/></version_list><v1><install_folder name='none'/>"
            f"<win_nt>{sections}</win_nt></v1></uninstall_information>")


def section(op_code, *entries):
    # With a minimum, since a section without one always counts as found.
    return f"<s op_code='{op_code}' minimum_score='1'>{''.join(entries)}</s>"


class Uninstalling(unittest.TestCase):
    """A folder with products whose marks lie below a key of the test's own."""

    def setUp(self):
        self.host = Installation("uninstall")
        self.addCleanup(self.host.close)
        self.key = UserKey("uninstall")
        self.addCleanup(self.key.close)

    def version(self, name):
        return self.key.version("1", name)

    def install(self, name, sections="", folder="intern", marks=True):
        """Puts the mark of a product on the machine, and its descriptor beside the library."""
        self.key.add_version(name)
        mark = section("del_regkey", f"<e name='{self.key.path}\\{name}'/>") if marks else ""
        self.host.write(f"{folder}/{name}.xml", descriptor(sections + mark))

    def catalogue(self, *names, other=()):
        self.host.catalogues(own=[product(name, self.version(name), file=f"{name}.xml") for name in names],
                             other=[product(name, self.version(name), file=f"{name}.xml") for name in other])

    def uninstall(self, *arguments):
        return self.host.run("uninstall", "--yes", *arguments)

    def installed(self):
        ended = self.host.run("list", "--installed", "--json")
        return [entry["name"] for entry in json.loads(ended.out_text())["products"]]

    def test_one_of_two_goes_and_what_the_other_uses_stays(self):
        for name in ["own/a.dll", "shared/common.dll"]:
            self.host.write(name, "x")
        own, shared = (section("del_folder", f"<e name='{self.host.path(name)}'/>") for name in ["own", "shared"])
        self.install("Anvil", own + shared)
        self.install("Bellows", shared)
        self.catalogue("Anvil", "Bellows")
        ended = self.uninstall("Anvil")
        self.assertEqual((ended.code, ended.err_text()), (0, ""))
        self.assertEqual(ended.out_text(), "Anvil: gone\n"
                         "  folders             done\n  registry keys       done\n  registry values     done\n"
                         f"  stays, in use by Bellows: folder {self.host.path('shared')}\n")
        self.assertEqual(self.installed(), ["Bellows"])
        self.assertFalse((self.host.folder / "own").exists())
        self.assertTrue((self.host.folder / "shared" / "common.dll").exists())

    def last_of_the_family(self):
        """The one that is installed, and one of which only a folder is left."""
        for name in ["own/a.dll", "left/over.txt"]:
            self.host.write(name, "x")
        self.install("Anvil", section("del_folder", f"<e name='{self.host.path('own')}'/>"))
        self.host.write("intern/Bellows.xml",
                        descriptor(section("del_folder", f"<e name='{self.host.path('left')}'/>")))
        self.catalogue("Anvil", "Bellows", "Chisel")

    def test_what_is_cleaned_up_with_the_last_of_the_family_is_told_apart(self):
        self.last_of_the_family()
        ended = self.uninstall("Anvil")
        self.assertFalse((self.host.folder / "left").exists())
        # The descriptor of the third is missing, and the library calls that a failure of the removal.
        self.assertEqual((ended.code, ended.out_text()), (
            seen(1603), "Anvil: gone (it is not found any more, though its removal reported a failure)\n"
            "  folders             done\n  registry keys       done\n  registry values     done\n"
            "Bellows: cleaned up with the last of kind own\n  folders             done\n"
            "Chisel: cleaned up with the last of kind own (its descriptor cannot be read; nothing was done)\n"))

    def test_json_tells_which_stages_belong_to_what_was_cleaned_up(self):
        self.last_of_the_family()
        report = json.loads(self.uninstall("--all-installed", "--kind", "own", "--json").out_text())
        self.assertEqual([(entry["name"], [event["stage"] for event in entry["events"]]) for entry in report["products"]],
                         [("Anvil", ["folders", "registry keys", "registry values"])])
        self.assertEqual(report["cleanedUp"], [
            {"name": "Bellows", "kind": "own", "descriptorRead": True, "events": [{"stage": "folders", "done": True}]},
            {"name": "Chisel", "kind": "own", "descriptorRead": False, "events": []}])

    def test_each_product_of_a_whole_catalogue_has_its_own_stages(self):
        self.host.write("own/a.dll", "x")
        self.install("Anvil", section("del_folder", f"<e name='{self.host.path('own')}'/>"))
        self.install("Bellows")
        self.catalogue("Anvil", "Bellows")
        report = json.loads(self.uninstall("--all-installed", "--kind", "own", "--json").out_text())
        self.assertEqual([[event["stage"] for event in entry["events"]] for entry in report["products"]],
                         [["folders", "registry keys", "registry values"], ["registry keys", "registry values"]])
        self.assertEqual(report["cleanedUp"], [])

    def test_question_names_what_is_cleaned_up_and_not_what_is_passed_over(self):
        self.last_of_the_family()
        ended = self.host.run("uninstall", "Anvil", "Chisel")
        self.assertEqual(ended.out_text(), "These products will be removed:\n  Anvil\n"
                         "With the last of their kind, these will be cleaned up as well:\n  Bellows\n  Chisel\n"
                         "Remove them? [y/N] ")

    def test_second_run_is_quiet(self):
        self.install("Anvil")
        self.install("Bellows")
        self.catalogue("Anvil", "Bellows")
        self.assertEqual(self.uninstall("Anvil").code, 0)
        ended = self.uninstall("Anvil")
        self.assertEqual((ended.code, ended.out_text()), (0, "Anvil: was not installed\n"))

    def test_product_that_its_descriptor_does_not_take_off_remains(self):
        self.install("Anvil", marks=False)
        self.install("Bellows")
        self.catalogue("Anvil", "Bellows")
        ended = self.uninstall("Anvil")
        self.assertEqual(ended.code, seen(1603))
        self.assertEqual(ended.out_text(),
                         "Anvil: remains (the registry key of its version UpdateLocation still stands)\n")

    def test_missing_descriptor_is_named_as_the_reason(self):
        self.key.add_version("Anvil")
        self.catalogue("Anvil")
        ended = self.uninstall("Anvil")
        self.assertEqual(ended.code, seen(1603))
        self.assertIn("its descriptor cannot be read", ended.out_text())

    def test_name_that_is_in_no_catalogue_stops_everything(self):
        self.install("Anvil")
        self.catalogue("Anvil")
        ended = self.uninstall("Anvil", "Absent")
        self.assertEqual(ended.code, seen(1605))
        self.assertEqual(ended.err_text(), 'prodsweep: "Absent" is in no catalogue; nothing was removed.\n')
        self.assertEqual(self.installed(), ["Anvil"])

    def test_name_in_both_catalogues_needs_its_kind(self):
        self.install("Anvil")
        self.install("Anvil", folder="extern")
        self.catalogue("Anvil", other=["Anvil"])
        self.assertEqual(self.uninstall("Anvil").code, 87)
        self.assertEqual(self.uninstall("Anvil", "--kind", "other").code, 0)

    def test_force_removes_what_is_not_found(self):
        self.host.write("left/over.txt", "x")
        self.host.write("intern/Anvil.xml",
                        descriptor(section("del_folder", f"<e name='{self.host.path('left')}'/>")))
        self.catalogue("Anvil", "Bellows")
        self.assertEqual(self.uninstall("Anvil", "--force").code, 0)
        self.assertFalse((self.host.folder / "left").exists())

    def test_all_installed_of_a_kind(self):
        for name in ["Anvil", "Bellows"]:
            self.install(name)
        self.install("Foreign", folder="extern")
        self.catalogue("Anvil", "Bellows", "Absent", other=["Foreign"])
        ended = self.uninstall("--all-installed", "--kind", "own")
        self.assertEqual(ended.code, 0)
        self.assertEqual(self.installed(), ["Foreign"])

    def test_force_all_of_a_kind(self):
        self.install("Anvil")
        self.install("Bellows")
        self.catalogue("Anvil", "Bellows")
        self.assertEqual(self.uninstall("--force-all", "--kind", "own").code, 0)
        self.assertEqual(self.installed(), [])

    @contextlib.contextmanager
    def anvil_that_runs(self):
        """A program that runs can't be deleted."""
        program = self.host.add_file("app/held.exe", REPORTS / "tool.exe")
        self.install("Anvil", section("del_folder", f"<e name='{self.host.path('app')}'/>"))
        self.install("Bellows")
        self.catalogue("Anvil", "Bellows")
        held = subprocess.Popen([ROOT / "cmake" / "wine", windows_path(program), "linger"], stdin=subprocess.DEVNULL,
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, cwd=BUILD)
        try:
            self.wait_for_start(program)
            yield
        finally:
            run("taskkill", "/f", "/im", "held.exe")
            held.wait()

    def test_file_in_use_goes_after_the_restart(self):
        with self.anvil_that_runs():
            ended = self.uninstall("Anvil", "--json")
        self.assertEqual(ended.code, seen(3010))
        report = json.loads(ended.out_text())
        self.assertEqual((report["exitCode"], report["restart"]), (3010, True))
        self.assertEqual(report["products"][0]["outcome"], "gone after restart")

    def wait_for_start(self, tool):
        """The tool tells by a file beside it that it runs."""
        for _ in range(300):
            if tool.with_name(tool.name + ".started").exists():
                return
            time.sleep(0.1)
        self.fail(f"{tool.name} does not run")

    def test_json_tells_of_each_product(self):
        self.install("Anvil")
        self.install("Bellows")
        self.catalogue("Anvil", "Bellows")
        report = json.loads(self.uninstall("Anvil", "--json").out_text())
        self.assertEqual(list(report), ["format", "library", "exitCode", "restart", "seconds", "lifted", "products",
                                        "cleanedUp"])
        self.assertEqual(report["products"], [{
            "name": "Anvil", "kind": "own", "outcome": "gone", "reason": None,
            "events": [{"stage": "registry keys", "done": True}, {"stage": "registry values", "done": True}],
            "stayed": []}])

    def test_json_tells_what_stayed_and_for_whom(self):
        for name in ["app/own.dll", "app/shared/common.dll"]:
            self.host.write(name, "x")
        self.install("Anvil", section("del_folder", f"<e name='{self.host.path('app')}'/>"))
        self.install("Bellows", section("del_folder", f"<e name='{self.host.path('app')}\\shared'/>"))
        self.catalogue("Anvil", "Bellows")
        report = json.loads(self.uninstall("Anvil", "--json").out_text())
        self.assertEqual(report["products"][0]["stayed"],
                         [{"kind": "folder", "name": self.host.path("app\\shared"), "user": "Bellows"}])
        self.assertTrue((self.host.folder / "app" / "shared" / "common.dll").exists())
        self.assertFalse((self.host.folder / "app" / "own.dll").exists())

    def uninstall_talkative(self, *arguments):
        """A product whose removal calls a tool and a method, both of which print."""
        method = self.host.add_file("method.dll", REPORTS / "method_dll.dll")
        self.install("Anvil", section(
            "exec_tool", "<e path='windows_system' tool_name='cmd.exe' cmd_line='/c echo words of a tool' wait='yes'/>",
            f"<e module='{windows_path(method)}' method_name='Print'/>"))
        self.install("Bellows")
        self.catalogue("Anvil", "Bellows")
        return self.uninstall("Anvil", *arguments)

    def test_json_is_alone_on_standard_output_and_what_tools_print_goes_to_standard_error(self):
        ended = self.uninstall_talkative("--json")
        self.assertEqual(json.loads(ended.out_text())["products"][0]["outcome"], "gone")
        self.assertEqual(sorted(ended.err_text().split()), sorted("words of a tool words of a method".split()))

    def test_without_json_tools_print_where_they_always_do(self):
        ended = self.uninstall_talkative()
        self.assertIn("words of a tool", ended.out_text())
        self.assertIn("words of a method", ended.out_text())
        self.assertEqual(ended.err_text(), "")

    def test_json_of_nothing_and_of_a_failure_is_an_object_too(self):
        self.catalogue("Anvil")
        self.assertEqual(json.loads(self.uninstall("--all-installed", "--kind", "own", "--json").out_text())["products"],
                         [])
        ended = self.uninstall("Absent", "--json")
        self.assertEqual(json.loads(ended.out_text())["error"]["code"], 1605)

    def test_quiet_says_nothing(self):
        self.install("Anvil")
        self.install("Bellows")
        self.catalogue("Anvil", "Bellows")
        ended = self.uninstall("Anvil", "--quiet")
        self.assertEqual((ended.code, ended.out, ended.err), (0, b"", b""))

    def test_without_yes_it_asks_and_without_a_console_it_removes_nothing(self):
        self.install("Anvil")
        self.catalogue("Anvil")
        ended = self.host.run("uninstall", "Anvil")
        self.assertEqual(ended.code, 87)
        self.assertEqual(ended.out_text(), "These products will be removed:\n  Anvil\nRemove them? [y/N] ")
        self.assertEqual(self.installed(), ["Anvil"])

    def test_removal_needs_the_rights_of_an_administrator(self):
        self.install("Anvil")
        self.catalogue("Anvil")
        unprivileged = windows_path(REPORTS / "unprivileged.exe")
        program = windows_path(self.host.program)
        ended = run(unprivileged, program, "uninstall", "--yes", "Anvil")
        self.assertEqual((ended.code, ended.out_text(), ended.err_text()), (
            seen(740), "", "prodsweep: removing products needs an administrator's rights.\n"))
        self.assertEqual(self.installed(), ["Anvil"])
        # A look at the machine needs none.
        self.assertEqual(run(unprivileged, program, "list", "--installed").code, 0)

    def test_second_removal_at_the_same_time_is_refused(self):
        tool = self.host.add_file("busy.exe", REPORTS / "tool.exe")
        self.install("Anvil", section("exec_tool", f"<e tool_name='{windows_path(tool)}' cmd_line='linger' wait='yes'/>"))
        self.install("Bellows")
        self.catalogue("Anvil", "Bellows")
        first = subprocess.Popen([ROOT / "cmake" / "wine", windows_path(self.host.program), "uninstall", "-y", "Anvil"],
                                 stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                 cwd=BUILD)
        try:
            self.wait_for_start(tool)
            ended = self.uninstall("Bellows")
        finally:
            run("taskkill", "/f", "/im", "busy.exe")
            first.wait()
        self.assertEqual(ended.code, seen(1618))
        self.assertEqual(ended.err_text(), "prodsweep: another removal by this program is running.\n")
        self.assertEqual(first.returncode, 0)

    def uninstall_unheard(self, *arguments):
        """What a removal ends with whose report nobody gets."""
        with open("/dev/full", "wb") as full:
            ended = self.host.run("uninstall", "--yes", *arguments, stdout=full)
        return ended.code, ended.err_text()

    def test_removal_whose_report_cannot_be_written_is_said_to_be_done(self):
        for arguments in [[], ["--json"]]:
            with self.subTest(arguments):
                self.install("Anvil")
                self.install("Bellows")
                self.catalogue("Anvil", "Bellows")
                self.assertEqual(self.uninstall_unheard("Anvil", *arguments), (
                    29, "prodsweep: the output cannot be written; the removal is done.\n"))
                self.assertEqual(self.installed(), ["Bellows"])

    def test_removal_of_nothing_whose_report_cannot_be_written_says_so(self):
        self.catalogue("Anvil")
        self.assertEqual(self.uninstall_unheard("Anvil"), (
            29, "prodsweep: the output cannot be written; nothing was installed, and nothing was done.\n"))

    def test_failed_removal_whose_report_cannot_be_written_keeps_its_code(self):
        self.install("Anvil", marks=False)
        self.install("Bellows")
        self.catalogue("Anvil", "Bellows")
        for arguments in [[], ["--json"]]:
            with self.subTest(arguments):
                self.assertEqual(self.uninstall_unheard("Anvil", *arguments), (
                    seen(1603), "prodsweep: the output cannot be written; the removal failed, or something remains.\n"))

    def test_needed_restart_is_told_to_a_reader_that_has_gone(self):
        reader, writer = os.pipe()
        os.close(reader)
        with self.anvil_that_runs(), os.fdopen(writer, "wb") as gone:
            ended = self.host.run("uninstall", "--yes", "Anvil", stdout=gone)
        self.assertEqual((ended.code, ended.err_text()), (
            seen(3010), "prodsweep: the output cannot be written; the removal is done, and a restart is needed to "
            "finish.\n"))

    def test_options_that_do_not_go_together(self):
        self.catalogue("Anvil")
        for arguments in [[], ["--all-installed"], ["--force-all"], ["--all-installed", "--force-all", "--kind", "own"],
                          ["Anvil", "--all-installed", "--kind", "own"],
                          ["--force", "--force-all", "--kind", "own"], ["Anvil", "--kind", "none"]]:
            with self.subTest(arguments):
                self.assertEqual(self.uninstall(*arguments).code, 87)


if __name__ == "__main__":
    pyreport.main("host_uninstall", REPORTS)
