#!/usr/bin/env python3
"""Breaks the product on purpose, one small change at a time, and tells which test notices.

Every change of mutations.txt is made in a copy of the tree, built, and tested until the first test
fails. A change that no test notices survives: either a test is missing, or the change is none. A
change that cannot be made or built proves nothing. Both end the run with exit status 1.
"""

import sys

sys.dont_write_bytecode = True  # nothing is left in the tree

import argparse
import concurrent.futures
import pathlib
import queue
import resource
import time
from typing import NamedTuple

import mutations
from work_tree import WorkTree

TREE = pathlib.Path(__file__).resolve().parents[2]
MEMORY_LIMIT = 4 << 30  # bytes for each process: a change may make a program grow without end


class Stage(NamedTuple):
    """Some tests of one program."""

    target: str
    folder: str
    tests: str


# Tests that take long and that other tests leave little to: they run last.
SLOW_LOCK = "LockBetweenProcesses.HeldLockIsGivenUpAfterThirtyTries"
ALL_SEEDS = "FromSeed/RoundTrip.*"
SOME_SEEDS = ALL_SEEDS + "/0"
HUGE_FILES = "Loading.FilesOfOneHundredMegabytesAreRead"

RECORDS = Stage("settings_tests", "unit/settings", f"-{ALL_SEEDS}:{HUGE_FILES}")
PROVIDER = Stage("provider_tests", "unit/provider", "*")
LIBRARY = Stage("provider_system_test", "system/provider", f"-{SLOW_LOCK}")
ROUND_TRIP = Stage("settings_tests", "unit/settings", f"{SOME_SEEDS}:{HUGE_FILES}")
LONG_WAIT = Stage("provider_system_test", "system/provider", SLOW_LOCK)
ALL_STAGES = [RECORDS, PROVIDER, LIBRARY, ROUND_TRIP, LONG_WAIT]

UNCHANGED = mutations.Mutation("provider/CVELTARO_ToolServiceLogger.cpp", "nothing is changed", "void* create() {",
                               "void* create() {")


class Outcome(NamedTuple):
    mutation: mutations.Mutation
    test: str  # that noticed; empty when none did
    problem: str  # why there is no result; empty when there is one
    seconds: float


def stages_of(mutation):
    """The stages that may notice the change, the quick and likely ones first."""
    if mutation is UNCHANGED:
        return ALL_STAGES
    if mutation.file.startswith("provider/"):
        return [PROVIDER, LIBRARY]
    if mutation.file == "settings/LockFile.cpp":
        return [PROVIDER, LIBRARY, LONG_WAIT]
    return [RECORDS, PROVIDER, LIBRARY, ROUND_TRIP]


def test(mutation, tree):
    """The test that notices the change; empty when none does. ValueError when it does not build."""
    with tree.changed(mutation):
        for stage in stages_of(mutation):
            if not tree.build([stage.target, "kzmp_VELTARO_ToolServiceLogger"]
                              if stage.target == LIBRARY.target else [stage.target]):
                raise ValueError("it does not build")
            failing = tree.failing_test(f"tests/{stage.folder}/{stage.target}", stage.tests)
            if failing is not None:
                return failing
    return ""


def outcome_of(mutation, trees):
    tree = trees.get()
    start = time.monotonic()
    noticed, problem = "", ""
    try:
        noticed = test(mutation, tree)
    except ValueError as error:
        problem = str(error)
    finally:
        trees.put(tree)
    return Outcome(mutation, noticed, problem, time.monotonic() - start)


def verdict(outcome):
    """What the table says, and whether all is well."""
    if outcome.problem:
        return "BROKEN   " + outcome.problem, False
    if outcome.mutation is UNCHANGED:
        return ("FAILS    " + outcome.test, False) if outcome.test else ("passes", True)
    return (outcome.test, True) if outcome.test else ("SURVIVES", False)


def show(outcome):
    text, is_well = verdict(outcome)
    print(f"{outcome.seconds:5.1f} s  {outcome.mutation.name()}\n         {text}", flush=True)
    return is_well


def run(chosen, trees, workers):
    """The outcomes, shown as they come; after a failure of the unchanged tree no further ones."""
    outcomes = []
    pool = concurrent.futures.ThreadPoolExecutor(workers)
    try:
        running = [pool.submit(outcome_of, mutation, trees) for mutation in [UNCHANGED, *chosen]]
        for task in concurrent.futures.as_completed(running):
            outcomes.append(task.result())
            if not show(outcomes[-1]) and outcomes[-1].mutation is UNCHANGED:
                break
    finally:
        pool.shutdown(cancel_futures=True)
    return outcomes


def prepare(folder, workers):
    trees = [WorkTree(folder / f"worker{number}") for number in range(workers)]
    targets = sorted({stage.target for stage in ALL_STAGES})
    with concurrent.futures.ThreadPoolExecutor(workers) as pool:
        list(pool.map(lambda tree: tree.prepare(TREE, targets), trees))
    free = queue.SimpleQueue()
    for tree in trees:
        free.put(tree)
    return free


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("folder", type=pathlib.Path, help="where to work, in a build folder")
    parser.add_argument("--only", default="", metavar="REGEX",
                        help="only the changes whose file and meaning this finds")
    parser.add_argument("--workers", type=int, default=2, help="how many at once (2)")
    return parser.parse_args()


def main():
    arguments = parse_arguments()
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))
    chosen = mutations.load(arguments.only)
    start = time.monotonic()
    trees = prepare(arguments.folder.resolve(), arguments.workers)
    print(f"Built in {time.monotonic() - start:.0f} s", flush=True)
    outcomes = run(chosen, trees, arguments.workers)
    bad = [outcome for outcome in outcomes if not verdict(outcome)[1]]
    seconds = time.monotonic() - start
    print(f"{len(chosen)} changes in {seconds:.0f} s, {len(bad)} without a good result")
    return 0 if chosen and not bad else 1


if __name__ == "__main__":
    sys.exit(main())
