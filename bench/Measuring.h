#pragma once

#include "bench/CAllocations.h"
#include "bench/CBenchHost.h"

#include <benchmark/benchmark.h>

#include <functional>

// What the benchmarks share: their sizes and what they report.
namespace Measuring {

// Numbers of file systems.
inline constexpr int kSizes[] = {20, 1000, 10000, 100000};

// Whether the trace is written: not at all, or every line, to a file.
enum Trace { kTraceOff, kTraceToFile };
void SetTrace(Trace trace);

// Registers "name/file systems" (and "name:traced/file systems") for all sizes. The operation is
// made by `prepare` once the host is laid out, and called again and again; time, allocations and
// bytes per file system are reported.
using Operation = std::function<void()>;
using Prepare = std::function<Operation()>;
void Register(const char* name, const Prepare& prepare);
void RegisterUntraced(const char* name, const Prepare& prepare);

} // namespace Measuring
