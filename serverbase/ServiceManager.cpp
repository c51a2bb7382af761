#include "serverbase/ServiceManager.h"

#include "serverbase/PrintableText.h"

#include <systemd/sd-daemon.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <new>
#include <numeric>

namespace daemon_base {

namespace {

constexpr unsigned long kMicroseconds = 1000; // of a millisecond
constexpr unsigned long kMicrosecondsOfASecond = 1000000;

void Tell(const std::string& lines) {
    sd_notify(0, lines.c_str());
}

std::string MonotonicMicroseconds() {
    std::timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const auto seconds = static_cast<unsigned long>(now.tv_sec);
    const auto nanoseconds = static_cast<unsigned long>(now.tv_nsec);
    return std::to_string(seconds * kMicrosecondsOfASecond + nanoseconds / kMicroseconds);
}

// The journal names in the environment the stream that it gave the service.
bool IsJournal(int descriptor) {
    const char* const stream = std::getenv("JOURNAL_STREAM");
    struct stat status {};
    if (stream == nullptr || fstat(descriptor, &status) != 0) {
        return false;
    }
    return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) == stream;
}

const char* MarkOf(Level level) {
    switch (level) {
    case Level::Error:
        return SD_ERR;
    case Level::Warning:
        return SD_WARNING;
    case Level::Notice:
        return SD_NOTICE;
    default:
        return SD_INFO;
    }
}

} // namespace

std::vector<int> TakeListeners() {
    const int count = sd_listen_fds(1); // makes them close on exec, and clears the environment
    std::vector<int> listeners(count > 0 ? static_cast<std::size_t>(count) : 0);
    std::iota(listeners.begin(), listeners.end(), SD_LISTEN_FDS_START);
    return listeners;
}

void TellReady(const std::string& status) {
    Tell("READY=1\nSTATUS=" + Printable(status));
}

void TellReloading() {
    Tell("RELOADING=1\nMONOTONIC_USEC=" + MonotonicMicroseconds());
}

void TellStopping(const std::string& status) {
    Tell("STOPPING=1\nSTATUS=" + Printable(status));
}

unsigned long AliveInterval() {
    std::uint64_t microseconds = 0;
    if (sd_watchdog_enabled(0, &microseconds) <= 0) {
        return 0;
    }
    // Twice as often as the service manager wants it.
    const auto milliseconds = static_cast<unsigned long>(microseconds / kMicroseconds / 2);
    return milliseconds == 0 ? 1 : milliseconds;
}

void TellAlive() {
    Tell("WATCHDOG=1");
}

void Log(Level level, const std::string& text) {
    const std::string mark = IsJournal(STDERR_FILENO) ? MarkOf(level) : "";
    const std::string line = mark + Printable(text) + "\n";
    // Nobody is left to tell when this fails.
    [[maybe_unused]] const auto written = write(STDERR_FILENO, line.data(), line.size());
}

void LogException(const char* what, const std::exception& exception) noexcept {
    try {
        Log(Level::Error, std::string(what) + ": " + exception.what() + ".");
    } catch (const std::bad_alloc&) {
        return;
    }
}

} // namespace daemon_base
