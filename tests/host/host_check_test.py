"""prodsweep check: what it finds, where, and how it tells.

The folder "check" has samples for each rule: "bad" triggers it and "good" does not. Comments at the end of a sample
say what is to be found in it, and that must be found and nothing else.
"""
import json
import os
import re
import shutil
import subprocess
import tempfile
import unittest

import windows
from windows import BUILD, Installation, REPORTS, windows_path

import pyreport

SAMPLES = windows.ROOT / "tests/host/check"
SCHEMA = windows.ROOT / "tests/host/data/sarif-schema-2.1.0.json"
DOCUMENT = windows.ROOT / "docs/check.md"


def expected_in(path):
    found = re.findall(r"<!-- finds (\S+) at (\d+):(\d+) -->", path.read_text(encoding="utf-8"))
    return [(rule, int(line), int(column)) for rule, line, column in found]


def given_path(sample):
    """A file, the only catalogue of a folder, or a folder whose files belong together."""
    if sample.is_dir() and not any((sample / kind).is_dir() for kind in ("intern", "extern")):
        sample, = sample.iterdir()
    return sample


class CheckedSamples(unittest.TestCase):
    """All samples, checked in one run."""

    @classmethod
    def setUpClass(cls):
        cls.host = Installation("check-samples")
        cls.addClassCleanup(cls.host.close)
        shutil.copytree(SAMPLES, cls.host.folder / "check")
        cls.rules = {rule["name"]: rule for rule in cls.json("--rules", "--format", "json")["rules"]}
        cls.folder = cls.host.folder / "check"
        cls.samples = [sample for rule in sorted(cls.folder.iterdir()) for sample in sorted(rule.iterdir())]
        cls.paths = [str(given_path(sample).relative_to(cls.host.folder)).replace("/", "\\") for sample in cls.samples]
        cls.report = cls.json("--format", "json", *cls.paths)

    @classmethod
    def json(cls, *arguments):
        ended = cls.host.run("check", *arguments, cwd=cls.host.folder)
        if ended.err:
            raise RuntimeError(ended.err_text())
        return json.loads(ended.out)

    def found_in(self, sample):
        prefix = str(sample.relative_to(self.host.folder)).replace("/", "\\")
        return sorted((finding["file"], finding["rule"], finding["line"], finding["column"])
                      for finding in self.report["findings"] if finding["file"].startswith(prefix))

    def test_every_rule_has_samples(self):
        self.assertEqual(sorted(self.rules), sorted(path.name for path in self.folder.iterdir()))
        for rule in self.folder.iterdir():
            self.assertEqual(["bad", "good"], sorted(path.stem for path in rule.iterdir()), rule.name)

    def test_samples_show_what_they_are_named_after(self):
        for sample in self.samples:
            files = [sample] if sample.is_file() else sample.rglob("*.xml")
            rules = {rule for path in files for rule, _, _ in expected_in(path)}
            with self.subTest(sample.relative_to(self.folder)):
                self.assertEqual(sample.stem == "bad", sample.parent.name in rules)
                self.assertTrue(sample.stem == "bad" or not rules)

    def test_exactly_what_is_expected_is_found(self):
        for sample in self.samples:
            files = [sample] if sample.is_file() else sample.rglob("*.xml")
            expected = sorted((str(path.relative_to(self.host.folder)).replace("/", "\\"), *finding)
                              for path in files for finding in expected_in(path))
            with self.subTest(sample.relative_to(self.folder)):
                self.assertEqual(expected, self.found_in(sample))

    def test_findings_are_sorted_and_counted(self):
        findings = self.report["findings"]
        order = [(finding["file"], finding["line"], finding["column"], finding["rule"]) for finding in findings]
        self.assertEqual(order, sorted(order))
        for member, severity in [("errors", "error"), ("warnings", "warning"), ("notes", "note")]:
            self.assertEqual(self.report[member], sum(finding["severity"] == severity for finding in findings))

    def test_findings_say_what_their_rule_says(self):
        for finding in self.report["findings"]:
            rule = self.rules[finding["rule"]]
            self.assertEqual([finding[member] for member in ("severity", "consequence", "remedy")],
                             [rule[member] for member in ("severity", "consequence", "remedy")])

    def test_sarif_fits_its_schema_and_says_the_same(self):
        ended = self.host.run("check", "--format", "sarif", *self.paths, cwd=self.host.folder)
        with tempfile.NamedTemporaryFile(suffix=".sarif") as file:
            file.write(ended.out)
            file.flush()
            # Debian's own Python has the validator, whichever runs this test.
            validated = subprocess.run(["/usr/bin/python3", "-m", "jsonschema", "-i", file.name, SCHEMA],
                                       capture_output=True, text=True, check=False)
        self.assertEqual("", validated.stderr + validated.stdout)
        run, = json.loads(ended.out)["runs"]
        names = [rule["id"] for rule in run["tool"]["driver"]["rules"]]
        self.assertEqual(names, list(self.rules))
        told = []
        for result in run["results"]:
            place = result["locations"][0]["physicalLocation"]
            self.assertEqual(names[result["ruleIndex"]], result["ruleId"])
            told.append((place["artifactLocation"]["uri"].replace("/", "\\"), place["region"]["startLine"],
                         place["region"]["startColumn"], result["ruleId"], result["level"], result["message"]["text"]))
        self.assertEqual(told, [(finding["file"], finding["line"], finding["column"], finding["rule"],
                                 finding["severity"], finding["message"]) for finding in self.report["findings"]])

    def test_document_has_every_rule(self):
        """docs/check.md tells each rule in the words of the program, with the sample as its example."""
        text = DOCUMENT.read_text(encoding="utf-8")
        sections = dict(re.findall(r"^### `([a-z0-9-]+)`\n\n(.*?)(?=^##|\Z)", text, re.M | re.S))
        self.assertEqual(list(sections), list(self.rules))
        for name, rule in self.rules.items():
            with self.subTest(name):
                body = " ".join(sections[name].split())
                for part in (f"*{rule['severity']}*: {rule['summary']}", rule["consequence"], rule["remedy"]):
                    self.assertIn(" ".join(part.split()), body)
                example, = re.findall(r"```xml\n(.*?)```", sections[name], re.S)
                sample = (self.folder / name / "bad")
                files = sample.rglob("*.xml") if sample.is_dir() else [sample.with_suffix(".xml")]
                shown = {line.strip() for path in files for line in path.read_text(encoding="utf-8").splitlines()}
                self.assertLessEqual({line.strip() for line in example.splitlines()}, shown)


