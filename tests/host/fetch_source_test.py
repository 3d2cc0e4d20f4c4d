"""cmake/fetch_source.py: how it asks for sources from where a machine gets its packages."""
import os
import pathlib
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "tests"), str(ROOT / "cmake")]
import fetch_source  # noqa: E402
import pyreport  # noqa: E402

REPORTS = pathlib.Path(os.environ.get("PRODSWEEP_BUILD", ROOT / "build" / "mingw-release")) / "tests"


def asked(files):
    """The lists that are made of a machine's own, which are given by name."""
    with tempfile.TemporaryDirectory() as work:
        configured, lists = pathlib.Path(work, "apt"), pathlib.Path(work, "lists")
        (configured / "sources.list.d").mkdir(parents=True)
        lists.mkdir()
        for name, text in files.items():
            (configured / name).write_text(text, encoding="utf-8")
        fetch_source.write_source_lists(lists, configured)
        return {path.name: path.read_text(encoding="utf-8").strip() for path in lists.iterdir()}


class SourceLists(unittest.TestCase):
    def test_lines_keep_their_options(self):
        self.assertEqual(asked({"sources.list": "deb [signed-by=/k arch=amd64] mirror:/d suite main contrib\n"}),
                         {"0.list": "deb-src [signed-by=/k arch=amd64] mirror:/d suite main contrib"})

    def test_comments_and_sources_of_their_own_are_left_out(self):
        self.assertEqual(asked({"sources.list": "# deb mirror:/d a main\n\ndeb-src mirror:/d b main\ndeb\tmirror:/d c main\n"}),
                         {"0.list": "deb-src mirror:/d c main"})

    def test_all_files_count(self):
        files = {"sources.list": "deb mirror:/a s main", "sources.list.d/b.list": "deb mirror:/b s main",
                 "sources.list.d/c.sources": "Types: deb\nURIs: mirror:/c\nSuites: s\nComponents: main\n",
                 "sources.list.d/d.list.disabled": "deb mirror:/d s main"}
        self.assertEqual(asked(files), {"0.list": "deb-src mirror:/a s main", "1.list": "deb-src mirror:/b s main",
                                        "0.sources": "Types: deb-src\nURIs: mirror:/c\nSuites: s\nComponents: main"})

    def test_stanzas_of_packages_ask_for_sources_unless_they_are_off(self):
        text = ("Types: deb deb-src\nURIs: mirror:/a\n\n# A comment.\nTypes: deb\nURIs: mirror:/b\nEnabled: no\n\n"
                "Types: deb\nURIs: mirror:/c\nEnabled: yes\n")
        self.assertEqual(asked({"sources.list.d/x.sources": text})["0.sources"],
                         "Types: deb-src\nURIs: mirror:/a\n\nTypes: deb-src\nURIs: mirror:/c\nEnabled: yes")

    def test_machine_without_lists_asks_for_nothing(self):
        self.assertEqual(asked({}), {})


if __name__ == "__main__":
    pyreport.main("fetch_source", REPORTS)
