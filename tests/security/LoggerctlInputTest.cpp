// Records and identifiers that somebody else has given to whoever runs loggerctl.

#include "tests/support/CProgram.h"
#include "tests/support/CTempFile.h"
#include "tests/support/CTestRoot.h"
#include "tests/system/loggerctl/SampleHistory.h"

#include "KzmPaths.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace fs = std::filesystem;
using std::string;

namespace {

TEST(RecordText, ThatIsNestedWithoutEndIsRefused) {
    constexpr std::size_t kDepth = 1'000'000;
    const CTestRoot root;
    const string nested = string(kDepth, '[') + string(kDepth, ']');
    for (const string& text : {nested, "{\"SyslogOutputConf\":" + nested + "}"}) {
        const CTempFile record(text);
        const CProgram::Result result = CProgram({"set", "--json", record.Path()}).Run();
        EXPECT_EQ(2, result.m_iExitCode);
        EXPECT_EQ(0U, result.m_sError.find("loggerctl: In " + record.Path() + ", line 1, column "))
            << result.m_sError;
        EXPECT_NE(string::npos, result.m_sError.find(" must be an object, not an array.\n"))
            << result.m_sError;
    }
    EXPECT_EQ(std::vector<string>(), root.VendorCalls());
}

TEST(HistoryIdentifier, LeadsToNoEntryOutsideTheHistory) {
    const CTestRoot root;
    SampleHistory::Add(SampleHistory::kOlder, "x", "agent\n", "alert\n");
    const string history = KzmPaths::kHistoryFolder;
    const string elsewhere = CTestRoot::Path("/elsewhere");
    fs::create_directory(elsewhere);
    fs::copy(history, elsewhere, fs::copy_options::recursive);
    SampleHistory::Add(SampleHistory::kNewer, "y", "agent\n", "alert\n");
    fs::remove_all(history + "/" + SampleHistory::kOlder);
    fs::create_directory_symlink(elsewhere + "/" + SampleHistory::kOlder,
                                 history + "/" + SampleHistory::kOlder);
    const string relative = fs::relative(elsewhere, history).string();
    for (const string& id :
         {elsewhere + "/" + SampleHistory::kOlder, relative + "/" + SampleHistory::kOlder,
          string(SampleHistory::kOlder), string("."), string("./") + SampleHistory::kNewer}) {
        SCOPED_TRACE(id);
        EXPECT_EQ(2, CProgram({"diff", id}).Run().m_iExitCode);
        EXPECT_EQ(2, CProgram({"restore", id}).Run().m_iExitCode);
    }
    EXPECT_EQ(CTestRoot::kAgentConfig, ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(std::vector<string>(), root.VendorCalls());
}

} // namespace