GOOD = "<uninstall_information><version_list><a/></version_list><a mandatory_sections='all'><install_folder name='A'/><win_nt>" \
       "<f op_code='del_file' minimum_score='1'><e path='app_path' name='a.exe'/></f></win_nt></a></uninstall_information>"
WARNED = GOOD.replace("'all'", "'ALL'")
NOTED = GOOD.replace("<version_list>", "<version_list><!-- x -->")
WRONG = GOOD.replace("del_file", "del_fiel")


class Command(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.host = Installation("check")
        cls.addClassCleanup(cls.host.close)
        for name, text in [("good.xml", GOOD), ("warned.xml", WARNED), ("noted.xml", NOTED), ("wrong.xml", WRONG)]:
            cls.host.write(name, text)

    def check(self, *arguments):
        return self.host.run("check", *arguments, cwd=self.host.folder)

    def assert_refused(self, ended, code, sentence):
        self.assertEqual((ended.code, ended.out, ended.err_text()), (code, b"", f"prodsweep: {sentence}\n"))

    def test_exit_codes(self):
        for arguments, code in [(["good.xml"], 0), (["good.xml", "--strict"], 0), (["warned.xml"], 0),
                                (["warned.xml", "--strict"], 1), (["noted.xml", "--strict"], 0),
                                (["wrong.xml"], 2), (["wrong.xml", "warned.xml", "--strict"], 2)]:
            with self.subTest(arguments):
                ended = self.check(*arguments)
                self.assertEqual((ended.code, ended.err), (code, b""))

    def test_text(self):
        self.assertEqual(self.check("wrong.xml").out_text(), """\
wrong.xml:1:122: error: "del_fiel" is no op_code. Is "del_file" meant? [unknown-op-code]
    Every entry of the section fails.
    To mend it: Correct op_code.

1 error in 1 file.
""")
        self.assertEqual(self.check("good.xml", "good.xml").out_text(), "Nothing found in 2 files.\n")

    def test_path_in_an_uri_is_encoded(self):
        self.host.write("a b#ä%.xml", WRONG)
        run, = json.loads(self.check("a b#ä%.xml", "--format", "sarif").out)["runs"]
        uri = run["results"][0]["locations"][0]["physicalLocation"]["artifactLocation"]["uri"]
        self.assertEqual(uri, "a%20b%23%C3%A4%25.xml")

    def test_uri_beyond_the_current_folder_is_absolute(self):
        (self.host.folder / "elsewhere").mkdir()
        ended = self.host.run("check", "..\\wrong.xml", "--format", "sarif", cwd=self.host.folder / "elsewhere")
        run, = json.loads(ended.out)["runs"]
        uri = run["results"][0]["locations"][0]["physicalLocation"]["artifactLocation"]["uri"]
        self.assertEqual(uri, "file:///" + self.host.path("wrong.xml").replace("\\", "/"))

    def test_utf16_has_the_same_places(self):
        (self.host.folder / "wide.xml").write_bytes(WRONG.encode("utf-16"))
        self.assertIn('wide.xml:1:122: error: "del_fiel" is no op_code.', self.check("wide.xml").out_text())

    def test_scores_matter_for_other_makers_only(self):
        for folder, code in [("intern", 0), ("extern", 2), ("other", 2)]:
            self.host.write(f"{folder}/scored.xml", GOOD.replace("score='1'", "score='2'"))
            with self.subTest(folder):
                self.assertEqual(self.check(f"{folder}\\scored.xml").code, code)

    def test_what_stands_behind_a_broken_file_is_checked(self):
        self.host.write("broken/products.xml", "<uninstall_information>")
        self.host.write("broken/detection.xml", '<uninstall_information><product name="a" file="a.xml"/>'
                        '<product name="b" file="b.xml"/></uninstall_information>')
        self.host.write("broken/extern/a.xml", WRONG)
        self.host.write("broken/extern/b.xml", "<a>")
        report = json.loads(self.check("broken", "--format", "json").out)
        self.assertEqual([(finding["file"], finding["rule"]) for finding in report["findings"]], [
            ("broken\\extern\\a.xml", "unknown-op-code"), ("broken\\extern\\b.xml", "not-well-formed"),
            ("broken\\products.xml", "not-well-formed")])
        self.assertEqual(report["files"], 4)

    def test_folder_may_be_given_in_any_way(self):
        self.host.catalogues(other=['<product name="a" file="sub\\a.xml"/>'])
        self.host.write("extern/sub/a.xml", WRONG)
        for folder, prefix in [(".", ".\\"), (".\\", ".\\"), ("./", "./"), (self.host.path(""), self.host.path(""))]:
            with self.subTest(folder):
                self.assertIn(f"{prefix.rstrip(chr(92))}\\extern\\sub\\a.xml:1:122: error" if prefix != "./" else
                              "./extern\\sub\\a.xml:1:122: error", self.check(folder).out_text())

    def test_attributes_are_those_that_the_library_reads(self):
        """The table of known attributes, held against the calls that read them."""
        sources = [path for path in (windows.ROOT / "src/interpreter").glob("*.cpp") if not path.stem.endswith("_test")]
        read = {name for path in sources for name in re.findall(
            r'(?:Attribute|IsYes|EqualIgnoringCase)\([^()"]*, L"(\w+)"\)', path.read_text(encoding="utf-8"))}
        table = (windows.ROOT / "host/check/known_names.cpp").read_text(encoding="utf-8")
        known = set(re.findall(r'^    \{L"\w+", L"(\w+)"', table, re.M)) | {"score", "mandatory", "restart_required"}
        words = {"op_code", "yes", "true", "sleep"}
        self.assertEqual(sorted(read - words), sorted(known))

    def test_rules_are_listed(self):
        ended = self.check("--rules")
        self.assertEqual((ended.code, ended.err), (0, b""))
        self.assertRegex(ended.out_text(), r"(?m)^unknown-op-code +error +an op_code that does not exist$")

    def test_rules_are_listed_in_each_format(self):
        named = [rule["name"] for rule in json.loads(self.check("--rules", "--format", "json").out)["rules"]]
        run, = json.loads(self.check("--rules", "--format", "sarif").out)["runs"]
        self.assertEqual(([rule["id"] for rule in run["tool"]["driver"]["rules"]], run["results"]), (named, []))

    def test_samples_of_the_demo_are_clean(self):
        shutil.copytree(windows.ROOT / "samples/catalogue", self.host.folder / "catalogue")
        ended = self.check("--strict", "catalogue")
        self.assertEqual((ended.code, ended.out_text()), (0, "Nothing found in 7 files.\n"))

    def test_examples_of_the_formats_are_clean(self):
        for page, name in [("catalogue.md", "products.xml"), ("descriptor.md", "extern/whole.xml")]:
            example = re.search(r"```xml\n(.*?)```", (windows.ROOT / "docs" / page).read_text(encoding="utf-8"), re.S)
            self.host.write(f"pages/{name}", example.group(1))
            ended = self.check("--strict", "pages\\" + name.replace("/", "\\"))
            with self.subTest(page):
                self.assertEqual((ended.code, ended.out_text()), (0, "Nothing found in 1 file.\n"))

    def test_reference_to_a_schema_is_no_finding(self):
        self.host.write("schema.xml", GOOD.replace(
            "<uninstall_information>", '<uninstall_information xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" '
            'xsi:noNamespaceSchemaLocation="../schema/descriptor.xsd">'))
        self.assertEqual(self.check("schema.xml").out_text(), "Nothing found in 1 file.\n")

    def test_profile_is_dangerous_wherever_the_system_says_that_it_lies(self):
        folder = self.host.path("users\\jo\\Desktop")
        self.host.write("profile.xml", GOOD.replace(
            "<f op", f"<g op_code='del_folder' minimum_score='1'><e name='{folder}'/></g><f op"))
        self.assertEqual(self.check("profile.xml").out_text(), "Nothing found in 1 file.\n")
        key = "HKLM\\Software\\Microsoft\\Windows NT\\CurrentVersion\\ProfileList\\S-1-5-21-" + str(os.getpid())
        self.addCleanup(windows.run, "reg", "delete", key, "/f")
        windows.run("reg", "add", key, "/v", "ProfileImagePath", "/d", self.host.path("users\\jo"), "/f")
        found = json.loads(self.check("profile.xml", "--format", "json").out)["findings"]
        self.assertEqual([finding["rule"] for finding in found], ["dangerous-folder"])

    def test_empty_marks_are_found(self):
        # An empty id is the list of installed programs itself, which is always there.
        self.host.write("marks/products.xml", '<uninstall_information><product name="a" file="a.xml">'
                        '<v name="1" id=""/><v name="2" prodName=""/></product></uninstall_information>')
        found = json.loads(self.check("marks\\products.xml", "--format", "json").out)["findings"]
        self.assertEqual([finding["rule"] for finding in found], ["empty-mark", "empty-mark"])

    def test_empty_attribute_is_not_called_missing(self):
        for entry, message in [("op_code='exec_tool'><e path='app_path' tool_name=''/>", '"tool_name" is empty.'),
                               ("op_code='exec_tool'><e path='app_path' wait='yes'/>", 'The entry has no attribute "tool_name" '
                                'or "module", which "exec_tool" needs.'),
                               ("op_code='del_folder'><e path=''/>", '"path" is empty, and there is no "name".'),
                               ("op_code='del_folder'><e/>", 'The entry has no attribute "path" or "name", which "del_folder" '
                                'needs.')]:
            self.host.write("entry.xml", GOOD.replace("<f op", f"<g {entry}</g><f op"))
            with self.subTest(entry):
                found = json.loads(self.check("entry.xml", "--format", "json").out)["findings"]
                told = [finding["message"] for finding in found]
                self.assertEqual([text for text in told if "empty" in text or "has no attribute" in text], [message])

    def test_missing_path(self):
        self.assert_refused(self.check("none.xml"), 2, 'there is no file or folder "none.xml".')
        self.assert_refused(self.check("good.xml", "none\\x.xml"), 2, 'there is no file or folder "none\\x.xml".')

    def test_folder_without_catalogues(self):
        (self.host.folder / "empty").mkdir()
        self.assert_refused(self.check("empty"), 2, 'the folder "empty" holds neither products.xml nor detection.xml.')

    def test_file_that_is_too_large(self):
        with open(self.host.folder / "large.xml", "wb") as file:
            file.truncate(16 * 2**20 + 1)
        self.assert_refused(self.check("large.xml"), 2, '"large.xml" is larger than 16 MB, and no catalogue.')

    def test_failure_as_json(self):
        ended = self.check("none.xml", "--format", "json")
        self.assertEqual(json.loads(ended.out), {"format": 1, "error": {
            "code": 2, "message": 'there is no file or folder "none.xml".'}})

    def test_no_path(self):
        self.assert_refused(self.check(), 87, "check needs a PATH: a file, or a folder with catalogues.")

    def test_files_that_are_no_xml(self):
        for name, content in [("empty.xml", b""), ("program.xml", (BUILD / "bin/prodsweep.dll").read_bytes()[:65536]),
                              ("zeros.xml", bytes(65536)), ("deep.xml", b"<a>" * 200000), ("half.xml", GOOD.encode()[:99])]:
            (self.host.folder / name).write_bytes(content)
            ended = self.check(name)
            with self.subTest(name):
                self.assertEqual((ended.code, ended.err), (2, b""))
                self.assertRegex(ended.out_text(), r"^\S+:\d+:\d+: error: The file cannot be read: .*\. \[not-well-formed\]\n")

    def test_file_of_a_later_xml_is_told_which_one_is_read(self):
        self.host.write("later.xml", "<?xml version='1.1'?>" + GOOD)
        self.assertIn("it says that it is XML 1.1, and only 1.0 is read everywhere.", self.check("later.xml").out_text())

    def test_huge_sections_take_no_long(self):
        entries = "".join(f"<e path='app_path' name='{i}.exe'/>" for i in range(100000))
        tools = "".join(f"<t path='app_path' tool_name='{i}.exe' wait='yes'/>" for i in range(20000))
        keys = "".join(f"<k name='HKCU\\\\Software\\\\{i:05}'/>" for i in range(20000))
        self.host.write("huge.xml", GOOD.replace("</f>", f"</f><f op_code='del_file'>{entries}</f>"
                        f"<t op_code='exec_tool'>{tools}</t><k op_code='del_regkey'>{keys}</k>"))
        ended = self.check("huge.xml")
        self.assertEqual((ended.code, ended.out_text().splitlines()[-1]), (0, "20000 warnings in 1 file."))


if __name__ == "__main__":
    pyreport.main("host_check", REPORTS)
