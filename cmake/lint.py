#!/usr/bin/env python3
"""lint.py BUILD [FILE...]: clang-format in check mode, then clang-tidy, on this project's own sources.

BUILD holds compile_commands.json, with each source by itself; nothing needs to be built. With FILEs (or parts of
their names) only these are looked at. What was found clean is not looked at again until it, a header that it reads,
or what is asked for has changed.
"""
import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

import joined_names

ROOT = pathlib.Path(__file__).resolve().parent.parent
# The public header is C and is looked at as such; the C++ checks would ask it to stop being C.
PUBLIC_HEADER = ROOT / "include/prodsweep/prodsweep.h"
# The floors see each other's headers through links in the build folder.
OWN_HEADERS = f"^({ROOT}/(src|host|log|samples|tests|bench)|{ROOT}/build/[^/]+/floors)/"
# The static analyser spends minutes on the expansions of GoogleTest's macros in a test file, four fifths of all the
# time. Tests are looked at by all the other checks.
WITHOUT_ANALYSER = re.compile(r"(^|/)(tests/|\w+_test\.cpp$)")
TARGET = re.compile(r" -o \S*?([^/ ]+)\.dir/")
JOINED = re.compile(r"_tests$|^prodsweep_test_support$")
INCLUDED = re.compile(r'^\s*#\s*include\s*["<]([^">]+)', re.MULTILINE)
COMPILER = {".cpp": "x86_64-w64-mingw32-g++-posix", ".c": "x86_64-w64-mingw32-gcc-posix"}


def own_sources():
    """All sources of the working tree, whether committed or not."""
    listed = subprocess.run(
        ["git", "ls-files", "-co", "--exclude-standard", "*.cpp", "*.c", "*.h"],
        cwd=ROOT, check=True, capture_output=True, text=True).stdout.split()
    return [ROOT / name for name in listed if (ROOT / name).exists()]


def system_includes(suffix):
    """GCC's include folders, without those of the compiler itself: clang brings its own intrinsics."""
    language = "c++" if suffix == ".cpp" else "c"
    told = subprocess.run([COMPILER[suffix], "-E", "-v", "-x", language, "/dev/null"],
                          check=True, capture_output=True, text=True).stderr
    folders = told.partition("#include <...> search starts here:\n")[2].partition("End of search list.")[0].split("\n")
    folders = [os.path.normpath(folder.strip()) for folder in folders if folder.strip()]
    return [folder for folder in folders
            if "/c++" in folder or not folder.startswith("/usr/lib/gcc/")]


def clang_command(entry, includes):
    """The compile command as clang takes it: what is defined, what is included, and which language."""
    words = shlex.split(entry["command"])
    suffix = pathlib.Path(entry["file"]).suffix
    kept = ["clang++" if suffix == ".cpp" else "clang", "--target=x86_64-w64-mingw32", "-Wall", "-Wextra"]
    if suffix == ".cpp":
        kept.append("-fsized-deallocation")  # part of the language, and on in GCC
    for i, word in enumerate(words):
        if word.startswith(("-D", "-std=")) or word.startswith(f"-I{ROOT}"):
            kept.append(word)
        elif word.startswith("-I"):
            kept += ["-isystem", word[2:]]
        elif word == "-isystem":
            kept += [word, words[i + 1]]
    for folder in includes[suffix]:
        kept += ["-isystem", folder]
    return [*kept, "-c", entry["file"]]


def header_command(includes):
    kept = ["clang", "--target=x86_64-w64-mingw32", "-Wall", "-Wextra", "-std=c11", "-x", "c"]
    for folder in includes[".c"]:
        kept += ["-isystem", folder]
    return [*kept, "-c", str(PUBLIC_HEADER)]


