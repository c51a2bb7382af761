// Many calls in one process: its memory, descriptors and children stay as they are. KZM_TEST_CALLS
// in the environment gives the number of calls.

#include "tests/load/CProcessFigures.h"
#include "tests/load/CWatchedAgent.h"
#include "tests/load/NumberedConf.h"
#include "tests/support/CLoadedProvider.h"
#include "tests/support/TableTest.h"
#include "tests/support/WholeRun.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kSamples = 10;

// What the C library keeps for the next calls. Leaking the smallest block at every call is more,
// even with the fewest calls.
constexpr std::size_t kHeapTolerance = 4096;
constexpr std::size_t kResidentToleranceKb = 64;

#ifdef KZM_NO_FAULT_TRANSLATION
constexpr bool kMemoryIsCompared = false; // the sanitizers keep what was freed
#else
constexpr bool kMemoryIsCompared = true;
#endif

struct Endurance {
    std::string name;
    int ordinaryCalls;
    int wholeCalls;
    std::function<std::uint32_t(CLoadedProvider*, int)> call; // gets the call's number
};

std::ostream& operator<<(std::ostream& out, const Endurance& row) {
    return out << row.name;
}

class ManyCalls : public testing::TestWithParam<Endurance> {
protected:
    static int Calls() {
        const char* calls = std::getenv("KZM_TEST_CALLS");
        if (calls != nullptr) {
            return std::atoi(calls);
        }
        return IsWholeRun() ? GetParam().wholeCalls : GetParam().ordinaryCalls;
    }

    // Returns how many milliseconds a call took.
    double Repeat(int count) {
        const Clock::time_point begin = Clock::now();
        for (int i = 0; i < count && !HasFailure(); ++i) {
            EXPECT_EQ(0U, GetParam().call(m_pProvider, ++m_iCalls));
        }
        return std::chrono::duration<double, std::milli>(Clock::now() - begin).count() / count;
    }

    void Print(const CProcessFigures& figures, double millisecondsPerCall) const {
        std::printf("%9d %9.3f %12zu %12zu %12zu %9s\n", m_iCalls, millisecondsPerCall,
                    figures.m_uiResidentKb, figures.m_uiHeapBytes, figures.m_uiDescriptors,
                    figures.m_bHasChildren ? "left" : "none");
    }

    static void ExpectSame(const CProcessFigures& first, const CProcessFigures& now) {
        EXPECT_EQ(first.m_uiDescriptors, now.m_uiDescriptors);
        EXPECT_FALSE(now.m_bHasChildren);
        if (kMemoryIsCompared) {
            EXPECT_GE(first.m_uiHeapBytes + kHeapTolerance, now.m_uiHeapBytes);
            EXPECT_GE(first.m_uiResidentKb + kResidentToleranceKb, now.m_uiResidentKb);
        }
    }

    const CTestRoot m_root;
    int m_iCalls = 0; // made so far
    CLoadedProvider* m_pProvider = nullptr;
};

TEST_P(ManyCalls, LeaveNothingBehind) {
    InstallFastAgent(m_root);
    CLoadedProvider provider;
    m_pProvider = &provider;
    const int callsPerSample = Calls() / kSamples;
    ASSERT_LT(0, callsPerSample);
    std::puts("    calls   ms/call  resident kB   heap bytes  descriptors  children");
    double milliseconds = Repeat(callsPerSample);
    const CProcessFigures first = CProcessFigures::Take();
    Print(first, milliseconds);
    for (int sample = 1; sample < kSamples && !HasFailure(); ++sample) {
        milliseconds = Repeat(callsPerSample);
        const CProcessFigures now = CProcessFigures::Take();
        Print(now, milliseconds);
        ExpectSame(first, now);
    }
}

std::uint32_t Get(CLoadedProvider* provider, int /*number*/) {
    return provider->Result("GetParameter");
}

std::uint32_t Set(CLoadedProvider* provider, int number) {
    return provider->SetResult(NumberedConf(number));
}

INSTANTIATE_TEST_SUITE_P(Of, ManyCalls,
                         testing::Values(Endurance{"GetParameter", 500, 3000, Get},
                                         Endurance{"SetParameter", 200, 1500, Set}),
                         RowName<Endurance>);

} // namespace
