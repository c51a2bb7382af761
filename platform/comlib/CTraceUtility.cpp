#include "comlib/CTraceUtility.h"

#include "comlib/ThreadCancellation.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <utility>

namespace {

const char kMaskVariable[] = "KZM_TRACE";
const char kFileVariable[] = "KZM_TRACE_FILE";

// Until the environment has been read every level is wanted, so that the first line reads it.
constexpr unsigned int kEveryLevel = ~0U;
std::atomic<unsigned int> wantedLevels{kEveryLevel};

struct State {
    std::mutex m_mutex; // guards all that follows
    bool m_bEnvironmentRead = false;
    unsigned int m_uiDestinationMask = 0;
    int m_iDescriptor = STDERR_FILENO;
    unsigned int m_uiListenerMask = 0;
    CTraceUtility::Listener m_listener;
};

// Never destroyed: other objects may trace while the process ends. Made without memory, which there
// may be none of when the first line is traced.
State& TheState() {
    alignas(State) static std::array<unsigned char, sizeof(State)> place;
    static State* const state = new (place.data()) State;
    return *state;
}

class CErrnoKeeper {
public:
    CErrnoKeeper() = default;
    CErrnoKeeper(const CErrnoKeeper&) = delete;
    CErrnoKeeper& operator=(const CErrnoKeeper&) = delete;
    ~CErrnoKeeper() { errno = m_iErrno; }

private:
    int m_iErrno = errno;
};

// ---- Where lines go ----

int OpenForAppending(const char* path) {
    // Without O_NONBLOCK the opening of a named pipe would wait for a reader.
    const int descriptor = open(
        path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, S_IRUSR | S_IWUSR);
    if (descriptor < 0) {
        return descriptor;
    }
    fcntl(descriptor, F_SETFL, O_APPEND);
    if (descriptor > STDERR_FILENO) {
        return descriptor;
    }
    // The host program may have closed a standard stream; its number stays the stream's.
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(descriptor);
    return moved;
}

unsigned int ParseMask(std::string_view text) {
    const bool isHexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
    const char* const end = text.data() + text.size();
    unsigned int mask = 0;
    const auto [rest, error] =
        std::from_chars(text.data() + (isHexadecimal ? 2 : 0), end, mask, isHexadecimal ? 16 : 10);
    return error == std::errc() && rest == end ? mask : 0;
}

void UpdateWantedLevels(const State& state) {
    wantedLevels = state.m_uiDestinationMask | state.m_uiListenerMask;
}

void ReadEnvironment(State& state) {
    if (state.m_bEnvironmentRead) {
        return;
    }
    const CErrnoKeeper keeper;
    const char* mask = secure_getenv(kMaskVariable);
    const char* file = secure_getenv(kFileVariable);
    state.m_uiDestinationMask = ParseMask(mask == nullptr ? "" : mask);
    if (state.m_uiDestinationMask != 0 && file != nullptr && *file != '\0') {
        const int descriptor = OpenForAppending(file);
        state.m_iDescriptor = descriptor < 0 ? STDERR_FILENO : descriptor;
    }
    state.m_bEnvironmentRead = true;
    UpdateWantedLevels(state);
}

bool IsWanted(unsigned int level) {
    if (wantedLevels.load(std::memory_order_relaxed) == kEveryLevel) {
        const CCancellationGuard guard;
        State& state = TheState();
        const std::lock_guard<std::mutex> lock(state.m_mutex);
        ReadEnvironment(state);
    }
    return (wantedLevels.load(std::memory_order_relaxed) & level) != 0;
}

// ---- What lines look like ----

std::string Format(const char* format, va_list arguments) {
    va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length < 0) {
        return format;
    }
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

// Local time, as in 2026-11-21T08:30:00.123+0000.
std::string TimeStamp() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    std::array<char, 32> seconds{};
    std::array<char, 8> offset{};
    std::array<char, 8> milliseconds{};
    std::strftime(seconds.data(), seconds.size(), "%Y-%m-%dT%H:%M:%S", &local);
    std::strftime(offset.data(), offset.size(), "%z", &local);
    std::snprintf(milliseconds.data(), milliseconds.size(), ".%03d",
                  static_cast<int>(now.tv_nsec / 1'000'000));
    return std::string(seconds.data()) + milliseconds.data() + offset.data();
}

