#include "bench/Measuring.h"

#include "comlib/CTraceUtility.h"

#include <cstdlib>
#include <string>

namespace {

constexpr unsigned int kNoLevel = 0;
constexpr unsigned int kAllLevels = 0xF;
constexpr char kTraceFile[] = KZM_BENCH_ROOT "/trace";

void Measure(benchmark::State& state, const Measuring::Prepare& prepare, Measuring::Trace trace) {
    const auto fileSystems = static_cast<std::size_t>(state.range(0));
    CBenchHost::Prepare(fileSystems);
    Measuring::SetTrace(trace);
    const Measuring::Operation operation = prepare();
    operation(); // whatever happens the first time only is not measured
    const CAllocations allocations;
    for (auto _ : state) {
        operation();
    }
    const auto perFileSystem =
        static_cast<double>(fileSystems) * static_cast<double>(state.iterations());
    state.counters["allocations/fs"] = static_cast<double>(allocations.Count()) / perFileSystem;
    state.counters["bytes/fs"] = static_cast<double>(allocations.Bytes()) / perFileSystem;
    Measuring::SetTrace(Measuring::kTraceOff);
}

void RegisterAs(const std::string& name, const Measuring::Prepare& prepare,
                Measuring::Trace trace) {
    auto* registered =
        benchmark::RegisterBenchmark(name.c_str(), [prepare, trace](benchmark::State& state) {
            Measure(state, prepare, trace);
        });
    for (const int size : Measuring::kSizes) {
        registered->Arg(size);
    }
    registered->Unit(benchmark::kMicrosecond)->UseRealTime();
}

} // namespace

void Measuring::SetTrace(Trace trace) {
    if (trace == kTraceOff) {
        CTraceUtility::SetDestination(kNoLevel, "");
        return;
    }
    std::remove(kTraceFile);
    if (!CTraceUtility::SetDestination(kAllLevels, kTraceFile)) {
        std::abort();
    }
}

void Measuring::Register(const char* name, const Prepare& prepare) {
    RegisterAs(name, prepare, kTraceOff);
    RegisterAs(std::string(name) + ":traced", prepare, kTraceToFile);
}

void Measuring::RegisterUntraced(const char* name, const Prepare& prepare) {
    RegisterAs(name, prepare, kTraceOff);
}
