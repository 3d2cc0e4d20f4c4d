"""What the library can write to the log: read from its sources, without running anything."""
import pathlib
import re
from typing import NamedTuple

LEVELS = {"LogError": "error", "LogWarning": "tolerated", "LogTrace": "trace", "LogSkipped": "skipped"}

# A function's definition starts in the first column here, and nothing that logs is written inside a class.
_DEFINITION = re.compile(r"^(?=[A-Za-z_])[^(\n]*?([\w:~]+)\(", re.MULTILINE)
_STATEMENT = re.compile(r"\bLOG\(\s*(\w+),\s*(?:((?:L?\"(?:[^\"\\]|\\.)*\"\s*)+)|\w+\.FailureFormat\(\))")
# Where a part does not log itself, its callers do so in their own names, with one of these.
_FAILURE_FORMAT = re.compile(r"\bfailureFormat = (L\"(?:[^\"\\]|\\.)*\");")
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


def of_source(source, failures=()):
    """The lines of one source. failures: what a part that it calls may hand it to log."""
    return [LogLine(text, LEVELS[found.group(1)], _function_around(source, found.start()))
            for found in _STATEMENT.finditer(source)
            for text in ([_literal(found.group(2))] if found.group(2) else failures)]


def of_tree(folder):
    """All lines of the sources in folder, and how many of the statements there are not understood."""
    sources = [path.read_text(encoding="utf-8") for path in sorted(pathlib.Path(folder).rglob("*.cpp"))
               if not path.name.endswith("_test.cpp")]
    failures = [_literal(text) for source in sources for text in _FAILURE_FORMAT.findall(source)]
    lines = [line for source in sources for line in of_source(source, failures)]
    unread = sum(len(re.findall(r"\bLOG\(", source)) - len(_STATEMENT.findall(source)) for source in sources)
    return lines, unread
