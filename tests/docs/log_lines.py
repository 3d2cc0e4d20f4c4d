"""What the library can write to the log: read from its sources, without running anything."""
import pathlib
import re
from typing import NamedTuple

LEVELS = {"LogError": "error", "LogWarning": "tolerated", "LogTrace": "trace", "LogSkipped": "skipped"}

# A function's definition starts in the first column here, and nothing that logs is written inside a class.
_DEFINITION = re.compile(r"^(?=[A-Za-z_])[^(\n]*?([\w:~]+)\(", re.MULTILINE)
_STATEMENT = re.compile(r"\bLOG\(\s*(\w+),\s*((?:L?\"(?:[^\"\\]|\\.)*\"\s*)+)")
_ESCAPES = {"\\\"": "\"", "\\\\": "\\", "\\t": "\t"}


class LogLine(NamedTuple):
    text: str  # without the blanks and tabs around it, which a page does not show
    level: str  # in the word that the log shows
    function: str


def _literal(code):
    parts = re.findall(r"L?\"((?:[^\"\\]|\\.)*)\"", code)
    return re.sub(r"\\.", lambda escape: _ESCAPES[escape.group()], "".join(parts)).strip()


def _function_around(source, position):
    return [found.group(1) for found in _DEFINITION.finditer(source, 0, position)][-1]


def of_source(source):
    return [LogLine(_literal(found.group(2)), LEVELS[found.group(1)], _function_around(source, found.start()))
            for found in _STATEMENT.finditer(source)]


def of_tree(folder):
    """All lines of the sources in folder, and how many statements there are in all."""
    lines, statements = [], 0
    for path in sorted(pathlib.Path(folder).rglob("*.cpp")):
        if path.name.endswith("_test.cpp"):
            continue
        source = path.read_text(encoding="utf-8")
        statements += len(re.findall(r"\bLOG\(", source))
        lines += of_source(source)
    return lines, statements
