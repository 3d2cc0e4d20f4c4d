"""make.py BUILD: packs prodsweep-VERSION-win64.zip into BUILD, and says what came of it.

The same inputs give the same bytes: names are sorted, and times, rights and the making system are left out. The
import libraries stand beside each other, for GCC and for Visual C++; debug information is not packed.
"""
import hashlib
import pathlib
import re
import sys
import zipfile

ROOT = pathlib.Path(__file__).resolve().parents[1]
# The earliest that the format knows.
NO_TIME = (1980, 1, 1, 0, 0, 0)
BUILT = {
    "bin": ["bin/prodsweep.dll", "bin/prodsweep.exe", "bin/log.dll"],
    "lib": ["lib/libprodsweep.dll.a", "lib/prodsweep.lib"],
    "lib/cmake/prodsweep": ["package/prodsweep-config-version.cmake"],
}
# Where in the package, and what of the sources.
SOURCES = {
    "": ["package/README.md", "CHANGELOG.md", "CONTRIBUTING.md", "LICENSE", "THIRD-PARTY.md"],
    "lib/cmake/prodsweep": ["package/prodsweep-config.cmake"],
    "include/prodsweep": ["include/prodsweep/*.h"],
    "schema": ["schema/*.xsd"],
    "docs": ["docs/*.md"],
}
TREES = ["samples/catalogue", "samples/clients"]


def version_of(build):
    cache = (build / "CMakeCache.txt").read_text(encoding="utf-8")
    return re.search(r"^CMAKE_PROJECT_VERSION:STATIC=(.*)$", cache, re.MULTILINE).group(1)


def contents(build):
    """What the package holds: its name there, and its bytes."""
    files = {}
    for place, names in BUILT.items():
        for name in names:
            files[f"{place}/{pathlib.Path(name).name}"] = (build / name).read_bytes()
    for place, patterns in SOURCES.items():
        for pattern in patterns:
            found = sorted(ROOT.glob(pattern))
            if not found:
                raise SystemExit(f"package: {pattern} is missing")
            for path in found:
                files[f"{place}/{path.name}".lstrip("/")] = path.read_bytes()
    for tree in TREES:
        for path in sorted((ROOT / tree).rglob("*")):
            if path.is_file():
                files[path.relative_to(ROOT).as_posix()] = path.read_bytes()
    return files


def checksums(files):
    """In the form that sha256sum --check reads."""
    return "".join(f"{hashlib.sha256(files[name]).hexdigest()}  {name}\n" for name in sorted(files)).encode()


def pack(path, folder, files):
    with zipfile.ZipFile(path, "w") as package:
        for name in sorted(files):
            entry = zipfile.ZipInfo(f"{folder}/{name}", NO_TIME)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 3
            entry.external_attr = 0o100644 << 16
            package.writestr(entry, files[name], compresslevel=9)


def main(build):
    version = version_of(build)
    folder = f"prodsweep-{version}-win64"
    files = contents(build)
    files["SHA256SUMS"] = checksums(files)
    path = build / f"{folder}.zip"
    pack(path, folder, files)
    data = path.read_bytes()
    print(f"{path.name}: {len(files)} files, {len(data) / 1024:.0f} KiB, sha256 {hashlib.sha256(data).hexdigest()}")


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]).resolve())
