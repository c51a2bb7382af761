#include "history/CCallerLock.h"

#include "KzmPaths.h"
#include "history/HistoryFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <mutex>
#include <utility>

namespace history {

#ifndef sigev_notify_thread_id
#define sigev_notify_thread_id _sigev_un._tid
#endif

namespace fs = std::filesystem;
using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr mode_t kFolderMode = 0755; // the history's folder stands in it
constexpr mode_t kFileMode = 0600;
constexpr milliseconds kRepeat{50};

void Ignore(int) {}

int WakingSignal() {
    return SIGRTMAX - 1;
}

// The handler of the waking signal, which all waiting threads of the process share.
class CHandler {
public:
    static void Share() {
        const std::lock_guard<std::mutex> guard(s_mutex);
        if (s_users++ == 0) {
            struct sigaction action {};
            action.sa_handler = Ignore; // without SA_RESTART: the call is interrupted
            sigaction(WakingSignal(), &action, &s_before);
        }
    }
    static void Return() {
        const std::lock_guard<std::mutex> guard(s_mutex);
        if (--s_users == 0) {
            sigaction(WakingSignal(), &s_before, nullptr);
        }
    }

private:
    static inline std::mutex s_mutex;
    static inline int s_users = 0;
    static inline struct sigaction s_before {};
};

std::timespec TimeOf(milliseconds time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    return {seconds.count(), std::chrono::nanoseconds(time - seconds).count()};
}

// Interrupts the calling thread's system calls after a time, and then again and again: a signal
// that comes between two calls interrupts none.
class CAlarm {
public:
    explicit CAlarm(milliseconds delay) {
        CHandler::Share();
        sigset_t waking{};
        sigemptyset(&waking);
        sigaddset(&waking, WakingSignal());
        pthread_sigmask(SIG_UNBLOCK, &waking, &m_mask);
        sigevent event{};
        event.sigev_notify = SIGEV_THREAD_ID;
        event.sigev_signo = WakingSignal();
        event.sigev_notify_thread_id = gettid();
        m_running = timer_create(CLOCK_MONOTONIC, &event, &m_timer) == 0;
        const itimerspec times{TimeOf(kRepeat), TimeOf(delay)};
        m_error = m_running && timer_settime(m_timer, 0, &times, nullptr) == 0 ? 0 : errno;
    }
    ~CAlarm() {
        // A signal that is on its way arrives before this call returns.
        if (m_running) {
            timer_delete(m_timer);
        }
        pthread_sigmask(SIG_SETMASK, &m_mask, nullptr);
        CHandler::Return();
    }
    CAlarm(const CAlarm&) = delete;
    CAlarm& operator=(const CAlarm&) = delete;

    // 0, or why there will be no interruption.
    [[nodiscard]] int Error() const { return m_error; }

private:
    sigset_t m_mask{}; // as it was
    timer_t m_timer{};
    bool m_running = false;
    int m_error = 0;
};

// Returns 0, kHeld when somebody else held the lock all the time, or an error number.
constexpr int kHeld = -1;

int LockAtOnce(int file) {
    if (flock(file, LOCK_EX | LOCK_NB) == 0) {
        return 0;
    }
    return errno == EWOULDBLOCK ? kHeld : errno;
}

// The same. Without an alarm it would wait for ever.
int Lock(int file, milliseconds limit) {
    if (limit <= milliseconds::zero()) {
        return LockAtOnce(file);
    }
    const auto begin = steady_clock::now();
    const CAlarm alarm(limit);
    int error = alarm.Error();
    while (error == 0 && flock(file, LOCK_EX) != 0) {
        error = errno == EINTR ? 0 : errno;
        if (error == 0 && duration_cast<milliseconds>(steady_clock::now() - begin) >= limit) {
            error = kHeld;
        }
    }
    return error;
}

CProblem OpenProblem(const std::string& path, int number) {
    if (number == ELOOP || number == EISDIR || number == ENXIO) {
        return {path + ": is not a regular file. Remove it: the lock file belongs there.", number};
    }
    return Refused(path, "opened", number);
}

Expected<CDescriptor> OpenFile() {
    const fs::path path(KzmPaths::kCallerLock);
    Expected<CDescriptor> folder =
        OpenSafeFolder(path.parent_path().string(), Absent::Make, kFolderMode);
    if (!folder) {
        return folder;
    }
    // Without O_NONBLOCK the opening of a named pipe would wait.
    constexpr int kFlags = O_RDONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    CDescriptor file(openat(folder->Get(), path.filename().c_str(), kFlags, kFileMode));
    struct stat status {};
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0) {
        return tl::make_unexpected(OpenProblem(path.string(), errno));
    }
    if (!S_ISREG(status.st_mode)) {
        return tl::make_unexpected(OpenProblem(path.string(), ENXIO));
    }
    return file;
}

} // namespace

CCallerLock::CCallerLock(CDescriptor file) : m_file(std::move(file)) {}

tl::expected<CCallerLock, CCallerLock::CRefusal> CCallerLock::Take(milliseconds limit) {
    Expected<CDescriptor> file = OpenFile();
    if (!file) {
        return tl::make_unexpected(CRefusal{false, file.error()});
    }
    const int number = Lock(file->Get(), limit);
    if (number == kHeld) {
        const std::string text = ": is held by another change of the settings.";
        return tl::make_unexpected(CRefusal{true, {KzmPaths::kCallerLock + text, EWOULDBLOCK}});
    }
    if (number != 0) {
        return tl::make_unexpected(
            CRefusal{false, Refused(KzmPaths::kCallerLock, "locked", number)});
    }
    return CCallerLock(std::move(*file));
}

} // namespace history
