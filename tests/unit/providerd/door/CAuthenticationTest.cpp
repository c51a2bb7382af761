#include "providerd/door/CAuthentication.h"

#include "tests/unit/providerd/door/CFakeAccounts.h"

#include <gtest/gtest.h>

using messages::Right;
using providerd::CAuthentication;
using For = CAuthentication::For;
using AnswerKind = CAuthentication::CAnswer::Kind;
using std::chrono::milliseconds;
using std::chrono::seconds;
using Asked = std::vector<std::string>;

namespace {

std::string Worded(const CAuthentication::CAnswer& answer) {
    static const char* const kRights[] = {"none", "read", "change"};
    switch (answer.m_kind) {
    case AnswerKind::Right:
        return kRights[static_cast<std::size_t>(answer.m_right)];
    case AnswerKind::Wrong:
        return "wrong: " + answer.m_reason;
    default:
        return "stopped";
    }
}

class Authentication : public testing::Test {
protected:
    Authentication() {
        FillAccounts(&m_accounts);
        m_settings.m_changingGroups = {"kzm-changers"};
        m_authentication =
            std::make_unique<CAuthentication>(&m_accounts, m_settings, m_time.Times());
    }

    std::string Check(const std::string& user, const std::string& password = "right",
                      For purpose = For::Reading) {
        return Worded(m_authentication->Check({user, password}, kPeer, purpose));
    }

    CFakeAccounts m_accounts;
    CFakeTime m_time;
    providerd::CSettings m_settings;
    std::unique_ptr<CAuthentication> m_authentication;
};

TEST_F(Authentication, OfEverybody) {
    EXPECT_EQ(Check("reader"), "read");
    EXPECT_EQ(Check("changer"), "change");
    EXPECT_EQ(Check("guest"), "none");
    EXPECT_EQ(Check("superuser"), "change");
    EXPECT_EQ(Check("reader", "wrong"), "wrong: no such password");
    EXPECT_EQ(Check("unknown"), "wrong: no such password");
    EXPECT_EQ(Check("locked"), "wrong: account is locked");
}

TEST_F(Authentication, AsksOnceForWhatIsRemembered) {
    EXPECT_EQ(Check("reader"), "read");
    EXPECT_EQ(m_accounts.TakeAsked(), (Asked{"password reader 192.0.2.1", "groups reader"}));
    m_time.Pass(milliseconds(5000));
    EXPECT_EQ(Check("reader"), "read");
    EXPECT_EQ(m_accounts.TakeAsked(), Asked());
}

TEST_F(Authentication, AsksForTheAccountOfReadersNowAndThen) {
    EXPECT_EQ(Check("reader"), "read");
    m_time.Pass(milliseconds(5001));
    m_accounts.TakeAsked();
    EXPECT_EQ(Check("reader"), "read");
    EXPECT_EQ(m_accounts.TakeAsked(), Asked{"account reader 192.0.2.1"});
    m_time.Pass(milliseconds(5000));
    EXPECT_EQ(Check("reader"), "read");
    EXPECT_EQ(m_accounts.TakeAsked(), Asked());
    m_time.Pass(seconds(50));
    EXPECT_EQ(Check("reader"), "read");
    EXPECT_EQ(m_accounts.TakeAsked(), (Asked{"password reader 192.0.2.1", "groups reader"}));
}

TEST_F(Authentication, AsksForTheAccountBeforeEveryChange) {
    EXPECT_EQ(Check("changer", "right", For::Changing), "change");
    EXPECT_EQ(m_accounts.TakeAsked(), (Asked{"password changer 192.0.2.1", "groups changer"}));
    m_time.Pass(milliseconds(1));
    EXPECT_EQ(Check("changer", "right", For::Changing), "change");
    EXPECT_EQ(m_accounts.TakeAsked(), Asked{"account changer 192.0.2.1"});
}

TEST_F(Authentication, AnAccountThatFailsIsForgotten) {
    EXPECT_EQ(Check("changer"), "change");
    m_accounts.m_users["changer"].m_isUsable = false;
    m_accounts.TakeAsked();
    EXPECT_EQ(Check("changer"), "change") << "remembered for a moment";
    m_time.Pass(milliseconds(1));
    EXPECT_EQ(Check("changer", "right", For::Changing), "wrong: account is locked");
    EXPECT_EQ(Check("changer"), "wrong: account is locked");
    EXPECT_EQ(m_accounts.TakeAsked(),
              (Asked{"account changer 192.0.2.1", "password changer 192.0.2.1"}));
}

TEST_F(Authentication, AWrongPasswordForgetsNothing) {
    EXPECT_EQ(Check("reader"), "read");
    EXPECT_EQ(Check("reader", "wrong"), "wrong: no such password");
    m_accounts.TakeAsked();
    EXPECT_EQ(Check("reader"), "read");
    EXPECT_EQ(m_accounts.TakeAsked(), Asked());
}

TEST_F(Authentication, NewSettingsCountAtOnce) {
    EXPECT_EQ(Check("changer"), "change");
    m_settings.m_changingGroups.clear();
    m_authentication->Use(m_settings);
    EXPECT_EQ(Check("changer"), "none");
}

TEST_F(Authentication, WhatIsNoUserOrPasswordIsWrongWithoutAsking) {
    const std::string zero(1, '\0');
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(Check(""), "wrong: no user and password");
        EXPECT_EQ(Check("reader" + zero), "wrong: no user and password");
        EXPECT_EQ(Check("reader", "right" + zero), "wrong: no user and password");
    }
    EXPECT_EQ(m_accounts.TakeAsked(), Asked());
    EXPECT_TRUE(m_time.m_pauses.empty()) << "and does not count";
}

