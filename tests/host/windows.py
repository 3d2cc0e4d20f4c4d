"""Starts programs under Wine and lays out the folder that prodsweep.exe is started from."""
import atexit
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("PRODSWEEP_BUILD", ROOT / "build" / "mingw-release"))
REPORTS = BUILD / "tests"
# Drive B: is the folder that holds all build folders.
MAPPED = pathlib.Path(os.environ.get("PRODSWEEP_BUILD_ROOT", ROOT / "build"))
TIMEOUT = 120

sys.path.insert(0, str(ROOT / "tests"))


def windows_path(path):
    return "B:\\" + str(pathlib.Path(path).relative_to(MAPPED)).replace("/", "\\")


def _keep_machine_running():
    """A program that waits for the end of its input. Without one, Wine would start and stop its services
    for each program that a test runs, which takes longer than the program. Its first words tell that the
    services are up."""
    waiting = subprocess.Popen([ROOT / "cmake" / "wine", "cmd"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                               stderr=subprocess.DEVNULL, cwd=BUILD)
    waiting.stdout.read(1)
    atexit.register(waiting.wait)
    atexit.register(waiting.stdin.close)


_keep_machine_running()


class Ended:
    """How a program ended. Its output is kept as bytes, since the bytes matter."""

    def __init__(self, code, out, err):
        self.code = code
        self.out = out
        # What Wine says of its own processes that live in the prefix goes to whoever runs in it.
        self.err = b"".join(line for line in err.splitlines(True) if not line.startswith(b"wine: "))

    def out_text(self):
        return self.out.decode("utf-8")

    def err_text(self):
        return self.err.decode("utf-8")


def run(program, *arguments, cwd=None, environment=None, stdout=subprocess.PIPE):
    """Runs a Windows program, given by its Windows path or by a name that Windows finds."""
    settings = {**os.environ, "LC_ALL": "C.UTF-8", **(environment or {})}
    # Standard error goes to a file: Wine's desktop, which the first program that needs it starts, keeps
    # that program's standard error open, and the end of a pipe would not come.
    with tempfile.TemporaryFile() as errors:
        ended = subprocess.run([ROOT / "cmake" / "wine", program, *arguments], stdin=subprocess.DEVNULL, stdout=stdout,
                               stderr=errors, cwd=cwd or BUILD, env=settings, timeout=TIMEOUT, check=False)
        errors.seek(0)
        return Ended(ended.returncode, ended.stdout, errors.read())


class Installation:
    """A folder with prodsweep.exe, the library and the catalogues beside it; removed by close()."""

    def __init__(self, name, library=BUILD / "bin" / "prodsweep.dll"):
        self.folder = REPORTS / f"{name}-{os.getpid()}"
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir(parents=True)
        self.program = self.add_file("prodsweep.exe", BUILD / "bin" / "prodsweep.exe")
        if library is not None:
            self.add_file("prodsweep.dll", library)

    def add_file(self, name, source):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        os.link(source, path)
        return path

    def write(self, name, text):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
        return path

    def catalogue(self, name, *products):
        return self.write(name, "<uninstall_information>" + "".join(products) + "</uninstall_information>")

    def catalogues(self, own=(), other=()):
        self.catalogue("products.xml", *own)
        self.catalogue("detection.xml", *other)

    def path(self, name):
        return windows_path(self.folder / name)

    def run(self, *arguments, **options):
        return run(windows_path(self.program), *arguments, **options)

    def close(self):
        shutil.rmtree(self.folder)


def product(name, *versions, file="any.xml"):
    return f'<product name="{name}" file="{file}">{"".join(versions)}</product>'


class UserKey:
    """A registry key of the test's own, below HKEY_CURRENT_USER; removed by close()."""

    def __init__(self, name):
        self.path = rf"HKEY_CURRENT_USER\Software\prodsweep tests\{name}-{os.getpid()}"

    def version(self, label, key, children=""):
        """A version element that is found by the value "Path", once add_version has written it."""
        return f'<version name="{label}" keypath="{self.path}\\{key}" keyvalue="Path">{children}</version>'

    def add_version(self, key):
        ended = run("reg", "add", rf"{self.path}\{key}\UpdateLocation", "/v", "Path", "/d", "x", "/f")
        if ended.code != 0:
            raise RuntimeError(f"the key cannot be made: {ended.err_text()}")

    def close(self):
        run("reg", "delete", self.path, "/f")
