#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

// One method call, as its caller saw it.
struct CallEntry {
    using Clock = std::chrono::steady_clock; // the same in every process

    bool m_bIsDone = false;
    bool m_bIsWrite = false;
    int m_iNumber = 0; // of the settings that were written or answered; 0 when there are none
    std::uint32_t m_uiResult = 0;
    Clock::time_point m_begin;
    Clock::time_point m_end;

    [[nodiscard]] double Seconds() const {
        return std::chrono::duration<double>(m_end - m_begin).count();
    }
};

// The calls of many callers, in memory that this process shares with the processes that it forks.
// Every caller has a row of its own: nothing needs to be locked.
class CSharedCalls {
public:
    CSharedCalls(int callers, int callsPerCaller);
    ~CSharedCalls();
    CSharedCalls(const CSharedCalls&) = delete;
    CSharedCalls& operator=(const CSharedCalls&) = delete;

    [[nodiscard]] CallEntry* Row(int caller) const;
    [[nodiscard]] int CallsPerCaller() const { return m_iCallsPerCaller; }
    // Row by row.
    [[nodiscard]] std::vector<CallEntry> All() const;

private:
    [[nodiscard]] std::size_t Count() const;

    int m_iCallers;
    int m_iCallsPerCaller;
    CallEntry* m_pEntries;
};
