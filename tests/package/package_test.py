"""The package holds what a stranger needs, and nothing that tells of the machine that made it."""
import hashlib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import unittest
import zipfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "host"))
import windows  # noqa: E402
from windows import BUILD, REPORTS, ROOT, UserKey, product  # noqa: E402

import pyreport  # noqa: E402

CC = os.environ["PRODSWEEP_CC"]
PLACE = REPORTS / f"package-{os.getpid()}"


def make():
    """Packs, and gives the package's path."""
    ended = subprocess.run([sys.executable, ROOT / "package" / "make.py", BUILD], capture_output=True, text=True, check=True)
    return BUILD / ended.stdout.split(":")[0]


def command_lines(readme):
    """What is to be typed. What follows three blanks explains it."""
    return re.findall(r"^    (\S.*?)(?:   .*)?$", readme, re.MULTILINE)


class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        shutil.rmtree(PLACE, ignore_errors=True)
        cls.addClassCleanup(shutil.rmtree, PLACE)
        cls.zip = make()
        with zipfile.ZipFile(cls.zip) as package:
            cls.names = package.namelist()
            package.extractall(PLACE)
        cls.folder = PLACE / cls.zip.stem
        cls.readme = (cls.folder / "README.md").read_text(encoding="utf-8")

    def test_all_lies_in_one_folder_named_like_the_package(self):
        self.assertEqual({self.zip.stem}, {name.split("/")[0] for name in self.names})

    def test_holds_what_each_reader_needs(self):
        for name in ("bin/prodsweep.dll", "bin/prodsweep.exe", "bin/log.dll", "lib/libprodsweep.dll.a", "lib/prodsweep.lib",
                     "lib/cmake/prodsweep/prodsweep-config.cmake", "include/prodsweep/prodsweep.h",
                     "schema/descriptor.xsd", "samples/catalogue/products.xml", "samples/catalogue/intern/halvane_notes.xml",
                     "docs/embedding.md", "README.md", "LICENSE", "THIRD-PARTY.md"):
            self.assertTrue((self.folder / name).is_file(), name)

    def test_packing_the_same_files_later_and_with_other_rights_gives_the_same_bytes(self):
        """Of packing alone; dll_reproducible shows that the files come out the same from another folder."""
        first = self.zip.read_bytes()
        os.utime(ROOT / "LICENSE")
        previous = os.umask(0o077)
        self.addCleanup(os.umask, previous)
        self.assertEqual(hashlib.sha256(first).hexdigest(), hashlib.sha256(make().read_bytes()).hexdigest())

    def test_checksums_cover_every_file(self):
        said = {}
        for line in (self.folder / "SHA256SUMS").read_text(encoding="utf-8").splitlines():
            digest, name = line.split("  ")
            said[name] = digest
        found = {path.relative_to(self.folder).as_posix(): hashlib.sha256(path.read_bytes()).hexdigest()
                 for path in self.folder.rglob("*") if path.is_file() and path.name != "SHA256SUMS"}
        self.assertEqual(found, said)

    def test_no_file_names_the_folder_it_was_made_in(self):
        for path in self.folder.rglob("*"):
            if path.is_file():
                data = path.read_bytes()
                for place in (str(ROOT), str(ROOT).replace("/", "\\")):
                    self.assertNotIn(place.encode(), data, path.name)
                    self.assertNotIn(place.encode("utf-16-le"), data, path.name)

    def test_links_of_the_pages_lead_to_files_of_the_package(self):
        for page in self.folder.rglob("*.md"):
            text = re.sub(r"^```.*?^```", "", page.read_text(encoding="utf-8"), flags=re.MULTILINE | re.DOTALL)
            for target in re.findall(r"\]\(([^)#:]+)(?:#[^)]*)?\)", text):
                self.assertTrue((page.parent / target).exists(), f"{page.name}: {target}")

    def run_client(self, program, cwd=None):
        """A program beside the DLL and the sample catalogues."""
        shutil.copytree(self.folder / "samples" / "catalogue", program.parent, dirs_exist_ok=True)
        return self.run_with_its_catalogues(program, cwd)

    def run_with_its_catalogues(self, program, cwd=None):
        ended = windows.run(windows.windows_path(program), cwd=cwd or program.parent)
        self.assertEqual((0, b""), (ended.code, ended.err))
        return ended.out_text().splitlines()

    def finding(self):
        """The option that the page names, for this folder."""
        option = "-DCMAKE_PREFIX_PATH=<this folder>"
        self.assertIn(option, self.readme)
        return option.replace("<this folder>", str(self.folder))

    def test_cmake_project_finds_builds_and_runs(self):
        build = PLACE / "build of a stranger"
        for command in (["cmake", "-G", "Ninja", "-S", self.folder / "samples" / "clients" / "cpp", "-B", build,
                         f"-DCMAKE_TOOLCHAIN_FILE={ROOT / 'cmake' / 'mingw-w64-x86_64.cmake'}",
                         self.finding(),
                         "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror"],
                        ["cmake", "--build", build]):
            ended = subprocess.run(command, capture_output=True, text=True, check=False)
            self.assertEqual(0, ended.returncode, ended.stdout + ended.stderr)
        program = build / "installed_products.exe"
        self.assertEqual("0 installed", self.run_client(program)[-1])
        key = UserKey("package")
        self.addCleanup(key.close)
        key.add_version("Studio")
        self.name_product(build, key.version("1", "Studio"))
        self.assertEqual(["Студия 工作", "1 installed"], self.run_with_its_catalogues(program))

    @staticmethod
    def name_product(folder, version):
        """A catalogue with one product, whose name no code page holds."""
        (folder / "products.xml").write_text(
            f"<uninstall_information>{product('Студия 工作', version)}</uninstall_information>", encoding="utf-8")
        (folder / "detection.xml").write_text("<uninstall_information/>", encoding="utf-8")

    def found_by_cmake(self, *wanted):
        project = PLACE / "versions"
        project.mkdir(exist_ok=True)
        (project / "CMakeLists.txt").write_text("cmake_minimum_required(VERSION 3.21)\nproject(versions LANGUAGES CXX)\n"
                                                f"find_package(prodsweep {' '.join(wanted)} CONFIG REQUIRED)\n")
        ended = subprocess.run(["cmake", "-G", "Ninja", "-S", project, "-B", project / "build", "--fresh",
                                f"-DCMAKE_TOOLCHAIN_FILE={ROOT / 'cmake' / 'mingw-w64-x86_64.cmake'}",
                                self.finding()],
                               capture_output=True, text=True, check=False)
        return ended.returncode == 0

    def test_cmake_takes_the_version_and_refuses_a_later_series(self):
        first, second, _ = self.zip.stem.split("-")[1].split(".")
        self.assertTrue(self.found_by_cmake(f"{first}.{second}"))
        self.assertFalse(self.found_by_cmake(f"{first}.{int(second) + 1}"))

    def c_client(self, name):
        """The client in C beside the DLL, in a folder of its own."""
        place = PLACE / name
        place.mkdir()
        program = place / "client.exe"
        made = subprocess.run([CC, "-std=c11", "-Wall", "-Wextra", "-Wpedantic", "-Werror", f"-I{self.folder / 'include'}",
                               self.folder / "samples" / "clients" / "c" / "main.c", "-o", program, "-static", "-loleaut32"],
                              capture_output=True, text=True, check=False)
        self.assertEqual((0, ""), (made.returncode, made.stderr))
        shutil.copy(self.folder / "bin" / "prodsweep.dll", place)
        return program

    def test_c_client_binds_the_library_at_run_time(self):
        self.assertIn("Halvane Notes", self.run_client(self.c_client("client in C")))

    def test_c_client_prints_names_that_no_code_page_holds(self):
        program = self.c_client("client of names")
        self.name_product(program.parent, "")
        self.assertEqual(["Студия 工作"], self.run_with_its_catalogues(program))

    def logging(self, folder):
        """log.dll, turned on, in the folder. Gives the file that it writes."""
        folder.mkdir(exist_ok=True)
        shutil.copy(self.folder / "bin" / "log.dll", folder)
        (folder / "log.ini").write_text("enabled = yes\npath = written.log\nlevels = all\n", encoding="utf-8")
        return folder / "written.log"

    def test_c_client_takes_log_dll_from_beside_itself_and_not_from_the_current_folder(self):
        program = self.c_client("client that logs")
        elsewhere = PLACE / "current folder"
        planted = self.logging(elsewhere)
        self.run_client(program, cwd=elsewhere)
        self.assertFalse(planted.exists())
        own = self.logging(program.parent)
        self.run_client(program, cwd=elsewhere)
        self.assertEqual((True, False), (own.exists(), planted.exists()))

    def typed(self, folder, lines):
        """Types the lines in a command prompt in the folder. Each ends as (exit code, output, errors)."""
        batch = ["@echo off"]
        for number, line in enumerate(lines):
            batch += [f'{line} >"%~dp0{number}.out" 2>"%~dp0{number}.err" <nul', f'echo %errorlevel% >"%~dp0{number}.code"']
        (folder / "batch.cmd").write_bytes("\r\n".join([*batch, ""]).encode("ascii"))
        windows.run("cmd", "/c", "batch.cmd", cwd=folder)
        ended = [[(folder / f"{number}.{kind}").read_bytes() for kind in ("code", "out", "err")] for number in range(len(lines))]
        return [(int(code), out, err) for code, out, err in ended]

    def test_first_steps_work_in_their_order(self):
        place = PLACE / "first steps"
        shutil.copytree(self.folder, place)
        lines = command_lines(self.readme)
        self.assertEqual([["xcopy"], ["cd", "bin"], ["prodsweep", "list"], ["prodsweep", "check"], ["prodsweep", "explain"],
                          ["prodsweep", "plan"], ["prodsweep", "uninstall"]],
                         [line.split()[:1 if line.startswith("xcopy") else 2] for line in lines])
        for line, (code, out, err) in zip(lines, self.typed(place, lines)):
            with self.subTest(line):
                self.assertEqual((0, b""), (code, err))
                self.assertEqual(line.startswith("cd "), out == b"")
        self.assertTrue((place / "bin" / "intern" / "halvane_notes.xml").is_file())


if __name__ == "__main__":
    pyreport.main("package", REPORTS)
