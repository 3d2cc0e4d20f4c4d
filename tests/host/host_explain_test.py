"""prodsweep explain: how the answer came about, and that it is the answer of the list."""
import json
import unittest

import windows
from windows import Installation, REPORTS, UserKey, product

import pyreport


def descriptor(*versions):
    """Versions are (name, attributes, sections); a version without sections is only listed."""
    listed = "".join(f"<{name}/>" for name, _, _ in versions)
    bodies = "".join(f"<{name} {attributes}><install_folder name='App'/><win_nt>{sections}</win_nt></{name}>"
                     for name, attributes, sections in versions if sections is not None)
    return f"<uninstall_information><version_list>{listed}</version_list>{bodies}</uninstall_information>"


class MachineKey(UserKey):
    """A key that is only in the 32-bit view of the registry."""

    def __init__(self, name):
        super().__init__(name)
        self.path = self.path.replace("HKEY_CURRENT_USER", "HKEY_LOCAL_MACHINE")

    def add_version(self, key):
        ended = windows.run("reg", "add", rf"{self.path}\{key}\UpdateLocation", "/v", "Path", "/d", "x", "/f", "/reg:32")
        if ended.code != 0:
            raise RuntimeError(f"the key cannot be made: {ended.err_text()}")

    def close(self):
        windows.run("reg", "delete", self.path, "/f", "/reg:32")


