"""The guard rails of prodsweep uninstall: what it refuses to start, and that nothing is touched then."""
import json
import os
import unittest
from xml.sax.saxutils import quoteattr

from windows import Installation, REPORTS, UserKey, product, run, windows_path

import pyreport

REFUSED = 1603 % 256
MICROSOFT = "Software\\Microsoft"
CURRENT = f"{MICROSOFT}\\Windows\\CurrentVersion"
SERVICES = "System\\CurrentControlSet\\Services"

# One entry each: the name in the descriptor, and what it is refused for.
FOLDERS = {
    "drive": ("C:\\", "the root of a drive"),
    "drive by its letter": ("C:", "the root of a drive"),
    "other drive": ("B:\\", "the root of a drive"),
    "drive by a dot": ("C:\\.", "the root of a drive"),
    "drive by two dots": ("C:\\windows\\..", "the root of a drive"),
    "drive by too many dots": ("C:\\windows\\..\\..\\..", "the root of a drive"),
    "current drive": ("\\", "the root of a drive"),
    # Windows makes "\" of it, and Wine leaves it be: then it is the current folder, which lies above the library.
    "current drive by a dot": (".", "the folder of prodsweep itself"),
    "drive with slashes": ("C:/", "the root of a drive"),
    "drive as a device": ("\\\\?\\C:\\", "the root of a drive"),
    "drive as another device": ("\\\\.\\C:\\", "the root of a drive"),
    "share": ("\\\\server\\share", "the root of a drive"),
    "share as a device": ("\\\\?\\UNC\\server\\share", "the root of a drive"),
    "Windows": ("C:\\windows", "the folder of Windows"),
    "Windows in capitals": ("C:\\WINDOWS", "the folder of Windows"),
    "Windows with a separator": ("C:\\windows\\", "the folder of Windows"),
    "Windows with dots at its end": ("C:\\windows...", "the folder of Windows"),
    "Windows with blanks at its end": ("C:\\windows  ", "the folder of Windows"),
    "Windows with doubled separators": ("C:\\\\windows\\\\", "the folder of Windows"),
    "Windows with slashes": ("C:/windows/", "the folder of Windows"),
    "Windows as a device": ("\\\\?\\C:\\windows", "the folder of Windows"),
    "Windows by two dots": ("C:\\windows\\system32\\..", "the folder of Windows"),
    "system folder": ("C:\\windows\\system32", "the system folder of Windows"),
    "32-bit system folder": ("C:\\windows\\syswow64", "the system folder for 32-bit programs"),
    "drivers": ("C:\\windows\\system32\\drivers", "the folder of the drivers"),
    "fonts": ("C:\\windows\\Fonts", "the folder of the fonts"),
    "component store": ("C:\\windows\\winsxs", "the folder of the system's components"),
    "installer cache": ("C:\\windows\\Installer", "the folder of the packages that were installed"),
    "programs": ("C:\\Program Files", "the folder of all programs"),
    "32-bit programs": ("C:\\Program Files (x86)", "the folder of all 32-bit programs"),
    "common files": ("C:\\Program Files\\Common Files", "the folder of what programs share"),
    "32-bit common files": ("C:\\Program Files (x86)\\Common Files", "the folder of what 32-bit programs share"),
    "program data": ("C:\\ProgramData", "the folder of all programs' data"),
    "Windows' own data": ("C:\\ProgramData\\Microsoft", "the folder of Windows' own data"),
    "common start menu": ("C:\\ProgramData\\Microsoft\\Windows\\Start Menu", "the start menu of all users"),
    "common programs": ("C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs",
                        "the programs in the start menu of all users"),
    "common autostart": ("C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs\\StartUp",
                         "the autostart folder of all users"),
    "profiles": ("C:\\users", "the folder of all users' profiles"),
    "public profile": ("C:\\users\\Public", "a user's profile"),
    "public desktop": ("C:\\users\\Public\\Desktop", "the desktop of all users"),
    "public documents": ("C:\\users\\Public\\Documents", "the documents of all users"),
    "own profile": ("C:\\users\\%USERNAME%", "the user's profile"),
    "desktop": ("C:\\users\\%USERNAME%\\Desktop", "the user's desktop"),
    "documents": ("C:\\users\\%USERNAME%\\Documents", "the user's documents"),
    "roaming data": ("C:\\users\\%USERNAME%\\AppData\\Roaming", "the user's data of all programs"),
    "local data": ("C:\\users\\%USERNAME%\\AppData\\Local", "the user's data of all programs"),
    "start menu": ("C:\\users\\%USERNAME%\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu", "the user's start menu"),
    "downloads": ("C:\\users\\%USERNAME%\\Downloads", "a user's downloads"),
}
KEYS = {
    "machine": ("HKLM\\", "the machine's settings"),
    "machine by its long name": ("HKEY_LOCAL_MACHINE\\", "the machine's settings"),
    "user": ("HKCU\\", "the user's settings"),
    "users": ("HKU\\", "all users' settings"),
    "a user among all": ("HKU\\S-1-5-18", "the user's settings"),
    "default user": ("HKU\\.Default", "the user's settings"),
    "classes": ("HKCR\\", "the registered file types and COM classes"),
    "hardware profile": ("HKCC\\", "the hardware profile"),
    "software": ("HKLM\\Software", "all programs' settings"),
    "software in small letters": ("HKLM\\software", "all programs' settings"),
    "software with separators": ("HKLM\\\\Software\\", "all programs' settings"),
    "32-bit software": ("HKLM\\Software\\Wow6432Node", "all 32-bit programs' settings"),
    "Microsoft": (f"HKLM\\{MICROSOFT}", "Windows' own settings"),
    "32-bit Microsoft": ("HKLM\\Software\\Wow6432Node\\Microsoft", "Windows' own settings"),
    "Windows": (f"HKLM\\{MICROSOFT}\\Windows", "Windows' own settings"),
    "current version": (f"HKLM\\{CURRENT}", "Windows' own settings"),
    "32-bit current version": ("HKLM\\Software\\Wow6432Node\\Microsoft\\Windows\\CurrentVersion",
                               "Windows' own settings"),
    "uninstall": (f"HKLM\\{CURRENT}\\Uninstall", "the list of all installed programs"),
    "32-bit uninstall": ("HKLM\\Software\\Wow6432Node\\Microsoft\\Windows\\CurrentVersion\\Uninstall",
                         "the list of all installed programs"),
    "run": (f"HKLM\\{CURRENT}\\Run", "the programs that start with Windows"),
    "user's software": ("HKCU\\Software", "the user's settings of all programs"),
    "user's Microsoft": (f"HKCU\\{MICROSOFT}", "Windows' own settings"),
    "user's current version": (f"HKCU\\{CURRENT}", "Windows' own settings"),
    "user's run": (f"HKCU\\{CURRENT}\\Run", "the programs that start with Windows"),
    "system": ("HKLM\\SYSTEM", "the system's settings"),
    "control set": ("HKLM\\SYSTEM\\CurrentControlSet", "the system's settings"),
    "numbered control set": ("HKLM\\SYSTEM\\ControlSet001", "the system's settings"),
    "services": (f"HKLM\\{SERVICES}", "all services and drivers"),
    "services of a numbered control set": ("HKLM\\SYSTEM\\ControlSet001\\Services", "all services and drivers"),
    "classes by the machine": ("HKLM\\Software\\Classes", "the registered file types and COM classes"),
    "COM classes": ("HKCR\\CLSID", "all registered COM classes"),
    "COM classes by the machine": ("HKLM\\Software\\Classes\\CLSID", "all registered COM classes"),
    "32-bit COM classes": ("HKCR\\Wow6432Node\\CLSID", "all registered COM classes"),
    "user's COM classes": ("HKCU\\Software\\Classes\\CLSID", "all registered COM classes"),
    "COM interfaces": ("HKCR\\Interface", "all registered COM interfaces"),
    "type libraries": ("HKCR\\TypeLib", "all registered COM type libraries"),
}