TEST_F(Authentication, WrongPasswordsWaitAndRightOnesDoNot) {
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(Check("reader", "wrong"), "wrong: no such password");
        EXPECT_EQ(Check("reader"), "read");
    }
    using Pauses = std::vector<milliseconds>;
    EXPECT_EQ(m_time.m_pauses, (Pauses{milliseconds(0), milliseconds(0), milliseconds(0),
                                       milliseconds(0), milliseconds(0), seconds(2), seconds(4)}));
    m_accounts.m_delay = seconds(6);
    m_time.m_pauses.clear();
    EXPECT_EQ(Check("reader", "wrong"), "wrong: no such password");
    EXPECT_EQ(Check("reader", "wrong"), "wrong: no such password");
    EXPECT_EQ(m_time.m_pauses, (Pauses{seconds(8), seconds(16)})) << "the longer one counts";
    m_time.Pass(seconds(60));
    EXPECT_EQ(Check("reader", "wrong"), "wrong: no such password");
    EXPECT_EQ(m_time.m_pauses.back(), seconds(6)) << "of the system";
}

// Checks on threads of their own.
class CChecks {
public:
    ~CChecks() { Join(); }
    void Start(CAuthentication* authentication, const std::string& user,
               const std::string& password) {
        m_threads.emplace_back([=] {
            const auto answer =
                Worded(authentication->Check({user, password}, kPeer, For::Reading));
            const std::lock_guard<std::mutex> guard(m_mutex);
            ++m_answers[answer];
        });
    }
    std::map<std::string, int> Join() {
        for (std::thread& thread : m_threads) {
            thread.join();
        }
        m_threads.clear();
        return m_answers;
    }

private:
    std::vector<std::thread> m_threads;
    std::mutex m_mutex;
    std::map<std::string, int> m_answers;
};

TEST_F(Authentication, SameCredentialsAreAskedForOnce) {
    m_accounts.Shut();
    CChecks checks;
    for (int i = 0; i < 20; ++i) {
        checks.Start(m_authentication.get(), "reader", "right");
    }
    m_accounts.AwaitWaiting(1);
    EXPECT_FALSE(m_accounts.IsJoinedBeyond(1));
    m_accounts.Open();
    EXPECT_EQ(checks.Join(), (std::map<std::string, int>{{"read", 20}}));
    EXPECT_EQ(m_accounts.TakeAsked(), (Asked{"password reader 192.0.2.1", "groups reader"}));
}

TEST_F(Authentication, AsksForAFewAtOnce) {
    m_accounts.Shut();
    CChecks checks;
    for (std::size_t i = 0; i < CAuthentication::kAtOnce + 5; ++i) {
        checks.Start(m_authentication.get(), "user" + std::to_string(i), "right");
    }
    m_accounts.AwaitWaiting(CAuthentication::kAtOnce);
    EXPECT_FALSE(m_accounts.IsJoinedBeyond(CAuthentication::kAtOnce));
    EXPECT_EQ(m_accounts.TakeAsked().size(), CAuthentication::kAtOnce);
    m_accounts.Open();
    checks.Join();
    EXPECT_EQ(m_accounts.TakeAsked().size(), 5U);
}

TEST_F(Authentication, StopsThoseWhoWaitForTheirTurn) {
    constexpr int kTurns = CAuthentication::kAtOnce;
    m_accounts.Shut();
    CChecks checks;
    for (int i = 0; i < kTurns; ++i) {
        checks.Start(m_authentication.get(), "user" + std::to_string(i), "right");
    }
    m_accounts.AwaitWaiting(kTurns);
    checks.Start(m_authentication.get(), "reader", "right");
    checks.Start(m_authentication.get(), "changer", "right");
    m_authentication->Stop();
    EXPECT_EQ(Check("guest"), "stopped");
    m_accounts.Open();
    EXPECT_EQ(checks.Join(),
              (std::map<std::string, int>{{"stopped", 2}, {"wrong: no such password", kTurns}}));
}

TEST_F(Authentication, StopsARealPause) {
    CAuthentication authentication(&m_accounts, m_settings);
    m_accounts.m_delay = seconds(60);
    m_accounts.Shut();
    CChecks checks;
    checks.Start(&authentication, "reader", "wrong");
    m_accounts.AwaitWaiting(1);
    m_accounts.Open();
    authentication.Stop();
    EXPECT_EQ(checks.Join(), (std::map<std::string, int>{{"wrong: no such password", 1}}));
}

} // namespace
