"""What the pages say of the sources and of each other, held against them. Nothing is run for it."""
import os
import pathlib
import re
import sys
import unittest

import log_lines
import pages
from pages import DOCS, ROOT

sys.path.insert(0, str(ROOT / "tests"))
import pyreport  # noqa: E402

REPORTS = pathlib.Path(os.environ.get("PRODSWEEP_BUILD", ROOT / "build" / "mingw-release")) / "tests"


def page_log_lines(text):
    """The lines that the tables of the page tell of, one for each function in the column "from"."""
    lines = []
    for cells in pages.table_rows(text):
        if len(cells) != 4 or not cells[0].startswith("`"):
            continue
        scope = ""
        for name in cells[2].split(", "):
            scope = name.rpartition("::")[0] or scope
            function = name if "::" in name or not scope else f"{scope}::{name}"
            lines.append(log_lines.LogLine(cells[0].strip("`").strip(), cells[1], function))
    return lines


class LogLines(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.written, cls.statements = log_lines.of_tree(ROOT / "src")
        cls.told = page_log_lines(pages.read(DOCS / "troubleshooting.md"))

    def test_each_statement_of_the_sources_is_understood(self):
        self.assertGreater(self.statements, 400)
        self.assertEqual(len(self.written), self.statements)

    def test_levels_have_the_words_of_the_logger(self):
        numbers = re.findall(r"constexpr int (Log\w+) = (\w+);", pages.read(ROOT / "src" / "environment" / "log.h"))
        constants = re.findall(r"(LOG_LEVEL_\w+) = (\w+)", pages.read(ROOT / "include" / "prodsweep" / "log.h"))
        names = dict(re.findall(r'{(LOG_LEVEL_\w+), L"(\w+)"}', pages.read(ROOT / "log" / "levels.h")))
        words = {int(number, 0): names[constant] for constant, number in constants if constant in names}
        self.assertEqual(log_lines.LEVELS, {level: words[int(number, 0)] for level, number in numbers})

    def test_each_line_that_the_library_writes_is_explained(self):
        self.assertEqual(sorted(set(self.written) - set(self.told)), [])

    def test_no_line_is_explained_that_the_library_does_not_write(self):
        self.assertEqual(sorted(set(self.told) - set(self.written)), [])

    def test_no_line_is_explained_twice(self):
        self.assertEqual(sorted({line for line in self.told if self.told.count(line) > 1}), [])


class LogLineReader(unittest.TestCase):
    """The reader of the sources itself: what it must not miss."""

    SOURCE = '''
CThing::CThing(int first,
               int second)
{
    LOG(LogError, L"one \\"%s\\" \\\\ two", text);
}

// A function of LOG(x) is not meant.
static bool Helper(const Text& text)
{
    LOG(LogTrace,
        L"\\t\\tspread "
        L"over lines",
        Call(text));
}
'''

    def test_escapes_joined_literals_levels_and_functions_are_read(self):
        self.assertEqual(log_lines.of_source(self.SOURCE), [
            log_lines.LogLine('one "%s" \\ two', "error", "CThing::CThing"),
            log_lines.LogLine("spread over lines", "trace", "Helper"),
        ])


class Links(unittest.TestCase):
    def test_index_leads_to_each_page(self):
        index = pages.read(DOCS / "README.md")
        self.assertEqual([page.name for page in sorted(DOCS.glob("*.md"))
                          if page.name != "README.md" and f"]({page.name}" not in index], [])

    def test_each_relative_link_leads_somewhere(self):
        dead, seen = [], 0
        for page in pages.all_pages():
            for target in re.findall(r"\]\(([^)\s]+)\)", pages.prose(pages.read(page))):
                if re.match(r"[a-z]+:", target):
                    continue
                seen += 1
                path, _, name = target.partition("#")
                goal = (page.parent / path).resolve() if path else page
                if not goal.exists() or (name and name not in pages.anchors(pages.read(goal))):
                    dead.append(f"{page.relative_to(ROOT)}: {target}")
        self.assertEqual(dead, [])
        self.assertGreater(seen, 20)


class Headings(unittest.TestCase):
    def test_no_page_has_a_heading_twice(self):
        twice = []
        for page in pages.all_pages():
            headings = re.findall(r"^#+ .+$", pages.prose(pages.read(page)), re.MULTILINE)
            twice += [f"{page.name}: {heading}" for heading in set(headings) if headings.count(heading) > 1]
        # A changelog has the same parts in each release.
        self.assertEqual([line for line in twice if not line.startswith("CHANGELOG")], [])


class Commands(unittest.TestCase):
    def test_each_command_line_in_a_sentence_names_a_command_and_options_of_the_reference(self):
        sections = pages.sections(pages.read(DOCS / "host.md"))
        general = sections["General options"]
        wrong, seen = [], 0
        for page in pages.all_pages():
            for line in re.findall(r"`prodsweep ([^`]+)`", pages.prose(pages.read(page))):
                seen += 1
                words = line.split(" ")
                command = next((word for word in words if f"prodsweep {word}" in sections), None)
                told = general + sections.get(f"prodsweep {command}", "")
                options = [word for word in words if word.startswith("-")]
                if not all(re.search(rf"`{option}[ `]", told) for option in options) or not (command or options):
                    wrong.append(f"{page.name}: prodsweep {line}")
        self.assertEqual(wrong, [])
        self.assertGreater(seen, 10)

    def test_each_command_of_dev_that_a_page_names_is_one(self):
        known = set(re.findall(r"^  (\w+)\)", pages.read(ROOT / "dev"), re.MULTILINE))
        named = [(page.name, command) for page in pages.all_pages()
                 for command in re.findall(r"\./dev ([a-z]\w*)", pages.read(page))]
        self.assertGreater(len(named), 5)
        self.assertEqual([(page, command) for page, command in named if command not in known], [])


def tests_of_the_tree():
    """The names of all tests: Suite.Test of GoogleTest, test_name of Python."""
    names = set()
    for folder in ("src", "host", "log", "tests"):
        for path in (ROOT / folder).rglob("*_test.*"):
            text = pages.read(path)
            names.update(f"{suite}.{name}" for suite, name in
                         re.findall(r"^TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", text, re.MULTILINE))
            names.update(re.findall(r"^    def (test_\w+)\(", text, re.MULTILINE))
    return names


CITED = re.compile(r"`([A-Z]\w+Test\.\w+|test_\w+)`")


class CitedTests(unittest.TestCase):
    def test_each_test_that_a_page_cites_exists(self):
        existing = tests_of_the_tree()
        self.assertGreater(len(existing), 500)
        missing = [f"{page.name}: {name}" for page in pages.all_pages() for name in CITED.findall(pages.read(page))
                   if name not in existing]
        self.assertEqual(missing, [])

    def test_each_promise_of_the_page_on_safety_is_held_by_a_test(self):
        promises = pages.sections(pages.read(DOCS / "safety.md"))["Promised"]
        rows = pages.table_rows(promises)
        self.assertGreater(len(rows), 20)
        self.assertEqual([cells[0] for cells in rows if not CITED.search(cells[1])], [])


class Interface(unittest.TestCase):
    """docs/embedding.md and the public header."""

    @classmethod
    def setUpClass(cls):
        cls.header = pages.read(ROOT / "include" / "prodsweep" / "prodsweep.h")
        cls.sections = pages.sections(pages.read(DOCS / "embedding.md"))

    def test_events_are_those_of_the_header(self):
        declared = {(int(number), name) for name, number in
                    re.findall(r"PRODSWEEP_EVENT_(\w+) = (\d+)", self.header)}
        self.assertEqual({(int(cells[0]), cells[1].strip("`")) for cells in pages.table_rows(self.sections["Events"])},
                         declared)

    def test_functions_are_the_exports(self):
        exported = set(re.findall(r"^ +(\w+)", pages.read(ROOT / "src" / "api" / "prodsweep.def"), re.MULTILINE))
        told = pages.fences(self.sections["The functions"])[0].text
        self.assertEqual(set(re.findall(r"(\w+) *\(", told)), exported)

    def test_sizes_and_offsets_are_those_of_the_header(self):
        sizes = set(re.findall(r"sizeof\((\w+Entry)\) == (\d+)", self.header))
        offsets = set(re.findall(r"offsetof\((\w+), (\w+)\) == (\d+)", self.header))
        told_sizes, told_offsets, structure = set(), set(), ""
        for name, size, offset, member, _ in pages.table_rows(self.sections["Arrays"].partition("\n### ")[0]):
            structure = name.strip("`") or structure
            if size:
                told_sizes.add((structure, size))
            told_offsets.add((structure, member.strip("`"), offset))
        self.assertEqual((told_sizes, told_offsets), (sizes, offsets))


if __name__ == "__main__":
    pyreport.main("docs_pages", REPORTS)
