"""prodsweep list: what it shows of real catalogues and a real registry."""
import json
import os
import pty
import re
import subprocess
import unittest

import windows
from windows import Installation, REPORTS, UserKey, product

import pyreport

CLEF = "\U0001D11E"
# Latin letters, letters beyond the usual code pages, and one beyond the basic plane.
KEY = f"a Ключ {CLEF}"


class ListedProducts(unittest.TestCase):
    """Three products of each kind, of which some are installed."""

    @classmethod
    def setUpClass(cls):
        cls.host = Installation("list")
        cls.addClassCleanup(cls.host.close)
        key = UserKey("list")
        cls.addClassCleanup(key.close)
        cls.host.catalogues(
            own=[product("Anvil", key.version("1", "anvil1", "<lang>en</lang><b>x</b><lang>de</lang>"),
                         key.version("2", "anvil2"), key.version("3", "anvil3")),
                 product(KEY, key.version("1", "clef"), file="sub\\clef.xml"),
                 product("Absent", key.version("1", "absent"))],
            other=[product("Foreign", key.version("1", "foreign", "<maker>Else</maker>")),
                   product("Missing", key.version("1", "missing"))])
        for name in ["anvil1", "anvil3", "clef", "foreign"]:
            key.add_version(name)

    def text(self, *arguments):
        ended = self.host.run("list", *arguments)
        self.assertEqual((ended.code, ended.err), (0, b""))
        return ended.out_text()

    def products(self, *arguments):
        return json.loads(self.text("--json", *arguments))["products"]

    def names(self, *arguments):
        return [entry["name"] for entry in self.products(*arguments)]

    def test_table_shows_the_whole_catalogue(self):
        self.assertEqual(self.text(), f"""\
Product   Kind   Installed  Versions found
--------  -----  ---------  -----------------------------------
Anvil     own    yes        UpdateLocation (b: x; lang: en, de)
                            UpdateLocation
{KEY}  own    yes        UpdateLocation
Absent    own    no         -
Foreign   other  yes        UpdateLocation (maker: Else)
Missing   other  no         -

5 products, 3 installed.
""")

    def test_table_of_the_installed(self):
        self.assertEqual(self.text("--installed"), f"""\
Product   Kind   Installed  Versions found
--------  -----  ---------  -----------------------------------
Anvil     own    yes        UpdateLocation (b: x; lang: en, de)
                            UpdateLocation
{KEY}  own    yes        UpdateLocation
Foreign   other  yes        UpdateLocation (maker: Else)

3 products installed.
""")

    def test_json_has_each_member_in_its_place(self):
        report = json.loads(self.text("--json", "--installed", "--kind", "own"), object_pairs_hook=list)
        anvil = [
            ("name", "Anvil"), ("kind", "own"), ("descriptor", self.host.path("intern\\any.xml")), ("installed", True),
            ("versions", [
                [("guid", "UpdateLocation"), ("children", [("b", ["x"]), ("lang", ["en", "de"])])],
                [("guid", "UpdateLocation"), ("children", [])]])]
        clef = [
            ("name", KEY), ("kind", "own"), ("descriptor", self.host.path("intern\\sub\\clef.xml")),
            ("installed", True), ("versions", [[("guid", "UpdateLocation"), ("children", [])]])]
        self.assertEqual(report, [("format", 1), ("library", self.host.path("prodsweep.dll")),
                                  ("products", [anvil, clef])])

    def test_json_keeps_what_is_not_installed(self):
        absent = [entry for entry in self.products() if entry["name"] == "Absent"]
        self.assertEqual(absent, [{"name": "Absent", "kind": "own", "installed": False, "versions": [],
                                   "descriptor": self.host.path("intern\\any.xml")}])

    def test_json_names_the_folder_of_other_makers_descriptors(self):
        self.assertEqual(self.products("--kind", "other")[0]["descriptor"], self.host.path("extern\\any.xml"))

    def test_kind_and_installed_choose(self):
        clef = KEY
        for arguments, names in [
                ([], ["Anvil", clef, "Absent", "Foreign", "Missing"]),
                (["--kind", "all"], ["Anvil", clef, "Absent", "Foreign", "Missing"]),
                (["--kind", "own"], ["Anvil", clef, "Absent"]),
                (["--kind=other"], ["Foreign", "Missing"]),
                (["--installed"], ["Anvil", clef, "Foreign"]),
                (["--installed", "--kind", "own"], ["Anvil", clef]),
                (["--installed", "--kind", "other"], ["Foreign"])]:
            with self.subTest(arguments):
                self.assertEqual(self.names(*arguments), names)

    def test_output_to_a_pipe_is_utf8_as_it_stands(self):
        out = self.host.run("list").out
        self.assertTrue(out.startswith(b"Product"), "no byte order mark")
        self.assertNotIn(b"\r", out)
        self.assertIn(CLEF.encode("utf-8"), out)

    def test_output_to_a_file_is_the_same(self):
        path = self.host.folder / "out.txt"
        with path.open("wb") as file:
            self.host.run("list", stdout=file)
        self.assertEqual(path.read_bytes(), self.host.run("list").out)

    def test_console_gets_characters_beyond_its_code_page(self):
        reader, writer = pty.openpty()
        with os.fdopen(writer, "wb") as terminal:
            child = subprocess.Popen(
                [windows.ROOT / "cmake" / "wine", windows.windows_path(self.host.program), "list"], cwd=windows.BUILD,
                stdin=terminal, stdout=terminal, stderr=subprocess.DEVNULL,
                env={**os.environ, "LC_ALL": "C.UTF-8", "TERM": "xterm"})
        seen = b""
        try:
            while chunk := os.read(reader, 65536):
                seen += chunk
        except OSError:
            pass  # the terminal's other end is closed: all was read
        os.close(reader)
        self.assertEqual(child.wait(windows.TIMEOUT), 0)
        # Wine's own console shows characters beyond the basic plane as two halves; Windows' does not.
        self.assertIn(KEY.removesuffix(CLEF), re.sub(rb"\x1b\[[0-9;?]*[A-Za-z]", b"", seen).decode("utf-8", "replace"))

    def test_library_may_be_given_by_full_path(self):
        program = windows.windows_path(windows.BUILD / "bin" / "prodsweep.exe")
        ended = windows.run(program, "list", "--json", "--library", self.host.path("prodsweep.dll"))
        self.assertEqual(json.loads(ended.out)["library"], self.host.path("prodsweep.dll"))

    def test_library_may_be_given_relative_to_the_current_folder(self):
        program = windows.windows_path(windows.BUILD / "bin" / "prodsweep.exe")
        ended = windows.run(program, "list", "--json", "--library", ".\\prodsweep.dll", cwd=self.host.folder)
        self.assertEqual(json.loads(ended.out)["library"], self.host.path("prodsweep.dll"))


