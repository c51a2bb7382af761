"""Prints the measured figures as tables (Markdown) and holds them against what is promised."""

from measure import REAL_SIZES, SIZES


def milliseconds(microseconds):
    return f"{microseconds / 1000:.2f}"


def table(head, rows):
    print("| " + " | ".join(head) + " |")
    print("|---" * len(head) + "|")
    for row in rows:
        print("| " + " | ".join(str(cell) for cell in row) + " |")
    print()


def floors(medians, title, sizes=SIZES):
    print(f"## {title} (ms, medians)\n")
    rows = []
    for method in ("GetParameter", "SetParameter"):
        for size in sizes:
            time = medians[method, size]
            floor = medians["Floor of " + method, size]
            rows.append((method, f"{size:,}", milliseconds(time), milliseconds(floor),
                         f"{time / floor:.2f}"))
    table(("method", "file systems", "time", "floor", "ratio"), rows)


def operations(runs):
    print("## Every operation\n")
    names = dict.fromkeys(name for name, _ in runs)
    rows = []
    for name in names:
        for size in SIZES:
            run = runs[name, size]
            rows.append((name, f"{size:,}", f"{run['real_time']:,.1f}",
                         f"{run['real_time'] / size:.3f}", f"{run['allocations/fs']:.2f}",
                         f"{run['bytes/fs']:.0f}"))
    table(("operation", "file systems", "µs", "µs/fs", "allocations/fs", "bytes/fs"), rows)


def alternatives(times):
    print("## Load, change and save, as whole processes (ms, medians)\n")
    names = list(times[SIZES[0]])
    rows = []
    for size, found in times.items():
        ours = found["this project"]
        cells = [f"{milliseconds(found[name])} ({found[name] / ours:.1f}x)" if name in found
                 else "over 120 s" for name in names]
        rows.append((f"{size:,}", *cells))
    table(("file systems", *names), rows)


def tool(medians):
    print("## Whole runs of the tool, real mounts (ms, medians)\n")
    names = sorted({name for name, _ in medians})
    table(("file systems", "command", "time", "times the mount command"),
          [(f"{size:,}", name, milliseconds(medians[name, size]),
            f"{medians[name, size] / medians['Mount command', size]:.2f}")
           for size in REAL_SIZES for name in names])


def own_part(medians, method, size):
    """Without the mount command."""
    return medians[method, size] - medians["Mount command", size]


def provider_checks(figures):
    """What is promised of the provider: (what, measured, at most)."""
    methods, real = figures["methods"], figures["real"]
    checks = []
    for method, most in (("GetParameter", 1.10), ("SetParameter", 1.3)):
        checks.append((f"{method} at 20 file systems, times its floor",
                       methods[method, 20] / methods["Floor of " + method, 20], most))
    for method, most in (("GetParameter", 1.5), ("SetParameter", 2.0)):
        if real:
            checks.append((f"{method} at 10,000 real mounts, times its floor",
                           real[method, 10000] / real["Floor of " + method, 10000], most))
    for method in ("GetParameter", "SetParameter"):
        checks.append((f"{method} without the mount command, 100,000 over 10,000",
                       own_part(methods, method, 100000) / own_part(methods, method, 10000), 12))
    checks.append(("GetParameter at 100,000, peak memory in MB", figures["memory"], 200))
    checks.append(("loggerctl get at 20, ms above the floor",
                   (figures["tool"] - methods["Floor of GetParameter", 20]) / 1000, 10))
    return checks


def tool_checks(medians):
    """What is promised of the tool with real mounts, in the same form."""
    if not medians:
        return []
    checks = [(f"{name} at 10,000 real mounts, times the mount command",
               medians[name, 10000] / medians["Mount command", 10000], most)
              for name, most in (("loggerctl set", 12), ("loggerctl get", 3),
                                 ("loggerctl get --json", 1.8), ("loggerctl get KEY", 1.9))]
    checks.append(("loggerctl set, 10,000 over 1,000 real mounts",
                   medians["loggerctl set", 10000] / medians["loggerctl set", 1000], 12))
    return checks


def promises(checks, real):
    """Prints each promise with its figure, and whether real mounts were missing; true when there
    are promises and all are kept."""
    print("## What is promised\n")
    table(("promise", "measured", "at most", ""),
          [(what, f"{found:.2f}", most, "kept" if found <= most else "NOT KEPT")
           for what, found, most in checks])
    if not real:
        print("Real mounts were not measured: this process may not mount.\n")
    return bool(checks) and all(found <= most for _, found, most in checks)
