"""A copy of the tree in which one mutation at a time is built and tested."""

import contextlib
import os
import pathlib
import re
import shutil
import signal
import subprocess
import time

PRESET = "dev"
BUILD = pathlib.Path("build") / PRESET  # in a tree
LEFT_OUT = {"build", ".git", "root", "Testing"}  # what tests wrote is no part of a build
LONGEST_TEST = 30  # seconds; the longest takes 7 on an idle machine
MOST_PROCESSES = 3000  # of the whole machine: a change may make a program start ever more

NAMESPACE = ["unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]


class WorkTree:
    """A tree with its build, which its programs see as the folder `place`. What they say goes to the
    file `log`."""

    def __init__(self, folder, place, log):
        self._folder = folder
        self._place = place
        self._log_file = log
        self._unchanged = None

    def prepare(self, targets, jobs):
        """Builds the targets."""
        if self._run(["cmake", "--preset", PRESET]) != 0 or not self.build(targets, jobs):
            raise RuntimeError("the unchanged tree does not build:\n" + self._log())

    def copy_sources(self, tree):
        mirror(tree, self._folder)

    def copy_build(self, tree):
        mirror(tree / BUILD, self._folder / BUILD)

    def keep(self, unchanged):
        """From now on the build is mended with this folder's help, which other trees may share."""
        mirror(self._folder / BUILD, unchanged)
        self._unchanged = unchanged

    @contextlib.contextmanager
    def changed(self, mutation):
        """With the mutation applied. Afterwards sources and build are as they were, to the time
        stamps, so that nothing needs to be built again."""
        path = self._folder / mutation.file
        source, times = path.read_bytes(), path.stat()
        changed = mutation.apply(source.decode())
        try:
            path.write_text(changed, encoding="utf-8")
            yield
        finally:
            path.write_bytes(source)
            os.utime(path, ns=(times.st_atime_ns, times.st_mtime_ns))
            mirror(self._unchanged, self._folder / BUILD)

    def build(self, targets, jobs=1):
        return self._run(["cmake", "--build", "--preset", PRESET, "-j", str(jobs),
                          "--target", *targets]) == 0

    def failing_test(self, program, tests):
        """The first of the program's tests that fails; None when all pass."""
        try:
            status = self._run([self._place / BUILD / program, f"--gtest_filter={tests}"],
                               LONGEST_TEST)
        except TimeoutError as error:
            return f"{self._last_test()} ({error})"
        if status == 0:
            return None
        failed = self._tests("FAILED")
        return failed[0] if failed else self._last_test() + " (crashes)"

    def _last_test(self):
        begun = self._tests("RUN")
        return begun[-1] if begun else "the program's start"

    def _tests(self, mark):
        """The tests in the log's lines of this mark, in order."""
        return re.findall(rf"^\[ +{mark} +\] ([\w./]+)", self._log(), re.MULTILINE)

    def _log(self):
        return self._log_file.read_text(encoding="utf-8", errors="replace")

    def _run(self, command, limit=None):
        """The exit status. What the command left running is ended with it. TimeoutError when it
        says nothing for longer than the limit, or starts too many processes."""
        environment = dict(os.environ, GTEST_FAIL_FAST="1")
        with open(self._log_file, "wb") as log:
            process = subprocess.Popen(self._inside(command), stdin=subprocess.DEVNULL,
                                       stdout=log, stderr=log, env=environment,
                                       start_new_session=True)
            try:
                return self._wait(process, limit)
            finally:
                with contextlib.suppress(ProcessLookupError):
                    os.killpg(process.pid, signal.SIGKILL)
                process.wait()

    def _wait(self, process, limit):
        while True:
            with contextlib.suppress(subprocess.TimeoutExpired):
                return process.wait(0.2)
            if limit is not None and time.time() - self._log_file.stat().st_mtime > limit:
                raise TimeoutError("never ends")
            if len(os.listdir("/proc")) > MOST_PROCESSES:
                raise TimeoutError("starts processes without end")

    def _inside(self, command):
        """The command where this tree is at its place, with a root and a /tmp in memory, and where
        no process can be left behind."""
        enter = ["sh", "-c", 'cd "$0" && { "$@"; exit $?; }', self._place, *command]
        if self._place == self._folder:
            return enter
        # The place itself may be below /tmp.
        mount = ('cd "$0" && mount -t tmpfs -o mode=1777 tests /tmp && '
                 'mkdir -p "$1" && mount -c --bind . "$1" && mkdir -p "$1/$2/root" && '
                 'mount -t tmpfs -o mode=0755 tests "$1/$2/root" && shift 2 && exec "$@"')
        return [*NAMESPACE, "sh", "-c", mount, self._folder, self._place, BUILD, *enter]


def can_share_a_place():
    """Whether trees can be seen at the same place, each by its own programs."""
    command = [*NAMESPACE, "mount", "--bind", "/", "/"]
    return os.geteuid() == 0 and subprocess.run(command, stderr=subprocess.DEVNULL).returncode == 0


def has_same_time(left, right):
    left, right = left.stat(), right.stat()
    return left.st_mtime_ns == right.st_mtime_ns and left.st_size == right.st_size


def is_folder(entry):
    return entry.is_dir() and not entry.is_symlink()


def mirror(origin, copy):
    """Makes a folder hold what the other one holds, with its time stamps, and nothing else, but for
    what is left out. Links stay links, wherever they lead."""
    copy.mkdir(parents=True, exist_ok=True)
    wanted = {entry.name: entry for entry in origin.iterdir() if entry.name not in LEFT_OUT}
    for entry in copy.iterdir():
        if entry.name not in wanted and entry.name not in LEFT_OUT:
            shutil.rmtree(entry) if is_folder(entry) else entry.unlink()
    for name, entry in wanted.items():
        twin = copy / name
        if entry.is_symlink():
            twin.unlink(missing_ok=True)
            twin.symlink_to(os.readlink(entry))
        elif entry.is_dir():
            mirror(entry, twin)
        elif not twin.exists() or not has_same_time(entry, twin):
            shutil.copy2(entry, twin)
