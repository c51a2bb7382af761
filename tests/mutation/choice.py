"""Which of the changes a run tries."""

import hashlib
import subprocess

SAMPLE_PARTS = 8
SAMPLE_MOST = 48  # two processors try them in four minutes
DAY = 24 * 60 * 60  # seconds


def share(mutations, part, parts):
    """One of `parts` parts, counted from 1, that make up the whole together."""
    return mutations[part - 1::parts]


def sample(mutations, tree):
    """The part that the present commit stands for, and more of what the last day's commits touched.
    The same for everybody who has this commit."""
    commit = _git(tree, "rev-parse", "HEAD").strip()
    part = int(hashlib.sha256(commit.encode()).hexdigest(), 16) % SAMPLE_PARTS
    parts = _by_chance(share(mutations, part + 1, SAMPLE_PARTS), commit)
    touched = _touched_files(tree)
    recent = _by_chance([mutation for mutation in mutations if mutation.file in touched], commit)
    # Half of the room is the commit's part's, whatever was touched.
    chosen = set(parts[:SAMPLE_MOST // 2])
    for mutation in recent + parts:
        if len(chosen) < SAMPLE_MOST:
            chosen.add(mutation)
    return [mutation for mutation in mutations if mutation in chosen]


def _by_chance(mutations, commit):
    """In an order that another commit changes, so that a limit leaves out others there."""
    return sorted(mutations, key=lambda mutation: hashlib.sha256(
        f"{commit} {mutation.name()}".encode()).digest())


def _touched_files(tree):
    """Those of the commits of the last day before the present one."""
    time = int(_git(tree, "log", "-1", "--format=%ct", "HEAD"))
    return set(_git(tree, "log", f"--since={time - DAY}", "--name-only", "--format=").split("\n"))


def _git(tree, *arguments):
    return subprocess.run(["git", "-C", tree, *arguments], check=True, text=True,
                          stdout=subprocess.PIPE).stdout
