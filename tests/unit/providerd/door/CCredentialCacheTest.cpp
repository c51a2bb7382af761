#include "providerd/door/CCredentialCache.h"

#include "tests/unit/providerd/door/CFakeAccounts.h"

#include <gtest/gtest.h>

#include <set>

using messages::Right;
using providerd::CCredentialCache;
using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

class CredentialCache : public testing::Test {
protected:
    std::string Remember(const std::string& user, const std::string& password, Right right) {
        const std::string hash = m_cache.HashOf({user, password});
        m_cache.Remember(hash, user, {right, m_time.Clock()()});
        return hash;
    }
    // Whether it is remembered, and with this right.
    bool Has(const std::string& hash, Right right = Right::Read) {
        const auto found = m_cache.Find(hash);
        return found && found->m_right == right;
    }

    CFakeTime m_time;
    CCredentialCache m_cache{m_time.Clock()};
};

TEST_F(CredentialCache, HashesAreOfTheseCredentialsAlone) {
    const messages::CCredentials credentials[] = {{"a", "bc"},
                                                  {"ab", "c"},
                                                  {"abc", ""},
                                                  {"", "abc"},
                                                  {"a", "bc "},
                                                  {"A", "bc"},
                                                  {"1:a", "b"},
                                                  {"1", ":ab"},
                                                  {std::string("a\0", 2), "b"},
                                                  {"a", std::string("\0b", 2)}};
    std::set<std::string> hashes;
    for (const auto& one : credentials) {
        hashes.insert(m_cache.HashOf(one));
        EXPECT_EQ(m_cache.HashOf(one), m_cache.HashOf(one));
    }
    EXPECT_EQ(hashes.size(), std::size(credentials));
    EXPECT_EQ(hashes.begin()->size(), 32U);
}

TEST_F(CredentialCache, HashesAreUnderAKeyOfItsOwn) {
    const CCredentialCache other(m_time.Clock());
    EXPECT_NE(m_cache.HashOf({"user", "password"}), other.HashOf({"user", "password"}));
}

TEST_F(CredentialCache, RemembersForAMinute) {
    const std::string hash = Remember("user", "right", Right::Change);
    EXPECT_TRUE(Has(hash, Right::Change));
    EXPECT_FALSE(m_cache.Find(m_cache.HashOf({"user", "wrong"})));
    EXPECT_FALSE(m_cache.Find(m_cache.HashOf({"other", "right"})));
    m_time.Pass(milliseconds(59999));
    EXPECT_TRUE(Has(hash, Right::Change));
    m_time.Pass(milliseconds(1));
    EXPECT_FALSE(m_cache.Find(hash));
}

TEST_F(CredentialCache, ARenewalDoesNotLastLonger) {
    const std::string hash = Remember("user", "right", Right::Read);
    m_time.Pass(seconds(30));
    m_cache.Renew(hash, m_time.Clock()());
    EXPECT_EQ(m_cache.Find(hash)->m_accountTime, m_time.Clock()());
    m_time.Pass(seconds(30));
    EXPECT_FALSE(m_cache.Find(hash));
    m_cache.Renew(hash, m_time.Clock()());
    EXPECT_FALSE(m_cache.Find(hash));
}

TEST_F(CredentialCache, ForgetsAUser) {
    const std::string one = Remember("user", "first", Right::Read);
    const std::string two = Remember("user", "second", Right::Read);
    const std::string other = Remember("other", "first", Right::Read);
    m_cache.Forget("user");
    EXPECT_FALSE(Has(one));
    EXPECT_FALSE(Has(two));
    EXPECT_TRUE(Has(other));
}

TEST_F(CredentialCache, ForgetsTheOldestWhenThereAreMany) {
    const std::string oldest = Remember("user", "0", Right::Read);
    m_time.Pass(milliseconds(1));
    const std::string second = Remember("user", "1", Right::Read);
    m_time.Pass(milliseconds(1));
    for (std::size_t i = 2; i < CCredentialCache::kMost; ++i) {
        Remember("user", std::to_string(i), Right::Read);
    }
    EXPECT_TRUE(Has(oldest));
    Remember("user", "one more", Right::Read);
    EXPECT_FALSE(Has(oldest));
    EXPECT_TRUE(Has(second));
}

} // namespace
