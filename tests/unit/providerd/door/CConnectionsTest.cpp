#include "providerd/door/CConnections.h"

#include "tests/support/Descriptors.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <unistd.h>

#include <array>

using history::CDescriptor;
using providerd::CConnections;
using std::chrono::milliseconds;

namespace {

using Ends = std::array<CDescriptor, 2>;

Ends NewConnection() {
    std::array<int, 2> ends{};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    return {CDescriptor(ends[0]), CDescriptor(ends[1])};
}

// What the other side sends next; empty when it ended the connection.
std::string Received(const CDescriptor& end) {
    std::array<char, 16> buffer{};
    const ssize_t size = recv(end.Get(), buffer.data(), buffer.size(), 0);
    return {buffer.data(), size < 0 ? 0 : static_cast<std::size_t>(size)};
}

// Sends back each byte that comes.
void Echo(int socket) {
    char byte = 0;
    while (recv(socket, &byte, 1, 0) == 1) {
        send(socket, &byte, 1, MSG_NOSIGNAL);
    }
}

TEST(Connections, AreServedAndClosed) {
    const auto before = Descriptors();
    {
        CConnections connections(Echo);
        for (const char* byte : {"a", "b"}) {
            Ends ends = NewConnection();
            connections.Take(std::move(ends[1]));
            send(ends[0].Get(), byte, 1, 0);
            EXPECT_EQ(Received(ends[0]), byte);
            shutdown(ends[0].Get(), SHUT_WR);
            EXPECT_EQ(Received(ends[0]), "") << "closed by the other side";
        }
        EXPECT_TRUE(connections.End(milliseconds(10000)));
    }
    EXPECT_EQ(Descriptors(), before);
}

TEST(Connections, EndAfterTheAnswerThatTheyAreAt) {
    CConnections connections([](int socket) {
        Echo(socket);
        send(socket, "last", 4, MSG_NOSIGNAL); // what it is at when nothing more comes
    });
    Ends ends = NewConnection();
    connections.Take(std::move(ends[1]));
    EXPECT_TRUE(connections.End(milliseconds(10000)));
    EXPECT_EQ(Received(ends[0]), "last");
    EXPECT_EQ(Received(ends[0]), "");
}

TEST(Connections, EndWhenTheOtherSideTakesNoAnswer) {
    CConnections connections([](int socket) {
        const std::string much(1000000, 'x');
        while (send(socket, much.data(), much.size(), MSG_NOSIGNAL) > 0) {
        }
    });
    Ends ends = NewConnection();
    connections.Take(std::move(ends[1]));
    EXPECT_TRUE(connections.End(milliseconds(20)));
}

TEST(Connections, ThatDoNotEndAreTold) {
    Ends gate = NewConnection();
    CConnections connections([&gate](int) { Received(gate[1]); });
    Ends ends = NewConnection();
    connections.Take(std::move(ends[1]));
    EXPECT_FALSE(connections.End(milliseconds(5)));
    gate[0].Close();
    EXPECT_TRUE(connections.End(milliseconds(10000)));
}

TEST(Connections, BeyondTheLimitAreClosed) {
    CConnections connections(Echo);
    std::vector<CDescriptor> clients;
    for (std::size_t i = 0; i < CConnections::kMost; ++i) {
        Ends ends = NewConnection();
        connections.Take(std::move(ends[1]));
        clients.push_back(std::move(ends[0]));
    }
    Ends more = NewConnection();
    testing::internal::CaptureStderr();
    connections.Take(std::move(more[1]));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "A connection was closed: there are 320 already.\n");
    EXPECT_EQ(Received(more[0]), "");
    send(clients.back().Get(), "x", 1, 0);
    EXPECT_EQ(Received(clients.back()), "x") << "the others go on";
    clients.clear();
    EXPECT_TRUE(connections.End(milliseconds(10000)));
}

TEST(Connections, SurviveWhatIsThrown) {
    testing::internal::CaptureStderr();
    CConnections connections([](int) { throw std::bad_alloc(); });
    Ends ends = NewConnection();
    connections.Take(std::move(ends[1]));
    EXPECT_EQ(Received(ends[0]), "");
    EXPECT_TRUE(connections.End(milliseconds(10000)));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "A connection was closed: std::bad_alloc.\n");
}

} // namespace
