"""The project's pages: what stands where in them."""
import pathlib
import re
from typing import NamedTuple

ROOT = pathlib.Path(__file__).resolve().parents[2]
DOCS = ROOT / "docs"


class Fence(NamedTuple):
    language: str
    name: str  # what follows the language: a file name, or nothing
    text: str
    line: int


def all_pages():
    """Every page of the tree, those of the build folder left out."""
    return sorted([*ROOT.glob("*.md"), *DOCS.rglob("*.md")])


def read(page):
    return pathlib.Path(page).read_text(encoding="utf-8")


def fences(text):
    return [Fence(found.group(1), found.group(2).strip(), found.group(3), text.count("\n", 0, found.start()) + 1)
            for found in re.finditer(r"^```([\w+]*)([^\n]*)\n(.*?)^```$", text, re.MULTILINE | re.DOTALL)]


def prose(text):
    """The text with its fenced blocks blanked out; lines keep their numbers."""
    return re.sub(r"^```.*?^```$", lambda block: "\n" * block.group().count("\n"), text,
                  flags=re.MULTILINE | re.DOTALL)


def anchor(heading):
    """The name by which a link reaches a heading."""
    plain = re.sub(r"[`*]|\]\([^)]*\)|\[", "", heading).strip().lower()
    return re.sub(r"[^\w\- ]", "", plain).replace(" ", "-")


def anchors(text):
    return {anchor(found) for found in re.findall(r"^#+ (.+)$", prose(text), re.MULTILINE)}


def sections(text, level=2):
    """Each heading of that level with the text below it."""
    parts = re.split(rf"^{'#' * level} (.+)$", text, flags=re.MULTILINE)
    return dict(zip(parts[1::2], parts[2::2]))


def table_rows(text):
    """The cells of every table row, without headings and rules. A bar may stand within backticks."""
    rows, lines = [], prose(text).splitlines()
    for number, line in enumerate(lines):
        following = lines[number + 1] if number + 1 < len(lines) else ""
        if line.startswith("|") and not _is_rule(line) and not _is_rule(following):
            rows.append([cell.strip() for cell in re.split(r"\|(?=(?:[^`]*`[^`]*`)*[^`]*$)", line)[1:-1]])
    return rows


def _is_rule(line):
    return re.fullmatch(r"\|[-| :]+\|", line) is not None
