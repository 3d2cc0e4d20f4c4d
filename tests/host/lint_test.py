"""What the linter finds by itself: names that two sources of one test program use for something of their own."""
import os
import pathlib
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "tests"), str(ROOT / "cmake")]
import joined_names  # noqa: E402
import pyreport  # noqa: E402

OWN = {
    "struct Row": "struct Row\n{\n    int member;\n};\n",
    "enum class Kind": "enum class Kind\n{\n    One\n};\n",
    "alias Calls": "using Calls = std::vector<int>;\n",
    "function Look": "int Look(int where)\n{\n    return where;\n}\n",
    "function Told": "[[nodiscard]] std::string Told() { return {}; }\n",
    "function Any": "template <class T>\nvoid Any(T value)\n{\n}\n",
    "function Short": "template <class T> void Short(T) {}\n",
    "function WINAPI_": "LONG WINAPI WINAPI_(HKEY key)\n{\n    return 0;\n}\n",
    "function structure": "structured structure() { return {}; }\n",
    "constant text": "constexpr const char* text = \"x\";\n",
    "table rows": "const Row rows[] = {{1}};\n",
    "variable hook": "std::function<void()> hook;\n",
    "pointer real": "BOOL(WINAPI *real)(HANDLE) = nullptr;\n",
}


class OwnNames(unittest.TestCase):
    def test_each_sort_of_definition_is_seen(self):
        for what, text in OWN.items():
            with self.subTest(what):
                self.assertIn(what.split()[-1], joined_names.own_names(f"namespace {{\n\n{text}\n}} // namespace\n"))

    def test_static_ones_are_seen_outside_too(self):
        self.assertEqual(joined_names.own_names("static int Count(int step)\n{\n    return step;\n}\n"), {"Count"})

    def test_what_others_may_see_is_none(self):
        self.assertEqual(joined_names.own_names("int Shared(int a)\n{\n    return a;\n}\n"), set())

    def test_bodies_tests_and_texts_bring_none(self):
        text = ("namespace {\n\nTEST(Suite, Name)\n{\n    const int inner = 1;\n    return;\n}\n\n"
                "using testing::ElementsAre;\nINSTANTIATE_TEST_SUITE_P(Rows, Suite, testing::Values(1));\n"
                "void PrintTo(const Row& row, std::ostream* out);\n} // namespace\n")
        self.assertEqual(joined_names.own_names(text), set())
        self.assertEqual(joined_names.own_names('namespace {\nint a = F(R"(\nconst int b = 1;\n)");\n} // namespace\n'),
                         {"a"})


class ToldTwice(unittest.TestCase):
    def test_name_of_two_sources_of_one_program_is_told_with_both(self):
        with tempfile.TemporaryDirectory() as folder:
            sources = [pathlib.Path(folder) / name for name in ("a_test.cpp", "b_test.cpp", "c_test.cpp")]
            for source, name in zip(sources, ("Same", "Same", "Other")):
                source.write_text(f"namespace {{\nint {name}() {{ return 1; }}\n}} // namespace\n", encoding="utf-8")
            self.assertEqual(joined_names.told_twice({"one": set(sources)}),
                             [('one: "Same" is a name of a_test.cpp, b_test.cpp', set(sources[:2]))])
            self.assertEqual(joined_names.told_twice({"one": {sources[0]}, "two": set(sources[1:])}), [])


if __name__ == "__main__":
    pyreport.main("lint", pathlib.Path(os.environ["PRODSWEEP_BUILD"]) / "tests")