class Explained(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.host = Installation("explain")
        cls.addClassCleanup(cls.host.close)
        cls.key = UserKey("explain")
        cls.addClassCleanup(cls.key.close)
        cls.far = MachineKey("explain")
        cls.addClassCleanup(cls.far.close)
        cls.key.add_version("here")
        cls.far.add_version("far")
        cls.there = cls.host.write("there.txt", "x")
        cls.hit, cls.miss = cls.host.path("there.txt"), cls.host.path("gone.txt")
        here, gone, far = cls.key.version("1", "here"), cls.key.version("2", "gone"), cls.far.version("3", "far")
        cls.host.catalogues(
            own=[product("Own found", gone, here, file="none.xml"), product("Own absent", gone, far),
                 product("Both", here), product("Unnamed", '<version name="9" prodName="No such product at all"/>',
                                                '<version name="8"/>')],
            other=[product("Scored", gone, file="scored.xml"), product("Second look", gone, far),
                   product("Own look", here, file="cut.xml"), product("Mandatory", file="mandatory.xml"),
                   product("All", file="all.xml"), product("Odd", file="odd.xml"), product("No root", file="root.xml"),
                   product("No list", file="list.xml"), product("Both", gone)])
        cls.write_descriptors()

    @classmethod
    def write_descriptors(cls):
        hit, miss = f"<entry name='{cls.hit}'", f"<entry name='{cls.miss}'"
        files = f"<files op_code='del_file' minimum_score='3'>{hit} score='3'/>{miss} score='5'/></files>"
        cls.host.write("extern/scored.xml", descriptor(
            ("v3", "", None),
            ("v2", "", "<keys op_code='del_regkey' minimum_score='1'><entry name='HKLM\\Software\\no such'/></keys>"),
            ("v1", "mandatory_sections='any'",
             "<tools op_code='exec_tool'><entry tool_name='x.exe'/></tools>" + files +
             "<kill op_code='kill_process' minimum_score='2'><entry target_name='x.exe'/></kill>"),
            ("v0", "", files)))
        cls.host.write("extern/mandatory.xml", descriptor(("v1", "", "<files op_code='del_file'>"
                       f"{hit}/>{miss} mandatory='YES' score='0'/>{hit}/>{hit}/></files>")))
        cls.host.write("extern/all.xml", descriptor(
            ("v1", "mandatory_sections='all'",
             "<kill op_code='kill_process'/><files op_code='del_file' minimum_score='1'>"
             f"{miss}/></files><keys op_code='del_regkey'/>")))
        cls.host.write("extern/odd.xml", descriptor(
            ("v1", "", "<a><entry/></a><b op_code='del_file' minimum_score='1'><entry/>"
                       "<entry path='no_folder' name='x'/><entry path='program_files' name='..\\x'/></b>"
                       f"<c op_code='del_file'>{hit}/><!-- --><entry/><entry/></c>"
                       "<d op_code='del_all' minimum_score='1'><entry name='x'/></d>")))
        cls.host.write("extern/cut.xml", "<uninstall_information>")
        cls.host.write("extern/root.xml", "<other/>")
        cls.host.write("extern/list.xml", "<uninstall_information/>")

    def text(self, *arguments):
        ended = self.host.run("explain", *arguments)
        self.assertEqual((ended.code, ended.err), (0, b""))
        return ended.out_text()

    def lines(self, *arguments):
        return self.text(*arguments).splitlines()

    def report(self, *arguments):
        return json.loads(self.text("--json", *arguments))

    def key_of(self, name):
        return rf"{self.key.path}\{name}\UpdateLocation"

    def test_text_of_a_score(self):
        self.assertEqual(self.text("Scored"), f"""\
Is "Scored" (kind other) installed?

Descriptor {self.host.path('extern')}\\scored.xml
  version v3: not detected, it is listed but not there
  version v2: not detected; one section that passes is enough
    app_path is "C:\\Program Files\\App"
    keys (del_regkey): FAILED, 0 points, at least 1 needed
      - not found, 0 of 1 point: name="HKLM\\Software\\no such"
  version v1: DETECTED; one section that passes is enough
    app_path is "C:\\Program Files\\App"
    tools (exec_tool): skipped, since a tool leaves nothing to look for
    files (del_file): passed, 3 points, at least 3 needed
      + found, 3 points: name="{self.hit}"
      - not found, 0 of 5 points: name="{self.miss}"
    kill (kill_process): FAILED, 1 point, at least 2 needed
      + counts as found unseen, 1 point: target_name="x.exe"
  version v0: not looked at, a version before it has decided

Registry marks (own view: 64-bit, other view: 32-bit)
  - version 2: {self.key_of('gone')}, value "Path": not found

Installed: the descriptor's version v1 is detected.
""")

    def test_text_of_an_own_product(self):
        self.assertEqual(self.text("Own found"), f"""\
Is "Own found" (kind own) installed?

Descriptor {self.host.path('intern')}\\none.xml
  not asked: it has no say in the maker's own products

Registry marks (own view: 64-bit, other view: 32-bit)
  - version 2: {self.key_of('gone')}, value "Path": not found
  + version 1: {self.key_of('here')}, value "Path": found in the own view

Installed: the mark of version 1 is in the registry's own view, by which alone the maker's own products go.
""")

    def test_other_view_does_not_count_for_an_own_product(self):
        lines = self.lines("Own absent")
        self.assertTrue(lines[7].endswith(', value "Path": found in the other view only, which does not count'))
        self.assertEqual(lines[-1], "Not installed: no mark is in the registry's own view, "
                                    "by which alone the maker's own products go.")

    def test_marks_that_name_no_key(self):
        self.assertEqual(self.lines("Unnamed")[6:8], [
            '  - version 9: no key to look for: no uninstall entry shows the name "No such product at all"',
            "  - version 8: no key to look for"])

    def test_second_look_at_the_other_view(self):
        lines = self.lines("Second look")
        self.assertEqual(lines[3], "  the file is missing")
        self.assertTrue(lines[7].startswith("  + version 3: ") and lines[7].endswith(": found in the other view only"))
        self.assertEqual(lines[-1], "Installed: the mark of version 3 is in the registry's other view; "
                                    "the descriptor detected nothing.")

    def test_mark_stands_in_for_a_broken_descriptor(self):
        lines = self.lines("Own look")
        self.assertEqual(lines[3], "  the file cannot be read, or is not well-formed")
        self.assertEqual(lines[-1], "Installed: the mark of version 1 is in the registry's own view; "
                                    "the descriptor detected nothing.")

    def test_other_broken_descriptors(self):
        self.assertEqual(self.lines("No root")[3], "  it has no uninstall_information")
        self.assertEqual(self.lines("No list")[3], "  it has no version_list")

    def test_mandatory_entry_decides(self):
        lines = self.lines("Mandatory")
        self.assertEqual(lines[5:9], [
            "    files (del_file): FAILED, whatever its score: a mandatory entry is missing",
            f'      + found, 1 point: name="{self.hit}"',
            f'      - NOT FOUND, mandatory: name="{self.miss}"',
            "      (2 entries behind it were not looked at)"])
        self.assertEqual(lines[-1], "Not installed: the descriptor detected nothing, "
                                    "and no mark is in either view of the registry.")

    def test_all_sections_have_to_pass(self):
        self.assertEqual(self.lines("All")[3:9], [
            "  version v1: not detected; all sections have to pass",
            '    app_path is "C:\\Program Files\\App"',
            "    kill (kill_process): passed, 0 points, at least 0 needed",
            "    files (del_file): FAILED, 0 points, at least 1 needed",
            f'      - not found, 0 of 1 point: name="{self.miss}"',
            "    keys (del_regkey): not evaluated, the version had failed before it"])

    def test_odd_sections_say_what_is_wrong(self):
        self.assertEqual(self.lines("Odd")[5:15], [
            "    a (no op_code): FAILED, it has no op_code",
            "    b (del_file): FAILED, 0 points, at least 1 needed",
            "      - not found, 0 of 1 point: (no attributes) (it has no name)",
            '      - not found, 0 of 1 point: name="x" path="no_folder" (the folder "no_folder" is not known)',
            '      - not found, 0 of 1 point: name="..\\x" path="program_files" -> C:\\x',
            "    c (del_file): FAILED, whatever its score: what comes next in it is not an entry",
            f'      + found, 1 point: name="{self.hit}"',
            "      (2 entries behind it were not looked at)",
            "    d (del_all): FAILED, 0 points, at least 1 needed",
            '      - not found, 0 of 1 point: name="x" (its section\'s op_code is not known)'])

    def test_json_has_each_member_in_its_place(self):
        report = json.loads(self.text("--json", "All"), object_pairs_hook=list)
        entry = [("attributes", [("name", self.miss)]), ("score", 1), ("mandatory", False), ("found", False),
                 ("lookedFor", True), ("target", self.miss), ("fault", None)]

        def section(name, op_code, state, decided, score, minimum, *entries):
            return [("name", name), ("opCode", op_code), ("state", state), ("decidedBy", decided), ("score", score),
                    ("minimum", minimum), ("entries", list(entries)), ("entriesNotReached", 0)]
        version = [
            ("name", "v1"), ("state", "walked"), ("detected", False), ("appPath", "C:\\Program Files\\App"),
            ("mandatorySections", "all"),
            ("sections", [section("kill", "kill_process", "passed", "score", 0, 0),
                          section("files", "del_file", "failed", "score", 0, 1, entry),
                          section("keys", "del_regkey", "not evaluated", None, None, None)])]
        self.assertEqual(report, [
            ("format", 1), ("library", self.host.path("prodsweep.dll")), ("name", "All"), ("kind", "other"),
            ("installed", False), ("rule", "nothing"), ("version", None),
            ("descriptor", [("file", self.host.path("extern\\all.xml")), ("state", "read"), ("detected", False),
                            ("versions", [version])]),
            ("marks", [])])

    def test_json_of_a_score(self):
        report = self.report("Scored")
        self.assertEqual((report["installed"], report["rule"], report["version"]), (True, "descriptor", "v1"))
        versions = report["descriptor"]["versions"]
        self.assertEqual([(v["name"], v["state"], v["detected"], v["mandatorySections"]) for v in versions], [
            ("v3", "absent", False, None), ("v2", "walked", False, "any"), ("v1", "walked", True, "any"),
            ("v0", "not looked at", False, None)])
        tools, files, kill = versions[2]["sections"]
        self.assertEqual((tools["state"], tools["score"], tools["entries"]), ("skipped", None, []))
        self.assertEqual([(e["found"], e["score"]) for e in files["entries"]], [(True, 3), (False, 5)])
        self.assertEqual((kill["state"], kill["score"], kill["minimum"]), ("failed", 1, 2))
        self.assertEqual([(e["found"], e["lookedFor"], e["target"]) for e in kill["entries"]], [(True, False, None)])

    def test_json_of_a_mandatory_entry(self):
        section = self.report("Mandatory")["descriptor"]["versions"][0]["sections"][0]
        self.assertEqual((section["state"], section["decidedBy"], section["entriesNotReached"]),
                         ("failed", "mandatory entry", 2))
        self.assertEqual([e["mandatory"] for e in section["entries"]], [False, True])

    def test_json_of_odd_sections(self):
        sections = self.report("Odd")["descriptor"]["versions"][0]["sections"]
        self.assertEqual([(s["opCode"], s["decidedBy"]) for s in sections],
                         [(None, "fault"), ("del_file", "score"), ("del_file", "fault"), ("del_all", "score")])
        self.assertEqual(sections[1]["entries"][0], {
            "attributes": {}, "score": 1, "mandatory": False, "found": False, "lookedFor": False, "target": None,
            "fault": "it has no name"})

    def test_json_of_marks(self):
        self.assertEqual(self.report("Unnamed")["marks"][0], {
            "version": "9", "displayName": "No such product at all", "key": None, "value": None, "inOwnView": False,
            "inOtherView": False})
        gone, far = self.report("Own absent")["marks"]
        self.assertEqual((gone["key"], gone["value"], gone["inOwnView"], gone["inOtherView"]),
                         (self.key_of("gone"), "Path", False, False))
        self.assertEqual((far["inOwnView"], far["inOtherView"]), (False, True))
        here = self.report("Own found")["marks"][1]
        self.assertEqual((here["inOwnView"], here["inOtherView"]), (True, False))

    def test_json_of_rules_and_states(self):
        for name, installed, rule, version, state in [
                ("Own found", True, "mark in own view", "1", "not asked"),
                ("Own absent", False, "nothing", None, "not asked"),
                ("Own look", True, "mark in own view", "1", "not well-formed"),
                ("Second look", True, "mark in other view", "3", "missing"),
                ("No root", False, "nothing", None, "no uninstall_information"),
                ("No list", False, "nothing", None, "no version_list")]:
            with self.subTest(name):
                report = self.report(name)
                self.assertEqual((report["installed"], report["rule"], report["version"],
                                  report["descriptor"]["state"]), (installed, rule, version, state))

    def test_answer_is_that_of_the_list(self):
        listed = json.loads(self.host.run("list", "--json").out)["products"]
        self.assertEqual(len(listed), 13)
        for entry in listed:
            with self.subTest(entry["name"], kind=entry["kind"]):
                report = self.report(entry["name"], "--kind", entry["kind"])
                self.assertEqual((report["installed"], report["descriptor"]["file"]),
                                 (entry["installed"], entry["descriptor"]))

    def test_name_in_both_catalogues_needs_a_kind(self):
        ended = self.host.run("explain", "Both")
        self.assertEqual((ended.code, ended.out), (87, b""))
        self.assertEqual(ended.err_text(),
                         'prodsweep: "Both" is in both catalogues; --kind own or --kind other tells which.\n')
        self.assertTrue(self.report("Both", "--kind", "own")["installed"])
        self.assertFalse(self.report("Both", "--kind", "other")["installed"])

    def test_name_in_no_catalogue(self):
        for arguments, place in [(["Scored ", "--json"], "the catalogues"), (["scored", "--json"], "the catalogues"),
                                 (["Scored", "--kind", "own", "--json"], "the catalogue of kind own")]:
            with self.subTest(arguments):
                ended = self.host.run("explain", *arguments)
                # The low byte is all that the system underneath passes on.
                self.assertEqual(ended.code, 1605 & 0xFF)
                self.assertEqual(json.loads(ended.out)["error"]["code"], 1605)
                self.assertEqual(ended.err_text(), f'prodsweep: no product "{arguments[0]}" is in {place}.\n')

    def test_descriptor_lies_beside_the_library_and_not_beside_the_program(self):
        program = windows.windows_path(windows.BUILD / "bin" / "prodsweep.exe")
        ended = windows.run(program, "explain", "Scored", "--json", "--library", self.host.path("prodsweep.dll"))
        report = json.loads(ended.out)
        self.assertEqual((report["library"], report["descriptor"]["file"], report["installed"]),
                         (self.host.path("prodsweep.dll"), self.host.path("extern\\scored.xml"), True))


class Failures(unittest.TestCase):
    def setUp(self):
        self.host = Installation("explain_failures")
        self.addCleanup(self.host.close)

    def test_catalogue_at_fault(self):
        self.host.catalogue("products.xml", product("Own"))
        self.host.write("detection.xml", "<uninstall_information>")
        self.assertEqual(self.host.run("explain", "Own").code, 13)
        self.assertEqual(self.host.run("explain", "Own", "--kind", "own").code, 0)

    def test_library_is_missing(self):
        self.assertEqual(self.host.run("explain", "x", "--library", self.host.path("none.dll")).code, 2)

    def test_bad_arguments(self):
        for arguments in [[], ["a", "b"], ["a", "--kind", "both"], ["a", "--library", ""], ["a", "--kind"]]:
            with self.subTest(arguments):
                ended = self.host.run("explain", *arguments)
                self.assertEqual((ended.code, ended.out), (87, b""))
                self.assertRegex(ended.err_text(), r"\Aprodsweep: [^\n]+\n\Z")

    def test_first_of_two_of_a_name_is_meant(self):
        self.host.catalogues(own=[product("Twin", file="a.xml"), product("Twin", file="b.xml")])
        report = json.loads(self.host.run("explain", "Twin", "--json").out)
        self.assertEqual(report["descriptor"]["file"], self.host.path("intern\\a.xml"))

    def test_what_files_say_stays_on_its_line(self):
        self.host.catalogues(other=[product("a&#10;\U0001D11E")])
        self.host.write("extern/any.xml", descriptor(
            ("v1", "", "<s op_code='kill_process'><e target_name='&#x9B;2J&#10;Installed'/></s>")))
        ended = self.host.run("explain", "a\n\U0001D11E")
        self.assertEqual(ended.code, 0)
        lines = ended.out_text().splitlines()
        self.assertEqual(lines[0], 'Is "a\uFFFD\U0001D11E" (kind other) installed?')
        self.assertIn('      + counts as found unseen, 1 point: target_name="\uFFFD2J\uFFFDInstalled"', lines)

    def test_help_documents_options_and_json(self):
        ended = self.host.run("explain", "--help")
        self.assertEqual((ended.code, ended.err), (0, b""))
        for text in ["PRODUCT", "--kind", "--json", "--library PATH", "format", "rule", "mark in other view",
                     "entriesNotReached", "lookedFor", "inOwnView", "error", "1605"]:
            self.assertIn(text, ended.out_text())


if __name__ == "__main__":
    pyreport.main("host_explain", REPORTS)
