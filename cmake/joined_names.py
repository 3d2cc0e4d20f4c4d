"""Names that several sources of one test program give to something of their own. The sources are compiled as one: there
a function could be called in place of its namesake, and nobody would be told."""
import collections
import re

_ANONYMOUS = re.compile(r"^namespace \{\n(.*?)^\} // namespace\n", re.MULTILINE | re.DOTALL)
_RAW_STRING = re.compile(r'R"(\w*)\(.*?\)\1"', re.DOTALL)
# Definitions begin a line, as clang-format has put them: types, aliases, functions, constants and variables.
_TYPE = re.compile(r"^(?:(?:struct|class|enum(?: class)?|union) (\w+)|using (\w+) =)", re.MULTILINE)
_NAME = re.compile(r"^(?!(?:return|using|struct|class|enum|union|INSTANTIATE_\w+|TEST(?:_[FP])?)\b)"
                   r"(?:template <.*?> ?\n?)?(?:\[\[\w+\]\] )?[A-Za-z_](?:[\w:<>,&* ]|\([^()\n]*\)>)*[ &*](\w+)"
                   r"(?=\(|\[| = |;|\{)", re.MULTILINE)
_POINTER = re.compile(r"^[A-Za-z_][\w:<>,&* ]*\(\w* ?\*(\w+)\)\(", re.MULTILINE)
_STATIC = re.compile(r"^static .*", re.MULTILINE)
# GoogleTest looks for it by its parameter.
_SHARED = {"PrintTo"}


def own_names(text):
    text = _RAW_STRING.sub('""', text)
    parts = [*_ANONYMOUS.findall(text), *_STATIC.findall(text)]
    return {found[found.lastindex] for part in parts for kind in (_TYPE, _NAME, _POINTER)
            for found in kind.finditer(part)} - _SHARED


def told_twice(programs):
    """(One line, the sources that it is about) for each such name. programs: {program: its sources}."""
    findings = []
    for program, sources in sorted(programs.items()):
        users = collections.defaultdict(set)
        for source in sources:
            for name in own_names(source.read_text(encoding="utf-8")):
                users[name].add(source)
        findings += [(f"{program}: \"{name}\" is a name of {', '.join(sorted(file.name for file in files))}", files)
                     for name, files in sorted(users.items()) if len(files) > 1]
    return findings
