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
OBJCOPY = "x86_64-w64-mingw32-objcopy"
FILES = ["bin/prodsweep.dll", "bin/log.dll", "lib/libprodsweep.dll.a", "lib/prodsweep.lib"]
# A second program would double what a test run compiles. It is linked as the DLLs are, partly from the same
# libraries; of what is its own these stand for the rest: its start, the resources, a text that a script embeds, code of
# its own and of others. dll_release_image looks for what a place or a time leaves in the whole.
OBJECTS = [
    "host/CMakeFiles/prodsweep_exe.dir/main.cpp.obj", "host/CMakeFiles/prodsweep_host_resources.dir/prodsweep.rc.res",
    "host/CMakeFiles/prodsweep_host.dir/planPageStyle.cpp.obj", "host/CMakeFiles/prodsweep_host.dir/machine.cpp.obj",
    "CMakeFiles/prodsweep_expat.dir/build/third_party/expat/expat/lib/xmlrole.c.obj",
]


class ReproducibleTest(unittest.TestCase):
    def build(self, root):
        environment = {**os.environ, "CCACHE_DISABLE": "1"}
        for command in (["cmake", "--preset", PRESET, "-DBUILD_TESTING=OFF"],
                        ["cmake", "--build", f"build/{PRESET}", "--target", "prodsweep", "prodsweep_log_dll",
                         "prodsweep_import_library", *OBJECTS]):
            ended = subprocess.run(command, cwd=root, env=environment, capture_output=True, text=True, check=False)
            self.assertEqual(0, ended.returncode, ended.stdout[-3000:] + ended.stderr[-3000:])

    def object_code(self, path):
        """Without the debug information, which names the folder that the compiler cache first met the source in."""
        if path.suffix == ".res":
            return path.read_bytes()
        with tempfile.TemporaryDirectory(prefix="prodsweep-") as folder:
            stripped = pathlib.Path(folder) / "stripped.obj"
            subprocess.run([OBJCOPY, "--strip-debug", path, stripped], check=True)
            return stripped.read_bytes()

    def assert_same(self, name, first, second):
        self.assertEqual(len(first), len(second), name)
        different = [i for i, (a, b) in enumerate(zip(first, second)) if a != b]
        self.assertEqual([], different[:20], f"{name}: offsets that differ")

    def test_other_folder_gives_the_same_bytes(self):
        here = {name: (BUILD / name).read_bytes() for name in FILES}
        with tempfile.TemporaryDirectory(prefix="prodsweep-") as folder:
            # Not only another name: another depth, and a blank in it.
            root = pathlib.Path(folder) / "a folder" / "further down"
            shutil.copytree(ROOT, root, ignore=lambda at, names: {"build", ".git"} if pathlib.Path(at) == ROOT else set())
            # What ./dev setup has fetched.
            shutil.copytree(ROOT / "build" / "third_party", root / "build" / "third_party")
            self.build(root)
            build = root / "build" / PRESET
            for name in FILES:
                with self.subTest(name):
                    self.assert_same(name, here[name], (build / name).read_bytes())
            for name in OBJECTS:
                with self.subTest(name):
                    self.assert_same(name, self.object_code(BUILD / name), self.object_code(build / name))


if __name__ == "__main__":
    pyreport.main("dll_reproducible", BUILD / "tests")
