"""schema/*.xsd: what they let pass, what they refuse and in which words, and that they know what the library knows."""
import json
import pathlib
import re
import subprocess
import sys
import unittest
import xml.etree.ElementTree as ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "host"))
import windows  # noqa: E402
from windows import Installation, REPORTS  # noqa: E402

import pyreport  # noqa: E402

XS = "{http://www.w3.org/2001/XMLSchema}"
CATALOGUE = ROOT / "schema" / "catalogue.xsd"
DESCRIPTOR = ROOT / "schema" / "descriptor.xsd"


def faults(schema, text):
    """What the checker finds wrong, one sentence for each fault."""
    ended = subprocess.run(["xmllint", "--noout", "--schema", schema, "-"], input=text.encode("utf-8"),
                           capture_output=True, check=False)
    lines = ended.stderr.decode("utf-8").splitlines()
    found = [line.split(" error : ")[1] for line in lines if " error : " in line]
    if (ended.returncode == 0) != (not found):
        raise AssertionError(f"xmllint ended with {ended.returncode}:\n" + "\n".join(lines))
    return found


def catalogue(inside):
    return f"<uninstall_information>{inside}</uninstall_information>"


def product(inside="", attributes='name="P" file="p.xml"'):
    return catalogue(f"<product {attributes}>{inside}</product>")


def descriptor(inside, attributes=""):
    return f"<uninstall_information><version_list><v/></version_list><v {attributes}>{inside}</v></uninstall_information>"


def section(inside, name="any_name", attributes='op_code="del_file"'):
    return descriptor(f"<win_nt><{name} {attributes}>{inside}</{name}></win_nt>")


def entry(name, attributes, section_name="any_name"):
    return section(f"<{name} {attributes}/>", section_name)


GOOD_CATALOGUES = {
    "no products": catalogue(""),
    "comments between products": catalogue('<!-- c --><product name="P" file="p.xml"/><!-- c -->'),
    "exec_all before": catalogue('<exec_all>false</exec_all><product name="P" file="p.xml"/>'),
    "exec_all between": catalogue('<product name="P" file="p.xml"/><exec_all>true</exec_all><product name="Q" file="q.xml"/>'),
    "descriptor in a subfolder": product(attributes='name="P" file="sub folder\\p.xml"'),
    "version by id": product('<version name="1" id="{88D3C1DE-D93D-4C41-9C0F-37FA648790EA}"/>'),
    "version by display name": product('<version name="1" prodName="P 1"/>'),
    "version by value": product('<version name="1" keypath="HKLM\\Software\\P" keyvalue="Path"/>'),
    "version by value, long hive": product('<version name="1" keypath="HKEY_CURRENT_USER/Software" keyvalue="Path"/>'),
    "version of another name": product('<v1 name="1"/><any name="2"/>'),
    "version with children": product('<version name="1"><setup x="1">a<b/></setup><setup/></version>'),
}
BAD_CATALOGUES = {
    "other root": ("<products/>", "No matching global declaration"),
    "misspelt product": (catalogue('<produkt name="P" file="p.xml"/>'), "Element 'produkt': This element is not expected"),
    "text between products": (catalogue("text"), "Character content other than whitespace is not allowed"),
    "attribute of the root": ('<uninstall_information a="b"/>', "The attribute 'a' is not allowed"),
    "exec_all in capitals": (catalogue("<exec_all>False</exec_all>"), "The value 'False' is not an element of the set"),
    "exec_all with blanks": (catalogue("<exec_all> false </exec_all>"), "The value ' false ' is not an element"),
    "exec_all twice": (catalogue("<exec_all>true</exec_all><exec_all>true</exec_all>"), "Element 'exec_all': This element"),
    "product without name": (product(attributes='file="p.xml"'), "The attribute 'name' is required but missing"),
    "product without file": (product(attributes='name="P"'), "The attribute 'file' is required but missing"),
    "product of no name": (product(attributes='name="" file="p.xml"'), "[facet 'minLength']"),
    "product of unknown attribute": (product(attributes='name="P" file="p.xml" kind="1"'), "The attribute 'kind' is not"),
    "two products of one name": (catalogue('<product name="P" file="p.xml"/>' * 2), "Duplicate key-sequence ['P']"),
    "descriptor by full path": (product(attributes='name="P" file="C:\\p.xml"'), "[facet 'pattern']"),
    "descriptor of no name": (product(attributes='name="P" file="sub\\"'), "[facet 'pattern']"),
    "text in a product": (product("text"), "Character content other than whitespace is not allowed"),
    "version without name": (product('<version id="x"/>'), "Element 'version': The attribute 'name' is required"),
    "version of unknown attribute": (product('<version name="1" keyPath="HKLM\\a"/>'), "The attribute 'keyPath' is not"),
    "version of no id": (product('<version name="1" id=""/>'), "attribute 'id': [facet 'minLength']"),
    "too long display name": (product(f'<version name="1" prodName="{"x" * 128}"/>'), "[facet 'maxLength']"),
    "key path without hive": (product('<version name="1" keypath="Software\\P"/>'), "attribute 'keypath': [facet 'pattern']"),
    "hive in small letters": (product('<version name="1" keypath="hklm\\P"/>'), "attribute 'keypath': [facet 'pattern']"),
    "hive alone": (product('<version name="1" keypath="HKLM\\"/>'), "attribute 'keypath': [facet 'pattern']"),
}

