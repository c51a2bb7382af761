#!/usr/bin/env python3
"""Breaks the product on purpose, one small change at a time, and tells which test notices.

Every chosen change of the lists is made in a copy of the tree and of its build by the preset "dev",
built, and tested until the first test fails. A change that no test notices survives: either a test is
missing, or the change is none. A change that cannot be made or built proves nothing, and one that is
accepted as a survivor must be one. All of these end the run with exit status 1.
"""

import sys

sys.dont_write_bytecode = True  # nothing is left in the tree

import argparse
import collections
import concurrent.futures
import pathlib
import queue
import re
import resource
import signal
import time
from typing import NamedTuple

import choice
import mutations
import stages
import work_tree

TREE = pathlib.Path(__file__).resolve().parents[2]
MEMORY_LIMIT = 4 << 30  # bytes for each process: a change may make a program grow without end

UNCHANGED = mutations.Mutation("provider/CVELTARO_ToolServiceLogger.cpp", "nothing is changed",
                               "void* create() {", "void* create() {")


class Outcome(NamedTuple):
    mutation: mutations.Mutation
    test: str  # that noticed; empty when none did
    problem: str  # why there is no result; empty when there is one
    seconds: float


def test(mutation, stages_to_try, tree):
    """The test that notices the change; empty when none does. ValueError when it does not build."""
    with tree.changed(mutation):
        noticed = first_failing(mutation, stages_to_try, tree)
        if mutation is UNCHANGED or bool(noticed) != bool(mutation.accepted):
            return noticed
        # Up to chance, on a busy machine, is what a test sees of a change where threads meet, and
        # whether one fails that sees nothing.
        noticed = first_failing(mutation, stages_to_try, tree)
        return noticed and noticed + " (at the second try)"


def first_failing(mutation, stages_to_try, tree):
    for stage in stages_to_try:
        if not tree.build([stage.target]):
            raise ValueError("it does not build")
        program = f"tests/{stage.folder}/{stage.target}"
        failing = tree.failing_test(program, stage.tests)
        if failing is not None and mutation is UNCHANGED:
            failing = tree.failing_test(program, stage.tests)  # not by chance, on a busy machine
        if failing is not None:
            return failing
    return ""


def outcome_of(mutation, stages_to_try, trees):
    tree = trees.get()
    start = time.monotonic()
    noticed, problem = "", ""
    try:
        noticed = test(mutation, stages_to_try, tree)
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
    accepted = outcome.mutation.accepted
    if outcome.test:
        return (f"NOTICED  {outcome.test}: take it off the accepted ones", False) if accepted else (
            outcome.test, True)
    return ("accepted: " + accepted, True) if accepted else ("SURVIVES", False)


def show(outcome):
    """Prints it, but for a stage that the unchanged tree passes; whether all is well."""
    text, is_well = verdict(outcome)
    if not (is_well and outcome.mutation is UNCHANGED):
        print(f"{outcome.seconds:5.1f} s  {outcome.mutation.name()}\n         {text}", flush=True)
    return is_well


def run(chosen, trees, workers):
    """The outcomes, shown as they come; after a failure of the unchanged tree no further ones. That
    is tried stage by stage, so that all workers have a share of it."""
    of = {mutation: stages.stages_of(mutation.file) for mutation in chosen}
    every_stage = dict.fromkeys(stage for tried in of.values() for stage in tried)
    tries = [(UNCHANGED, [stage]) for stage in every_stage] + list(of.items())
    outcomes = []
    pool = concurrent.futures.ThreadPoolExecutor(workers)
    try:
        running = [pool.submit(outcome_of, *tried, trees) for tried in tries]
        for task in concurrent.futures.as_completed(running):
            outcomes.append(task.result())
            if not show(outcomes[-1]) and outcomes[-1].mutation is UNCHANGED:
                break
    finally:
        pool.shutdown(cancel_futures=True)
    return outcomes


