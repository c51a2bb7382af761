// What a call of the provider costs without a server around it. Lays the sample host out below the
// build's root, calls GetParameter and prints the median time in milliseconds.
// Usage: direct_call FILE-SYSTEMS CALLS

#include "bench/CBenchHost.h"
#include "host/CProviderHost.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    CBenchHost::Prepare(static_cast<std::size_t>(std::atol(argv[1])));
    std::string error;
    const std::unique_ptr<CProviderHost> host =
        CProviderHost::Open(PROVIDER_LIBRARY, CLASS_DEFINITIONS, &error);
    if (host == nullptr) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    std::vector<double> times(static_cast<std::size_t>(std::atol(argv[2])));
    for (double& time : times) {
        const auto begin = std::chrono::steady_clock::now();
        const CCallOutcome outcome =
            host->Call("VELTARO_ToolServiceLogger", "GetParameter", nullptr);
        time = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
                   .count();
        if (outcome.m_uiMethodResult != 0) {
            std::fprintf(stderr, "GetParameter failed.\n");
            return 1;
        }
    }
    std::nth_element(times.begin(), times.begin() + static_cast<long>(times.size() / 2),
                     times.end());
    std::printf("%.3f\n", times[times.size() / 2]);
    return 0;
}
