// What the tool says when the settings lock was not obtained.

#include "KzmPaths.h"
#include "loggerctl/agent/CFailureReport.h"
#include "tests/support/CTestRoot.h"
#include "tests/system/loggerctl/CHeldLock.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

namespace {

using Texts = std::vector<std::string>;

const char* const kMethods[] = {"GetParameter", "SetParameter"};

Texts ReasonsFor(const std::string& method) {
    return CFailureReport::Reasons(
        {{"TarnwellLogger", 2, "CVELTARO_ToolServiceLogger::" + method + "() GetMutex failure"}});
}

TEST(LockReason, NamesTheHolder) {
    const CTestRoot root;
    const CHeldLock lock;
    for (const char* method : kMethods) {
        const Texts reasons = ReasonsFor(method);
        ASSERT_EQ(1U, reasons.size());
        EXPECT_EQ(0U, reasons[0].find(std::string("The settings lock ") + KzmPaths::kLockFile +
                                      " stayed taken for 30 seconds, by process " +
                                      std::to_string(getpid())))
            << reasons[0];
    }
}

TEST(LockReason, NamesTheFolderThatIsMissing) {
    const CTestRoot root;
    const std::filesystem::path folder = std::filesystem::path(KzmPaths::kLockFile).parent_path();
    std::filesystem::remove_all(folder);
    for (const char* method : kMethods) {
        const Texts reasons = ReasonsFor(method);
        ASSERT_EQ(1U, reasons.size());
        EXPECT_NE(std::string::npos, reasons[0].find(folder.string())) << reasons[0];
        EXPECT_EQ(std::string::npos, reasons[0].find("30 seconds")) << reasons[0];
    }
}

} // namespace
