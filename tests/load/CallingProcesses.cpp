#include "tests/load/CallingProcesses.h"

#include "tests/load/NumberedConf.h"
#include "tests/support/CChildProcess.h"
#include "tests/support/CLoadedProvider.h"
#include "tests/support/CTraceCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <thread>

using Clock = CallEntry::Clock;

namespace {

const char kGaveUp[] = "GetMutex failure";

void Call(CLoadedProvider* provider, CallEntry* call) {
    call->m_begin = Clock::now();
    const CCallOutcome outcome = call->m_bIsWrite ? provider->Set(NumberedConf(call->m_iNumber))
                                                  : provider->Call("GetParameter");
    call->m_end = Clock::now();
    call->m_uiResult = outcome.m_uiMethodResult;
    call->m_bIsDone = outcome.m_sError.empty() && outcome.m_status == 0;
    if (!call->m_bIsWrite && outcome.m_output != nullptr && outcome.m_uiMethodResult == 0) {
        call->m_iNumber = NumberOf(CLoggerConf(outcome.m_output.get()));
    }
}

// One provider object's calls, reading and writing in turn, every write with a number of its own.
void CallAgainAndAgain(CLoadedProvider* provider, int caller, const CSharedCalls& calls) {
    for (int i = 0; i < calls.CallsPerCaller(); ++i) {
        CallEntry* call = calls.Row(caller) + i;
        call->m_bIsWrite = (caller + i) % 2 == 0;
        call->m_iNumber =
            call->m_bIsWrite ? kFirstNumber + 1 + caller * calls.CallsPerCaller() + i : 0;
        Call(provider, call);
    }
}

// When the callers begin.
struct Beginning {
    Clock::time_point m_first;
    Clock::duration m_distance;

    [[nodiscard]] Clock::time_point Of(int caller) const { return m_first + caller * m_distance; }
};

// True when the process traced no failure but those of as many calls that gave up.
bool TracedNothingBut(std::ptrdiff_t gaveUp, const CTraceCapture& trace) {
    const TraceLines failures = trace.Lines(0x2 | 0x8);
    const auto other =
        std::find_if_not(failures.begin(), failures.end(), [](const TraceLine& line) {
            return line.m_sText.find(kGaveUp) != std::string::npos;
        });
    if (other != failures.end()) {
        std::cerr << "A process traced:" << *other << '\n';
        return false;
    }
    return gaveUp == static_cast<std::ptrdiff_t>(failures.size());
}

// The body of one process. Its exit status is 0 when it traced nothing but its calls that gave up.
int RunProcess(int process, const CSharedCalls& calls, const Beginning& beginning) {
    const CTraceCapture trace;
    const int firstCaller = process * kObjectsPerProcess;
    std::vector<std::unique_ptr<CLoadedProvider>> providers;
    std::vector<std::thread> threads;
    for (int i = 0; i < kObjectsPerProcess; ++i) {
        CLoadedProvider* provider =
            providers.emplace_back(std::make_unique<CLoadedProvider>()).get();
        threads.emplace_back([=, &calls] {
            std::this_thread::sleep_until(beginning.Of(firstCaller + i));
            CallAgainAndAgain(provider, firstCaller + i, calls);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const CallEntry* row = calls.Row(firstCaller);
    const auto failed = std::count_if(row, row + kObjectsPerProcess * calls.CallsPerCaller(),
                                      [](const CallEntry& call) { return call.m_uiResult != 0; });
    return TracedNothingBut(failed, trace) ? 0 : 1;
}

} // namespace

void RunCallingProcesses(int count, const CSharedCalls& calls, Clock::duration spread) {
    constexpr std::chrono::milliseconds kTimeToLoad{20};
    const Beginning beginning{Clock::now() + kTimeToLoad * count,
                              spread / (count * kObjectsPerProcess)};
    std::vector<std::unique_ptr<CChildProcess>> processes;
    for (int process = 0; process < count; ++process) {
        processes.push_back(std::make_unique<CChildProcess>(
            [&calls, process, beginning] { return RunProcess(process, calls, beginning); }));
    }
    for (const auto& process : processes) {
        EXPECT_EQ(0, process->Wait());
    }
}
