"""The lists of changes, mutations/*.txt: for each folder of the product what is broken there, and how.

A file in brackets, then its changes: a line that says what the change would mean, the exact text
behind "- ", and the text in its place behind "+ ". The text must stand in the file exactly once; it
may be a part of a line, or several lines. Without a "+ " line it is taken away. A line "= " says why
no test can notice the change: it is accepted that it survives, and an error if it does not.
"""

import re
from dataclasses import dataclass
from pathlib import Path

LISTS = Path(__file__).with_name("mutations")

# What other programs rely on: there no surviving change is accepted. Elsewhere few are.
STRICT = {"provider", "settings", "configfile"}
MOST_ACCEPTED = 0.05


@dataclass(frozen=True)
class Mutation:
    """One change. An empty text changes nothing."""

    file: str
    meaning: str
    text: str
    changed: str
    accepted: str = ""  # why it may survive; empty: it may not

    def name(self):
        return f"{self.file}: {self.meaning}"

    def folder(self):
        return self.file.split("/", 1)[0]

    def apply(self, source):
        """The changed source. ValueError when the text does not stand in it exactly once."""
        count = source.count(self.text)
        if count != 1:
            raise ValueError(f"the text stands in the file {count} times")
        return source.replace(self.text, self.changed)


def load(tree):
    """All mutations of the tree, in the order of the lists. ValueError when one of them could not
    be made, or the lists break one of their own rules."""
    mutations = [mutation for path in sorted(LISTS.glob("*.txt"))
                 for mutation in parse(path.name, path.read_text(encoding="utf-8"))]
    check(mutations)
    for mutation in mutations:
        try:
            mutation.apply((tree / mutation.file).read_text(encoding="utf-8"))
        except (ValueError, OSError) as error:
            raise ValueError(f"{mutation.name()}: {error}") from error
    return mutations


def parse(list_name, text):
    mutations, file = [], None
    for block in re.split(r"\n\s*\n", text):
        lines = block.strip("\n").split("\n")
        if lines[0].startswith("["):
            file = lines[0].strip("[]")
        elif lines != [""]:
            mutations.append(_parse_change(list_name, file, lines))
    return mutations


def _parse_change(list_name, file, lines):
    kinds = {"-": [], "+": [], "=": []}
    for line in lines[1:]:
        if line[0] not in kinds or line[1:2].strip():
            raise ValueError(f"{list_name}: none of '- ', '+ ' and '= ': {line}")
        kinds[line[0]].append(line[2:])
    if file is None or not kinds["-"]:
        raise ValueError(f"{list_name}: no file or no text: {lines[0]}")
    return Mutation(file, lines[0], "\n".join(kinds["-"]), "\n".join(kinds["+"]),
                    " ".join(kinds["="]))


def check(mutations):
    """ValueError when the lists break one of their own rules."""
    names = set()
    for mutation in mutations:
        if mutation.name() in names:
            raise ValueError(f"twice there: {mutation.name()}")
        names.add(mutation.name())
        if mutation.accepted and mutation.folder() in STRICT:
            raise ValueError(f"no survivor is accepted there: {mutation.name()}")
    lenient = [mutation for mutation in mutations if mutation.folder() not in STRICT]
    accepted = [mutation for mutation in lenient if mutation.accepted]
    if len(accepted) > MOST_ACCEPTED * len(lenient):
        raise ValueError(f"{len(accepted)} of {len(lenient)} are accepted: more than "
                         f"{MOST_ACCEPTED:.0%}")
