"""What the pages show is built and run as it stands, on the sample catalogues: programs, commands, help texts."""
import json
import os
import re
import shlex
import shutil
import subprocess
import sys
import unittest

import pages
import shown
from pages import DOCS, ROOT

sys.path[:0] = [str(ROOT / "tests" / "host"), str(ROOT / "package")]
import make  # noqa: E402
import windows  # noqa: E402
from windows import BUILD, Installation, product, REPORTS, UserKey  # noqa: E402

import pyreport  # noqa: E402

WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]
# What the pages call a compiler, and the one that is meant, with options that let no warning pass.
COMPILERS = {
    "x86_64-w64-mingw32-g++-posix": [os.environ.get("PRODSWEEP_CXX", "x86_64-w64-mingw32-g++-posix"), *WARNINGS],
    "x86_64-w64-mingw32-gcc-posix": [os.environ.get("PRODSWEEP_CC", "x86_64-w64-mingw32-gcc-posix"), *WARNINGS],
    "makensis": ["makensis", "-WX"],
}

UNINSTALL = r"HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\Uninstall"
NOTES = rf"[{UNINSTALL}\{{C88CB445-D6F8-4480-80D0-46AC8CF573AE}}]"
LEDGER = f'[{UNINSTALL}\\DunmarrowLedger7]\n"DisplayName"="Dunmarrow Ledger 7"'
ARCHIVE = '[HKEY_LOCAL_MACHINE\\Software\\Halvane\\Archive\\UpdateLocation]\n"Path"="x"'
NOTHING = [rf"[-{UNINSTALL}\{{C88CB445-D6F8-4480-80D0-46AC8CF573AE}}]", rf"[-{UNINSTALL}\DunmarrowLedger7]",
           r"[-HKEY_LOCAL_MACHINE\Software\Halvane]"]


class Samples(Installation):
    """The program, the library and the sample catalogues in one folder."""

    def __init__(self, name):
        super().__init__(name)
        shutil.copytree(ROOT / "samples" / "catalogue", self.folder, dirs_exist_ok=True)
        self.add_file("log.dll", BUILD / "bin" / "log.dll")

    def machine(self, *products):
        """A command that makes a machine on which just these of the samples are installed."""
        text = "\n\n".join(["Windows Registry Editor Version 5.00", *NOTHING, *products, ""])
        name = f"machine{len(list(self.folder.glob('*.reg')))}.reg"
        (self.folder / name).write_bytes(text.replace("\n", "\r\n").encode("utf-16"))
        return f"reg import {name}"

    def batch(self, commands):
        """Runs commands one after the other in one start of Wine. Each ends as (exit code, output, errors)."""
        lines = ["@echo off"]
        for number, command in enumerate(commands):
            escaped = command.replace("%", "%%")
            lines += [f"{escaped} >{number}.out 2>{number}.err <nul", f"echo %errorlevel% >{number}.code"]
        (self.folder / "batch.cmd").write_bytes("\r\n".join([*lines, ""]).encode("utf-8"))
        windows.run("cmd", "/c", "batch.cmd", cwd=self.folder)
        return [(int(self._take(f"{number}.code")), self._take(f"{number}.out"), self._take(f"{number}.err"))
                for number in range(len(commands))]

    def _take(self, name):
        path = self.folder / name
        text = path.read_bytes().decode("utf-8").replace("\r\n", "\n")
        path.unlink()
        return text

    def as_shown(self, text):
        """The text with this folder under the name that the pages give it."""
        own = self.path("").rstrip("\\")
        return text.replace(own.replace("\\", "\\\\"), "C:\\\\prodsweep").replace(own, "C:\\prodsweep")

    def close(self):
        self.batch([self.machine()])
        super().close()


