"""Clients linked by GCC's linker and by one that takes Microsoft's options, started beside the DLL alone.

There is no log.dll and no catalogue in their folder, so they also show that the DLL needs neither to load."""
import os
import pathlib
import shutil
import subprocess
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
import pyreport  # noqa: E402

BUILD = pathlib.Path(os.environ["PRODSWEEP_BUILD"])
COMPILER = os.environ["PRODSWEEP_CC"]
ROOT = pathlib.Path(__file__).resolve().parents[2]
SYSTEM = {"kernel32": ["ExitProcess"], "oleaut32": ["SafeArrayDestroy", "SysFreeString"]}


class ImportLibraryTest(unittest.TestCase):
    def setUp(self):
        self.folder = BUILD / "tests" / f"clients-{os.getpid()}"
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir(parents=True)
        shutil.copy(BUILD / "bin" / "prodsweep.dll", self.folder)

    def tearDown(self):
        shutil.rmtree(self.folder)

    def run_tool(self, *command):
        ended = subprocess.run(command, cwd=self.folder, capture_output=True, text=True, check=False)
        self.assertEqual(0, ended.returncode, f"{command}\n{ended.stdout}{ended.stderr}")

    def compile(self, *options):
        self.run_tool(COMPILER, "-std=c99", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-O1", "-ffreestanding",
                      "-fno-asynchronous-unwind-tables", f"-I{ROOT / 'include'}", *options, "-c",
                      ROOT / "tests" / "dll" / "client.c", "-o", "client.obj")

    def answer(self):
        ended = subprocess.run([ROOT / "cmake" / "wine", self.folder / "client.exe"], cwd=self.folder,
                               capture_output=True, timeout=120, check=False)
        return ended.returncode

    def link_gcc(self):
        self.run_tool(COMPILER, "-nostdlib", "-Wl,--entry,Start", "client.obj", BUILD / "lib" / "libprodsweep.dll.a",
                      "-loleaut32", "-lkernel32", "-o", "client.exe")

    def link_microsoft_style(self):
        libraries = []
        for name, functions in SYSTEM.items():
            (self.folder / f"{name}.def").write_text(f"LIBRARY {name}.dll\nEXPORTS\n" + "\n".join(functions) + "\n", "ascii")
            self.run_tool("llvm-dlltool", "-m", "i386:x86-64", "-d", f"{name}.def", "-l", f"{name}.lib")
            libraries.append(f"{name}.lib")
        self.run_tool("lld-link", "/nologo", "/entry:Start", "/subsystem:console", "/nodefaultlib", "/out:client.exe",
                      "client.obj", BUILD / "lib" / "prodsweep.lib", *libraries)

    def test_gcc_client_by_import_slots(self):
        self.compile()
        self.link_gcc()
        self.assertEqual(42, self.answer())

    def test_gcc_client_by_plain_calls(self):
        self.compile("-DPRODSWEEP_BUILD")
        self.link_gcc()
        self.assertEqual(42, self.answer())

    def test_microsoft_style_client_by_import_slots(self):
        self.compile()
        self.link_microsoft_style()
        self.assertEqual(42, self.answer())

    def test_microsoft_style_client_by_plain_calls(self):
        self.compile("-DPRODSWEEP_BUILD")
        self.link_microsoft_style()
        self.assertEqual(42, self.answer())


if __name__ == "__main__":
    pyreport.main("dll_import_libraries", BUILD / "tests")
