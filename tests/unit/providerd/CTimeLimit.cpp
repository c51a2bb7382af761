// A queue that forgets somebody lets him wait for good: what waits for it is ended by SIGALRM.

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

class CTimeLimit : public testing::EmptyTestEventListener {
public:
    static bool Begin() {
        testing::UnitTest::GetInstance()->listeners().Append(new CTimeLimit); // which it deletes
        return true;
    }

private:
    static constexpr unsigned kSeconds = 15; // far more than any test of this program takes

    void OnTestStart(const testing::TestInfo& /*test*/) override { alarm(kSeconds); }
    void OnTestEnd(const testing::TestInfo& /*test*/) override { alarm(0); }
};

const bool hasLimit = CTimeLimit::Begin();

} // namespace
