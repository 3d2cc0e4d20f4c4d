"""--log: the library's log of one run, and that of what the program does by itself."""
import json
import unittest

import windows
from windows import BUILD, Installation, REPORTS, product

import pyreport

LOG = BUILD / "bin" / "log.dll"


class RunLog(unittest.TestCase):
    def setUp(self):
        self.host = Installation("log")
        self.addCleanup(self.host.close)
        self.host.add_file("log.dll", LOG)
        self.host.catalogues(own=[product("Mine", '<version name="1" id="none"/>')], other=[product("Other")])

    def log(self, name="a.log"):
        path = self.host.folder / name
        return path.read_bytes().decode("utf-8").split("\r\n")[:-1] if path.exists() else None

    def levels(self):
        return {line.split(" ")[3] for line in self.log()}

    def run_refused(self, code, *arguments):
        """The sentence of a run that did nothing."""
        ended = self.host.run(*arguments)
        self.assertEqual((ended.code, ended.out), (code, b""))
        self.assertRegex(ended.err_text(), r"\Aprodsweep: [^\n]+\n\Z")
        return ended.err_text()

    def test_library_writes_to_the_file_and_the_report_is_as_ever(self):
        without = self.host.run("list")
        self.assertIsNone(self.log())
        ended = self.host.run("list", "--log", self.host.path("a.log"))
        self.assertEqual((ended.code, ended.out, ended.err), (0, without.out, b""))
        self.assertTrue(any("CProducts::Load" in line for line in self.log()))

    def test_option_may_stand_before_its_command(self):
        self.assertEqual(self.host.run("--log", self.host.path("a.log"), "list").code, 0)
        self.assertTrue(self.log())

    def test_path_is_below_the_current_folder(self):
        (self.host.folder / "here").mkdir()
        self.assertEqual(self.host.run("list", "--log", "b.log", cwd=self.host.folder / "here").code, 0)
        self.assertTrue(self.log("here/b.log"))

    def test_file_is_continued(self):
        self.host.write("a.log", "earlier\r\n")
        self.host.run("list", "--log", self.host.path("a.log"))
        self.assertEqual(self.log()[0], "earlier")
        self.assertLess(1, len(self.log()))

    def test_file_is_continued_whatever_the_settings_say(self):
        earlier = "earlier\r\n" * 300
        for setting in ["mode = overwrite", "max_size = 1\nkeep = 0", "max_size = 1\nkeep = 1"]:
            with self.subTest(setting):
                self.host.write("log.ini", f"enabled = yes\npath = of_settings.log\n{setting}\n")
                self.host.write("a.log", earlier)
                self.assertEqual(self.host.run("list", "--log", self.host.path("a.log")).code, 0)
                text = (self.host.folder / "a.log").read_bytes().decode("utf-8")
                self.assertEqual((text[:len(earlier)], text[len(earlier):] != ""), (earlier, True))
                self.assertFalse((self.host.folder / "a.log.1").exists())

    def test_levels_are_chosen(self):
        (self.host.folder / "products.xml").write_text("<uninstall_information><product/></uninstall_information>")
        for wanted, seen in [("error", {"error"}), ("trace", {"trace"}), ("trace,error", {"trace", "error"}),
                             (" error,\ttrace ", {"trace", "error"}),
                             ("all", {"trace", "error"})]:
            with self.subTest(wanted):
                (self.host.folder / "a.log").unlink(missing_ok=True)
                self.assertEqual(self.host.run("list", "--log", self.host.path("a.log"), "--log-level", wanted).code, 13)
                self.assertEqual(self.levels(), seen)

    def test_lines_of_explain_are_there(self):
        (self.host.folder / "extern").mkdir()
        self.host.write("extern/any.xml", "<uninstall_information/>")
        self.assertEqual(self.host.run("explain", "Other", "--log", self.host.path("a.log")).code, 0)
        lines = [line for line in self.log() if "any.xml" in line]
        self.assertTrue(any("CProductInstalled::" in line for line in lines), lines)

    def test_json_stays_one_object(self):
        ended = self.host.run("list", "--json", "--log", self.host.path("a.log"))
        self.assertEqual(len(json.loads(ended.out)["products"]), 2)

    def test_settings_beside_the_logger_need_no_option(self):
        self.host.write("log.ini", "enabled = yes\npath = of_settings.log\nlevels = all\n")
        self.assertEqual(self.host.run("explain", "Other").code, 0)
        text = "\n".join(self.log("of_settings.log"))
        self.assertIn("CProducts::Load", text)
        self.assertIn("CProductInstalled::", text)

    def test_option_goes_before_the_settings(self):
        self.host.write("log.ini", "enabled = no\npath = of_settings.log\nlevels = none\nformat = json\n")
        self.host.run("list", "--log", self.host.path("a.log"))
        self.assertIsNone(self.log("of_settings.log"))
        lines = (self.host.folder / "a.log").read_text("utf-8").splitlines()
        self.assertTrue(all("text" in json.loads(line) for line in lines))

    def test_without_settings_nothing_is_written_anywhere(self):
        before = sorted(path.name for path in self.host.folder.rglob("*"))
        self.host.run("list")
        self.assertEqual(sorted(path.name for path in self.host.folder.rglob("*")), before)

    def test_missing_logger_is_said(self):
        (self.host.folder / "log.dll").unlink()
        sentence = self.run_refused(2, "list", "--log", self.host.path("a.log"))
        self.assertIn(self.host.path("log.dll"), sentence)
        self.assertIn("missing", sentence)
        self.assertIsNone(self.log())

    def test_logger_that_is_none_is_said(self):
        (self.host.folder / "log.dll").unlink()
        self.host.write("log.dll", "not a library")
        self.assertIn("cannot be loaded", self.run_refused(193, "list", "--log", self.host.path("a.log")))

    def test_other_logger_is_said(self):
        (self.host.folder / "log.dll").unlink()
        self.host.add_file("log.dll", BUILD / "tests" / "log.dll")
        self.assertIn("LogSetPath", self.run_refused(127, "list", "--log", self.host.path("a.log")))

    def test_file_that_cannot_be_written_is_said(self):
        (self.host.folder / "folder").mkdir()
        for path in [self.host.path("no folder\\a.log"), self.host.path("folder"), self.host.path("a|b.log"), "NUL"]:
            with self.subTest(path):
                sentence = self.run_refused(29, "list", "--log", path)
                self.assertIn(path.split("\\")[-1], sentence)
                self.assertIn("cannot be written", sentence)

    def test_bad_use_ends_with_87(self):
        for arguments, word in [(["list", "--log", ""], "--log"), (["list", "--log"], "--log"),
                                (["list", "--log-level", "error"], "--log"),
                                (["list", "--log", "x", "--log-level", "loud"], "loud"),
                                (["list", "--log", "x", "--log-level", ""], "--log-level"),
                                (["list", "--log", "x", "--log-level", "error,"], "--log-level"),
                                (["list", "--log", "x", "--log-level", " , error"], "--log-level"),
                                (["list", "--log", "x", "--log-level", "error trace"], "error trace"),
                                (["list", "--log", "x", "--log", "y"], "--log")]:
            with self.subTest(arguments):
                self.assertIn(word, self.run_refused(87, *arguments))

    def test_files_of_prodsweep_are_not_logged_to(self):
        for name in ["products.xml", "DETECTION.XML", "intern\\any.xml", "log.dll", "prodsweep.exe"]:
            with self.subTest(name):
                sentence = self.run_refused(87, "list", "--log", self.host.path(name))
                self.assertIn(f'--log cannot write to "{self.host.path(name)}": it is one of prodsweep\'s own files', sentence)

    def test_failure_is_told_as_json_too(self):
        ended = self.host.run("list", "--json", "--log", self.host.path("no folder\\a.log"))
        self.assertEqual((ended.code, json.loads(ended.out)["error"]["code"]), (29, 29))

    def test_help_tells_of_it(self):
        text = self.host.run("--help").out_text()
        for word in ["--log FILE", "--log-level LEVELS", "error", "tolerated", "trace", "skipped", "log.dll"]:
            self.assertIn(word, text)


if __name__ == "__main__":
    pyreport.main("host_log", REPORTS)