// The number of bytes of the control character at this position; 0 when there is none. Those from
// U+0080 to U+009F, which terminals obey, too, have two bytes in UTF-8.
std::size_t ControlLength(const std::string& text, std::size_t position) {
    const auto byte = static_cast<unsigned char>(text[position]);
    if (byte < 0x20 || byte == 0x7F) {
        return 1;
    }
    const bool hasNext = position + 1 < text.size();
    const auto next = static_cast<unsigned char>(hasNext ? text[position + 1] : 0);
    return byte == 0xC2 && next >= 0x80 && next <= 0x9F ? 2 : 0;
}

std::string Escape(const std::string& text) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string escaped;
    escaped.reserve(text.size());
    std::size_t controlEnd = 0;
    for (std::size_t position = 0; position < text.size(); ++position) {
        controlEnd = std::max(controlEnd, position + ControlLength(text, position));
        const auto byte = static_cast<unsigned char>(text[position]);
        if (position < controlEnd) {
            escaped += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xF]};
        } else {
            escaped += text[position];
        }
    }
    return escaped;
}

void WriteLine(int descriptor, const CTraceUtility::Line& line) {
    const std::string text = TimeStamp() + ' ' + std::to_string(getpid()) + ' ' +
                             std::to_string(line.m_iLevel) + ' ' + Escape(line.m_sModule) + ' ' +
                             Escape(line.m_sText) + '\n';
    while (write(descriptor, text.data(), text.size()) < 0 && errno == EINTR) {
    }
}

void Deliver(const CTraceUtility::Line& line) {
    State& state = TheState();
    const auto level = static_cast<unsigned int>(line.m_iLevel);
    // Held over the delivery, so that a listener that has been removed is not called any more.
    const std::lock_guard<std::mutex> lock(state.m_mutex);
    if ((state.m_uiDestinationMask & level) != 0) {
        WriteLine(state.m_iDescriptor, line);
    }
    if ((state.m_uiListenerMask & level) != 0 && state.m_listener) {
        state.m_listener(line);
    }
}

} // namespace

// Callers give what printf takes. NOLINTNEXTLINE(cert-dcl50-cpp)
void CTraceUtility::WriteDebug(const char* module, TRACE_DBG_LEVEL level, const char* format, ...) {
    if (!IsWanted(level)) {
        return;
    }
    const CErrnoKeeper keeper;
    const CCancellationGuard guard; // destructors trace, too
    va_list arguments;
    va_start(arguments, format);
    try {
        Deliver({module, level, Format(format, arguments)});
    } catch (const std::bad_alloc&) {
        // Tracing has no failure: a line that there is no memory for is dropped.
    }
    va_end(arguments);
}

bool CTraceUtility::SetDestination(unsigned int mask, const std::string& path) {
    const CCancellationGuard guard;
    const int descriptor = path.empty() ? STDERR_FILENO : OpenForAppending(path.c_str());
    if (descriptor < 0) {
        return false;
    }
    State& state = TheState();
    const std::lock_guard<std::mutex> lock(state.m_mutex);
    if (state.m_iDescriptor != STDERR_FILENO) {
        close(state.m_iDescriptor);
    }
    state.m_bEnvironmentRead = true;
    state.m_uiDestinationMask = mask;
    state.m_iDescriptor = descriptor;
    UpdateWantedLevels(state);
    return true;
}

void CTraceUtility::SetListener(unsigned int mask, Listener listener) {
    State& state = TheState();
    const std::lock_guard<std::mutex> lock(state.m_mutex);
    ReadEnvironment(state);
    state.m_uiListenerMask = listener ? mask : 0;
    state.m_listener = std::move(listener);
    UpdateWantedLevels(state);
}