class OtherCatalogues(unittest.TestCase):
    def setUp(self):
        self.host = Installation("list_other")
        self.addCleanup(self.host.close)

    def test_empty_catalogues_are_no_failure(self):
        self.host.catalogues()
        for arguments, text in [([], "The catalogue is empty.\n"), (["--installed"], "No product is installed.\n")]:
            with self.subTest(arguments):
                ended = self.host.run("list", *arguments)
                self.assertEqual((ended.code, ended.out_text(), ended.err), (0, text, b""))

    def test_empty_catalogues_as_json(self):
        self.host.catalogues()
        ended = self.host.run("list", "--json")
        self.assertEqual(ended.code, 0)
        self.assertEqual(json.loads(ended.out)["products"], [])

    def test_one_product_is_counted_in_the_singular(self):
        self.host.catalogues(own=[product("Alone")])
        self.assertTrue(self.host.run("list").out_text().endswith("\n1 product, 0 installed.\n"))

    def test_catalogue_of_the_other_kind_is_not_asked_for(self):
        self.host.catalogue("products.xml", product("Own"))
        ended = self.host.run("list", "--kind", "own", "--json")
        self.assertEqual((ended.code, [p["name"] for p in json.loads(ended.out)["products"]]), (0, ["Own"]))

    def test_same_name_twice_is_listed_twice(self):
        self.host.catalogues(own=[product("Twin"), product("Twin")])
        products = json.loads(self.host.run("list", "--json").out)["products"]
        self.assertEqual([p["name"] for p in products], ["Twin", "Twin"])

    def test_name_with_markup_and_line_end_stays_on_its_line(self):
        self.host.catalogues(own=[product("a &lt;&amp;&quot;&#10;b")])
        self.assertIn('\na <&"\uFFFDb  own', self.host.run("list").out_text())
        name = json.loads(self.host.run("list", "--json").out)["products"][0]["name"]
        self.assertEqual(name, 'a <&"\nb')

    def test_hundred_thousand_products_are_listed_in_order(self):
        names = [f"Product {i}" for i in range(100_000)]
        self.host.catalogues(own=[product(name) for name in names])
        listed = json.loads(self.host.run("list", "--json", "--kind", "own").out)["products"]
        self.assertEqual([p["name"] for p in listed], names)

    def test_folder_beyond_the_code_page_holds_library_and_catalogues(self):
        self.host.add_file(f"dir {CLEF}/prodsweep.dll", self.host.folder / "prodsweep.dll")
        self.host.catalogue(f"dir {CLEF}/products.xml", product("Deep"))
        library = self.host.path(f"dir {CLEF}\\prodsweep.dll")
        ended = self.host.run("list", "--kind", "own", "--json", "--library", library)
        self.assertEqual(ended.code, 0)
        report = json.loads(ended.out)
        self.assertEqual((report["library"], report["products"][0]["name"]), (library, "Deep"))

    def test_library_beside_the_program_goes_before_one_in_the_current_folder(self):
        self.host.catalogues(own=[product("Beside")])
        self.host.write("elsewhere/prodsweep.dll", "not a library")
        ended = self.host.run("list", "--json", cwd=self.host.folder / "elsewhere")
        self.assertEqual((ended.code, json.loads(ended.out)["library"]), (0, self.host.path("prodsweep.dll")))


