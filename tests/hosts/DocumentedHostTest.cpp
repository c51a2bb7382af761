// The program that docs/hosting.md shows.

#include "tests/support/CLoadedProvider.h"
#include "tests/support/CTestRoot.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

namespace {

TEST(DocumentedHost, PrintsWhatItAsksFor) {
    const CTestRoot root;
    const std::string command = std::string(DOCUMENTED_HOST) + " " + PROVIDER_LIBRARY + " 2>&1";
    FILE* const pipe = popen(command.c_str(), "r");
    ASSERT_NE(nullptr, pipe);
    std::string output;
    std::array<char, 256> part{};
    while (std::fgets(part.data(), static_cast<int>(part.size()), pipe) != nullptr) {
        output += part.data();
    }
    EXPECT_EQ(0, pclose(pipe));
    EXPECT_EQ("CPU threshold: 90 %\n", output);
}

} // namespace
