"""prodsweep uninstall as a person sees it: on a console, with the bar that tells how far it is."""
import json
import re
import unittest

from terminal import COLUMNS, Terminal
from windows import Installation, REPORTS, UserKey, product, run, windows_path

import pyreport

# A service that is not there, then a pause with the bar in sight.
DESCRIPTOR = ("<uninstall_information><version_list><v1/></version_list><v1><win_nt>"
              "<s op_code='disable_service'><e name='prodsweep-none'/></s>"
              "<s op_code='exec_tool'><e path='windows_system' module='kernel32.dll' method_name='GetCurrentProcessId' "
              "sleep_after_exec='1000'/></s></win_nt></v1></uninstall_information>")
EVENTS = ["  disabling services  something failed; the log tells what", "  tools               done"]
BAR = re.compile(r"\[#+\.+\] +[0-9]+ %  (.*)")
QUESTION = ["These products will be removed:", "  Anvil", "Remove them? [y/N]"]


class OnAConsole(unittest.TestCase):
    def setUp(self):
        self.host = Installation("console")
        self.addCleanup(self.host.close)
        self.catalogue("Anvil")

    def catalogue(self, name):
        version = "<v name='1' keypath='HKEY_CURRENT_USER\\Software\\prodsweep-none' keyvalue='none'/>"
        self.host.catalogues(own=[product(name, version, file="descriptor.xml")])
        self.host.write("intern/descriptor.xml", DESCRIPTOR)

    def uninstall(self, *arguments):
        terminal = Terminal(windows_path(self.host.program), "uninstall", "--force", *arguments)
        self.addCleanup(terminal.close)
        return terminal

    def bars(self, terminal):
        """What stood behind the bar, each time that it was in sight."""
        return [bar[1] for lines in terminal.seen for line in lines if (bar := BAR.match(line))]

    def test_bar_tells_the_product_and_its_stage_and_leaves_nothing_behind(self):
        terminal = self.uninstall("--yes", "Anvil")
        self.assertEqual(terminal.wait(), 0)
        self.assertIn("Anvil: disabling services", self.bars(terminal))
        self.assertEqual(terminal.screen.lines(), ["Anvil: gone", *EVENTS])

    def test_bar_stays_on_one_line_however_long_the_name_is(self):
        name = "Anvil " + "x" * (2 * COLUMNS)
        self.catalogue(name)
        terminal = self.uninstall("--yes", name)
        self.assertEqual(terminal.wait(), 0)
        self.assertTrue(self.bars(terminal))
        for lines in terminal.seen:
            if any(BAR.match(line) for line in lines):
                self.assertEqual(len(lines), 1, lines)
        self.assertEqual("".join(terminal.screen.lines()), name + ": gone" + "".join(EVENTS))

    def test_yes_removes(self):
        terminal = self.uninstall("Anvil")
        terminal.wait_for(QUESTION[-1])
        self.assertEqual(terminal.screen.lines(), QUESTION)
        terminal.type("y\r")
        self.assertEqual(terminal.wait(), 0)
        self.assertIn("Anvil: disabling services", self.bars(terminal))
        self.assertEqual(terminal.screen.lines()[len(QUESTION):], ["Anvil: gone", *EVENTS])

    def test_any_other_answer_declines(self):
        for answer in ["n", "", "yesterday"]:
            with self.subTest(answer):
                terminal = self.uninstall("Anvil")
                terminal.wait_for(QUESTION[-1])
                terminal.type(answer + "\r")
                self.assertEqual(terminal.wait(), 1602 % 256)
                self.assertEqual(self.bars(terminal), [])

    def answer_after(self, change, *arguments):
        """Says yes, but only after the machine has changed. What the program said last, on one line."""
        terminal = self.uninstall("Anvil", *arguments)
        terminal.wait_for(QUESTION[-1])
        change()
        terminal.type("y\r")
        self.assertEqual(terminal.wait(), 1603 % 256)
        self.assertEqual(self.bars(terminal), [])
        return terminal.err_text()

    def folder_to_go(self, folder):
        self.host.write("intern/descriptor.xml", DESCRIPTOR.replace(
            "</win_nt>", f"<s op_code='del_folder'><e name='{self.host.path(folder)}'/></s></win_nt>"))

    def test_place_that_leads_to_what_must_not_go_by_the_time_of_the_answer_is_refused(self):
        self.folder_to_go("app")
        link = self.host.folder / "app"
        refusal = self.answer_after(lambda: link.symlink_to(self.host.folder / "intern"))
        self.assertRegex(refusal, r'" leads to "[^"]+intern", which is [^\n]+; nothing was removed')
        self.assertTrue((link / "descriptor.xml").exists())

    def test_danger_that_came_while_the_question_waited_is_not_among_those_that_were_allowed(self):
        self.folder_to_go("app")
        link = self.host.folder / "app"
        refusal = self.answer_after(lambda: link.symlink_to(self.host.folder / "intern"), "--allow-dangerous")
        self.assertRegex(refusal, r"\Aprodsweep: the machine changed while the question waited: [^\n]+intern[^\n]+; "
                                  r"nothing was removed\.\n\Z")
        self.assertTrue((link / "descriptor.xml").exists())

    def test_limit_that_is_passed_by_the_time_of_the_answer_holds(self):
        self.folder_to_go("app")
        new = self.host.folder / "app" / "new.txt"
        refusal = self.answer_after(lambda: self.host.write("app/new.txt", "x"), "--max-files", "0")
        self.assertIn("it would take 1 file, and --max-files allows 0; nothing was removed", refusal)
        self.assertTrue(new.exists())

    def test_saved_plan_is_held_to_until_the_answer(self):
        self.folder_to_go("app")
        plan = self.host.path("saved.json")
        self.assertEqual(self.host.run("plan", "--force", "Anvil", "--save", plan).code, 0)
        terminal = Terminal(windows_path(self.host.program), "uninstall", "--plan", plan)
        self.addCleanup(terminal.close)
        terminal.wait_for(QUESTION[-1])
        new = self.host.write("app/new.txt", "x")
        terminal.type("y\r")
        self.assertEqual(terminal.wait(), 1603 % 256)
        self.assertIn('"absent"; nothing was removed', terminal.err_text())
        self.assertTrue(new.exists())

    def test_product_that_the_question_did_not_name_is_not_cleaned_up(self):
        """The one that is asked for becomes the last of its family only while the question waits."""
        key = UserKey("console")
        self.addCleanup(key.close)
        for name in ["Anvil", "Bellows"]:
            key.add_version(name)
        self.host.catalogues(own=[product(name, key.version("1", name), file="descriptor.xml")
                                  for name in ["Anvil", "Bellows"]])
        terminal = Terminal(windows_path(self.host.program), "uninstall", "Anvil")
        self.addCleanup(terminal.close)
        terminal.wait_for(QUESTION[-1])
        run("reg", "delete", rf"{key.path}\Bellows", "/f")
        terminal.type("y\r")
        self.assertEqual(terminal.wait(), 1603 % 256)
        self.assertEqual(terminal.err_text(),
                         'prodsweep: the machine changed while the question waited: "Bellows" would be cleaned up as '
                         'well; nothing was removed.\n')

    def test_quiet_shows_nothing_at_all(self):
        terminal = self.uninstall("--yes", "--quiet", "Anvil")
        self.assertEqual(terminal.wait(), 0)
        self.assertEqual([lines for lines in terminal.seen if lines], [])

    def test_json_comes_without_a_bar(self):
        terminal = self.uninstall("--yes", "--json", "Anvil")
        self.assertEqual(terminal.wait(), 0)
        self.assertEqual(self.bars(terminal), [])
        self.assertEqual(json.loads("\n".join(terminal.screen.lines()))["exitCode"], 0)

    def test_what_goes_elsewhere_has_no_control_characters(self):
        ended = self.host.run("uninstall", "--force", "--yes", "Anvil")
        self.assertEqual(ended.code, 0)
        self.assertEqual(ended.out_text(), "\n".join(["Anvil: gone", *EVENTS, ""]))


if __name__ == "__main__":
    pyreport.main("host_console", REPORTS)
