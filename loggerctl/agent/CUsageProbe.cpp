#include "loggerctl/agent/CUsageProbe.h"

#include <poll.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int kNoUsage = -1; // as it goes through the pipe

// A child process that asks the question for one mount point after the other.
class CQuestioner {
public:
    CQuestioner(const std::vector<std::string>& mountPoints, std::size_t first,
                const CUsageProbe::Question& question);
    ~CQuestioner();
    CQuestioner(const CQuestioner&) = delete;
    CQuestioner& operator=(const CQuestioner&) = delete;

    // The next answer; false when it does not come in time or the child is gone.
    bool Next(milliseconds limit, int* answer) const;

private:
    pid_t m_child = -1;
    int m_iAnswers = -1;
};

[[noreturn]] void AnswerAll(const std::vector<std::string>& mountPoints, std::size_t first,
                            const CUsageProbe::Question& question, int answers) {
    // Nothing of the parent's stays open: whoever reads its output must see the end of it.
    dup2(answers, STDIN_FILENO);
    close_range(STDERR_FILENO + 1, ~0U, 0);
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
    for (std::size_t i = first; i < mountPoints.size(); ++i) {
        const std::int32_t answer = question(mountPoints[i]).value_or(kNoUsage);
        if (write(STDIN_FILENO, &answer, sizeof answer) != sizeof answer) {
            break;
        }
    }
    _exit(0);
}

CQuestioner::CQuestioner(const std::vector<std::string>& mountPoints, std::size_t first,
                         const CUsageProbe::Question& question) {
    int ends[2] = {-1, -1};
    if (pipe(ends) != 0) {
        return;
    }
    m_child = fork();
    if (m_child == 0) {
        AnswerAll(mountPoints, first, question, ends[1]);
    }
    close(ends[1]);
    m_iAnswers = ends[0];
}

CQuestioner::~CQuestioner() {
    if (m_iAnswers >= 0) {
        close(m_iAnswers);
    }
    if (m_child > 0) {
        kill(m_child, SIGKILL);
        waitpid(m_child, nullptr, WNOHANG);
    }
}

bool CQuestioner::Next(milliseconds limit, int* answer) const {
    struct pollfd readable = {m_iAnswers, POLLIN, 0};
    if (m_child < 0 || poll(&readable, 1, static_cast<int>(limit.count())) != 1) {
        return false;
    }
    std::int32_t received = kNoUsage;
    if (read(m_iAnswers, &received, sizeof received) != sizeof received) {
        return false;
    }
    *answer = received;
    return true;
}

milliseconds TimeUntil(Clock::time_point end) {
    return std::max(milliseconds(0), std::chrono::duration_cast<milliseconds>(end - Clock::now()));
}

} // namespace

std::optional<int> CUsageProbe::Ask(const std::string& mountPoint) {
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

std::vector<std::optional<int>> CUsageProbe::AskAll(const std::vector<std::string>& mountPoints,
                                                    const Limits& limits,
                                                    const Question& question) {
    const Clock::time_point end = Clock::now() + limits.m_total;
    std::vector<std::optional<int>> usages(mountPoints.size());
    std::size_t next = 0;
    while (next < mountPoints.size() && TimeUntil(end).count() > 0) {
        const CQuestioner questioner(mountPoints, next, question);
        int answer = kNoUsage;
        while (next < mountPoints.size() &&
               questioner.Next(std::min(limits.m_each, TimeUntil(end)), &answer)) {
            usages[next++] = answer == kNoUsage ? std::nullopt : std::make_optional(answer);
        }
        ++next; // the one that the child hangs at, or the end
    }
    return usages;
}
