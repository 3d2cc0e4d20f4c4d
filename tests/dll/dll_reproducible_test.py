"""Two builds of the same sources, in different folders and without the compiler cache, have the same bytes."""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
import pyreport  # noqa: E402

BUILD = pathlib.Path(os.environ["PRODSWEEP_BUILD"])
ROOT = pathlib.Path(__file__).resolve().parents[2]
PRESET = BUILD.name
FILES = ["bin/prodsweep.dll", "bin/log.dll", "lib/libprodsweep.dll.a", "lib/prodsweep.lib"]


class ReproducibleTest(unittest.TestCase):
    def build(self, root):
        environment = {**os.environ, "CCACHE_DISABLE": "1"}
        for command in (["cmake", "--preset", PRESET, "-DBUILD_TESTING=OFF"],
                        ["cmake", "--build", f"build/{PRESET}", "--target", "prodsweep", "prodsweep_log_dll",
                         "prodsweep_import_library"]):
            ended = subprocess.run(command, cwd=root, env=environment, capture_output=True, text=True, check=False)
            self.assertEqual(0, ended.returncode, ended.stdout[-3000:] + ended.stderr[-3000:])

    def test_other_folder_gives_the_same_bytes(self):
        here = {name: (BUILD / name).read_bytes() for name in FILES}
        with tempfile.TemporaryDirectory(prefix="prodsweep-") as folder:
            # Not only another name: another depth, and a blank in it.
            root = pathlib.Path(folder) / "a folder" / "further down"
            shutil.copytree(ROOT, root, ignore=lambda at, names: {"build", ".git"} if pathlib.Path(at) == ROOT else set())
            # What ./dev setup has fetched.
            shutil.copytree(ROOT / "build" / "third_party", root / "build" / "third_party")
            self.build(root)
            for name in FILES:
                first, second = here[name], (root / "build" / PRESET / name).read_bytes()
                self.assertEqual(len(first), len(second), name)
                different = [i for i, (a, b) in enumerate(zip(first, second)) if a != b]
                self.assertEqual([], different[:20], f"{name}: offsets that differ")


if __name__ == "__main__":
    pyreport.main("dll_reproducible", BUILD / "tests")
