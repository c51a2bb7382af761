#include "providerd/FrameTransfer.h"

#include "serverbase/Frames.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace providerd {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kChunk = std::size_t{256} * 1024; // memory taken ahead of what arrives

// For poll, which takes -1 for "without end".
int MillisecondsTo(const Deadline& deadline) {
    if (!deadline) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now());
    constexpr std::chrono::milliseconds::rep kMost = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, kMost));
}

bool WaitFor(int descriptor, short events, const Deadline& deadline) {
    pollfd polled{descriptor, events, 0};
    for (;;) {
        const int count = poll(&polled, 1, MillisecondsTo(deadline));
        if (count >= 0 || errno != EINTR) {
            return count != 0;
        }
    }
}

bool IsToBeTriedAgain() {
    return errno == EAGAIN || errno == EINTR;
}

// Receives exactly so many bytes behind what the text holds. Waits only for what is not there yet.
Transfer Receive(int socket, std::size_t size, std::string* text, const Deadline& deadline) {
    const std::size_t end = text->size() + size;
    while (text->size() < end) {
        const std::size_t begin = text->size();
        text->resize(std::min(end, begin + kChunk));
        const ssize_t count =
            recv(socket, text->data() + begin, text->size() - begin, MSG_DONTWAIT);
        text->resize(begin + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (count == 0 || (count < 0 && !IsToBeTriedAgain())) {
            return Transfer::Ended;
        }
        if (count < 0 && !WaitFor(socket, POLLIN, deadline)) {
            return Transfer::TimedOut;
        }
    }
    return Transfer::Done;
}

} // namespace

Transfer SendFrame(int socket, std::string_view frame, const Deadline& deadline) {
    if (frame.empty()) {
        return Transfer::Ended;
    }
    while (!frame.empty()) {
        const ssize_t count = send(socket, frame.data(), frame.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count < 0 && !IsToBeTriedAgain()) {
            return Transfer::Ended;
        }
        if (count < 0 && !WaitFor(socket, POLLOUT, deadline)) {
            return Transfer::TimedOut;
        }
        frame.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return Transfer::Done;
}

Transfer ReceiveFrame(int socket, std::string* payload, const Deadline& deadline,
                      daemon_base::CMemoryShare* share) {
    std::string header;
    Transfer transfer = Receive(socket, messages::kFrameHeaderBytes, &header, deadline);
    if (transfer == Transfer::Done) {
        const std::optional<std::size_t> size = messages::DecodeFrameLength(header);
        if (size && share != nullptr && !share->TakeIfLong(*size)) {
            return Transfer::NoRoom;
        }
        payload->clear();
        transfer = size ? Receive(socket, *size, payload, deadline) : Transfer::Ended;
    }
    return transfer == Transfer::Ended && !header.empty() ? Transfer::Broken : transfer;
}

bool WaitReadable(int descriptor, const Deadline& deadline) {
    return WaitFor(descriptor, POLLIN, deadline);
}

bool WaitHungUp(int socket, const Deadline& deadline) {
    return WaitFor(socket, 0, deadline); // which is told unasked
}

} // namespace providerd