class Programs(unittest.TestCase):
    """The whole programs of the pages, built in the unpacked package by the very command lines that stand below them."""

    @classmethod
    def setUpClass(cls):
        cls.host = Samples("docs-programs")
        cls.addClassCleanup(cls.host.close)
        cls.package = cls.host.folder / "package"
        for name, data in make.contents(BUILD).items():
            (cls.package / name).parent.mkdir(parents=True, exist_ok=True)
            (cls.package / name).write_bytes(data)
        cls.programs = [program for page in pages.all_pages() for program in shown.programs(page)]
        for fence, _, command in cls.programs:
            cls.build(fence, command)

    @classmethod
    def build(cls, fence, command):
        (cls.package / fence.name).write_text(fence.text, encoding="utf-8")
        compiler, *arguments = shlex.split(command)
        made = subprocess.run([*COMPILERS[compiler], *arguments], cwd=cls.package, capture_output=True, text=True, check=False)
        if made.returncode != 0 or made.stderr:
            raise RuntimeError(f"{fence.name}: {made.stdout}{made.stderr}")
        shutil.copy(cls.package / cls.program(fence), cls.host.folder)

    @staticmethod
    def program(fence):
        return fence.name.rpartition(".")[0] + ".exe"

    def test_each_program_builds_without_a_warning_and_prints_what_the_page_shows(self):
        self.assertGreaterEqual(len(self.programs), 3)
        commands = []
        for fence, _, _ in self.programs:
            commands += [self.host.machine(NOTES, ARCHIVE), self.program(fence)]
        ended = self.host.batch(commands)[1::2]
        for (fence, output, _), (code, out, _) in zip(self.programs, ended):
            with self.subTest(fence.name):
                self.assertEqual((code, out), (0, output))

    def test_names_that_no_code_page_holds_are_listed(self):
        key = UserKey("docs-programs")
        self.addCleanup(key.close)
        key.add_version("Studio")
        place = Samples("docs-names")
        self.addCleanup(shutil.rmtree, place.folder)
        place.catalogues(own=[product("Студия 工作", key.version("1", "Studio", "<язык>日本</язык>"))])
        shutil.copy(self.package / "installed.exe", place.folder)
        (code, out, err), = place.batch(["installed.exe"])
        self.assertEqual((code, out, err), (0, "Студия 工作 (own)\n  UpdateLocation\n    язык: 日本\n", ""))

    def test_files_that_a_line_for_visual_c_names_are_in_the_package(self):
        lines = [line for page in DOCS.rglob("*.md") for line in shown.typed(page) if line.startswith("cl ")]
        self.assertTrue(lines)
        for line in lines:
            for name in re.findall(r"\S+\\\S+", line):
                self.assertTrue((self.package / name.replace("\\", "/")).is_file(), line)

    def test_each_block_that_is_a_whole_program_is_one_of_them(self):
        for page in pages.all_pages():
            for fence in pages.fences(pages.read(page)):
                # Those of the README have a test of their own.
                if page.name != "README.md" and re.search(r"\bw?main\(", fence.text):
                    self.assertTrue(fence.name, f"{page.name}:{fence.line}")


class Commands(unittest.TestCase):
    """The command lines of the pages, and the outputs that they show."""

    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.host = Samples("docs-commands")
        cls.addClassCleanup(cls.host.close)

    def check(self, step, before, ended):
        code, out, err = ended
        if step.command == "echo %errorlevel%":
            self.assertEqual(step.output, str(before))
        elif step.output is None:
            self.assertEqual((code, err), (0, ""))
        elif not shown.matches(self.host.as_shown(out + err), step.output):
            self.assertEqual(self.host.as_shown(out + err), step.output)

    def test_each_command_of_the_pages_runs_and_says_what_is_shown(self):
        shown_pages = {page: shown.transcripts(page) + shown.lone_commands(page) for page in DOCS.rglob("*.md")}
        shown_pages = {page: steps for page, steps in shown_pages.items() if steps}
        self.assertIn(DOCS / "host.md", shown_pages)
        # Each page begins on the same machine.
        start = self.host.machine(NOTES, LEDGER)
        ended = iter(self.host.batch([command for steps in shown_pages.values()
                                      for command in [start, *(step.command for step in steps)]]))
        for steps in shown_pages.values():
            before, _, _ = next(ended)
            for step in steps:
                step_ended = next(ended)
                with self.subTest(step.place, command=step.command):
                    self.check(step, before, step_ended)
                before, _, _ = step_ended


class OtherTools(unittest.TestCase):
    """What the pages show as typed and is for neither the program nor a compiler that a page's program needs."""

    def test_each_line_is_run_in_the_folder_of_the_sources_and_succeeds(self):
        lines = [line for page in DOCS.rglob("*.md") for line in shown.typed(page)
                 if not line.startswith("prodsweep ") and line not in [program[2] for program in shown.programs(page)]]
        # Visual C++ was not to be had; docs/README.md says so.
        lines = [line for line in lines if not line.startswith("cl ")]
        self.assertEqual([line.split()[0] for line in lines], ["xmllint"])
        for line in lines:
            ended = subprocess.run(["sh", "-c", line], cwd=ROOT, capture_output=True, text=True, check=False)
            self.assertEqual(ended.returncode, 0, ended.stderr)


def options_of_help(text):
    """The options and operands that a help text lists, above what it says of them."""
    options = set()
    for line in text.partition("\n\n\n")[0].splitlines():
        listed = re.match(r"  ((?:-\w,)?--[\w-]+|[A-Z]+)\b", line)
        if listed:
            options.update(listed.group(1).split(","))
    return options


