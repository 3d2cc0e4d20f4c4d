"""That ./dev bench still measures; what it measures is for people, on a quiet machine."""
import json
import unittest

from windows import BUILD, REPORTS, run

import pyreport

FOLDER = BUILD / "bench"


class Bench(unittest.TestCase):
    def bench(self, *groups):
        return run("prodsweep_bench.exe", *groups, cwd=FOLDER)

    def test_group_is_measured_and_written_down(self):
        written = FOLDER / "bench.json"
        written.unlink(missing_ok=True)
        ended = self.bench("load")
        # Whether a figure keeps its limit depends on what else runs here.
        self.assertIn(ended.code, (0, 1), ended)
        self.assertIn("LoadLibrary and FreeLibrary", ended.out_text())
        self.assertNotIn("log statement", ended.out_text())
        self.assertIn("prodsweep.dll", written.read_text(encoding="utf-8"))
        json.loads(written.read_text(encoding="utf-8"))

    def test_unknown_group_is_named_with_those_that_there_are(self):
        ended = self.bench("load", "lod")
        self.assertEqual((ended.code, ended.out), (2, b""))
        self.assertEqual(ended.err_text().strip(), '"lod" is no group; there are: log load listing detection folders '
                                                   'registry interpreter removal')


if __name__ == "__main__":
    pyreport.main("bench", REPORTS)
