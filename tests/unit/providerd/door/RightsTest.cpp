#include "providerd/door/Rights.h"

#include "tests/unit/providerd/door/CFakeAccounts.h"

#include <gtest/gtest.h>

using messages::Right;
using Groups = std::vector<std::string>;

namespace {

struct CRightRow {
    const char* m_user;
    Groups m_reading;
    Groups m_changing;
    Right m_right;
};

const Groups kReaders = {"kzm-readers"};
const Groups kChangers = {"kzm-changers"};

const CRightRow kRightRows[] = {
    {"reader", kReaders, {}, Right::Read},
    {"reader", kReaders, kChangers, Right::Read},
    {"reader", {"unknown", "kzm-readers"}, {}, Right::Read},
    {"reader", {}, kReaders, Right::Change},
    {"reader", {}, {}, Right::None},
    {"reader", {"unknown"}, {"unknown"}, Right::None},
    {"changer", kReaders, {}, Right::None},
    {"changer", kReaders, kChangers, Right::Change},
    {"changer", {}, {"unknown", "kzm-changers"}, Right::Change},
    {"both", kReaders, kChangers, Right::Change},
    {"both", kReaders, {}, Right::Read},
    {"guest", kReaders, kChangers, Right::None},
    {"superuser", kReaders, {}, Right::Change},
    {"superuser", {}, {}, Right::Change},
    {"unknown", kReaders, kChangers, Right::None},
};

TEST(Rights, OfUsers) {
    CFakeAccounts accounts;
    FillAccounts(&accounts);
    for (const CRightRow& row : kRightRows) {
        providerd::CSettings settings;
        settings.m_readingGroups = row.m_reading;
        settings.m_changingGroups = row.m_changing;
        EXPECT_EQ(providerd::RightOf(row.m_user, settings, &accounts), row.m_right)
            << row.m_user << " " << testing::PrintToString(row.m_reading) << " "
            << testing::PrintToString(row.m_changing);
    }
}

TEST(Rights, ThatCallsTake) {
    EXPECT_EQ(providerd::NeededRight("GetParameter"), Right::Read);
    EXPECT_EQ(providerd::NeededRight("SetParameter"), Right::Change);
    for (const char* method : {"", "getparameter", "SETPARAMETER", "SetParameter ", "Create"}) {
        EXPECT_EQ(providerd::NeededRight(method), Right::None) << method;
    }
}

} // namespace