def options_of_section(text):
    """The same of a section of the page: the first cells of its tables, each option in backticks."""
    return {name.split(" ")[0] for cells in pages.table_rows(text)
            for name in re.findall(r"`(-[\w-]+(?: [A-Z]+)?|[A-Z]+)`", cells[0])}


def members(report):
    """The names of a report's members, on every level; those that the catalogues and descriptors choose left out."""
    if isinstance(report, list):
        return set().union(*map(members, report))
    if not isinstance(report, dict):
        return set()
    return set(report).union(*(members(value) for name, value in report.items()
                               if name not in ("children", "attributes")))


class Reference(unittest.TestCase):
    """docs/host.md and what the program says of itself."""

    @classmethod
    def setUpClass(cls):
        cls.host = Samples("docs-reference")
        cls.addClassCleanup(cls.host.close)
        cls.page = pages.read(DOCS / "host.md")
        cls.sections = pages.sections(cls.page)
        cls.general = cls.host.batch(["prodsweep --help"])[0][1]
        cls.commands = re.findall(r"^  (\w+) ", cls.general.partition("Subcommands:")[2].partition("\n\n")[0],
                                  re.MULTILINE)
        helps = cls.host.batch([f"prodsweep {command} --help" for command in cls.commands])
        cls.helps = {command: ended[1] for command, ended in zip(cls.commands, helps)}

    def section_of(self, command):
        return self.sections.get(f"prodsweep {command}", "")

    def test_each_command_has_its_section_and_each_section_its_command(self):
        self.assertGreaterEqual(len(self.commands), 3)
        told = [heading.split(" ")[1] for heading in self.sections if heading.startswith("prodsweep ")]
        self.assertEqual(sorted(told), sorted(self.commands))

    def test_each_option_of_a_command_is_told_and_none_that_it_lacks(self):
        for command, text in self.helps.items():
            with self.subTest(command):
                self.assertEqual(options_of_section(self.section_of(command)),
                                 options_of_help(text) - {"-h", "--help"})

    def test_general_options_are_told_and_none_that_it_lacks(self):
        self.assertEqual(options_of_section(self.sections["General options"]), options_of_help(self.general))

    def test_each_member_of_a_report_is_told(self):
        self.host.write("odd.xml", "<uninstall_information><version_list><v1/></version_list></uninstall_information>")
        reports = [("list", "--json"), ("explain", '--json "Dunmarrow Ledger"'), ("plan", '--json "Halvane Notes"'),
                   ("uninstall", '--json --yes "Halvane Notes"'), ("pending", "--json"), ("check", "--format json odd.xml"),
                   ("check", "--format json --rules")]
        self.assertEqual({command for command, _ in reports}, set(self.commands))
        ended = self.host.batch([self.host.machine(NOTES, LEDGER),
                                 *(f"prodsweep {command} {rest}" for command, rest in reports)])[1:]
        for (command, rest), (_, out, _) in zip(reports, ended):
            with self.subTest(command, rest=rest):
                # In the section itself, or in a page that it leads to.
                section = self.section_of(command)
                linked = re.findall(r"\]\((\w+\.md)\)", section)
                told = "".join([section, *(pages.read(DOCS / page) for page in linked)])
                untold = [name for name in members(json.loads(out)) if f"`{name}`" not in told]
                self.assertEqual(sorted(untold), [])

    def test_exit_codes_are_those_of_the_sources_of_the_help_and_of_the_page(self):
        header = pages.read(ROOT / "host" / "exit_codes.h")
        names = dict(re.findall(r"constexpr int (\w+) = (\w+);", header))
        numbers = subprocess.run(
            [COMPILERS["x86_64-w64-mingw32-gcc-posix"][0], "-E", "-P", "-include", "windows.h", "-xc", "-"],
            input="\n".join(f"exit {value}" for value in names.values()), capture_output=True, text=True, check=True)
        # The compiler leaves numbers as they were written: "5", "__MSABI_LONG(5)", "5L".
        found = re.findall(r"^exit \D*(\d+)", numbers.stdout, re.MULTILINE)
        self.assertEqual(len(found), len(names))
        values = set(map(int, found))
        told = [int(cells[0]) for cells in pages.table_rows(self.sections["Exit codes"])]
        self.assertEqual(told, sorted(values))
        help_text = self.general.partition("Exit codes:")[2]
        of_help = {int(code) for code in re.findall(r"^  (\d+) +\w", help_text, re.MULTILINE)}
        self.assertEqual(of_help, values)
        # The one that stands for all others is told in words.
        others = [re.search(r"Any other code is (?:.|\n)*?\b(\d{3,})\b", text) for text in
                  [help_text, self.sections["Exit codes"]]]
        self.assertEqual([match and match[1] for match in others], ["193", "193"])


if __name__ == "__main__":
    pyreport.main("docs_examples", REPORTS)
