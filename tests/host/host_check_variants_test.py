"""prodsweep check: other spellings and other company of what its samples show, and what it must not complain of."""
import json
import unittest

from windows import Installation, REPORTS

import pyreport


FOLDER = '<install_folder name="Harbor\\Ledger"/>'


def descriptor(*sections, version='mandatory_sections="all"', place=FOLDER, behind=""):
    return (f'<uninstall_information><version_list><a/></version_list><a {version}>{place}'
            f'<win_nt>{"".join(sections)}</win_nt></a>{behind}</uninstall_information>')


def section(op_code, *entries, attributes='minimum_score="1"'):
    return f'<s op_code="{op_code}" {attributes}>{"".join(f"<e {entry}/>" for entry in entries)}</s>'


PROBE = section("del_file", 'path="app_path" name="ledger.exe"')
FILE = 'path="app_path" name="ledger.exe"'
ENVIRONMENT = "HKLM\\SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment"
ANY = 'mandatory_sections="any"'
NO_MINIMUM = ""
VALUE = 'key_path="HKCU\\Software\\Harbor Ledger"'


def beside(op_code, *entries, **more):
    """The entries in a descriptor that is otherwise without a fault."""
    return descriptor(PROBE, section(op_code, *entries, **more))


# What is found in each, once for each place.
DESCRIPTORS = {
    "folder with slashes": (beside("del_folder", 'name="C:/Windows"'), ["dangerous-folder"]),
    "folder with doubled separators": (beside("del_folder", 'name="C:\\\\Windows"'), ["dangerous-folder"]),
    "folder with a dot behind it": (beside("del_folder", 'name="C:\\Windows."'), ["dangerous-folder"]),
    "folder as a device": (beside("del_folder", 'name="\\\\?\\C:\\Windows"'), ["dangerous-folder"]),
    "folders for 32-bit programs": (
        beside("del_folder", 'name="C:\\Program Files (x86)"', 'name="C:\\Windows\\SysWOW64"'),
        ["dangerous-folder"] * 2),
    "another user's folder": (beside("del_folder", 'name="C:\\Users\\anna\\Documents"'), ["dangerous-folder"]),
    "whole share": (beside("del_folder", 'name="\\\\server\\share"'), ["dangerous-folder"]),
    "folder around the product's": (
        descriptor(section("del_folder", 'path="app_path" name=".."'),
                   place='<app_path key="HKLM\\Software\\H" name="p"/>'),
        ["dangerous-folder"]),
    "folder in an entry that detection skips": (
        descriptor(PROBE, '<s op_code="del_folder"><e path="windows_folder">sleep</e></s>'),
        ["dangerous-folder", "sleep-text"]),
    "product's folders": (beside("del_folder", 'path="app_data" name="Harbor"', 'name="C:\\ProgramData\\Harbor"',
                                 'name="\\\\server\\share\\Harbor"'), []),
    "folder of an empty keyword": (beside("del_folder", 'path=""'), ["missing-attribute"]),
    "folder with the marker": (beside("del_folder", 'path="app_data" name="#####Harbor"'), ["marker-without-path"]),
    "tool of an empty name": (beside("exec_tool", 'path="app_path" tool_name="" wait="yes"', attributes=NO_MINIMUM), ["empty-name"]),
    "tool without a name": (beside("exec_tool", 'path="app_path" wait="yes"', attributes=NO_MINIMUM), ["missing-attribute"]),
    "function beside an empty tool": (
        beside("exec_tool", 'module="C:\\h.dll" method_name="f" tool_name=""', attributes=NO_MINIMUM), ["unused-attribute"]),
    "marker without a name": (beside("del_file", 'path="app_path" name="#####"'), ["empty-name"]),
    "tool named like the marker": (
        beside("exec_tool", 'path="app_path" tool_name="#####" wait="yes"', attributes=NO_MINIMUM), []),
    "whole path behind a keyword": (
        beside("del_file", 'path="app_data" name="C:\\Harbor\\a.exe"'),
        ["impossible-path"]),
    "pattern of folders": (beside("del_folder", 'path="app_data" name="Harbor?"'), ["impossible-path"]),
    "tool behind a keyword": (
        beside("exec_tool", 'path="app_path" tool_name="C:\\u.exe" wait="yes"', attributes=NO_MINIMUM),
        ["impossible-path"]),
    "whole path as install folder": (
        descriptor(PROBE, place='<install_folder name="C:\\Harbor"/>'),
        ["impossible-path"]),
    "possible paths": (beside("del_file", 'name="C:\\Harbor\\a.exe"', 'path="app_path" name="a.txt:stream"',
                              'name="\\\\?\\C:\\Harbor\\b.exe"', 'path="app_path" name="#####c.exe"'), []),
    "system file with slashes": (beside("del_file", 'name="C:/Windows/System32/NTDLL.DLL"'), ["dangerous-file"]),
    "shortcuts below nothing": (beside("del_shortcut", 'path="common_start_menu" target_name="a.exe"'),
                                ["relative-path"]),
    "names of versions that begin alike": (
        "<uninstall_information><version_list><a/><a_2/></version_list>" + "".join(
            f'<{name} mandatory_sections="all"><app_path key="HKLM\\Software\\H\\{name}" name="p"/><win_nt>'
            f'<s op_code="del_folder" minimum_score="1"><e path="app_path"/></s></win_nt></{name}>'
            for name in ("a", "a_2")) + "</uninstall_information>", []),
    "folder below another, with slashes": (beside("del_folder", 'name="C:/Harbor"', 'name="C:/Harbor/data"'), []),
    "version that is there twice": (
        descriptor(PROBE, behind='<a mandatory_sections="all"><install_folder name="B"/><win_nt/></a>'),
        ["repeated-element"]),
    "version that is named product": (
        '<uninstall_information><version_list><product/></version_list><product mandatory_sections="all">'
        f'<install_folder name="H"/><win_nt>{PROBE}</win_nt></product></uninstall_information>', []),
    "comment where all sections have to pass": (
        descriptor("<!-- x -->", section("kill_process", 'target_name="a.exe"')),
        ["comment-between-sections"]),
    "comment where one section is enough": (
        descriptor("<!-- x -->", section("kill_process", 'target_name="a.exe"'), version=ANY),
        ["always-installed", "comment-between-sections"]),
    "unknown op_code that passes": (descriptor(PROBE, section("del_fiel", FILE, attributes=NO_MINIMUM), version=ANY),
                                    ["always-installed", "unknown-op-code"]),
    "unknown op_code with an entry that must be found": (
        descriptor(PROBE, section("del_fiel", FILE + ' mandatory="yes"', attributes=NO_MINIMUM), version=ANY),
        ["unknown-op-code"]),
    "sleep that counts": (
        descriptor('<s op_code="kill_process" minimum_score="1"><sleep target_name="a.exe"/></s>', version=ANY),
        ["always-installed", "sleep-element"]),
    "mandatory in another case": (descriptor(section("del_file", FILE + ' Mandatory="true"')), ["yes-value"]),
    "numbers among blanks": (
        descriptor(section("del_file", FILE + ' score=" 2 "', attributes='minimum_score="\t+1 "')),
        []),
    "number that is too large": (descriptor(section("del_file", FILE + ' score="2147483648"')), ["number-value"]),
    "largest number": (descriptor(section("del_file", FILE + ' score="002147483647"')), []),
    "entry twice where it counts nothing": (
        descriptor(section("del_file", FILE, *['path="app_path" name="b" score="0"'] * 2)),
        []),
    "tool twice": (
        beside("exec_tool", *['path="app_path" tool_name="u.exe" wait="yes"'] * 2, attributes=NO_MINIMUM),
        []),
    "two stars": (beside("del_regvalue", VALUE + ' name="**"'), ["every-value"]),
    "three stars": (beside("del_regvalue", VALUE + ' name="***"'), ["star-inside"]),
    "two stars in front": (beside("del_regvalue", VALUE + ' name="**a"'), ["star-inside"]),
    "star behind a folder": (beside("del_regvalue", VALUE + ' rel_name="common_files" name="*"'), []),
    "star in front behind a folder": (
        beside("del_regvalue", VALUE + ' rel_name="common_files" name="*.dll"'),
        ["star-inside"]),
    "pattern that takes a system's value along": (beside("del_regvalue", f'key_path="{ENVIRONMENT}" name="Pa*"'),
                                                  ["dangerous-value"]),
    "all values of a key that belongs to all": (
        beside("del_regvalue", 'key_path="HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Run" name="*"'),
        ["dangerous-value", "every-value"]),
    "product's own variables": (beside("del_regvalue", f'key_path="{ENVIRONMENT}" name="HARBOR_*"'), []),
    "keys of any user": (
        beside("del_regkey", 'name="HKU\\S-1-5-18\\Software"', 'name="HKU\\.DEFAULT\\Software\\Harbor"'),
        ["dangerous-key"]),
    "keys of the machine by other names": (
        beside("del_regkey", 'name="HKLM/SAM"', 'name="HKLM\\SYSTEM\\ControlSet001\\Services"', 'name="HKCR\\.exe"',
               'name="HKLM\\Software\\Classes\\WOW6432Node\\CLSID"', 'name="HKCU\\Software\\Clients"'),
        ["dangerous-key"] * 5),
    "critical processes in any case": (
        beside("kill_process", 'target_name="LSASS.EXE"', 'target_name="System"', 'target_name="explorer.exe"',
               attributes=NO_MINIMUM), ["dangerous-process"] * 2),
    "process without an extension": (
        beside("kill_process", 'target_name="ledger"', attributes=NO_MINIMUM),
        ["process-name"]),
    "critical services": (
        beside("disableandstop_driver", 'name="tcpip"', attributes=NO_MINIMUM),
        ["dangerous-service"]),
    "tool that another version deletes": (
        "<uninstall_information><version_list><a/><b/></version_list>" + "".join(
            f'<{name} mandatory_sections="all">{FOLDER}<win_nt>{inner}</win_nt></{name}>' for name, inner in (
                ("a", PROBE + section("exec_tool", 'path="app_path" tool_name="u.exe"', attributes=NO_MINIMUM)),
                ("b", section("del_folder", 'path="app_path"')))) + "</uninstall_information>",
        ["tool-not-waited-for"]),
    "redirection that is left on": (
        beside("exec_tool", 'path="app_path" tool_name="u.exe" wait="yes" disable_wow64_redir="no"',
               attributes=NO_MINIMUM), []),
}

