#!/usr/bin/env python3
"""Measures the provider, what cannot be avoided beside it, and what a user would take instead.

    bench.py BUILD-FOLDER [--only-tool]

Prints tables and says whether the promises are kept (exit status 1 when not). The figures go to
operations.json, methods-*.json, real_mounts.json, tool-*.json and the plots to *.svg in the build
folder. With --only-tool nothing is measured but the tool with real mounts.
"""

import sys

import plot
import report
from measure import SIZES, Measurement


def series(figures, names):
    return {name: {size: figures[name, size] for size in SIZES} for name in names}


def main(build, only_tool):
    measurement = Measurement(build)
    tool = measurement.tool_with_real_mounts()
    if tool:
        report.tool(tool)
    checks = report.tool_checks(tool)
    if not only_tool:
        checks = measure_provider(measurement) + checks
    return 0 if report.promises(checks, bool(tool)) else 1


def measure_provider(measurement):
    figures = {
        "methods": measurement.methods(),
        "real": measurement.real_mounts(),
        "memory": measurement.peak_memory("GetParameter", SIZES[-1]),
        "tool": measurement.tool(),
    }
    report.floors(figures["methods"], "Methods and their floors, prepared mount table")
    if figures["real"]:
        report.floors(figures["real"], "Methods and their floors, 10,000 real mounts", (10000,))
    alternatives = {size: measurement.alternatives(size) for size in SIZES}
    report.alternatives(alternatives)
    operations = measurement.operations()
    report.operations(operations)

    times = {key: run["real_time"] for key, run in operations.items()}
    untraced = dict.fromkeys(name for name, _ in times if not name.endswith(":traced"))
    plot.draw("Time of each operation", series(times, untraced), measurement.build / "operations.svg")
    plot.draw("Load, change and save",
              {name: {size: found[name] for size, found in alternatives.items() if name in found}
               for name in alternatives[SIZES[0]]},
              measurement.build / "alternatives.svg")
    return report.provider_checks(figures)


if __name__ == "__main__":
    if sys.argv[2:] not in ([], ["--only-tool"]) or len(sys.argv) < 2:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], len(sys.argv) > 2))
