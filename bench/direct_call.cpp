// What a call of the provider costs without a server around it: lays the sample host out below the
// build's root, or calls GetParameter there and prints the median time in milliseconds.
// Usage: direct_call lay-out FILE-SYSTEMS
//        direct_call measure CALLS

#include "bench/CBenchHost.h"
#include "host/CProviderHost.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

int Fail(const std::string& text) {
    std::fprintf(stderr, "%s\n", text.c_str());
    return 1;
}

int Measure(std::size_t calls) {
    std::string error;
    const std::unique_ptr<CProviderHost> host =
        CProviderHost::Open(PROVIDER_LIBRARY, CLASS_DEFINITIONS, &error);
    if (host == nullptr) {
        return Fail(error);
    }
    std::vector<double> times(calls);
    for (double& time : times) {
        const auto begin = std::chrono::steady_clock::now();
        const CCallOutcome outcome =
            host->Call("VELTARO_ToolServiceLogger", "GetParameter", nullptr);
        time = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
                   .count();
        if (outcome.m_uiMethodResult != 0) {
            return Fail("GetParameter failed.");
        }
    }
    std::nth_element(times.begin(), times.begin() + static_cast<long>(calls / 2), times.end());
    std::printf("%.3f\n", times[calls / 2]);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const std::string task = argc == 3 ? argv[1] : "";
    const long count = argc == 3 ? std::atol(argv[2]) : 0;
    if (task == "lay-out" && count >= 0) {
        CBenchHost::Prepare(static_cast<std::size_t>(count));
        return 0;
    }
    if (task == "measure" && count > 0) {
        return Measure(static_cast<std::size_t>(count));
    }
    return 2;
}