# Found in descriptors of other makers' products, and harmless in those of the family.
SCORED = {
    "number": (descriptor(section("del_file", FILE + ' score="x"', attributes='minimum_score="1x"')),
               ["minimum-out-of-reach"] + ["number-value"] * 2),
    "mandatory": (descriptor(section("del_file", FILE + ' mandatory="1"')), ["yes-value"]),
    "mandatory_sections": (descriptor(PROBE, version='mandatory_sections="ALL"'), ["mandatory-sections-value"]),
    "scores of tools": (
        beside("exec_tool", 'path="app_path" tool_name="u.exe" wait="yes" score="1"'),
        ["score-of-tool"] * 2),
    "tools in capitals": (beside("EXEC_TOOL", 'path="app_path" tool_name="u.exe" wait="yes"'), ["tool-section-scores"]),
    "tools alone": (
        descriptor(section("exec_tool", 'path="app_path" tool_name="u.exe" wait="yes"', attributes=NO_MINIMUM)),
        ["never-installed"]),
    "no sections": (descriptor(), ["never-installed"]),
    "text": (descriptor(PROBE, '<s op_code="del_file"><e name="C:\\H\\a.exe">sleep</e></s>'), ["sleep-text"]),
    "entry twice": (descriptor(section("del_file", FILE, FILE)), ["duplicate-entry"]),
}