def write_database(build, sources):
    """A compilation database for clang-tidy, of those sources that are both compiled and our own."""
    includes = {suffix: system_includes(suffix) for suffix in COMPILER}
    entries = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = pathlib.Path(entry["file"])
        if path in sources and path.suffix in COMPILER:
            entries[path] = {"directory": entry["directory"], "file": entry["file"],
                             "arguments": clang_command(entry, includes)}
    if PUBLIC_HEADER in sources:
        entries[PUBLIC_HEADER] = {"directory": str(ROOT), "file": str(PUBLIC_HEADER),
                                  "arguments": header_command(includes)}
    folder = build / "tidy"
    folder.mkdir(exist_ok=True)
    (folder / "compile_commands.json").write_text(json.dumps(list(entries.values()), indent=1))
    return folder, entries


def own_headers(source, arguments):
    """Which headers of our own a source reads, and they read in turn."""
    folders = [pathlib.Path(word[2:]) for word in arguments if word.startswith("-I")]
    headers, unread = set(), [source]
    while unread:
        file = unread.pop()
        for name in INCLUDED.findall(file.read_text(encoding="utf-8")):
            for folder in [file.parent, *folders]:
                header = (folder / name).resolve()
                if header.is_file() and header not in headers:
                    headers.add(header)
                    unread.append(header)
    return headers


def digest(paths, *texts):
    whole = hashlib.sha256()
    for path in sorted(paths):
        whole.update(path.read_bytes())
    for text in texts:
        whole.update(text.encode())
    return whole.hexdigest()


def tidy(folder, path, arguments, seen):
    stamp = folder / f"{digest(seen, json.dumps(arguments))}.clean"
    if stamp.exists():
        return ""
    checks = ["--checks=-clang-analyzer-*"] if WITHOUT_ANALYSER.search(str(path.relative_to(ROOT))) else []
    run = subprocess.run(["clang-tidy-19", "--quiet", *checks, f"--header-filter={OWN_HEADERS}", "-p", folder, path],
                         cwd=ROOT, capture_output=True, text=True)
    if run.returncode == 0:
        stamp.touch()
        return ""
    # Standard error counts what was suppressed; it matters only when the tool itself fell over.
    return (run.stdout if run.stdout.strip() else run.stderr).replace(f"{ROOT}{os.sep}", "")


def check_format(sources):
    return subprocess.run(["clang-format", "--dry-run", "-Werror", *sources], cwd=ROOT).returncode == 0


def check_tidy(build, sources):
    folder, entries = write_database(build, set(sources))
    rules = {ROOT / ".clang-tidy", pathlib.Path(__file__).resolve()}
    # One finding in a header is met by every source that includes it, and is told once.
    told = set()
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        jobs = [pool.submit(tidy, folder, path, entries[path]["arguments"],
                            {path} | rules | own_headers(path, entries[path]["arguments"])) for path in sorted(entries)]
        for job in jobs:
            for finding in re.split(r"^(?=\S+:\d+:\d+: (?:error|warning): )", job.result(), flags=re.MULTILINE):
                if finding.strip() and finding not in told:
                    told.add(finding)
                    print(finding, end="", flush=True)
    print(f"clang-tidy: {len(entries)} files, {len(told) or 'no'} findings")
    return not told


def check_names(build, sources):
    """Of the test programs, whose sources are compiled several at a time."""
    programs = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = pathlib.Path(entry["file"])
        target = TARGET.search(entry["command"])
        if path.suffix == ".cpp" and target and JOINED.search(target[1]):
            programs.setdefault(target[1], set()).add(path)
    findings = [finding for finding, users in joined_names.told_twice(programs) if users & sources]
    print(*findings, f"names: {len(programs)} test programs, {len(findings) or 'no'} findings", sep="\n")
    return not findings


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    if ".dir/Unity/" in (build / "compile_commands.json").read_text():
        sys.exit(f"{build}: sources are joined there. Configure a folder with -DPRODSWEEP_JOIN_TESTS=OFF.")
    wanted = sys.argv[2:]
    sources = [path for path in own_sources()
               if not wanted or any(part in str(path.relative_to(ROOT)) for part in wanted)]
    formatted = check_format(sources)
    print(f"clang-format: {len(sources)} files, {'clean' if formatted else 'with findings'}", flush=True)
    named = check_names(build, set(sources))
    sys.exit(0 if check_tidy(build, sources) and formatted and named else 1)


main()
