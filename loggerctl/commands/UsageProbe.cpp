#include "loggerctl/commands/UsageProbe.h"

#include <poll.h>
#include <sys/mman.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdint>

namespace commands {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::int32_t kNoUsage = -1;

// What the child processes have found out, in memory that they share with this one.
class CAnswers {
public:
    explicit CAnswers(std::size_t count)
        : m_size(sizeof(std::atomic<std::size_t>) + count * sizeof(std::int32_t)),
          m_memory(
              mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {}
    ~CAnswers() {
        if (IsMade()) {
            munmap(m_memory, m_size);
        }
    }
    CAnswers(const CAnswers&) = delete;
    CAnswers& operator=(const CAnswers&) = delete;

    [[nodiscard]] bool IsMade() const { return m_memory != MAP_FAILED; }

    // How many mount points are done with.
    [[nodiscard]] std::atomic<std::size_t>& Done() const {
        return *static_cast<std::atomic<std::size_t>*>(m_memory);
    }
    [[nodiscard]] std::int32_t* Values() const {
        return static_cast<std::int32_t*>(static_cast<void*>(&Done() + 1));
    }

private:
    std::size_t m_size;
    void* m_memory;
};

[[noreturn]] void AnswerAll(const std::vector<std::string>& mountPoints, const CQuestion& question,
                            const CAnswers& answers, int lifeline) {
    // Nothing of the parent's stays open: whoever reads its output must see the end of it.
    dup2(lifeline, STDIN_FILENO);
    close_range(STDERR_FILENO + 1, ~0U, 0);
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
    for (std::size_t i = answers.Done(); i < mountPoints.size(); ++i) {
        answers.Values()[i] = question(mountPoints[i]).value_or(kNoUsage);
        answers.Done() = i + 1;
    }
    _exit(0);
}

// A child process that asks the question for one mount point after the other.
class CQuestioner {
public:
    CQuestioner(const std::vector<std::string>& mountPoints, const CQuestion& question,
                const CAnswers& answers) {
        int ends[2] = {-1, -1};
        if (pipe(ends) != 0) {
            return;
        }
        m_child = fork();
        if (m_child == 0) {
            AnswerAll(mountPoints, question, answers, ends[1]);
        }
        close(ends[1]);
        m_lifeline = ends[0];
    }
    ~CQuestioner() {
        if (m_lifeline >= 0) {
            close(m_lifeline);
        }
        if (m_child > 0) {
            kill(m_child, SIGKILL);
            waitpid(m_child, nullptr, WNOHANG);
        }
    }
    CQuestioner(const CQuestioner&) = delete;
    CQuestioner& operator=(const CQuestioner&) = delete;

    // Waits for its end; false when that does not come in time.
    [[nodiscard]] bool HasEnded(milliseconds limit) const {
        struct pollfd ended = {m_lifeline, POLLIN, 0}; // nothing is ever written
        return m_child < 0 || poll(&ended, 1, static_cast<int>(limit.count())) != 0;
    }

private:
    pid_t m_child = -1;
    int m_lifeline = -1;
};

milliseconds TimeUntil(Clock::time_point end) {
    return std::max(milliseconds(0), std::chrono::duration_cast<milliseconds>(end - Clock::now()));
}

// Waits as long as answers come, each within its time.
void WaitWhileAnswering(const CQuestioner& questioner, const CAnswers& answers,
                        const CUsageLimits& limits, Clock::time_point end) {
    std::size_t done = answers.Done();
    while (!questioner.HasEnded(std::min(limits.m_each, TimeUntil(end)))) {
        if (answers.Done() == done || TimeUntil(end).count() == 0) {
            return;
        }
        done = answers.Done();
    }
}

} // namespace

std::optional<int> AskUsage(const std::string& mountPoint) {
    struct statvfs state {};
    if (mountPoint.empty() || mountPoint.front() != '/' ||
        statvfs(mountPoint.c_str(), &state) != 0 || state.f_blocks < state.f_bfree) {
        return std::nullopt;
    }
    const double used = static_cast<double>(state.f_blocks - state.f_bfree);
    const double usable = used + static_cast<double>(state.f_bavail);
    if (state.f_blocks == 0 || usable <= 0) {
        return std::nullopt;
    }
    const int percent = static_cast<int>(used * 100 / usable);
    return percent * usable < used * 100 ? percent + 1 : percent;
}

record::CUsages AskUsages(const std::vector<std::string>& mountPoints, const CUsageLimits& limits,
                          const CQuestion& question) {
    const Clock::time_point end = Clock::now() + limits.m_total;
    const CAnswers answers(mountPoints.size());
    record::CUsages usages(mountPoints.size());
    if (!answers.IsMade()) {
        return usages;
    }
    std::fill_n(answers.Values(), mountPoints.size(), kNoUsage);
    while (answers.Done() < mountPoints.size() && TimeUntil(end).count() > 0) {
        {
            const CQuestioner questioner(mountPoints, question, answers);
            WaitWhileAnswering(questioner, answers, limits, end);
        }
        ++answers.Done(); // the one that the child hangs at, or beyond the end
    }
    for (std::size_t i = 0; i < usages.size(); ++i) {
        const std::int32_t answer = answers.Values()[i];
        usages[i] = answer == kNoUsage ? std::nullopt : std::make_optional<int>(answer);
    }
    return usages;
}

} // namespace commands