def prepare(folder, chosen, workers):
    """Trees to work in. Where they can be seen at the place of this one, its build is copied; elsewhere
    each builds at a place of its own."""
    targets = stages.targets_of(stage for mutation in chosen
                                for stage in stages.stages_of(mutation.file))
    is_shared = work_tree.can_share_a_place()
    folder.mkdir(parents=True, exist_ok=True)
    if is_shared:
        work_tree.WorkTree(TREE, TREE, folder / "build.log").prepare(targets, workers)
    free = queue.SimpleQueue()
    for number in range(workers):
        copy = folder / f"worker{number}"
        tree = work_tree.WorkTree(copy, TREE if is_shared else copy, folder / f"worker{number}.log")
        tree.copy_sources(TREE)
        if is_shared:
            tree.copy_build(TREE)
        else:
            tree.prepare(targets, workers)
        tree.keep(folder / ("unchanged" if is_shared else f"unchanged{number}"))
        free.put(tree)
    return free


def show_table(outcomes):
    counts = collections.defaultdict(collections.Counter)
    for outcome in outcomes:
        if outcome.mutation is not UNCHANGED and not outcome.problem:
            kind = "noticed" if outcome.test else "accepted" if outcome.mutation.accepted else "survived"
            for folder in (outcome.mutation.folder(), "all"):
                counts[folder].update(["tried", kind])
    columns = ["tried", "noticed", "survived", "accepted"]
    print(f"{'':12}" + "".join(f"{column:>10}" for column in columns))
    for folder in sorted(counts, key=lambda name: (name == "all", name)):
        print(f"{folder:12}" + "".join(f"{counts[folder][column]:10}" for column in columns))


def choose(arguments):
    all_mutations = mutations.load(TREE)
    if arguments.sample:
        chosen = choice.sample(all_mutations, TREE)
        print(f"{len(chosen)} of {len(all_mutations)} changes, by the commit and what the last day's "
              "commits touched. All of them: ./run mutants")
    else:
        chosen = choice.share(all_mutations, *arguments.share)
    return [mutation for mutation in chosen if re.search(arguments.only, mutation.name())]


def parse_share(text):
    part, parts = (int(number) for number in text.split("/"))
    if not 1 <= part <= parts:
        raise ValueError
    return part, parts


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("folder", type=pathlib.Path, help="where to work, in a build folder")
    parser.add_argument("--only", default="", metavar="REGEX",
                        help="only the changes whose file and meaning this finds")
    which = parser.add_mutually_exclusive_group()
    which.add_argument("--share", type=parse_share, default=(1, 1), metavar="K/N",
                       help="only the K-th of N parts")
    which.add_argument("--sample", action="store_true",
                       help="only a part that differs from commit to commit, and some of what the "
                            "last day's commits touched")
    parser.add_argument("--list", action="store_true", help="print the changes, try none")
    parser.add_argument("--workers", type=int, default=2, help="how many at once (2)")
    return parser.parse_args()


def main():
    arguments = parse_arguments()
    signal.signal(signal.SIGTERM, signal.default_int_handler)  # what runs is ended first
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))
    try:
        chosen = choose(arguments)
    except ValueError as error:
        sys.exit(f"{error}")
    if arguments.list:
        print("\n".join(mutation.name() for mutation in chosen))
        return 0
    start = time.monotonic()
    trees = prepare(arguments.folder.resolve(), chosen, arguments.workers)
    print(f"Built in {time.monotonic() - start:.0f} s", flush=True)
    outcomes = run(chosen, trees, arguments.workers)
    bad = [outcome for outcome in outcomes if not verdict(outcome)[1]]
    show_table(outcomes)
    for outcome in bad:
        print(f"{outcome.mutation.name()}\n         {verdict(outcome)[0]}")
    seconds = time.monotonic() - start
    print(f"{len(chosen)} changes in {seconds:.0f} s, {len(bad)} without a good result")
    return 0 if chosen and not bad else 1


if __name__ == "__main__":
    sys.exit(main())
