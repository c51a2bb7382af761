// The benchmarks of the provider and, with real mounts, of the tool. Takes the options of Google
// Benchmark, and before them
//   --real-mounts=N  instead of a prepared mount table, N real tmpfs mounts in a mount namespace of
//                    its own (needs root); to be used with a filter for N file systems

#include "bench/CBenchHost.h"
#include "bench/MethodsBench.h"
#include "bench/RecordsBench.h"
#include "bench/ToolBench.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr char kRealMounts[] = "--real-mounts=";
constexpr int kCannotMount = 77; // exit status

// Takes the option off the arguments; empty when it is not there.
std::string TakeOption(const std::string& name, int* count, char** arguments) {
    if (*count < 2 || std::string(arguments[1]).rfind(name, 0) != 0) {
        return {};
    }
    std::string value = std::string(arguments[1]).substr(name.size());
    for (int i = 1; i < *count; ++i) {
        arguments[i] = arguments[i + 1];
    }
    --*count;
    return value;
}

} // namespace

int main(int count, char** arguments) {
    const std::string realMounts = TakeOption(kRealMounts, &count, arguments);
    if (!realMounts.empty() && !CBenchHost::PrepareRealMounts(std::stoul(realMounts))) {
        std::perror("real mounts");
        return kCannotMount;
    }
    RegisterRecords();
    RegisterMethods();
    if (!realMounts.empty()) {
        RegisterTool();
    }
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments)) {
        return EXIT_FAILURE;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return EXIT_SUCCESS;
}
