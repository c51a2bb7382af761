#include "loggerctl/agent/ConfigCheck.h"

#include "tests/support/CTestRoot.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

namespace {

struct CConfigRow {
    std::string m_text;
    std::string m_problem; // behind the file's name; empty for a good file
};

// Checks texts in a file of its own.
class ConfigCheck : public testing::Test {
protected:
    ConfigCheck() { close(mkstemp(m_name)); }
    ~ConfigCheck() override { unlink(m_name); }

    void Expect(std::string (*check)(const std::string&), const std::vector<CConfigRow>& rows) {
        for (const CConfigRow& row : rows) {
            SCOPED_TRACE(row.m_text);
            WriteFile(m_name, row.m_text);
            EXPECT_EQ(check(m_name), row.m_problem.empty() ? "" : m_name + row.m_problem);
        }
    }

    char m_name[32] = "/tmp/config-check-XXXXXX";
};

TEST_F(ConfigCheck, NamesWhatIsWrongInAgentConfig) {
    const std::string all = "SyslogOutput=True\nInformationAlert=False\nWarningAlert=True\n"
                            "ObstacleAlert=True\n";
    Expect(agent::FindAgentProblem,
           {{CTestRoot::kAgentConfig, ""},
            {"", ": no line gives a value to SyslogOutput, InformationAlert, WarningAlert, "
                 "ObstacleAlert. Add each as KEY=True or KEY=False."},
            {"#" + all, ": no line gives a value to SyslogOutput. Add each as KEY=True or "
                        "KEY=False."},
            {all + "\nWarningAlert=yes\n",
             ", line 6: WarningAlert has the value \"yes\". Write True or False."},
            {"\nSyslogOutput=\n" + all.substr(all.find('\n')),
             ", line 2: SyslogOutput has no value. Write it as SyslogOutput=True or "
             "SyslogOutput=False."},
            {"SyslogOutput=true # on\n" + all,
             ", line 1: SyslogOutput has the value \"true\". Write True or False."},
            {"SyslogOutput=True\r\n",
             ", line 1: SyslogOutput has the value \"True\\x0D\". Write True or False. (\\x0D is a "
             "carriage return: end the lines in a line feed alone.)"}});
}

TEST_F(ConfigCheck, NamesWhatIsWrongInAMonitorLine) {
    const std::string memory = "MEMORY=(False,1,1,1)\n";
    const std::string noCpu = ": no line gives CPU its values. Add CPU=(True, 60, 5, 90), without "
                              "a blank before the \"=\".";
    const std::string noList = ": CPU has no values in parentheses. Write it as CPU=(True, 60, 5, "
                               "90), without a blank before the \"=\".";
    Expect(agent::FindMonitorProblem,
           {{CTestRoot::kAlertConfig, ""},
            {"", noCpu},
            {"CPU =(True,60,5,80)\n" + memory, ", line 1" + noList},
            {"#CPU=(True,60,5,80)\n" + memory, noCpu},
            {"CPU=()\n" + memory, ", line 1" + noList},
            {"\n CPU=(True,60,5,80\n" + memory, ", line 2" + noList},
            {"CPUS=(True,60,5,80\n" + memory, noCpu},
            {"CPU=(True,60,5,80)\n", ": no line gives MEMORY its values. Add MEMORY=(True, 60, 5, "
                                     "90), without a blank before the \"=\"."},
            {"\nCPU=(True,60,5)\n" + memory, ", line 2: CPU has 3 values instead of 4. Write it as "
                                             "CPU=(True, 60, 5, 90)."},
            {memory + "CPU=(on,60,5,80)\n",
             ", line 2: CPU begins with \"on\". Write True or False there."}});
}

TEST_F(ConfigCheck, NamesWhatIsWrongInAFileSystemLine) {
    const std::string good = "FILESYSTEM=(True,60,3)\n";
    const std::string form = "Write it as FILESYSTEM=(True, 60, 5).";
    const std::string volume = ": a file system needs a name in double quotes and a threshold "
                               "other than 0. Write it as FSNAME=\"/home\" (90).";
    Expect(agent::FindFileSystemProblem,
           {{CTestRoot::kAlertConfig, ""},
            {good, ""},
            {good + "# FSNAME=bad\n", ""},
            {good + "FILESYSTEM=(True)\nFSNAME=bad\n", ""}, // the reader stops, and has it all
            {"", ": no line gives FILESYSTEM its values. Add FILESYSTEM=(True, 60, 5), without a "
                 "blank before the \"=\"."},
            {"\nFILESYSTEM=True,60,3\n", ", line 2: FILESYSTEM has no values in parentheses. " +
                                             form.substr(0, form.size() - 1) +
                                             ", without a blank before the \"=\"."},
            {"FILESYSTEM=\n" + good, ""},
            {"FILESYSTEM=(True,60)\n" + good,
             ", line 1: FILESYSTEM has 2 values instead of 3. " + form},
            {"FILESYSTEM=(on,60,3)\n",
             ", line 1: FILESYSTEM begins with \"on\". Write True or False there."},
            {"FILESYSTEM=(on,60,3)\n" + good, ""},
            {good + "FSNAME=\"/home\" (0)\n", ", line 2" + volume},
            {good + "\n#KZM# \tFSNAME=\"/home (90)\n", ", line 3" + volume}});
}

TEST_F(ConfigCheck, SaysWhyAFileCannotBeRead) {
    unlink(m_name);
    const std::string problem =
        std::string(m_name) + ": does not exist. Install the agent, or put the file back.";
    EXPECT_EQ(agent::FindAgentProblem(m_name), problem);
    EXPECT_EQ(agent::FindMonitorProblem(m_name), problem);
    EXPECT_EQ(agent::FindFileSystemProblem(m_name), problem);
    EXPECT_EQ(agent::FindAgentProblem("/tmp"),
              "/tmp: is a directory. Put the agent's file in its place.");
}

} // namespace
