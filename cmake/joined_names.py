"""Names that several sources of one test program give to something of their own. The sources are compiled as one: there
a function could be called in place of its namesake, and nobody would be told."""
import collections
import re

_ANONYMOUS = re.compile(r"^namespace \{\n(.*?)^\} // namespace\n", re.MULTILINE | re.DOTALL)
# Definitions begin a line, as clang-format has put them: types, aliases, functions, constants and variables.
_TYPE = re.compile(r"^(?:(?:struct|class|enum(?: class)?|union) (\w+)|using (\w+) =)", re.MULTILINE)
_NAME = re.compile(r"^(?!return|using|template|TEST|INSTANTIATE|struct|class|enum|union)"
                   r"[A-Za-z_][\w:<>,&* ]*[ &*](\w+)(?=\(|\[| = |;|\{)", re.MULTILINE)
# GoogleTest looks for it by its parameter.
_SHARED = {"PrintTo"}


def own_names(text):
    return {found[found.lastindex] for part in _ANONYMOUS.findall(text) for kind in (_TYPE, _NAME)
            for found in kind.finditer(part)} - _SHARED


def told_twice(programs):
    """One line for each such name. programs: {program: its sources}."""
    findings = []
    for program, sources in sorted(programs.items()):
        users = collections.defaultdict(list)
        for source in sorted(sources):
            for name in own_names(source.read_text(encoding="utf-8")):
                users[name].append(source.name)
        findings += [f"{program}: \"{name}\" is a name of {', '.join(files)}"
                     for name, files in sorted(users.items()) if len(files) > 1]
    return findings
