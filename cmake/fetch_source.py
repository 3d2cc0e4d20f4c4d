#!/usr/bin/env python3
"""fetch_source.py PACKAGE FOLDER: the sources of one of Debian's packages, with Debian's patches, in FOLDER.

For libraries that have to be compiled for Windows: Debian's own builds of them are for Linux. The sources come from
where this machine gets its packages, and apt verifies them as it verifies those. Nothing of the system's is changed:
lists and downloads go to a folder that is removed again.
"""
import functools
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

CONFIGURED = pathlib.Path("/etc/apt")


def source_line(line):
    """A line of sources.list, asking for sources; nothing for a comment and the like."""
    return re.sub(r"^deb\s", "deb-src ", line) if re.match(r"deb\s", line) else ""


def source_stanza(stanza):
    """A stanza of a .sources file, asking for sources; nothing if it is switched off or has no packages."""
    if re.search(r"^Enabled:\s*(no|false|0)\s*$", stanza, re.M | re.I) or not re.search(r"^Types:.*\bdeb\b", stanza, re.M):
        return ""
    return re.sub(r"^Types:.*$", "Types: deb-src", stanza, flags=re.M)


def write_source_lists(folder, configured=CONFIGURED):
    lists = [configured / "sources.list", *sorted((configured / "sources.list.d").glob("*.list"))]
    for number, path in enumerate(path for path in lists if path.exists()):
        lines = [source_line(line) for line in path.read_text(encoding="utf-8").splitlines()]
        (folder / f"{number}.list").write_text("\n".join(filter(None, lines)) + "\n", encoding="utf-8")
    for number, path in enumerate(sorted((configured / "sources.list.d").glob("*.sources"))):
        stanzas = re.split(r"\n\s*\n", path.read_text(encoding="utf-8"))
        asking = filter(None, (source_stanza(stanza.strip()) for stanza in stanzas))
        (folder / f"{number}.sources").write_text("\n\n".join(asking) + "\n", encoding="utf-8")


def versions(apt_cache, package):
    """Those that are offered, the newest first."""
    shown = subprocess.run([*apt_cache, "showsrc", "--only-source", package], check=True, capture_output=True, text=True)
    offered = set(re.findall(r"^Version: (\S+)$", shown.stdout, re.M))

    def older(left, right):
        return 1 if subprocess.run(["dpkg", "--compare-versions", left, "lt", right], check=False).returncode == 0 else -1

    return sorted(offered, key=functools.cmp_to_key(older))


def fetch(package, folder, work):
    """work: an empty folder on the same disk as folder."""
    for name in ["sources", "lists/partial", "cache/archives/partial", "download"]:
        (work / name).mkdir(parents=True)
    write_source_lists(work / "sources")
    options = ["Dir::Etc::SourceList=/dev/null", f"Dir::Etc::SourceParts={work / 'sources'}",
               f"Dir::State::Lists={work / 'lists'}", f"Dir::Cache={work / 'cache'}", "Acquire::Languages=none"]
    if os.geteuid() == 0:
        # The user that apt downloads as may not be let into this folder.
        options.append("APT::Sandbox::User=root")
    options = [argument for option in options for argument in ("-o", option)]
    apt_get, apt_cache = ["apt-get", "-q", *options], ["apt-cache", *options]
    # One list that cannot be had does not matter, if the package is in another.
    subprocess.run([*apt_get, "update"], cwd=work, check=False)
    # A mirror may list a version before, or longer than, it has the files.
    if not any(subprocess.run([*apt_get, "source", "--download-only", f"{package}={version}"], cwd=work / "download",
                              check=False).returncode == 0 for version in versions(apt_cache, package)):
        sys.exit(f"the sources of {package} cannot be had")
    description, = (work / "download").glob("*.dsc")
    subprocess.run(["dpkg-source", "--no-check", "--extract", description, work / "unpacked"], check=True)
    # In one step, so that what is there is whole.
    shutil.rmtree(folder, ignore_errors=True)
    (work / "unpacked").rename(folder)


def main():
    package, folder = sys.argv[1], pathlib.Path(sys.argv[2]).resolve()
    folder.parent.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(dir=folder.parent) as work:
        fetch(package, folder, pathlib.Path(work))


if __name__ == "__main__":
    main()