class SearchOfLibraries(unittest.TestCase):
    """What the library loads by bare name (its log.dll) comes from the program's folder, never the current one."""

    def loaded(self, log_folder):
        host = Installation("list_search")
        self.addCleanup(host.close)
        host.catalogues()
        (host.folder / "here").mkdir()
        host.add_file(f"{log_folder}/log.dll", windows.BUILD / "tests" / "log.dll")
        ended = host.run("list", cwd=host.folder / "here", environment={"WINEDEBUG": "-all,trace+loaddll"})
        self.assertEqual(ended.code, 0)
        loaded = ended.err.decode("utf-8", "replace").replace("\\\\", "\\")
        self.assertIn(host.path("prodsweep.dll"), loaded)
        return host.path("log.dll") in loaded, host.path("here\\log.dll") in loaded

    def test_log_beside_the_program_is_loaded(self):
        self.assertEqual(self.loaded("."), (True, False))

    def test_log_in_the_current_folder_is_not(self):
        self.assertEqual(self.loaded("here"), (False, False))


class OddArrays(unittest.TestCase):
    """Shapes of the arrays that a real machine shows seldom."""

    @classmethod
    def setUpClass(cls):
        cls.host = Installation("list_odd", library=windows.BUILD / "tests" / "standin.dll")
        cls.addClassCleanup(cls.host.close)

    def run_list(self, *arguments):
        return self.host.run("list", *arguments, environment={"PRODSWEEP_STANDIN": "shapes"})

    def test_json_has_null_and_empty_where_nothing_was_given(self):
        shapes, unnamed = json.loads(self.run_list("--json").out)["products"]
        self.assertEqual(shapes["versions"], [
            {"guid": None, "children": {}},
            {"guid": "half \uFFFD pair", "children": {}},
            {"guid": "two\r\nlines\x1b[2J", "children": {"lone": [], "values": ["", "second"]}},
            {"guid": "plain", "children": {}}])
        self.assertEqual(unnamed, {"name": "", "kind": "other", "descriptor": "", "installed": True, "versions": []})

    def test_table_shows_every_shape_on_its_line(self):
        self.assertEqual(self.run_list().out_text().splitlines()[2:7], [
            "Shapes   own    yes        (key without a name)",
            "                           half \uFFFD pair",
            "                           two\uFFFD\uFFFDlines\uFFFD[2J (lone: ; values: , second)",
            "                           plain",
            "         other  yes        (found by its descriptor)"])


if __name__ == "__main__":
    pyreport.main("host_list", REPORTS)
