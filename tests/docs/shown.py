"""What the pages show as run: commands with their output, commands alone, and whole programs."""
import re
from typing import NamedTuple

import pages

PROMPT = "C:\\prodsweep> "


class Step(NamedTuple):
    command: str
    output: str | None  # None: the page does not show it
    place: str


def transcripts(page):
    """The console blocks of a page: each prompt's command with the output below it."""
    steps = []
    for fence in pages.fences(pages.read(page)):
        if fence.language != "console":
            continue
        place = f"{page.name}:{fence.line}"
        before, *parts = ("\n" + fence.text).split("\n" + PROMPT)
        if before.strip():
            raise ValueError(f"{place}: output without a command")
        for part in parts:
            command, _, output = part.partition("\n")
            steps.append(Step(command, output.rstrip("\n"), place))
    return steps


def typed(page):
    """Lines to be typed: indented, or in a block of a shell. What follows three blanks explains them."""
    text = pages.read(page)
    lines = re.findall(r"^    (\S.*)$", pages.prose(text), re.MULTILINE)
    for fence in pages.fences(text):
        if fence.language in ("sh", "bat"):
            lines += fence.text.splitlines()
    return [re.split(r"   +", line)[0] for line in lines]


def lone_commands(page):
    """Command lines of the program without output."""
    return [Step(line, None, page.name) for line in typed(page) if line.startswith("prodsweep ")]


def programs(page):
    """Each block that names a file, with the output and the command line to build it that follow it."""
    blocks = pages.fences(pages.read(page))
    found = []
    for number, fence in enumerate(blocks):
        if fence.language in ("c", "cpp", "nsis") and fence.name:
            below = blocks[number + 1:number + 3]
            if [block.language for block in below] != ["text", "sh"]:
                raise ValueError(f"{page.name}:{fence.line}: {fence.name} has no output and no command line behind it")
            found.append((fence, below[0].text, below[1].text.strip()))
    return found


def matches(output, shown_output):
    """Is the output as it is shown? "..." stands for anything in a line, and alone on its line for any lines."""
    pattern = "".join(r"(?:.*\n)*?" if line.strip() == "..." else re.escape(line).replace(r"\.\.\.", ".*") + r"\n"
                      for line in shown_output.split("\n"))
    return re.fullmatch(pattern, output.rstrip("\n") + "\n") is not None