GOOD_DESCRIPTORS = {
    "no sections of known names": section('<x name="a"/>', attributes='op_code="del_folder" minimum_score="-1"'),
    "folders of a version": descriptor('<app_path key="HKLM\\a" name="b"/><install_folder name="c"/>'),
    "comment above win_nt": descriptor('<!-- c --><win_nt><files op_code="del_file"><file name="a"/></files></win_nt>'),
    "all sections have to pass": descriptor("", 'mandatory_sections="all"'),
    "one listed version is absent": "<uninstall_information><version_list><a/><b/></version_list><b/></uninstall_information>",
    "file": entry("file", 'path="app_path" name="#####a.sys" score="+2" mandatory="no" restart_required="yes"'),
    "folder by keyword": entry("folder", 'path="common_app_data"'),
    "folder by path": entry("folder", 'name="C:\\a"'),
    "shortcut": entry("shortcut", 'rel_shortcut="start_menu" path="" rel_target="app_path" target_name="a.exe"'),
    "key": entry("key", 'name="HKCR\\.a" x32view="true"'),
    "search": entry("search", 'name="HKCR\\CLSID" data_str="a;b" complete_str="yes"'),
    "value": entry("value", 'key_path="HKCU\\a" rel_name="common_files" name="a*" x32view="1"'),
    "process": entry("process", 'target_name="a.exe"'),
    "tool": entry("tool", 'tool_name="a.exe" cmd_line="" wait="yes" os="x32" show_window="no" disable_wow64_redir="yes"'),
    "function": entry("function", 'module="a.dll" method_name="F" sleep_after_exec="100" os="x64"'),
    "service and driver": section('<service name="a"/><driver name="b"/>'),
    "entry of another name": entry("whatever", 'name="a" anything="b" score="0"'),
}
BAD_DESCRIPTORS = {
    "other root": ("<descriptor/>", "No matching global declaration"),
    "no version_list": ("<uninstall_information><v/></uninstall_information>", "Expected is ( version_list )"),
    "empty version_list": ("<uninstall_information><version_list/><v/></uninstall_information>",
                           "Element 'version_list': Missing child element(s)"),
    "no version": ("<uninstall_information><version_list><v/></version_list></uninstall_information>",
                   "Element 'uninstall_information': Missing child element(s)"),
    "sections that have to pass": (descriptor("", 'mandatory_sections="ALL"'), "The value 'ALL' is not an element"),
    "app_path without name": (descriptor('<app_path key="HKLM\\a"/>'), "Element 'app_path': The attribute 'name' is required"),
    "app_path without hive": (descriptor('<app_path key="a" name="b"/>'), "Element 'app_path', attribute 'key': [facet"),
    "install_folder without name": (descriptor("<install_folder/>"), "Element 'install_folder': The attribute 'name'"),
    "empty win_nt": (descriptor("<win_nt/>"), "Element 'win_nt': Missing child element(s)"),
    "attribute of win_nt": (descriptor('<win_nt os="x64"><a/></win_nt>'), "Element 'win_nt', attribute 'os': The attribute"),
    "text in win_nt": (descriptor("<win_nt>a<b/></win_nt>"), "Element 'win_nt': Character content"),
    "unknown op_code": (section("<x/>", attributes='op_code="delete"'), "The value 'delete' is not an element of the set"),
    "op_code in capitals": (section("<x/>", attributes='op_code="DEL_FILE"'), "The value 'DEL_FILE' is not an element"),
    "known section without op_code": (section("<x/>", "files", ""), "The attribute 'op_code' is required but missing"),
    "known section with another op_code": (section("<x/>", "files", 'op_code="del_folder"'), "The value 'del_folder' is not"),
    "known section without entries": (section("", "files"), "Element 'files': Missing child element(s)"),
    "minimum_score": (section("<x/>", attributes='op_code="del_file" minimum_score="two"'), "'two' is not a valid value"),
    "file without name": (entry("file", 'path="app_path"'), "Element 'file': The attribute 'name' is required"),
    "file of unknown attribute": (entry("file", 'name="a" nme="b"'), "Element 'file', attribute 'nme': The attribute 'nme'"),
    "keyword in capitals": (entry("file", 'path="APP_PATH" name="a"'), "The value 'APP_PATH' is not an element of the set"),
    "keyword that is a path": (entry("folder", 'path="C:\\a"'), "Element 'folder', attribute 'path': [facet 'enumeration']"),
    "shortcut without target": (entry("shortcut", 'path="a"'), "Element 'shortcut': The attribute 'target_name' is required"),
    "shortcut without place": (entry("shortcut", 'target_name="a"'), "Element 'shortcut': The attribute 'path' is required"),
    "key without hive": (entry("key", 'name="Software"'), "Element 'key', attribute 'name': [facet 'pattern']"),
    "search for nothing": (entry("search", 'name="HKCR\\a"'), "Element 'search': The attribute 'data_str' is required"),
    "value without key": (entry("value", 'name="a"'), "Element 'value': The attribute 'key_path' is required"),
    "process without name": (entry("process", 'score="1"'), "Element 'process': The attribute 'target_name' is required"),
    "tool without name": (entry("tool", 'path="app_path"'), "Element 'tool': The attribute 'tool_name' is required"),
    "tool with a module": (entry("tool", 'tool_name="a" module="b"'), "attribute 'module': The attribute 'module' is not"),
    "function without method": (entry("function", 'module="a.dll"'), "The attribute 'method_name' is required but missing"),
    "function with arguments": (entry("function", 'module="a" method_name="b" cmd_line="c"'), "The attribute 'cmd_line' is"),
    "service without name": (entry("service", ""), "Element 'service': The attribute 'name' is required but missing"),
    "driver without name": (entry("driver", ""), "Element 'driver': The attribute 'name' is required but missing"),
    "score of any entry": (entry("whatever", 'score="1.5"'), "'1.5' is not a valid value"),
    "score out of range": (entry("whatever", 'score="2147483648"'), "'2147483648' is not a valid value"),
    "mandatory of any entry": (entry("whatever", 'mandatory="YES"'), "The value 'YES' is not an element of the set"),
    "os of any entry": (entry("whatever", 'os="x86"'), "The value 'x86' is not an element of the set"),
    "sleep below zero": (entry("whatever", 'sleep_after_exec="-1"'), "[facet 'minInclusive']"),
    "x32view of any entry": (entry("whatever", 'x32view="yes"'), "The value 'yes' is not an element of the set"),
    "keyword of any entry": (entry("whatever", 'rel_target="nowhere"'), "The value 'nowhere' is not an element of the set"),
}