CATALOGUES = {
    "display names that differ in case": (
        '<v name="1" prodName="Ledger"/><v name="2" prodName="LEDGER"/>', []),
    "one key by two names": (
        '<v name="1" keypath="HKCU\\Software\\H" keyvalue="v"/>'
        '<v name="2" keypath="HKEY_CURRENT_USER\\SOFTWARE\\H" keyvalue="V"/>',
        ["shared-mark"]),
    "key path with a separator behind it": (
        '<v name="1" keypath="HKCU\\Software\\H\\" keyvalue="v"/>',
        ["key-separator"]),
    "update location with a separator behind it": (
        '<v name="1" keypath="HKCU\\Software\\H\\UpdateLocation\\" keyvalue="v"/>',
        ["key-separator", "update-location-twice"]),
}


def product(file, name="Harbor", versions='<v name="1" keypath="HKCU\\Software\\Harbor" keyvalue="v"/>'):
    return f'<product name="{name}" file="{file}">{versions}</product>'


def catalogue(*products):
    return f"<uninstall_information>{''.join(products)}</uninstall_information>"


UNINSTALL = "Microsoft\\Windows\\CurrentVersion\\Uninstall"

PAIR = [product("a.xml"), product("b.xml", "Reader", '<v name="1" id="R"/>')]


