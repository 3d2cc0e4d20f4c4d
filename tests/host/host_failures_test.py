"""What goes wrong: one clear sentence that names the file, and the exit code that scripts expect."""
import json
import os
import unittest

import windows
from windows import Installation, REPORTS, product

import pyreport

GOOD = "<uninstall_information/>"
UNREADABLE = "cannot be read: it is not well-formed, or something in it is not as it must be (see prodsweep check)"
BAD_CATALOGUES = {
    "empty": "",
    "cut off": "<uninstall_information><product",
    "not XML": "name=value\n",
    "another root": "<products/>",
    "product without a name": '<uninstall_information><product file="a.xml"/></uninstall_information>',
    "product without a file": '<uninstall_information><product name="A"/></uninstall_information>',
    "comment in a product": "<uninstall_information>" + product("A", "<!-- -->") + "</uninstall_information>",
    "version without a name": "<uninstall_information>" + product("A", "<v id='x'/>") + "</uninstall_information>",
}


class Failure(unittest.TestCase):
    def setUp(self):
        self.host = Installation("failures")
        self.addCleanup(self.host.close)

    def assert_fails(self, ended, code, sentence):
        self.assertEqual((ended.code, ended.out, ended.err_text()), (code, b"", f"prodsweep: {sentence}\n"))


class Catalogue(Failure):
    def fault(self, name, fault):
        return f'the catalogue "{self.host.path(name)}" {fault}'

    def test_missing_catalogue_is_named(self):
        for missing, present, kind in [("products.xml", "detection.xml", "own"),
                                       ("detection.xml", "products.xml", "other")]:
            self.host.write(present, GOOD)
            for arguments in [[], ["--kind", kind], ["--installed"], ["--installed", "--kind", kind]]:
                with self.subTest(missing=missing, arguments=arguments):
                    self.assert_fails(self.host.run("list", *arguments), 13, self.fault(missing, "is missing") + ".")
            (self.host.folder / present).unlink()

    def test_both_missing_are_both_named(self):
        self.assert_fails(self.host.run("list"), 13, self.fault("products.xml", "is missing") + ", and " +
                          self.fault("detection.xml", "is missing") + ".")

    def test_catalogue_that_was_not_asked_for_is_not_blamed(self):
        for kind, name in [("own", "products.xml"), ("other", "detection.xml")]:
            with self.subTest(kind):
                self.assert_fails(self.host.run("list", "--kind", kind), 13, self.fault(name, "is missing") + ".")

    def test_damaged_catalogue_is_named(self):
        self.host.write("products.xml", GOOD)
        for name, text in BAD_CATALOGUES.items():
            with self.subTest(name):
                self.host.write("detection.xml", text)
                self.assert_fails(self.host.run("list"), 13, self.fault("detection.xml", UNREADABLE) + ".")

    def test_one_missing_one_damaged_are_told_apart(self):
        self.host.write("products.xml", BAD_CATALOGUES["cut off"])
        self.assert_fails(self.host.run("list"), 13, self.fault("products.xml", UNREADABLE) + ", and " +
                          self.fault("detection.xml", "is missing") + ".")

    def test_catalogues_lie_beside_the_library_not_the_program(self):
        self.host.write("products.xml", GOOD)
        self.host.write("detection.xml", GOOD)
        self.host.add_file("lib/prodsweep.dll", self.host.folder / "prodsweep.dll")
        ended = self.host.run("list", "--kind", "own", "--library", self.host.path("lib\\prodsweep.dll"))
        self.assert_fails(ended, 13, self.fault("lib\\products.xml", "is missing") + ".")

    def test_json_tells_the_failure_on_standard_output_too(self):
        self.host.write("products.xml", GOOD)
        ended = self.host.run("list", "--json")
        sentence = self.fault("detection.xml", "is missing") + "."
        self.assertEqual(json.loads(ended.out), {"format": 1, "error": {"code": 13, "message": sentence}})
        self.assertEqual((ended.code, ended.err_text()), (13, f"prodsweep: {sentence}\n"))


class Library(Failure):
    def test_missing_library_beside_the_program(self):
        (self.host.folder / "prodsweep.dll").unlink()
        self.assert_fails(self.host.run("list"), 2, f'the library "{self.host.path("prodsweep.dll")}" is missing.')

    def test_missing_library_given_by_path(self):
        for path in [self.host.path("none.dll"), self.host.path("no folder\\prodsweep.dll"), "Q:\\prodsweep.dll"]:
            with self.subTest(path):
                self.assert_fails(self.host.run("list", "--library", path), 2, f'the library "{path}" is missing.')

    def test_missing_library_as_json(self):
        ended = self.host.run("list", "--json", "--library", self.host.path("none.dll"))
        self.assertEqual((ended.code, json.loads(ended.out)["error"]["code"]), (2, 2))

    def test_folder_is_no_library(self):
        ended = self.host.run("list", "--library", self.host.path("."))
        self.assertNotIn(ended.code, [0, 2, 13, 87])
        self.assertIn("cannot be loaded", ended.err_text())

    def test_file_that_is_no_library(self):
        self.host.write("text.dll", "not a library")
        path = self.host.path("text.dll")
        self.assert_fails(self.host.run("list", "--library", path), 193,
                          f'the library "{path}" cannot be loaded (Windows error 193).')

    def test_library_of_another_purpose(self):
        path = "C:\\windows\\system32\\version.dll"
        self.assert_fails(self.host.run("list", "--library", path), 127,
                          f'"{path}" is not a prodsweep library: it has no function GetInstalledProductsEx.')


class ShortOfMemory(unittest.TestCase):
    def test_failure_without_a_bad_catalogue_is_told_as_such(self):
        host = Installation("failures_short", library=windows.BUILD / "tests" / "standin.dll")
        self.addCleanup(host.close)
        ended = host.run("list", environment={"PRODSWEEP_STANDIN": "short"})
        self.assertEqual((ended.code, ended.out), (14, b""))
        self.assertIn("memory is short", ended.err_text())


class Output(Failure):
    def setUp(self):
        super().setUp()
        self.host.catalogues(own=[product("Any")])

    def test_full_disk_is_a_failure(self):
        with open("/dev/full", "wb") as full:
            ended = self.host.run("list", stdout=full)
        self.assertEqual((ended.code, ended.err_text()), (29, "prodsweep: the output cannot be written.\n"))

    def test_help_and_version_to_a_full_disk_are_failures_too(self):
        for arguments in [["--help"], ["--version"], ["list", "--help"]]:
            with self.subTest(arguments), open("/dev/full", "wb") as full:
                ended = self.host.run(*arguments, stdout=full)
                self.assertEqual((ended.code, ended.err_text()), (29, "prodsweep: the output cannot be written.\n"))

    def test_reader_that_has_gone_is_a_failure(self):
        reader, writer = os.pipe()
        os.close(reader)
        with os.fdopen(writer, "wb", closefd=True) as gone:
            self.assertEqual(self.host.run("list", stdout=gone).code, 29)


if __name__ == "__main__":
    pyreport.main("host_failures", REPORTS)