class Documents(unittest.TestCase):
    def test_samples_are_valid(self):
        samples = ROOT / "samples" / "catalogue"
        files = [(CATALOGUE, path) for path in samples.glob("*.xml")]
        files += [(DESCRIPTOR, path) for path in samples.glob("*/*.xml")]
        self.assertGreater(len(files), 5)
        for schema, path in files:
            with self.subTest(path.name):
                self.assertEqual(faults(schema, path.read_text("utf-8")), [])

    def test_whole_files_of_the_pages_are_valid(self):
        for schema, page in [(CATALOGUE, "catalogue.md"), (DESCRIPTOR, "descriptor.md")]:
            text = (ROOT / "docs" / page).read_text("utf-8")
            whole = re.search(r"## A whole one\n+```xml\n(.*?)```", text, re.DOTALL).group(1)
            with self.subTest(page):
                self.assertEqual(faults(schema, whole), [])

    def test_good_files_pass(self):
        for schema, rows in [(CATALOGUE, GOOD_CATALOGUES), (DESCRIPTOR, GOOD_DESCRIPTORS)]:
            for name, text in rows.items():
                with self.subTest(f"{schema.name}: {name}"):
                    self.assertEqual(faults(schema, text), [])

    def test_bad_files_are_refused_for_the_one_thing_that_is_wrong(self):
        for schema, rows in [(CATALOGUE, BAD_CATALOGUES), (DESCRIPTOR, BAD_DESCRIPTORS)]:
            for name, (text, sentence) in rows.items():
                with self.subTest(f"{schema.name}: {name}"):
                    found = faults(schema, text)
                    self.assertIn(sentence, found[0] if found else "nothing")
                    # The checker tells a broken value by its facet, and then sometimes once more by its type.
                    self.assertEqual(len({re.match(r"Element '[^']+'(, attribute '[^']+')?", line).group() for line in found}),
                                     1, found)


def enumeration(schema, name):
    kind = ElementTree.parse(schema).find(f".//{XS}simpleType[@name='{name}']")
    return [value.get("value") for value in kind.iter(f"{XS}enumeration")]


