#include "serverbase/CMemoryBudget.h"

#include <gtest/gtest.h>

#include <limits>
#include <thread>
#include <vector>

using daemon_base::CMemoryBudget;
using daemon_base::CMemoryShare;

namespace {

TEST(MemoryBudget, IsTakenToItsLimitAndNotBeyond) {
    CMemoryBudget budget(10);
    CMemoryShare first(budget);
    CMemoryShare second(budget);
    EXPECT_TRUE(first.Take(6));
    EXPECT_FALSE(second.Take(5));
    EXPECT_TRUE(second.Take(4));
    EXPECT_FALSE(CMemoryShare(budget).Take(1));
    EXPECT_TRUE(CMemoryShare(budget).Take(0));
    EXPECT_FALSE(CMemoryShare(budget).Take(std::numeric_limits<std::size_t>::max()));
}

TEST(MemoryBudget, HasWhatSharesGiveBack) {
    CMemoryBudget budget(10);
    CMemoryShare share(budget);
    {
        CMemoryShare gone(budget);
        EXPECT_TRUE(gone.Take(10));
        EXPECT_FALSE(share.Take(1));
    }
    EXPECT_TRUE(share.Take(10));
    EXPECT_TRUE(share.Take(9)) << "in place of the ten";
    EXPECT_FALSE(share.Take(11));
    EXPECT_TRUE(CMemoryShare(budget).Take(10)) << "who got no more has nothing";
    EXPECT_TRUE(share.Take(10));
    share.Release();
    share.Release();
    EXPECT_TRUE(CMemoryShare(budget).Take(10));
    EXPECT_FALSE(CMemoryShare(budget).Take(11));
}

TEST(MemoryBudget, GoesWithAShareThatIsMoved) {
    CMemoryBudget budget(10);
    CMemoryShare first(budget);
    EXPECT_TRUE(first.Take(10));
    {
        CMemoryShare second(std::move(first));
        EXPECT_FALSE(CMemoryShare(budget).Take(1));
        CMemoryShare third(budget);
        third = std::move(second);
        EXPECT_FALSE(CMemoryShare(budget).Take(1));
    }
    EXPECT_TRUE(CMemoryShare(budget).Take(10));
}

TEST(MemoryBudget, MayBecomeSmallerThanWhatIsTaken) {
    CMemoryBudget budget(10);
    CMemoryShare share(budget);
    EXPECT_TRUE(share.Take(10));
    budget.SetLimit(5);
    EXPECT_FALSE(CMemoryShare(budget).Take(1));
    EXPECT_TRUE(CMemoryShare(budget).Take(0));
    share.Release();
    EXPECT_TRUE(CMemoryShare(budget).Take(5));
    EXPECT_FALSE(CMemoryShare(budget).Take(6));
}

TEST(MemoryBudget, IsNotNeededForWhatIsShort) {
    CMemoryBudget budget(100'000);
    CMemoryShare share(budget);
    EXPECT_TRUE(share.TakeIfLong(65'536));
    EXPECT_TRUE(CMemoryShare(budget).Take(100'000));
    EXPECT_TRUE(share.TakeIfLong(65'537));
    EXPECT_FALSE(CMemoryShare(budget).Take(34'464));
    EXPECT_TRUE(CMemoryShare(budget).Take(34'463));
    EXPECT_FALSE(CMemoryShare(budget).TakeIfLong(65'537));
    EXPECT_TRUE(CMemoryShare(budget).TakeIfLong(65'536));
}

TEST(MemoryBudget, IsSharedByThreads) {
    CMemoryBudget budget(1);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&budget] {
            for (int round = 0; round < 10'000; ++round) {
                CMemoryShare(budget).Take(1);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(CMemoryShare(budget).Take(1));
}

} // namespace
