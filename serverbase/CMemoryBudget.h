#pragma once

#include <cstddef>
#include <mutex>
#include <utility>

namespace daemon_base {

// What is no longer is so short that it need not be counted.
inline constexpr std::size_t kShortBytes = std::size_t{64} * 1024;

// Memory that many share: how much of it is taken, and how much there may be. Any number of
// threads.
class CMemoryBudget {
public:
    explicit CMemoryBudget(std::size_t limit = 0) : m_limit(limit) {}

    // From now on. What was taken before stays taken.
    void SetLimit(std::size_t limit);

private:
    friend class CMemoryShare;

    bool Take(std::size_t bytes);
    void GiveBack(std::size_t bytes);

    std::mutex m_mutex; // guards the members below
    std::size_t m_limit;
    std::size_t m_taken = 0;
};

// What somebody has of a budget, until this object goes. The budget must outlive it.
class CMemoryShare {
public:
    explicit CMemoryShare(CMemoryBudget& budget) : m_budget(&budget) {}
    ~CMemoryShare() { Release(); }
    CMemoryShare(CMemoryShare&& other) noexcept
        : m_budget(other.m_budget),
          m_bytes(std::exchange(other.m_bytes, 0)) {}
    CMemoryShare& operator=(CMemoryShare&& other) noexcept;
    CMemoryShare(const CMemoryShare&) = delete;
    CMemoryShare& operator=(const CMemoryShare&) = delete;

    // So much, in place of what it had. False when there is not so much left: then it has nothing.
    bool Take(std::size_t bytes);
    // The same, but nothing for what is short.
    bool TakeIfLong(std::size_t bytes) { return Take(bytes > kShortBytes ? bytes : 0); }
    void Release();

private:
    CMemoryBudget* m_budget;
    std::size_t m_bytes = 0;
};

} // namespace daemon_base
