"""The list of changes: mutations.txt, which says how it is written."""

import re
from dataclasses import dataclass
from pathlib import Path

FILE = Path(__file__).with_name("mutations.txt")


@dataclass(frozen=True)
class Mutation:
    """One change. An empty text changes nothing."""

    file: str
    meaning: str
    text: str
    changed: str

    def name(self):
        return f"{self.file}: {self.meaning}"

    def apply(self, source):
        """The changed source. ValueError when the text does not stand in it exactly once."""
        count = source.count(self.text)
        if count != 1:
            raise ValueError(f"the text stands in the file {count} times")
        return source.replace(self.text, self.changed)


def load(pattern):
    """The mutations whose name the regular expression finds, in their order."""
    blocks = re.split(r"\n\s*\n", FILE.read_text(encoding="utf-8"))
    mutations, file = [], None
    for block in blocks:
        lines = block.strip("\n").split("\n")
        if lines[0].startswith("#"):
            continue
        if lines[0].startswith("["):
            file = lines[0].strip("[]")
            continue
        mutations.append(_parse(file, lines))
    _check(mutations)
    return [mutation for mutation in mutations if re.search(pattern, mutation.name())]


def _parse(file, lines):
    sides = {"-": [], "+": []}
    for line in lines[1:]:
        if line[0] not in sides or line[1:2].strip():
            raise ValueError(f"mutations.txt: neither '- ' nor '+ ': {line}")
        sides[line[0]].append(line[2:])
    if file is None or not sides["-"]:
        raise ValueError(f"mutations.txt: no file or no text: {lines[0]}")
    return Mutation(file, lines[0], "\n".join(sides["-"]), "\n".join(sides["+"]))


def _check(mutations):
    names = [mutation.name() for mutation in mutations]
    for name in names:
        if names.count(name) != 1:
            raise ValueError(f"mutations.txt: twice there: {name}")
