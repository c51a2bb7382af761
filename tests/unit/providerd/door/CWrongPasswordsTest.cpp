#include "providerd/door/CWrongPasswords.h"

#include "tests/unit/providerd/door/CFakeAccounts.h"

#include <gtest/gtest.h>

using providerd::CWrongPasswords;
using std::chrono::seconds;
using Delays = std::vector<long>;

namespace {

// Wrong passwords, each so many seconds after the one before.
Delays DelaysAfter(const std::vector<int>& pauses) {
    CFakeTime time;
    CWrongPasswords passwords(time.Clock());
    Delays delays;
    for (const int pause : pauses) {
        time.Pass(seconds(pause));
        delays.push_back(passwords.Note("192.0.2.1").count());
    }
    return delays;
}

struct CDelayRow {
    const char* m_name;
    std::vector<int> m_pauses;
    Delays m_delays;
};

const CDelayRow kDelayRows[] = {
    {"at once", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {0, 0, 0, 0, 0, 2, 4, 8, 16, 30, 30}},
    {"six within a minute", {0, 11, 11, 11, 11, 15}, {0, 0, 0, 0, 0, 2}},
    {"the first is a minute old", {0, 12, 12, 12, 12, 12}, {0, 0, 0, 0, 0, 0}},
    {"slowly for ever", {0, 13, 13, 13, 13, 13, 13, 13, 13}, {0, 0, 0, 0, 0, 0, 0, 0, 0}},
    {"almost a minute after a delay", {0, 0, 0, 0, 0, 0, 59, 59}, {0, 0, 0, 0, 0, 2, 4, 8}},
    {"a minute after a delay",
     {0, 0, 0, 0, 0, 0, 60, 0, 0, 0, 0, 0, 0},
     {0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 2, 4}},
};

TEST(WrongPasswords, DelayTheirAnswers) {
    for (const CDelayRow& row : kDelayRows) {
        EXPECT_EQ(DelaysAfter(row.m_pauses), row.m_delays) << row.m_name;
    }
}

struct CAddressRow {
    const char* m_one;
    const char* m_other;
    bool m_areCountedTogether;
};

const CAddressRow kAddressRows[] = {
    {"192.0.2.1", "192.0.2.1", true},
    {"192.0.2.1", "192.0.2.2", false},
    {"192.0.2.1", "::ffff:192.0.2.1", true},
    {"::ffff:192.0.2.2", "::ffff:192.0.2.1", false},
    {"2001:db8:1:2::1", "2001:db8:1:2:ffff:ffff:ffff:ffff", true},
    {"2001:db8:1:2::1", "2001:0DB8:0001:0002::1", true},
    {"2001:db8:1:2::1", "2001:db8:1:3::1", false},
    {"fe80::1%eth0", "fe80::2%eth1", true},
    {"", "", true},
    {"", "0.0.0.0", false},
    {"console", "console", true},
    {"console", "terminal", false},
};

TEST(WrongPasswords, AreCountedByNetwork) {
    for (const CAddressRow& row : kAddressRows) {
        const bool same =
            CWrongPasswords::NetworkOf(row.m_one) == CWrongPasswords::NetworkOf(row.m_other);
        EXPECT_EQ(same, row.m_areCountedTogether) << row.m_one << " " << row.m_other;
    }
}

TEST(WrongPasswords, OfOthersDoNotCount) {
    CFakeTime time;
    CWrongPasswords passwords(time.Clock());
    for (int i = 0; i < 9; ++i) {
        passwords.Note("192.0.2.1");
    }
    EXPECT_EQ(passwords.Note("192.0.2.2"), seconds(0));
    EXPECT_EQ(passwords.Note("192.0.2.1"), seconds(30));
}

std::string Address(std::size_t number) {
    return "10.0." + std::to_string(number / 256) + "." + std::to_string(number % 256);
}

TEST(WrongPasswords, OfManyAddressesLeaveTheNewest) {
    CFakeTime time;
    CWrongPasswords passwords(time.Clock());
    for (std::size_t i = 0; i < CWrongPasswords::kMostAddresses; ++i) {
        time.Pass(std::chrono::milliseconds(1));
        const int times = i == 0 || i == 2 ? 6 : 1;
        for (int count = 0; count < times; ++count) {
            passwords.Note(Address(i));
        }
    }
    EXPECT_EQ(passwords.Note(Address(0)), seconds(4)) << "as many as there may be";
    time.Pass(std::chrono::milliseconds(1));
    for (int i = 0; i < 5; ++i) {
        passwords.Note(Address(1)); // still there
    }
    passwords.Note("192.0.2.1");
    EXPECT_EQ(passwords.Note(Address(2)), seconds(0)) << "it was quiet for longest";
    EXPECT_EQ(passwords.Note(Address(0)), seconds(8)) << "others were quiet for longer";
    time.Pass(seconds(60));
    passwords.Note("192.0.2.2");
    EXPECT_EQ(passwords.Note(Address(0)), seconds(0));
}

} // namespace