def table(source, name):
    """The first text of each row of a table in the sources."""
    rows = re.search(rf"\b{name}\[\] = \{{\n(.*?)\n\}};", (ROOT / "src" / source).read_text("utf-8"), re.DOTALL).group(1)
    return re.findall(r'^    \{L"([^"]+)"(?:, L"([^"]+)")?', rows, re.MULTILINE)


class KnownWords(unittest.TestCase):
    def test_op_codes_are_those_of_the_library(self):
        known = [text for text, _ in table("interpreter/op_codes.cpp", "opCodes")]
        self.assertEqual(len(known), 11)
        self.assertEqual(sorted(enumeration(DESCRIPTOR, "opCode")), sorted(known))

    def test_folder_keywords_are_those_of_the_library(self):
        known = [text for text, _ in table("environment/special_folder.cpp", "folderRows")]
        self.assertEqual(len(known), 18)
        self.assertEqual(sorted(enumeration(DESCRIPTOR, "folderKeyword")), sorted([*known, "app_path"]))

    def test_hives_are_those_of_the_library(self):
        known = sorted(name for row in table("registry/split_key_path.cpp", "hiveRows") for name in row)
        self.assertEqual(len(known), 14)
        for schema in (CATALOGUE, DESCRIPTOR):
            pattern = ElementTree.parse(schema).find(f".//{XS}simpleType[@name='keyPath']//{XS}pattern").get("value")
            self.assertEqual(sorted(re.match(r"\(([\w|]+)\)", pattern).group(1).split("|")), known)

    def test_attributes_are_those_that_the_library_reads(self):
        told = {name for schema in (CATALOGUE, DESCRIPTOR)
                for attribute in ElementTree.parse(schema).iter(f"{XS}attribute") if (name := attribute.get("name"))}
        sources = "".join(path.read_text("utf-8") for floor in ("catalogue", "interpreter")
                          for path in (ROOT / "src" / floor).glob("*.cpp") if not path.name.endswith("_test.cpp"))
        self.assertGreater(len(told), 30)
        self.assertEqual([name for name in sorted(told) if f'L"{name}"' not in sources], [])


class Documentation(unittest.TestCase):
    def test_each_element_attribute_and_value_is_explained(self):
        for schema in (CATALOGUE, DESCRIPTOR):
            tree = ElementTree.parse(schema)
            types = {kind.get("name"): kind for tag in ("complexType", "simpleType") for kind in tree.iter(XS + tag)}
            things = [thing for kind in ("element", "attribute", "enumeration") for thing in tree.iter(XS + kind)
                      if thing.get("ref") is None]
            self.assertGreater(len(things), 10)
            for thing in things:
                if schema == DESCRIPTOR and thing.get("name") == "op_code" and thing.get("type") is None:
                    continue  # a section's own, of which each value is explained
                own = thing.find(f"{XS}annotation/{XS}documentation")
                kind = types.get(thing.get("type"))
                told = own if own is not None else kind.find(f"{XS}annotation/{XS}documentation")
                with self.subTest(f"{schema.name}: {thing.attrib}"):
                    self.assertTrue("".join(told.itertext()).strip())


class Library(unittest.TestCase):
    """A file that names its schema is read as if it did not."""

    NAMES = 'xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xsi:noNamespaceSchemaLocation="{}"'

    def test_files_that_name_their_schema_are_read(self):
        host = Installation("schema")
        self.addCleanup(host.close)
        root = "<uninstall_information"
        # The schemas are there for one file and missing for the other; neither is looked for.
        named = {schema: f"{root} {self.NAMES.format(schema)}" for schema in ("catalogue.xsd", "descriptor.xsd", "none.xsd")}
        host.add_file("catalogue.xsd", CATALOGUE)
        host.add_file("extern/descriptor.xsd", DESCRIPTOR)
        host.write("products.xml", catalogue("").replace(root, named["none.xsd"]))
        host.write("detection.xml", product().replace(root, named["catalogue.xsd"]))
        found = section('<folder path="windows_folder"/>', attributes='op_code="del_folder" minimum_score="1"')
        for name in ("descriptor.xsd", "none.xsd"):
            with self.subTest(name):
                text = found.replace(root, named[name])
                self.assertEqual(faults(DESCRIPTOR, text), [])
                host.write("extern/p.xml", text)
                ended = host.run("list", "--json")
                self.assertEqual(ended.code, 0, ended.err_text())
                self.assertEqual([(p["name"], p["installed"]) for p in json.loads(ended.out)["products"]], [("P", True)])


if __name__ == "__main__":
    pyreport.main("schema", REPORTS)
