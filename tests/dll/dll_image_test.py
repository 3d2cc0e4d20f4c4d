"""The built DLLs as files: what they are, what they offer, what they ask of the system."""
import os
import pathlib
import re
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
import pe_image  # noqa: E402
import pyreport  # noqa: E402

BUILD = pathlib.Path(os.environ["PRODSWEEP_BUILD"])
VERSION = os.environ["PRODSWEEP_VERSION"]
ROOT = pathlib.Path(__file__).resolve().parents[2]

EXPORTS = {
    "GetProducts", "GetInstalledProducts", "GetInstalledProductsEx", "UninstallProducts", "UninstallProduct",
    "UninstallForceAll", "UninstallAllInstalled", "GetProgressPercent",
}
LOG_EXPORTS = {
    "LogInit", "LogApplySettings", "LogSetSettingsFile", "LogEnable", "LogSetLevel", "LogSetPath", "LogSetType",
    "LogSetMode", "LogSetMaxSize", "LogSetDepth", "LogWrite", "LogIsEnabled", "LogDeinit", "LogUninitDeskMetrics",
    "LogTrackEvent", "LogTrackEventData",
}
WINDOWS_OWN = {
    "advapi32.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll", "oleaut32.dll", "shell32.dll", "shlwapi.dll", "user32.dll",
}
# Absent on old systems, or told apart by their absence: bound by name at run time.
BOUND_AT_RUN_TIME = re.compile(
    r"IsWow64Process2?|Wow64.*|GetNativeSystemInfo|RegDeleteKeyExW|(Nt|Zw)[A-Z].*|RtlDosPathNameToNtPathName_U"
    r"|RtlCreateUnicodeString|RtlFreeUnicodeString|Log[A-Z].*")


class Image:
    """What holds for both; the classes below name the file and what is special to it."""

    @classmethod
    def setUpClass(cls):
        cls.image = pe_image.Image(BUILD / "bin" / cls.file)

    def test_is_a_64_bit_library(self):
        self.assertEqual(pe_image.PE32_PLUS, self.image.magic)
        self.assertEqual(pe_image.MACHINE_AMD64, self.image.machine)
        self.assertTrue(self.image.file_flags & pe_image.FILE_IS_DLL)

    def test_exports_are_the_interface_undecorated_and_no_more(self):
        exports = self.image.exports()
        self.assertEqual(self.exports, set(exports))
        self.assertEqual(len(self.exports), len(exports))

    def test_imports_come_from_windows_own_libraries(self):
        self.assertLess(0, len(self.image.imports()))
        self.assertEqual(set(), set(self.image.imports()) - WINDOWS_OWN)
        self.assertEqual((0, 0), self.image.directories[pe_image.DELAYED_IMPORTS])

    def test_may_lie_anywhere_in_memory_and_runs_no_data(self):
        for flag in (pe_image.HIGH_ENTROPY_VA, pe_image.DYNAMIC_BASE, pe_image.NX_COMPAT):
            self.assertTrue(self.image.dll_flags & flag, hex(flag))
        self.assertFalse(self.image.file_flags & pe_image.FILE_RELOCS_STRIPPED)
        self.assertLess(0, self.image.directories[pe_image.RELOCATIONS][1])
        self.assertLess(1 << 32, self.image.image_base)

    def test_no_section_is_both_writable_and_executable(self):
        both = pe_image.SECTION_EXECUTE | pe_image.SECTION_WRITE
        self.assertEqual([], [s.name for s in self.image.sections if s.flags & both == both])

    def test_says_which_version_it_is(self):
        resource = self.image.version_resource()
        self.assertIsNotNone(resource)
        numbers = tuple(int(part) for part in VERSION.split(".")) + (0,)
        self.assertEqual((numbers, numbers), pe_image.fixed_version(resource))
        self.assertEqual(VERSION, pe_image.version_text(resource, "FileVersion"))
        self.assertEqual(self.file, pe_image.version_text(resource, "OriginalFilename"))

    def test_carries_no_time(self):
        self.assertEqual(0, self.image.timestamp)

    def test_brings_no_handler_that_prints(self):
        # The runtime's own, for exceptions that nobody catches, comes with formatted output and a demangler.
        self.assertNotIn(b"terminate called", self.image.data)


class ImageTest(Image, unittest.TestCase):
    file = "prodsweep.dll"
    exports = EXPORTS

    def test_public_header_declares_the_exports(self):
        header = (ROOT / "include" / "prodsweep" / "prodsweep.h").read_text("utf-8")
        declared = re.findall(r"^\s*PRODSWEEP_API \w+ (\w+)\(", header, re.MULTILINE)
        self.assertEqual(EXPORTS, set(declared))

    def test_nothing_is_imported_that_is_bound_at_run_time(self):
        functions = [name for names in self.image.imports().values() for name in names]
        self.assertEqual([], [name for name in functions if BOUND_AT_RUN_TIME.fullmatch(name)])
        self.assertIn("GetProcAddress", functions)


class LogImageTest(Image, unittest.TestCase):
    file = "log.dll"
    exports = LOG_EXPORTS

    def test_header_declares_the_exports(self):
        header = (ROOT / "include" / "prodsweep" / "log.h").read_text("utf-8")
        self.assertEqual(LOG_EXPORTS, set(re.findall(r"^\s*\w+ (Log\w+)\(", header, re.MULTILINE)))

    def test_prodsweep_binds_all_of_them_and_no_other(self):
        client = (ROOT / "src" / "environment" / "log_client.cpp").read_text("utf-8")
        self.assertEqual(LOG_EXPORTS, set(re.findall(r'"(Log\w+)"', client)))


if __name__ == "__main__":
    pyreport.main("dll_image", BUILD / "tests")
