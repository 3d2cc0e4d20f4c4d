"""The command line: what is taken, what is refused, and how that is said."""
import json
import re
import unittest

import windows
from windows import Installation, REPORTS, ROOT

import pyreport

BAD_ARGUMENTS = {
    "no command": [],
    "unknown command": ["lst"],
    "unknown option": ["list", "--instaled"],
    "option before its command": ["--json", "list"],
    "unknown kind": ["list", "--kind", "mine"],
    "kind in capitals": ["list", "--kind", "OWN"],
    "kind without a value": ["list", "--kind"],
    "two kinds": ["list", "--kind", "own", "--kind", "other"],
    "library without a value": ["list", "--library"],
    "library of no name": ["list", "--library", ""],
    "flag with a value": ["list", "--installed=maybe"],
    "Windows style of option": ["list", "/json"],
    "left over word": ["list", "Halvane Notes"],
    "control characters": ["list", "a\x1b[2Jb"],
}


class CommandLine(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.host = Installation("command_line")
        cls.addClassCleanup(cls.host.close)
        cls.host.catalogues()

    def test_version_is_that_of_the_project(self):
        version = re.search(r"project\(prodsweep VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text()).group(1)
        ended = self.host.run("--version")
        self.assertEqual((ended.code, ended.out, ended.err), (0, f"prodsweep {version}\n".encode(), b""))

    def test_help_names_the_command_and_the_exit_codes(self):
        ended = self.host.run("--help")
        self.assertEqual((ended.code, ended.err), (0, b""))
        for text in ["list", "explain", "--version", "--help", "  0  ", "  2  ", "  13 ", "  87 ", "  1605 "]:
            self.assertIn(text, ended.out_text())

    def test_short_help_is_the_same(self):
        self.assertEqual(self.host.run("-h").out, self.host.run("--help").out)

    def test_help_has_no_doubled_separators(self):
        for command in ["list", "explain", "plan", "uninstall", "pending", "check"]:
            with self.subTest(command):
                self.assertNotIn("\\\\", self.host.run(command, "--help").out_text())

    def test_help_of_list_documents_flags_and_json(self):
        ended = self.host.run("list", "--help")
        self.assertEqual((ended.code, ended.err), (0, b""))
        for text in ["--installed", "--kind", "own", "other", "all", "--json", "--library PATH", "format", "library",
                     "products", "name", "descriptor", "kind", "installed", "versions", "guid", "children", "error"]:
            self.assertIn(text, ended.out_text())

    def test_bad_arguments_end_with_87_and_one_sentence(self):
        for name, arguments in BAD_ARGUMENTS.items():
            with self.subTest(name):
                ended = self.host.run(*arguments)
                self.assertEqual((ended.code, ended.out), (87, b""))
                self.assertRegex(ended.err_text(), r"\Aprodsweep: [^\n\x1b]+\n\Z")

    def test_refusal_is_an_object_in_json_wherever_the_fault_stands(self):
        for arguments in [["list", "--json", "--instaled"], ["list", "--instaled", "--json"], ["list", "--kind", "--json"],
                          ["list", "--json", "--kind", "mine"], ["list", "--json", "Halvane Notes"],
                          ["list", "--json", "--json=maybe"], ["explain", "--json"], ["plan", "--json", "--save"],
                          ["uninstall", "--json", "--max-files", "x", "a"], ["pending", "--json", "--check"],
                          ["--log-level", "all", "list", "--json"], ["list", "--json", "--log"],
                          ["list", "--json", "--log", "x", "--log-level", "loud"],
                          ["check", "--format", "json", "--bogus"], ["check", "--bogus", "--format=json"],
                          ["check", "--format", "json"]]:
            with self.subTest(arguments):
                ended = self.host.run(*arguments)
                self.assertEqual(ended.code, 87)
                report = json.loads(ended.out_text())
                self.assertEqual((list(report), report["error"]["code"]), (["format", "error"], 87))
                self.assertEqual(ended.err_text(), f"prodsweep: {report['error']['message']}\n")

    def test_refusal_is_no_object_where_json_was_not_asked_for(self):
        for arguments in [["--json", "list"], ["lst", "--json"], ["list", "--", "--json"], ["check", "--json"],
                          ["check", "--format", "sarif", "--bogus"], ["check", "--format", "text", "json", "--bogus"],
                          ["list", "--format", "json"]]:
            with self.subTest(arguments):
                ended = self.host.run(*arguments)
                self.assertEqual((ended.code, ended.out), (87, b""))

    def test_refusal_names_what_was_wrong(self):
        for arguments, word in [(["list", "--kind", "mine"], "mine"), (["list", "--instaled"], "--instaled"),
                                (["list", "--library"], "--library")]:
            with self.subTest(word):
                self.assertIn(word, self.host.run(*arguments).err_text())

    def test_refusal_says_in_plain_words_what_was_wrong(self):
        for arguments, sentence, *command in [
                ([], "say what to do: list, explain, plan, uninstall, pending or check"),
                (["lst"], '"lst" is no command; say list, explain, plan, uninstall, pending or check'),
                (["--json", "list"], '"--json" has to stand behind list', "list"),
                (["--jsn"], '"--jsn" is no option of this program; say what to do: list, explain, plan, uninstall, pending '
                            'or check'),
                (["list", "--instaled"], '"--instaled" is no option of list', "list"),
                (["check", "--json", "."], '"--json" is no option of check', "check"),
                (["list", "Halvane Notes"], 'list has no use for "Halvane Notes"', "list"),
                (["list", "--kind"], "--kind needs a value", "list"),
                (["list", "--kind", "own", "--kind", "other"], "--kind was given more than once", "list"),
                (["pending", "--check", "a", "--check", "b"], "--check was given more than once", "pending"),
                (["pending", "--cancel", "a", "--check", "a"], "--check does not go together with --cancel", "pending"),
                (["list", "--log"], "--log needs a value"),
                (["--log-level", "all", "list"], "--log-level goes only with --log"),
                (["explain"], "explain needs a PRODUCT", "explain")]:
            with self.subTest(arguments):
                ended = self.host.run(*arguments)
                self.assertEqual((ended.code, ended.err_text()),
                                 (87, f"prodsweep: {sentence} (see {' '.join(['prodsweep', *command])} --help).\n"))
        self.assertEqual(self.host.run("list", "--kind", "mine").err_text(),
                         'prodsweep: --kind knows no "mine": say own, other or all.\n')

    def test_number_is_digits_alone_and_no_other_text_sets_a_limit(self):
        for option in ["--max-files", "--max-keys"]:
            for text in ["-1", "+3", " 3", "3 ", "0x10", "1e3", "3.0", "1'000", "many", ""]:
                with self.subTest(option, text=text):
                    ended = self.host.run("uninstall", "--yes", "Anvil", option, text)
                    self.assertEqual((ended.code, ended.err_text()), (
                        87, f'prodsweep: {option} takes a whole number in digits, and not "{text}".\n'))
            for text in ["18446744073709551616", "99999999999999999999999"]:
                with self.subTest(option, text=text):
                    ended = self.host.run("uninstall", "--yes", "Anvil", f"{option}={text}")
                    self.assertEqual((ended.code, ended.err_text()),
                                     (87, f'prodsweep: {option}: the number "{text}" is too large.\n'))
            for text in ["0", "010", "18446744073709551615"]:
                with self.subTest(option, text=text):
                    # That is as far as the command line goes: the product is in no catalogue.
                    self.assertEqual(self.host.run("uninstall", "--yes", "Anvil", option, text).code, 1605 % 256)

    def test_wildcards_are_left_to_the_program(self):
        ended = self.host.run("list", "--library", self.host.path("*.dll"))
        self.assertEqual(ended.code, 2)
        self.assertIn("*.dll", ended.err_text())


if __name__ == "__main__":
    pyreport.main("host_command_line", REPORTS)