def shortcuts(path, target):
    return beside("del_shortcut", f'rel_shortcut="common_app_data" path="{path}" target_name="{target}"',
                  attributes=NO_MINIMUM)


# Products of the family, of other makers, and the files that they lie in.
FOLDERS = {
    "descriptors whose names differ in case": (
        [product("a.xml"), product("A.XML", "Reader", '<v name="1" id="R"/>')], [], {"intern/a.xml": descriptor(PROBE)},
        ["descriptor-shared"]),
    "descriptor by several ways": (
        [product("s\\a.xml"), product("s/a.xml", "B", '<v name="1" id="B"/>'),
         product("..\\intern\\s\\a.xml", "C", '<v name="1" id="C"/>')], [],
        {"intern/s/a.xml": descriptor(section("del_fiel", FILE))}, ["descriptor-shared"] * 2 + ["unknown-op-code"]),
    "catalogue where a descriptor should be": (
        [], [product("a.xml")], {"extern/a.xml": f"<uninstall_information>{product('b.xml')}</uninstall_information>"},
        ["unknown-attribute", "unknown-attribute", "unknown-element", "version-list-missing"]),
    "display name of the 32-bit view": (
        [product("a.xml", versions='<v name="1" prodName="Ledger"/>')], [], {"intern/a.xml": descriptor(
            PROBE, section("del_regkey", f'name="HKLM\\SOFTWARE\\WOW6432Node\\{UNINSTALL}\\Ledger"'))},
        ["mark-in-other-view"]),
    "key path of the 32-bit view": (
        [product("a.xml", versions='<v name="1" keypath="HKLM\\Software\\Harbor\\Ledger" keyvalue="v"/>')], [],
        {"intern/a.xml": descriptor(PROBE, section("del_regkey", 'name="HKLM\\Software\\WOW6432Node\\Harbor"'))},
        ["mark-in-other-view"]),
    "key path of both views": (
        [product("a.xml", versions='<v name="1" keypath="HKLM\\Software\\Harbor\\Ledger" keyvalue="v"/>')], [],
        {"intern/a.xml": descriptor(PROBE, section("del_regkey", 'name="HKLM\\Software\\WOW6432Node\\Harbor"',
                                                   'name="HKLM\\Software\\Harbor"'))}, []),
    "other maker's key of the 32-bit view": (
        [], [product("a.xml", versions='<v name="1" id="Ledger"/>')], {"extern/a.xml": descriptor(
            PROBE, section("del_regkey", f'name="HKLM\\SOFTWARE\\WOW6432Node\\{UNINSTALL}\\Ledger"'))}, []),
    "shared key with two names of its hive": (
        PAIR, [],
        {"intern/a.xml": beside("del_regkey", 'name="HKCU\\Software\\Shared"'),
         "intern/b.xml": beside("del_regkey", 'name="HKEY_CURRENT_USER\\Software\\Shared"')}, []),
    "values of one name in two folders": (
        [], PAIR,
        {"extern/a.xml": descriptor(section("del_regvalue", VALUE + ' rel_name="common_files" name="x.dll"')),
         "extern/b.xml": descriptor(section("del_regvalue", VALUE + ' rel_name="windows_system" name="x.dll"'))}, []),
    "file in a folder that the other one spells differently": (
        PAIR, [],
        {"intern/a.xml": beside("del_folder", 'name="C:\\H\\Shared"'),
         "intern/b.xml": beside("del_file", 'name="C:\\H\\shared\\deep\\words.dat"')}, ["shared-spelling"] * 2),
    "folder in the app path of the other, which is spelled differently": (
        PAIR, [],
        {"intern/a.xml": descriptor(section("del_folder", 'path="app_path"')),
         "intern/b.xml": beside("del_folder", 'path="program_files" name="Harbor\\ledger\\Data"')},
        ["shared-spelling"] * 2),
    "file in a folder that is spelled alike": (
        PAIR, [],
        {"intern/a.xml": beside("del_folder", 'name="C:\\H\\Shared"', 'name="C:\\H\\Data\\"'),
         "intern/b.xml": beside("del_file", 'name="C:\\H\\Shared\\Words.dat"', 'name="C:\\H\\Data\\x"',
                                'name="C:\\H\\Sharedwords.dat"', 'name="C:\\H\\shared2\\words.dat"')}, []),
    "files of folders with other separators": (
        PAIR, [],
        {"intern/a.xml": beside("del_folder", 'name="C:\\H\\Shared"'),
         "intern/b.xml": beside("del_file", 'name="C:\\H\\Shared\\deep/words.dat"', 'name="C:/H/Shared/x"')},
        ["shared-spelling"] * 3),
    "shortcuts in a folder that the other one spells differently": (
        PAIR, [],
        {"intern/a.xml": beside("del_folder", 'path="common_app_data" name="Harbor"'),
         "intern/b.xml": shortcuts("harbor", "a.exe")}, ["shared-spelling"] * 2),
    "shortcut in a folder that the other one spells differently": (
        PAIR, [],
        {"intern/a.xml": beside("del_folder", 'path="common_app_data" name="Harbor"'),
         "intern/b.xml": shortcuts("harbor\\x.lnk", "a.exe")}, ["shared-spelling"] * 2),
    "shortcuts in a folder that is spelled alike": (
        PAIR, [],
        {"intern/a.xml": beside("del_folder", 'path="common_app_data" name="Harbor"'),
         "intern/b.xml": shortcuts("Harbor", "a.exe")}, []),
    "the same shortcuts in one folder with two spellings": (
        PAIR, [],
        {"intern/a.xml": shortcuts("Harbor", "a.exe"),
         "intern/b.xml": shortcuts("harbor", "A.exe")}, ["shared-spelling"] * 2),
    "other shortcuts in one folder with two spellings": (
        PAIR, [],
        {"intern/a.xml": shortcuts("Harbor", "a.exe"),
         "intern/b.xml": shortcuts("harbor", "b.exe")}, []),
    "file in a file": (
        PAIR, [],
        {"intern/a.xml": beside("del_file", 'name="C:\\H\\Shared"'),
         "intern/b.xml": beside("del_file", 'name="C:\\H\\shared\\words.dat"')}, []),
    "key below one that is spelled differently, and a value of it": (
        PAIR, [],
        {"intern/a.xml": beside("del_regkey", 'name="HKCU\\Software\\JJ\\Shared"'),
         "intern/b.xml": descriptor(
             PROBE, section("del_regkey", 'name="HKEY_CURRENT_USER\\Software\\jj\\shared\\deep"'),
             section("del_regvalue", 'key_path="HKCU\\Software\\jj\\Shared" name="C:\\a\\b.dll"'))},
        ["shared-spelling"] * 3),
    "key below one that is spelled alike, and a value of it": (
        PAIR, [],
        {"intern/a.xml": beside("del_regkey", 'name="HKCU\\Software\\JJ\\Shared"'),
         "intern/b.xml": descriptor(
             PROBE, section("del_regkey", 'name="HKEY_CURRENT_USER\\Software\\JJ\\Shared\\deep"'),
             section("del_regvalue", 'key_path="HKCU\\Software\\JJ\\Shared" name="C:\\a\\b.dll"'))}, []),
    "key of another view": (
        PAIR, [],
        {"intern/a.xml": beside("del_regkey", 'name="HKCU\\Software\\JJ" x32view="1"'),
         "intern/b.xml": beside("del_regkey", 'name="HKCU\\Software\\JJ"')},
        ["shared-spelling"] * 2 + ["x32view-no-effect"]),
    "value of the name of a key": (
        PAIR, [],
        {"intern/a.xml": beside("del_regvalue", 'key_path="HKCU\\Software" name="JJ"'),
         "intern/b.xml": beside("del_regkey", 'name="HKCU\\Software\\jj\\deep"')}, []),
    "folder of another maker around a file of the family": (
        [product("a.xml")], [product("b.xml", "Reader", '<v name="1" id="R"/>')],
        {"intern/a.xml": descriptor(section("del_file", 'path="common_files" name="Harbor\\x.dll"')),
         "extern/b.xml": descriptor(section("del_folder", 'path="common_files" name="Harbor"'))},
        ["shared-unprotected"] * 2),
    "file of the family and of another maker": (
        [product("a.xml")], [product("b.xml", "Reader", '<v name="1" id="R"/>')],
        {"intern/a.xml": descriptor(section("del_file", 'path="common_files" name="Harbor\\x.dll"')),
         "extern/b.xml": descriptor(section("del_file", 'path="common_files" name="Harbor\\X.dll"'))},
        ["shared-unprotected"] * 2),
}


