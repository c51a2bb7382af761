"""Tests of what decides over changes: python3 -m unittest discover tests/mutation"""

import os
import pathlib
import tempfile
import unittest
from unittest import mock

import choice
import mutations
import run
import work_tree

TREE = pathlib.Path(__file__).resolve().parents[2]
LIST = """[host/A.cpp]

A bound is moved
- a < b
+ a <= b

A line is missing
- one
- two

Nobody can notice
- x
+ y
= the reason
"""


def many(count, file="host/A.cpp", accepted=""):
    return [mutations.Mutation(file, f"{accepted}{number}", "a", "b", accepted)
            for number in range(count)]


class ListTest(unittest.TestCase):
    def test_changes_are_read(self):
        bound, line, accepted = mutations.parse("host.txt", LIST)
        self.assertEqual(bound.apply("if (a < b)"), "if (a <= b)")
        self.assertEqual(line.apply("one\ntwo\nthree"), "\nthree")
        self.assertEqual(accepted.accepted, "the reason")

    def test_a_text_must_be_there_once(self):
        for source in ("", "a < b a < b"):
            with self.assertRaises(ValueError):
                mutations.parse("host.txt", LIST)[0].apply(source)

    def test_few_survivors_are_accepted_and_none_of_the_provider(self):
        mutations.check(many(95) + many(5, accepted="why"))
        with self.assertRaises(ValueError):
            mutations.check(many(94) + many(6, accepted="why"))
        with self.assertRaises(ValueError):
            mutations.check(many(95) + many(1, "provider/A.cpp", "why"))

    def test_the_lists_fit_the_tree(self):
        self.assertTrue(mutations.load(TREE))


class ChoiceTest(unittest.TestCase):
    def test_shares_make_up_the_whole(self):
        whole = many(10)
        shares = [choice.share(whole, part, 3) for part in (1, 2, 3)]
        self.assertEqual(sorted(sum(shares, []), key=whole.index), whole)

    def sample(self, commit, touched, whole):
        answers = {"rev-parse": commit, "log": "1000" if not touched else touched}
        answer = lambda tree, *words: "1000" if "-1" in words else answers[words[0]]
        with mock.patch.object(choice, "_git", answer):
            return choice.sample(whole, TREE)

    def test_a_sample_is_the_commits_own(self):
        whole = many(80)
        self.assertEqual(self.sample("a", "", whole), self.sample("a", "", whole))
        self.assertEqual(len(self.sample("a", "", whole)), 80 // choice.SAMPLE_PARTS)
        seen = {mutation for number in range(100) for mutation in self.sample(str(number), "", whole)}
        self.assertEqual(len(seen), 80)

    def test_a_sample_has_what_was_touched_and_is_bounded(self):
        whole = many(400) + many(20, "host/B.cpp")
        chosen = self.sample("a", "host/B.cpp\nhost/C.cpp", whole)
        self.assertEqual(len(chosen), choice.SAMPLE_MOST)
        self.assertGreaterEqual(sum(mutation.file == "host/B.cpp" for mutation in chosen), 20)


class VerdictTest(unittest.TestCase):
    def is_well(self, test="", problem="", accepted=""):
        mutation = mutations.Mutation("host/A.cpp", "x", "a", "b", accepted)
        return run.verdict(run.Outcome(mutation, test, problem, 1.0))[1]

    def test_a_change_is_to_be_noticed_unless_it_is_accepted(self):
        self.assertTrue(self.is_well(test="Some.Test"))
        self.assertFalse(self.is_well())
        self.assertTrue(self.is_well(accepted="why"))
        self.assertFalse(self.is_well(test="Some.Test", accepted="why"))
        self.assertFalse(self.is_well(problem="it does not build"))

    def test_the_unchanged_tree_is_to_pass(self):
        self.assertTrue(run.verdict(run.Outcome(run.UNCHANGED, "", "", 1.0))[1])
        self.assertFalse(run.verdict(run.Outcome(run.UNCHANGED, "Some.Test", "", 1.0))[1])


class TryTest(unittest.TestCase):
    def test_what_is_not_as_it_should_be_is_tried_again(self):
        for accepted, answers, noticed in (("", ["A.B"], "A.B"),
                                           ("", ["", "A.B"], "A.B (at the second try)"),
                                           ("", ["", ""], ""),
                                           ("why", [""], ""),
                                           ("why", ["A.B", ""], ""),
                                           ("why", ["A.B", "A.C"], "A.C (at the second try)")):
            mutation = mutations.Mutation("host/A.cpp", "x", "a", "b", accepted)
            with mock.patch.object(run, "first_failing", side_effect=answers) as tried:
                self.assertEqual(run.test(mutation, [], mock.MagicMock()), noticed)
                self.assertEqual(tried.call_count, len(answers))


class MirrorTest(unittest.TestCase):
    def test_links_stay_what_they_are(self):
        with tempfile.TemporaryDirectory() as folder:
            origin, copy = pathlib.Path(folder) / "origin", pathlib.Path(folder) / "copy"
            origin.mkdir()
            (origin / "nowhere").symlink_to("/no/such/file")
            (origin / "here").symlink_to(".")
            for _ in range(2):
                work_tree.mirror(origin, copy)
                self.assertEqual({path.name: os.readlink(path) for path in copy.iterdir()},
                                 {"nowhere": "/no/such/file", "here": "."})
            (origin / "here").unlink()
            work_tree.mirror(origin, copy)
            self.assertEqual([path.name for path in copy.iterdir()], ["nowhere"])

    def test_what_is_left_out_stays_what_it_is(self):
        with tempfile.TemporaryDirectory() as folder:
            origin, copy = pathlib.Path(folder) / "origin", pathlib.Path(folder) / "copy"
            (origin / "build").mkdir(parents=True)
            (copy / "build" / "dev").mkdir(parents=True)
            work_tree.mirror(origin, copy)
            self.assertEqual([path.name for path in (copy / "build").iterdir()], ["dev"])

    def test_a_copy_needs_no_new_build(self):
        with tempfile.TemporaryDirectory() as folder:
            origin, copy = pathlib.Path(folder) / "origin", pathlib.Path(folder) / "copy"
            origin.mkdir()
            (origin / "A.cpp").touch()
            os.utime(origin / "A.cpp", ns=(1, 1700000000123456789))
            work_tree.mirror(origin, copy)
            self.assertEqual((copy / "A.cpp").stat().st_mtime_ns, 1700000000123456789)

    def test_what_was_changed_is_mended_by_its_time_or_its_size(self):
        with tempfile.TemporaryDirectory() as folder:
            origin, copy = pathlib.Path(folder) / "origin", pathlib.Path(folder) / "copy"
            origin.mkdir()
            (origin / "A.o").write_text("good")
            for text, later in (("evil", 1), ("longer", 0)):
                work_tree.mirror(origin, copy)
                time = (origin / "A.o").stat().st_mtime_ns
                (copy / "A.o").write_text(text)
                os.utime(copy / "A.o", ns=(time, time + later))
                work_tree.mirror(origin, copy)
                self.assertEqual((copy / "A.o").read_text(), "good")


if __name__ == "__main__":
    unittest.main()
