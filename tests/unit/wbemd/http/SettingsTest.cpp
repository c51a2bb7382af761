#include "wbemd/http/CSettings.h"

#include "KzmPaths.h"
#include "wbemd/http/CConnectionCount.h"

#include <gtest/gtest.h>

#include <sys/socket.h>

using std::string;
using wbemd::CSettings;

namespace {

// What is wrong with a configuration; empty when nothing is.
std::vector<string> Problems(const string& text) {
    CConfigFile file = CConfigFile::OfText("f", text);
    CSettings::Read(&file);
    return file.Problems();
}

TEST(SettingsTest, HaveDefaults) {
    CConfigFile file = CConfigFile::OfText("f", "");
    const CSettings settings = CSettings::Read(&file);
    EXPECT_EQ(file.Problems(), std::vector<string>());
    ASSERT_EQ(settings.m_listen.size(), 1U);
    EXPECT_TRUE(settings.m_listen[0].m_both);
    EXPECT_TRUE(settings.m_listenPlain.empty());
    EXPECT_EQ(settings.m_certificate, KzmPaths::kWbemdCertificate);
    EXPECT_EQ(settings.m_key, KzmPaths::kWbemdKey);
    EXPECT_EQ(settings.m_connections, 256U);
    EXPECT_EQ(settings.m_connectionsPerPeer, 32U);
    EXPECT_EQ(settings.m_bodyBytes, 16777216U);
    EXPECT_EQ(settings.m_bodyMemoryBytes, 134217728U);
    EXPECT_EQ(settings.m_answerMemoryBytes, 201326592U);
    EXPECT_EQ(settings.m_handshakeTime, std::chrono::seconds(5));
    EXPECT_EQ(settings.m_requestTime, std::chrono::seconds(10));
    EXPECT_EQ(settings.m_idleTime, std::chrono::seconds(15));
    EXPECT_EQ(settings.m_answerTime, std::chrono::seconds(10));
    EXPECT_EQ(settings.m_checkTime, std::chrono::seconds(45));
    EXPECT_EQ(settings.m_callTime, std::chrono::seconds(300));
}

TEST(SettingsTest, AreTakenByTheirNames) {
    CConfigFile file = CConfigFile::OfText(
        "f", "Listen=127.0.0.1:1, [::1]\nListenPlain=127.9.9.9\nCertificate=/c\nKey=/k\n"
             "MaxConnections=1\nMaxConnectionsPerPeer=2\nMaxBodyBytes=3\nMaxBodyMemoryBytes=4\n"
             "MaxAnswerMemoryBytes=11\n"
             "HandshakeMilliseconds=5\nRequestMilliseconds=6\nIdleMilliseconds=7\n"
             "AnswerMilliseconds=8\nCheckMilliseconds=9\nCallMilliseconds=10800000\n");
    const CSettings settings = CSettings::Read(&file);
    EXPECT_EQ(file.Problems(), std::vector<string>());
    ASSERT_EQ(settings.m_listen.size(), 2U);
    EXPECT_EQ(settings.m_listen[0].m_text, "127.0.0.1:1");
    EXPECT_EQ(settings.m_listen[1].m_text, "[::1]");
    ASSERT_EQ(settings.m_listenPlain.size(), 1U);
    EXPECT_EQ(settings.m_certificate, "/c");
    EXPECT_EQ(settings.m_key, "/k");
    EXPECT_EQ(settings.m_connections, 1U);
    EXPECT_EQ(settings.m_connectionsPerPeer, 2U);
    EXPECT_EQ(settings.m_bodyBytes, 3U);
    EXPECT_EQ(settings.m_bodyMemoryBytes, 4U);
    EXPECT_EQ(settings.m_answerMemoryBytes, 11U);
    EXPECT_EQ(settings.m_handshakeTime.count(), 5);
    EXPECT_EQ(settings.m_requestTime.count(), 6);
    EXPECT_EQ(settings.m_idleTime.count(), 7);
    EXPECT_EQ(settings.m_answerTime.count(), 8);
    EXPECT_EQ(settings.m_checkTime.count(), 9);
    EXPECT_EQ(settings.m_callTime.count(), 10800000);
}

TEST(SettingsTest, RefuseWhatWouldNotDo) {
    for (const char* const line :
         {"Listen=localhost", "ListenPlain=*", "ListenPlain=0.0.0.0", "ListenPlain=[::]",
          "ListenPlain=128.0.0.1", "ListenPlain=[::2]", "MaxConnections=0", "IdleMilliseconds=0",
          "CallMilliseconds=10800001", "MaxBodyBytes=1\nMaxBodyMemoryBytes=0",
          "MaxBodyMemoryBytes=16777215", "MaxAnswerMemoryBytes=0", "Unknown=1"}) {
        EXPECT_EQ(Problems(line).size(), 1U) << line;
    }
}

TEST(ListenAddressTest, IsReadAsItIsWritten) {
    // With what it is bound to; none: it is no address.
    const std::pair<string, string> rows[] = {{"127.0.0.1", "127.0.0.1:0"},
                                              {"127.0.0.2:0", "127.0.0.2:0"},
                                              {"[::1]", "[::1]:0"},
                                              {"[::1]:0", "[::1]:0"},
                                              {"*", "[::]:0"},
                                              {"*:0", "[::]:0"},
                                              {"", ""},
                                              {":1", ""},
                                              {"::1", ""},
                                              {"[::1", ""},
                                              {"::1]", ""},
                                              {"[]", ""},
                                              {"[127.0.0.1]", ""},
                                              {"127.0.0.1:", ""},
                                              {"127.0.0.1:65536", ""},
                                              {"127.0.0.1:x", ""},
                                              {"127.0.0.1:-1", ""},
                                              {"127.0.0.1:000001", ""},
                                              {"127.0.0.1:1:1", ""},
                                              {"[::1]1", ""},
                                              {"[::1]x:1", ""},
                                              {"127.0.0", ""},
                                              {"localhost", ""},
                                              {"**", ""},
                                              {"* ", ""},
                                              {"[fe80::1%lo]", ""}};
    for (const auto& [text, bound] : rows) {
        const auto address = wbemd::ReadListenAddress(text, 0);
        ASSERT_EQ(address.has_value(), !bound.empty()) << text;
        if (address) {
            const auto socket = wbemd::Listen(*address);
            ASSERT_TRUE(socket) << socket.error();
            const string told = wbemd::BoundAddress(socket->Get());
            EXPECT_EQ(told.substr(0, told.rfind(':')), bound.substr(0, bound.rfind(':'))) << text;
            EXPECT_NE(told.substr(told.rfind(':')), ":0");
        }
    }
}

TEST(ListenAddressTest, APortIsUsedOnce) {
    const auto first = wbemd::Listen(*wbemd::ReadListenAddress("127.0.0.1", 0));
    const auto second =
        wbemd::Listen(*wbemd::ReadListenAddress(wbemd::BoundAddress(first->Get()), 0));
    ASSERT_FALSE(second);
    EXPECT_NE(second.error().find("Address already in use"), string::npos) << second.error();
}

TEST(ListenAddressTest, KnowsWhatOthersCanReach) {
    for (const char* const text : {"127.0.0.1", "127.255.0.1", "[::1]"}) {
        EXPECT_TRUE(wbemd::ReadListenAddress(text, 1)->IsLoopback()) << text;
    }
    for (const char* const text :
         {"*", "0.0.0.0", "126.0.0.1", "128.0.0.1", "[::]", "[::2]", "[::ffff:127.0.0.1]"}) {
        EXPECT_FALSE(wbemd::ReadListenAddress(text, 1)->IsLoopback()) << text;
    }
}

TEST(ConnectionCountTest, HoldsBothLimits) {
    wbemd::CConnectionCount count;
    {
        auto first = count.Take("a", 3, 2);
        const auto second = count.Take("a", 3, 2);
        EXPECT_TRUE(first && second);
        EXPECT_FALSE(count.Take("a", 3, 2));
        const auto third = count.Take("b", 3, 2);
        EXPECT_TRUE(third);
        EXPECT_FALSE(count.Take("c", 3, 2));
        first.reset();
        auto fourth = count.Take("c", 3, 2);
        EXPECT_TRUE(fourth);
        const wbemd::CConnectionCount::CPlace moved = std::move(*fourth);
        EXPECT_EQ(count.Total(), 3U);
    }
    EXPECT_EQ(count.Total(), 0U);
    EXPECT_TRUE(count.Take("a", 1, 1));
}

} // namespace