def section(op_code, *entries):
    return f"<s op_code='{op_code}' minimum_score='1'>{''.join(entries)}</s>"


def entry(**attributes):
    return "<e " + " ".join(f"{name}={quoteattr(value)}" for name, value in attributes.items()) + "/>"


def descriptor(*sections):
    return ("<uninstall_information><version_list><v1/></version_list><v1><install_folder name='none'/>"
            f"<win_nt>{''.join(sections)}</win_nt></v1></uninstall_information>")


class Guarded(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.key = UserKey("guard")
        cls.addClassCleanup(cls.key.close)
        cls.key.add_version("Anvil")
        cls.user = run("cmd", "/c", "echo %USERNAME%").out_text().strip()

    def setUp(self):
        self.host = Installation("guard")
        self.addCleanup(self.host.close)
        self.host.catalogues(other=[product("Anvil", self.key.version("1", "Anvil"), file="Anvil.xml")])
        self.canary = self.host.write("canary/file.txt", "x")

    def install(self, *sections):
        """The canary would go first with every descriptor, since files are dealt with before keys."""
        canary = section("del_file", entry(name=self.host.path("canary/file.txt")))
        self.host.write("extern/Anvil.xml", descriptor(canary, *sections))

    def folders(self, *names):
        self.install(section("del_folder", *(entry(name=name) for name in names)))

    def uninstall(self, *arguments):
        return self.host.run("uninstall", "--yes", "Anvil", *arguments)

    def dangers(self):
        ended = self.host.run("plan", "Anvil", "--json")
        self.assertEqual((ended.code, ended.err_text()), (0, ""))
        return json.loads(ended.out_text())["dangers"]

    def assert_refused(self, ended, *words):
        self.assertEqual(ended.code, REFUSED, ended.err_text())
        self.assertRegex(ended.err_text(), r"\Aprodsweep: [^\n]+; nothing was removed[^\n]*\.\n\Z")
        for word in words:
            self.assertIn(word, ended.err_text())
        self.assertTrue(self.canary.exists())

    def assert_each_is_refused(self, op_code, places):
        """places: {case: (name in the descriptor, reason)}. Each has a product of its own, since in one descriptor
        names that begin alike would take each other's place."""
        for case, (name, _) in places.items():
            self.host.write(f"extern/{case}.xml", descriptor(section(op_code, entry(name=name))))
        self.host.catalogues(other=[product(case, file=f"{case}.xml") for case in places])
        ended = self.host.run("plan", "--force-all", "--kind", "other", "--json")
        self.assertEqual((ended.code, ended.err_text()), (0, ""))
        reasons = {case: set() for case in places}
        for danger in json.loads(ended.out_text())["dangers"]:
            reasons[danger["product"]].add(danger["reason"])
        for case, (_, reason) in places.items():
            with self.subTest(case):
                self.assertEqual(reasons[case], {reason})

    def test_each_folder_that_must_not_go_is_refused(self):
        self.assert_each_is_refused("del_folder", {case: (path.replace("%USERNAME%", self.user), reason)
                                                   for case, (path, reason) in FOLDERS.items()})

    def test_each_key_that_must_not_go_is_refused(self):
        self.assert_each_is_refused("del_regkey", KEYS)

    def test_refusal_touches_nothing_and_says_why(self):
        self.folders(self.host.path("intern"))
        self.host.write("intern/Own.xml", "x")
        ended = self.uninstall()
        self.assert_refused(ended, self.host.path("intern"), "the descriptors of prodsweep itself", "--allow-dangerous")
        self.assertTrue((self.host.folder / "intern" / "Own.xml").exists())
        self.assertIn("Anvil", self.host.run("list", "--installed").out_text())

    def test_help_says_that_the_limits_are_lifted_too(self):
        text = " ".join(self.host.run("uninstall", "--help").out_text().split())
        self.assertIn("Remove what is refused otherwise, also by --max-files and --max-keys, and say so", text)

    def test_refusal_is_an_object_in_json(self):
        self.folders(self.host.path("intern"))
        ended = self.uninstall("--json")
        self.assertEqual(ended.code, REFUSED)
        self.assertEqual(json.loads(ended.out_text())["error"]["code"], 1603)

    def test_folder_above_the_library_is_refused(self):
        self.folders(self.host.path("intern\\..\\.."))
        self.assert_refused(self.uninstall(), "is or holds", self.host.path("intern")[:-len("\\intern")])

    def test_profile_is_refused_wherever_the_system_says_that_it_lies(self):
        key = f"HKLM\\{MICROSOFT}\\Windows NT\\CurrentVersion\\ProfileList\\S-1-5-21-{os.getpid()}"
        self.addCleanup(run, "reg", "delete", key, "/f")
        run("reg", "add", key, "/v", "ProfileImagePath", "/t", "REG_EXPAND_SZ", "/d", self.host.path("users\\jo"), "/f")
        self.folders(self.host.path("users\\jo\\AppData\\Roaming\\Anvil"))
        self.assertEqual(self.dangers(), [])
        self.assert_each_is_refused("del_folder", {
            "profiles": (self.host.path("users"), "a user's profile"),
            "profile": (self.host.path("users\\jo"), "a user's profile"),
            "desktop": (self.host.path("users\\jo\\Desktop"), "a user's desktop"),
            "data": (self.host.path("users\\jo\\AppData\\Roaming"), "a user's data of all programs")})
        self.assert_each_is_refused("del_file", {
            "settings": (self.host.path("users\\jo\\ntuser.dat"), "a user's settings of all programs")})

    def test_files_of_the_library_are_refused(self):
        for name in ["log.dll", "log.ini"]:
            self.host.write(name, "x")
        for name in ["products.xml", "detection.xml", "prodsweep.dll", "prodsweep.exe", "log.dll", "log.ini"]:
            with self.subTest(name):
                self.install(section("del_file", entry(name=self.host.path(name))))
                self.assert_refused(self.uninstall(), name)

    def test_empty_service_name_is_refused_since_it_is_the_key_of_all_services(self):
        self.install(section("disable_service", entry(name="")))
        self.assert_refused(self.uninstall(), "all services and drivers")
        for op_code in ["disable_driver", "disableandstop_service", "disableandstop_driver"]:
            with self.subTest(op_code):
                self.assert_each_is_refused(op_code, {"Separator": ("\\", "all services and drivers"),
                                                      "Separators": ("\\\\", "all services and drivers")})

    def test_links_are_judged_by_where_they_lead(self):
        self.host.write("intern/Own.xml", "x")
        (self.host.folder / "link").symlink_to(self.host.folder / "intern")
        self.folders(self.host.path("link"))
        self.assert_refused(self.uninstall(), self.host.path("link"), self.host.path("intern"))
        self.assertTrue((self.host.folder / "intern" / "Own.xml").exists())

    def test_links_within_a_folder_are_judged_too(self):
        self.host.write("intern/Own.xml", "x")
        self.host.write("app/deep/a.txt", "x")
        (self.host.folder / "app" / "deep" / "link").symlink_to(self.host.folder / "intern")
        self.folders(self.host.path("app"))
        self.assert_refused(self.uninstall(), self.host.path("app\\deep\\link"), "the descriptors of prodsweep")
        self.assertTrue((self.host.folder / "app" / "deep" / "a.txt").exists())

    def link_key(self, name, target):
        """A link in the registry below this test's key."""
        key = f"{self.key.path}\\{name}".removeprefix("HKEY_CURRENT_USER\\")
        program = windows_path(REPORTS / "registry_link.exe")
        self.assertEqual(run(program, "make", key, target).code, 0)
        self.addCleanup(run, program, "remove", key)

    def test_links_within_a_key_are_judged_too(self):
        self.key.add_version("App")
        self.link_key("App\\link", "\\Registry\\Machine\\Software\\Clients")
        self.install(section("del_regkey", entry(name=f"{self.key.path}\\App")))
        self.assert_refused(self.uninstall(), f"{self.key.path}\\App\\link", "HKEY_LOCAL_MACHINE\\Software\\Clients",
                            "the default programs")
        for untouched in ["HKLM\\Software\\Clients\\Mail", f"{self.key.path}\\App\\UpdateLocation"]:
            self.assertEqual(run("reg", "query", untouched).code, 0, untouched)

    def test_key_behind_a_link_is_judged_by_where_it_leads(self):
        self.link_key("machine", "\\Registry\\Machine\\Software")
        self.install(section("del_regkey", entry(name=f"{self.key.path}\\machine\\Clients")))
        self.assert_refused(self.uninstall(), f"{self.key.path}\\machine\\Clients", "HKEY_LOCAL_MACHINE\\Software\\Clients")
        self.assertEqual(run("reg", "query", "HKLM\\Software\\Clients\\Mail").code, 0)

    def test_search_that_finds_a_forbidden_key_is_refused(self):
        # The empty text is in every value: the first key on the way that has one is taken whole.
        mark = section("del_regkey", entry(name=self.key.path + "\\nothing"))
        self.install(mark, section("del_regkey", entry(name="HKLM\\Software\\Microsoft\\Windows NT", data_str="")))
        self.assertIn("Windows' own settings", [danger["reason"] for danger in self.dangers()])

    def test_search_for_the_empty_text_is_refused_where_all_keys_must_not_go(self):
        # A list that ends in a separator ends in the empty text, which is in every value.
        mark = section("del_regkey", entry(name=self.key.path + "\\nothing"))
        for key, reason in [("HKCU\\Software\\Classes\\CLSID", "all registered COM classes"),
                            (f"HKLM\\{SERVICES}", "all services and drivers")]:
            for more in [{}, {"complete_str": "yes"}]:
                with self.subTest(key, **more):
                    self.install(mark, section("del_regkey", entry(name=key, data_str="no such text;", **more)))
                    self.assert_refused(self.uninstall(), reason)
        self.install(mark, section("del_regkey", entry(name=f"HKLM\\{SERVICES}", data_str="no such text")))
        self.assertEqual(self.dangers(), [])

    def test_search_for_the_empty_text_is_warned_of_elsewhere(self):
        mark = section("del_regkey", entry(name=self.key.path + "\\nothing"))
        self.install(mark, section("del_regkey", entry(name=self.key.path, data_str="no such text;")))
        report = json.loads(self.host.run("plan", "Anvil", "--json").out_text())
        self.assertEqual((report["dangers"], len(report["warnings"])), ([], 1))
        self.assertIn("empty text", report["warnings"][0]["text"])

    def test_pattern_that_takes_all_values_of_a_forbidden_key_is_refused(self):
        run_key = "HKCU\\Software\\Microsoft\\Windows\\CurrentVersion\\Run"
        self.install(section("del_regvalue", entry(key_path=run_key, name="*")))
        self.assertEqual([danger["reason"] for danger in self.dangers()], ["the programs that start with Windows"])
        self.install(section("del_regvalue", entry(key_path=run_key, name="Anvil*")))
        self.assertEqual(self.dangers(), [])

    def test_value_that_everybody_needs_is_refused(self):
        self.install(section("del_regvalue", entry(key_path="HKCU\\Environment", name="TEMP"),
                             entry(key_path=f"HKLM\\{CURRENT}\\..\\x", name="Path")))
        self.assertEqual(self.dangers(), [])
        self.install(section("del_regvalue", entry(
            key_path="HKLM\\System\\CurrentControlSet\\Control\\Session Manager\\Environment", name="Path")))
        self.assert_refused(self.uninstall(), "the search path of all programs, not of one")

    def test_ordinary_places_below_forbidden_ones_are_not_refused(self):
        self.install(section("del_folder", entry(name="C:\\Program Files\\Anvil"), entry(name="C:\\windowsill"),
                             entry(name="C:\\windows\\system32\\anvil"), entry(name="C:\\ProgramData\\Anvil")),
                     section("del_regkey", entry(name="HKLM\\Software\\Anvil"), entry(name="HKLM\\Software\\Micro"),
                             entry(name=f"HKLM\\{SERVICES}\\Anvil"), entry(name=f"HKLM\\{CURRENT}\\Uninstall\\Anvil"),
                             entry(name="HKCR\\Anvil.File"), entry(name="HKU\\S-1-5-18\\Software\\Anvil")))
        self.assertEqual(self.dangers(), [])

    def test_allowed_danger_is_removed_and_told(self):
        self.host.write("intern/Own.xml", "x")
        self.folders(self.host.path("intern"))
        ended = self.uninstall("--allow-dangerous", "--json")
        self.assertIn("prodsweep: --allow-dangerous: ", ended.err_text())
        self.assertIn("the descriptors of prodsweep itself", json.loads(ended.out_text())["lifted"][0])
        self.assertFalse((self.host.folder / "intern").exists())

    def test_more_files_than_allowed_are_refused(self):
        for i in range(3):
            self.host.write(f"app/{i}.txt", "x")
        self.folders(self.host.path("app"))
        # The canary is the fourth.
        self.assert_refused(self.uninstall("--max-files", "3"), "4 files", "--max-files allows 3")
        self.assertNotIn("refuse", self.uninstall("--max-files", "4").err_text())
        self.assertFalse(self.canary.exists())

    def test_more_keys_than_allowed_are_refused(self):
        self.key.add_version("Anvil\\more")
        self.install(section("del_regkey", entry(name=f"{self.key.path}\\Anvil\\more")))
        self.assert_refused(self.uninstall("--max-keys", "1"), "2 keys", "--max-keys allows 1")
        self.uninstall("--max-keys", "2")
        self.assertFalse(self.canary.exists())

    def test_critical_processes_and_services_are_refused(self):
        for op_code, names, reason in [
                ("kill_process", {"target_name": "Services.EXE"}, "a process that must run on"),
                ("kill_process", {"target_name": "PRODSWEEP.exe"}, "this program, which would end half way"),
                ("disable_driver", {"name": "disk"}, "a service that must stay: Windows does not start without it"),
                ("disableandstop_service", {"name": "\\RpcSs"}, "a service that must stay"),
                ("del_regkey", {"name": f"HKLM\\{SERVICES}\\Tcpip"}, "a service that must stay")]:
            with self.subTest(op_code, **names):
                self.install(section(op_code, entry(**names)))
                self.assert_refused(self.uninstall(), reason)

    def test_program_does_not_end_itself_under_another_name(self):
        self.host.program = self.host.add_file("other.exe", self.host.program)
        self.install(section("kill_process", entry(target_name="Other.exe")))
        self.assert_refused(self.uninstall(), "this program")

    def test_desktop_is_warned_of(self):
        self.install(section("kill_process", entry(target_name="EXPLORER.exe"), entry(target_name="anvil.exe")))
        report = json.loads(self.host.run("plan", "Anvil", "--json").out_text())
        self.assertEqual([warning["item"] for warning in report["warnings"]], ["EXPLORER.exe"])
        self.assertEqual(report["dangers"], [])


if __name__ == "__main__":
    pyreport.main("host_guard", REPORTS)
