#include "tests/system/door/CDoor.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

using std::string;

namespace {

struct CAccountRow {
    const char* m_name;
    string m_user;
    string m_password;
    const char* m_check;
    const char* m_get;
    const char* m_unknownMethod;
};

const CAccountRow kAccountRows[] = {
    {"reader", "reader", kPassword, "read", "Done 0x00000000", "NoMethod"},
    {"changer", "changer", kPassword, "change", "Done 0x00000000", "NoMethod"},
    {"both", "both", kPassword, "change", "Done 0x00000000", "NoMethod"},
    {"superuser", "superuser", kPassword, "change", "Done 0x00000000", "NoMethod"},
    {"guest", "guest", kPassword, "none", "NotAllowed", "NoMethod"},
    {"wrong password", "reader", "wrong", "wrong", "WrongCredentials", "WrongCredentials"},
    {"empty user", "", kPassword, "wrong", "WrongCredentials", "WrongCredentials"},
    {"zero byte in the user",
     {"reader\0", 7},
     kPassword,
     "wrong",
     "WrongCredentials",
     "WrongCredentials"},
};

TEST(Door, OpensToThoseWhoMay) {
    CDoor door;
    ASSERT_TRUE(door.Start());
    const CDoorClient client;
    for (const CAccountRow& row : kAccountRows) {
        SCOPED_TRACE(row.m_name);
        EXPECT_EQ(client.Check(row.m_user, row.m_password), row.m_check);
        EXPECT_EQ(client.Call(row.m_user, row.m_password, "GetParameter"), row.m_get);
        EXPECT_EQ(client.Call(row.m_user, row.m_password, "Format"), row.m_unknownMethod);
    }
}

// Fewer than those who wait would be.
const CAccountRow kWrongRows[] = {
    {"empty password", "reader", "", "wrong", "", ""},
    {"zero byte in the password", "reader", kPassword + '\0', "wrong", "", ""},
    {"unknown user", "nobody-at-all", kPassword, "wrong", "", ""},
    {"locked account", "locked", kPassword, "wrong", "", ""},
    {"a user without a password", "kzmwbem", "", "wrong", "", ""},
    {"user in capitals", "READER", kPassword, "wrong", "", ""},
};

TEST(Door, IsShutToThoseWhoAreNobody) {
    CDoor door;
    ASSERT_TRUE(door.Start());
    const CDoorClient client;
    for (const CAccountRow& row : kWrongRows) {
        EXPECT_EQ(client.Check(row.m_user, row.m_password), row.m_check) << row.m_name;
    }
    EXPECT_EQ(client.Call("reader", kPassword, "SetParameter"), "NotAllowed");
}

TEST(Door, WritesALineForEachCallAndEachRefusal) {
    CDoor door;
    ASSERT_TRUE(door.Start());
    const CDoorClient client;
    EXPECT_EQ(client.Check("reader", kPassword), "read");
    EXPECT_EQ(client.Call("reader", kPassword, "GetParameter"), "Done 0x00000000");
    EXPECT_EQ(client.Call("reader", kPassword, "SetParameter"), "NotAllowed");
    EXPECT_EQ(client.Check("rea\"der\n<0>", kPassword + "wrong"), "wrong");
    const auto line = [&door] {
        const string logged = door.Daemon().AwaitLogged("user=");
        const std::size_t time = logged.find(" ms=");
        return logged.substr(0, time);
    };
    EXPECT_EQ(line(), R"(user="reader" peer="192.0.2.7" operation="GetParameter" result="done")"
                      " return=0x00000000");
    EXPECT_EQ(line(),
              R"(user="reader" peer="192.0.2.7" operation="SetParameter" result="not allowed")");
    EXPECT_EQ(line(), R"(user="rea\"der?<0>" peer="192.0.2.7" operation="check")"
                      R"( result="wrong credentials" reason="Authentication failure")");
    EXPECT_EQ(door.Daemon().Log().find(kPassword), string::npos);
}

TEST(Door, LocksAnAccountThatIsRemembered) {
    CDoor door;
    ASSERT_TRUE(door.Start());
    const CDoorClient client;
    EXPECT_EQ(client.Check("changer", kPassword), "change");
    auto users = CAccounts::FirstUsers();
    users[3].m_isUsable = false;
    ASSERT_EQ(users[3].m_name, "changer");
    door.m_accounts.SetUsers(users);
    EXPECT_EQ(client.Check("changer", kPassword), "change") << "remembered for a moment";
    EXPECT_EQ(client.Call("changer", kPassword, "SetParameter"), "WrongCredentials");
    EXPECT_EQ(client.Check("changer", kPassword), "wrong") << "and then not any more";
}

TEST(Door, ServesManyAtOnce) {
    CDoor door;
    ASSERT_TRUE(door.Start());
    std::vector<std::thread> threads;
    std::vector<string> answers(50);
    for (string& answer : answers) {
        threads.emplace_back([&answer] {
            const CDoorClient client;
            answer = client.Check("reader", kPassword) + client.Check("changer", kPassword);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(answers, std::vector<string>(answers.size(), "readchange"));
}

struct CMalformedRow {
    const char* m_name;
    string m_bytes;
};

const CMalformedRow kMalformedRows[] = {
    {"a frame beyond the limit", "\xFF\xFF\xFF\xFF"},
    {"an empty frame", string(4, '\0')},
    {"an unknown kind", string("\1\0\0\0\x7F", 5)},
    {"an answer", Encode(messages::CCheckAnswer{})},
    {"a request cut short", string("\2\0\0\0\1\0", 6)},
    {"text that is no frame", "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n"},
};

TEST(Door, EndsTheConnectionOfWhoSendsNoRequest) {
    CDoor door;
    ASSERT_TRUE(door.Start());
    for (const CMalformedRow& row : kMalformedRows) {
        SCOPED_TRACE(row.m_name);
        const CDoorClient client;
        client.Send(row.m_bytes);
        shutdown(client.Socket(), SHUT_WR);
        EXPECT_EQ(client.Receive(), std::nullopt);
        EXPECT_NE(door.Daemon().AwaitLogged("A connection was closed"), "");
    }
    EXPECT_EQ(CDoorClient().Check("reader", kPassword), "read") << "others go on";
}

TEST(Door, IsOfTheFrontEndAlone) {
    CDoor door("FrontEndUser=reader\n");
    ASSERT_TRUE(door.Start());
    EXPECT_EQ(CDoorClient().Check("reader", kPassword), "ended");
    const string process = "A connection was closed: process " + std::to_string(getpid()) +
                           " of user ID " + std::to_string(getuid()) + " is not reader.";
    EXPECT_EQ(door.Daemon().AwaitLogged("A connection"), process);
    CDoor::Configure("FrontEndUser=nobody-at-all\n");
    door.Daemon().Signal(SIGHUP);
    EXPECT_NE(door.Daemon().AwaitLogged("read anew"), "");
    EXPECT_EQ(CDoorClient().Check("reader", kPassword), "ended");
    EXPECT_NE(door.Daemon().AwaitLogged("is not nobody-at-all, whom this system does not know."),
              "");
}

} // namespace
