"""Runs the benchmarks and brings their figures into one form.

A figure is a median of real times in microseconds. Things that are compared take turns, so that a
busy moment of the machine meets all of them.
"""

import json
import os
import pathlib
import shutil
import signal
import statistics
import subprocess
import sys
import threading
import time

SIZES = (20, 1000, 10000, 100000)
REAL_SIZES = SIZES[:3]
ROUNDS = 10
SOURCES = pathlib.Path(__file__).parent
SETTINGS = "etc/opt/veltaro/ardenvale"


class Measurement:
    """What a build folder's programs measure."""

    def __init__(self, build):
        self.build = pathlib.Path(build).resolve()
        self.root = self.build / "root"
        self.programs = self.build / "bench"

    def operations(self):
        """Every operation at every size, in one go: {(name, size): the run as reported}."""
        return self._benchmarks("operations", [], [], rounds=1)

    def methods(self):
        """Both methods and their floors, in turns: {(name, size): median}. Each size has a process
        of its own, so that none inherits what another has left of memory and caches."""
        medians = {}
        for size in SIZES:
            rounds = ROUNDS if size > SIZES[0] else 3 * ROUNDS  # short calls differ more
            medians |= _medians(self._benchmarks(f"methods-{size}", [],
                                                 [f"--benchmark_filter={METHODS}{size}/"], rounds))
        return medians

    def real_mounts(self):
        """The same with real mounts; empty where this process may not mount."""
        return self._with_real_mounts("real_mounts", METHODS, 10000)

    def tool_with_real_mounts(self):
        """Whole runs of the tool and the mount command alone, in turns, at each size of real mounts:
        {(name, size): median}; empty where this process may not mount."""
        medians = {}
        for size in REAL_SIZES:
            medians |= self._with_real_mounts(f"tool-{size}", TOOL, size)
        return medians

    def peak_memory(self, method, size):
        """The peak of the resident memory, in MB, of a process that lays out the host and calls
        the method a few times."""
        command = [self.programs / "provider_bench", f"--benchmark_filter=^{method}/{size}/",
                   "--benchmark_min_time=0.001"]
        child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        _, status, usage = os.wait4(child.pid, 0)
        child.returncode = os.waitstatus_to_exitcode(status)
        if child.returncode != 0:
            raise RuntimeError(f"{command} ended with {child.returncode}")
        return usage.ru_maxrss / 1024

    def tool(self):
        """A whole run of `loggerctl get` with 20 file systems."""
        self.lay_out(20)
        command = [self.build / "loggerctl/loggerctl", "--provider",
                   self.build / "provider/libkzmp_VELTARO_ToolServiceLogger.so", "--definitions",
                   SOURCES.parent / "schema/VELTARO_ToolServiceLogger.xml", "get"]
        return statistics.median(_process_time(command) for _ in range(ROUNDS))

    def alternatives(self, size):
        """Load, change and save as whole processes, in turns: {program: median}."""
        self.lay_out(size)
        folder = self.build / "alternatives"
        folder.mkdir(exist_ok=True)
        commands = self._alternatives(folder)
        times = {name: [] for name in commands}
        wanted = None
        for _ in range(ROUNDS):
            for name, command in list(commands.items()):
                for file in ("agent.cfg", "alert.cfg"):
                    shutil.copy(self.root / SETTINGS / file, folder)
                try:
                    times[name].append(_process_time(command))
                except subprocess.TimeoutExpired:
                    del commands[name], times[name]
                    continue
                result = [(folder / file).read_bytes() for file in ("agent.cfg", "alert.cfg")]
                wanted = wanted or result
                if result != wanted:
                    raise RuntimeError(f"{name} wrote other files than the first program")
        return {name: statistics.median(found) for name, found in times.items()}

    def lay_out(self, size):
        """Has the benchmark program prepare the host for this number of file systems."""
        subprocess.run([self.programs / "provider_bench", f"--benchmark_filter=^EditAgent/{size}/",
                        "--benchmark_min_time=0.001"], check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)

    def _alternatives(self, folder):
        files = [folder / "agent.cfg", folder / "alert.cfg"]
        sources = SOURCES / "alternatives"
        return {
            "this project": [self.programs / "change_settings", *files,
                             self.root / "bin/mount.output"],
            "sed -i": ["sh", sources / "change_sed.sh", *files],
            "Python": [sys.executable, sources / "change.py", *files],
            "Augeas": [self.programs / "change_augeas", *files, sources],
        }

    def _with_real_mounts(self, name, pattern, count):
        try:
            return _medians(self._benchmarks(name, [f"--real-mounts={count}"],
                                             [f"--benchmark_filter={pattern}{count}/"]))
        except subprocess.CalledProcessError as error:
            if error.returncode != CANNOT_MOUNT:
                raise
            return {}

    def _benchmarks(self, name, first, options, rounds=ROUNDS):
        result = self.build / f"{name}.json"
        turns = [f"--benchmark_repetitions={rounds}",
                 "--benchmark_enable_random_interleaving=true"] if rounds > 1 else []
        subprocess.run([self.programs / "provider_bench", *first, *turns, *options,
                        "--benchmark_min_time=0.1", f"--benchmark_out={result}"],
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        runs = json.loads(result.read_text(encoding="utf-8"))["benchmarks"]
        return {(_name(run), _size(run)): run for run in runs
                if rounds == 1 or run.get("aggregate_name") == "median"}


METHODS = "^(GetParameter|SetParameter|Floor of GetParameter|Floor of SetParameter|Mount command)/"
TOOL = "^(Mount command|loggerctl .*)/"
CANNOT_MOUNT = 77  # the exit status of provider_bench
TIME_LIMIT = 120  # seconds for one process


def _name(run):
    return run["run_name"].split("/")[0]


def _size(run):
    return int(run["run_name"].split("/")[1])


def _medians(runs):
    return {key: run["real_time"] for key, run in runs.items()}


def _process_time(command):
    """Waits without looking at the clock, so that the end is noticed when it comes."""
    begin = time.perf_counter()
    child = subprocess.Popen(command, stdout=subprocess.DEVNULL, start_new_session=True)
    limit = threading.Timer(TIME_LIMIT, os.killpg, (child.pid, signal.SIGKILL))
    limit.daemon = True
    limit.start()
    try:
        status = child.wait()
    finally:
        limit.cancel()
    duration = time.perf_counter() - begin
    if duration >= TIME_LIMIT:
        raise subprocess.TimeoutExpired(command, TIME_LIMIT)
    if status != 0:
        raise subprocess.CalledProcessError(status, command)
    return duration * 1e6
