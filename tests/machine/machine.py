"""A Windows machine of the tests' own: a Wine prefix that is put back to how it was made, started, stopped
and looked at as a whole."""
import atexit
import fcntl
import hashlib
import json
import os
import pathlib
import shutil
import signal
import stat
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("PRODSWEEP_BUILD", ROOT / "build" / "mingw-release"))
REPORTS = BUILD / "tests"
MAPPED = pathlib.Path(os.environ.get("PRODSWEEP_BUILD_ROOT", ROOT / "build"))
PREFIX = os.environ.get("PRODSWEEP_MACHINE", "machine_1")
BASE = MAPPED / "wine" / PREFIX
DRIVE = BASE / "prefix" / "drive_c"
HIVES = {"system.reg": "HKLM", "user.reg": "HKCU", "userdef.reg": "HKU/.Default"}
TIMEOUT = 60

# What Wine itself writes while a machine is only used. Nothing else is left out of a State.
_CLASSES = "HKLM/System/CurrentControlSet/Control/Class/"
WRITTEN_BY_WINE = {
    _CLASSES + "{4D36E968-E325-11CE-BFC1-08002BE10318}": "the display adapter, which Wine's desktop registers anew with "
                                                         "the date of the moment whenever a program starts it",
    _CLASSES + "{4D36E96E-E325-11CE-BFC1-08002BE10318}": "the monitor, registered anew in the same way",
}

sys.path.insert(0, str(ROOT / "tests"))


def seen(code):
    """An exit code as this host sees it: its processes end with eight bits."""
    return code % 256


def _settings():
    return {**os.environ, "PRODSWEEP_PREFIX": PREFIX, "LC_ALL": "C.UTF-8"}


