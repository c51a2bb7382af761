"""A copy of the tree in which one mutation at a time is built and tested."""

import contextlib
import filecmp
import os
import re
import shutil
import signal
import subprocess

LEFT_OUT = {"build", ".git"}
TIME_LIMIT = 60  # seconds for the tests of a stage; the longest need 35


class WorkTree:
    """Sources, build and KZM_ROOT of one worker, all below its folder."""

    def __init__(self, folder):
        self._folder = folder
        self._source = folder / "source"
        self._build = folder / "build"
        self._unchanged = folder / "unchanged"  # the build of the unchanged sources

    def prepare(self, tree, targets):
        """Takes the sources over from the tree and builds the targets."""
        self._folder.mkdir(parents=True, exist_ok=True)
        mirror(tree, self._source, lambda a, b: filecmp.cmp(a, b, shallow=False), shutil.copy)
        # Without debugging information and optimisation, which only take time.
        configured = self._run(
            ["cmake", "--preset", "dev", "-S", self._source, "-B", self._build,
             "-DCMAKE_BUILD_TYPE=", f"-DKZM_ROOT={self._folder / 'root'}"], cwd=self._source)
        if configured != 0 or not self.build(targets):
            raise RuntimeError("the unchanged tree does not build:\n" + self._log())
        mirror(self._build, self._unchanged, has_same_time, shutil.copy2)

    @contextlib.contextmanager
    def changed(self, mutation):
        """With the mutation applied. Afterwards sources and build are as they were, to the time
        stamps, so that nothing needs to be built again."""
        path = self._source / mutation.file
        source, times = path.read_bytes(), path.stat()
        changed = mutation.apply(source.decode())
        try:
            path.write_text(changed, encoding="utf-8")
            yield
        finally:
            path.write_bytes(source)
            os.utime(path, ns=(times.st_atime_ns, times.st_mtime_ns))
            mirror(self._unchanged, self._build, has_same_time, shutil.copy2)

    def build(self, targets):
        return self._run(["cmake", "--build", self._build, "-j", "1", "--target", *targets]) == 0

    def failing_test(self, program, tests):
        """The first of the program's tests that fails; None when all pass."""
        try:
            status = self._run([self._build / program, f"--gtest_filter={tests}"], TIME_LIMIT)
        except subprocess.TimeoutExpired:
            return self._last_test() + " (never ends)"
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
        return (self._folder / "log").read_text(encoding="utf-8", errors="replace")

    def _run(self, command, limit=None, cwd=None):
        """The exit status. What the command left running is ended with it."""
        environment = dict(os.environ, GTEST_FAIL_FAST="1")
        with open(self._folder / "log", "wb") as log:
            process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                       cwd=cwd, env=environment, start_new_session=True)
            try:
                return process.wait(limit)
            finally:
                with contextlib.suppress(ProcessLookupError):
                    os.killpg(process.pid, signal.SIGKILL)
                process.wait()


def has_same_time(left, right):
    left, right = left.stat(), right.stat()
    return left.st_mtime_ns == right.st_mtime_ns and left.st_size == right.st_size


def mirror(origin, copy, is_same, copy_file):
    """Makes a folder hold what the other one holds, and nothing else."""
    copy.mkdir(exist_ok=True)
    wanted = {entry.name: entry for entry in origin.iterdir() if entry.name not in LEFT_OUT}
    for entry in copy.iterdir():
        if entry.name not in wanted:
            shutil.rmtree(entry) if entry.is_dir() else entry.unlink()
    for name, entry in wanted.items():
        twin = copy / name
        if entry.is_dir():
            mirror(entry, twin, is_same, copy_file)
        elif not twin.exists() or not is_same(entry, twin):
            copy_file(entry, twin)
