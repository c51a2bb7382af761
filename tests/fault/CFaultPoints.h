#pragma once

#include <string>
#include <vector>

// Which points of a run are tried: all of them with KZM_TEST_WHOLE in the environment, otherwise
// some, the first and the last among them.
class CFaultPoints {
public:
    // Some of the numbers from 1 to count, or all of them and the one behind the last. Fails the
    // running test when there are none.
    static std::vector<int> Choose(int count, int ordinarily);

    // Puts into the test's record, and prints, how many points were tried.
    static void Tell(const std::string& what, int tried, int count);
};