def _wine(*arguments):
    # The machine is held by this process alone: what it starts must not keep the lock.
    return subprocess.run([ROOT / "cmake" / "wine", *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL, env=_settings(), cwd=MAPPED, timeout=300, check=False).returncode


class Ended:
    """How a program ended."""

    def __init__(self, code, out, err):
        self.code, self.out, self.err = code, out, err

    def __repr__(self):
        return f"ended with {self.code}\n{self.out}{self.err}"


class State:
    """All files and all registry keys and values of the machine at one moment: {place: what is there}.
    A file is "C:/folder/name", a key "HKLM/Software/..." and a value 'HKLM/Software/... = "name"'."""

    def __init__(self, places):
        self.places = places

    def without(self, gone):
        """The state that is left when each place that gone(place) names is taken away."""
        return State({place: what for place, what in self.places.items() if not gone(place)})

    def below(self, *folders):
        """What lies in these folders or keys, with them."""
        return {place: what for place, what in self.places.items() if any(is_in(place, folder) for folder in folders)}

    def differences(self, other):
        """What must be done to this state to get the other one, one line for each place."""
        mine, others = self.places, other.places
        return ([f"- {place}" for place in sorted(mine.keys() - others.keys())] +
                [f"+ {place}" for place in sorted(others.keys() - mine.keys())] +
                [f"~ {place}: {mine[place]} became {others[place]}"
                 for place in sorted(mine.keys() & others.keys()) if mine[place] != others[place]])


def is_in(place, folder):
    """Whether the place is the folder or key itself, lies below it, or is a value of it."""
    return place == folder or place.startswith(folder + "/") or place.startswith(folder + ' = ')


def _file(path):
    seen_as = path.lstat()
    if stat.S_ISLNK(seen_as.st_mode):
        return ["link", os.readlink(path)]
    if stat.S_ISDIR(seen_as.st_mode):
        return ["folder", seen_as.st_mode]
    if is_in(path.relative_to(BASE).as_posix(), "prefix/drive_c/windows"):
        # 600 MB that nothing here may touch: the time of the last writing tells.
        return ["file", seen_as.st_mode, seen_as.st_size, seen_as.st_mtime_ns]
    return ["file", seen_as.st_mode, seen_as.st_size, hashlib.sha1(path.read_bytes()).hexdigest()]


def _tree(folder, name):
    places = {}
    for parent, folders, files in os.walk(folder):
        for child in folders + files:
            path = pathlib.Path(parent, child)
            places[f"{name}/{path.relative_to(folder).as_posix()}"] = _file(path)
    return places


def files():
    """The files alone, which can be looked at while the machine runs. The user's own folders (the desktop,
    the documents) are links out of the drive, to the machine's home."""
    return State({**_tree(DRIVE, "C:"), **_tree(BASE / "home", "home")})


def _hive(path, name):
    """Wine's registry file: '[key\\\\subkey] time', then lines of '"value"=data', long data on several lines."""
    places, key = {}, None
    lines = iter(path.read_text(encoding="utf-8", errors="surrogateescape").splitlines())
    for line in lines:
        while line.endswith("\\"):
            line = line[:-1] + next(lines).strip()
        if line.startswith("["):
            key = f"{name}/" + line[1:line.rindex("]")].replace("\\\\", "/")
            # A key that holds nothing but other keys has no line of its own.
            for end in range(len(name) + 1, len(key) + 1):
                if end == len(key) or key[end] == "/":
                    places[key[:end]] = "key"
        elif line.startswith(("\"", "@")):
            end = 1 if line.startswith("@") else _end_of_quotation(line)
            places[f"{key} = {line[:end]}"] = line[end + 1:]
        elif line.startswith(("#link", "#class")):
            places[f"{key} = {line}"] = line
    return places


def _end_of_quotation(line):
    index = 1
    while line[index] != "\"":
        index += 2 if line[index] == "\\" else 1
    return index + 1


def _registry():
    places = {}
    for file, name in HIVES.items():
        places.update(_hive(BASE / "prefix" / file, name))
    return {place: what for place, what in places.items()
            if not any(is_in(place, written) for written in WRITTEN_BY_WINE)}


def path_of(place):
    """Where the file of that place lies on the host."""
    return DRIVE / place[3:] if place.startswith("C:/") else BASE / place


def _copy(source, target):
    target.parent.mkdir(parents=True, exist_ok=True)
    shutil.copy2(source, target, follow_symlinks=False)


class Machine:
    """One of the machines. Whoever makes this object has it alone until the process ends."""

    def __init__(self):
        BASE.parent.mkdir(parents=True, exist_ok=True)
        self._lock = open(BASE.parent / f"{PREFIX}.only-one", "w", encoding="ascii")
        self._take()
        atexit.register(self.stop)
        self._at = None
        self._runs = False
        self.stop()
        if not self._put_back():
            self._make()

    def _take(self):
        for _ in range(6000):
            try:
                fcntl.flock(self._lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
                return
            except BlockingIOError:
                time.sleep(0.1)
        raise RuntimeError("other tests use the machine")

    def _make(self):
        shutil.rmtree(BASE, ignore_errors=True)
        # Wine writes its list of fonts when it starts for the second time.
        for _ in range(3):
            self.start()
            self.stop()
        kept = BASE / "pristine"
        kept.mkdir()
        for file in HIVES:
            shutil.copy2(BASE / "prefix" / file, kept)
        (kept / "files.json").write_text(json.dumps(files().places), encoding="utf-8")

    def _put_back(self):
        """Takes away what earlier tests left. False when files of Windows are missing or were changed."""
        kept = BASE / "pristine"
        if not (kept / "files.json").exists():
            return False
        pristine = json.loads((kept / "files.json").read_text(encoding="utf-8"))
        for place in sorted(files().places.keys() - pristine.keys(), reverse=True):
            path = path_of(place)
            path.rmdir() if path.is_dir() and not path.is_symlink() else path.unlink()
        for file in HIVES:
            shutil.copy2(kept / file, BASE / "prefix")
        return files().places == pristine

    def keep(self, name):
        """Keeps what the stopped machine has become, for go_back_to(name)."""
        kept = BASE / name
        shutil.rmtree(kept, ignore_errors=True)
        kept.mkdir()
        for file in HIVES:
            shutil.copy2(BASE / "prefix" / file, kept)
        pristine = json.loads((BASE / "pristine" / "files.json").read_text(encoding="utf-8"))
        for place, what in files().places.items():
            if place not in pristine:
                copy = kept / path_of(place).relative_to(BASE)
                copy.mkdir(parents=True, exist_ok=True) if what[0] == "folder" else _copy(path_of(place), copy)

    def go_back_to(self, name):
        """Nothing needs to be done right after the look that kept this name."""
        if self._at == name:
            return
        self.stop()
        if not self._put_back():
            raise RuntimeError("files of Windows are missing or were changed")
        for file in HIVES:
            shutil.copy2(BASE / name / file, BASE / "prefix")
        for tree in ["prefix", "home"]:
            if (BASE / name / tree).exists():
                shutil.copytree(BASE / name / tree, BASE / tree, symlinks=True, dirs_exist_ok=True)
        self._at = name

    def start(self):
        """The first program in a stopped prefix boots it: what waits for a restart is done, services start."""
        if _wine("--start") != 0:
            raise RuntimeError("the machine does not start")
        self._at = None
        self._runs = True

    def stop(self):
        """Ends all programs. The registry is on the disk when this returns."""
        _wine("--stop")
        self._runs = False

    def restart(self):
        self.stop()
        self.start()

    def state(self, keep=None):
        """The whole machine. Looking at the registry needs a stop; the next program starts it.
        "keep" names what was seen, for go_back_to."""
        self.stop()
        now = State({**files().places, **_registry()})
        if keep:
            self.keep(keep)
        self._at = keep
        return now

    def popen(self, program, *arguments, **options):
        """Starts a program, given by its Windows path or by a name that Windows finds."""
        if not self._runs:
            self.start()
        self._at = None
        return subprocess.Popen([ROOT / "cmake" / "wine", program, *arguments],
                                **{"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL,
                                   "stderr": subprocess.DEVNULL, "env": _settings(), "cwd": MAPPED, **options})

    def run(self, program, *arguments):
        # To files: programs that outlive this one inherit its output, and a pipe would not end.
        with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
            program = self.popen(program, *arguments, stdout=out, stderr=err)
            try:
                code = program.wait(TIMEOUT)
            except subprocess.TimeoutExpired:
                program.send_signal(signal.SIGKILL)
                program.wait()
                raise
            out.seek(0)
            err.seek(0)
            return Ended(code, out.read().decode("utf-8", "replace"), err.read().decode("utf-8", "replace"))

    def must_run(self, program, *arguments):
        ended = self.run(program, *arguments)
        if ended.code != 0:
            raise RuntimeError(f"{program} {arguments} {ended}")
        return ended

    def import_registry(self, text):
        """Text as in a .reg file, without its first line."""
        file = DRIVE / "import.reg"
        file.write_text("Windows Registry Editor Version 5.00\n\n" + text, encoding="utf-16")
        self.must_run("reg", "import", "C:\\import.reg")
        file.unlink()

    def write(self, path, content):
        """A file, by its Windows path."""
        self._at = None
        file = unix_path(path)
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_bytes(content if isinstance(content, bytes) else content.encode("utf-8"))
        return file

    def copy(self, path, source):
        self._at = None
        file = unix_path(path)
        file.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(source, file)
        return file


def unix_path(path):
    assert path.startswith("C:\\"), path
    return DRIVE / path[3:].replace("\\", "/")