class Variants(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.host = Installation("check-variants")
        cls.addClassCleanup(cls.host.close)
        paths = {}
        for name, (text, _) in DESCRIPTORS.items():
            paths[name] = cls.write(f"{len(paths)}.xml", text)
        for name, (text, _) in SCORED.items():
            paths[name] = cls.write(f"extern/{len(paths)}.xml", text)
            paths[name + " of the family"] = cls.write(f"intern/{len(paths)}.xml", text)
        for name, (text, _) in CATALOGUES.items():
            paths[name] = cls.write(f"{len(paths)}/products.xml", catalogue(product("a.xml", versions=text)))
        for name, (own, other, files, _) in FOLDERS.items():
            paths[name] = str(len(paths))
            for file, products in (("products.xml", own), ("detection.xml", other)):
                cls.write(f"{paths[name]}/{file}", catalogue(*products))
            for file, text in files.items():
                cls.write(f"{paths[name]}/{file}", text)
        ended = cls.host.run("check", "--format", "json", *paths.values(), cwd=cls.host.folder)
        if ended.err:
            raise RuntimeError(ended.err_text())
        cls.found = {name: [] for name in paths}
        for finding in json.loads(ended.out)["findings"]:
            name, = (name for name, path in paths.items()
                     if finding["file"] == path or finding["file"].startswith(path + "\\"))
            cls.found[name].append(finding["rule"])

    @classmethod
    def write(cls, name, text):
        cls.host.write(name, text)
        return name.replace("/", "\\")

    def assert_found(self, table):
        for name, (*_, expected) in table.items():
            with self.subTest(name):
                self.assertEqual(expected, sorted(self.found[name]))

    def test_descriptors(self):
        self.assert_found(DESCRIPTORS)

    def test_scores(self):
        self.assert_found(SCORED)
        self.assert_found({name + " of the family": ([],) for name in SCORED})

    def test_catalogues(self):
        self.assert_found(CATALOGUES)

    def test_folders(self):
        self.assert_found(FOLDERS)


if __name__ == "__main__":
    pyreport.main("host_check_variants", REPORTS)
