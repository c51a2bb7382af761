#include "loggerctl/record/Losses.h"

#include "tests/unit/loggerctl/Answer.h"
#include "tests/unit/loggerctl/SampleSettings.h"

namespace {

using Texts = std::vector<std::string>;

// ---- Slips ----

struct CSlipRow {
    Texts m_assignments;
    Texts m_slips;
};

const CSlipRow kSlips[] = {
    {{}, {}},
    {{"cpu.threshold=1", "memory.threshold=100", "fs:/.threshold=1", "cpu.count=1"}, {}},
    {{"cpu.interval=2147483647", "fs:/.enable=on", "fs.enable=on"}, {}},
    {{"fs.enable=off", "fs:/.enable=off", "cpu.enable=on"}, {}},
    {{"cpu.threshold=0"}, {"cpu.threshold: 0 is no percentage from 1 to 100."}},
    {{"memory.threshold=101"}, {"memory.threshold: 101 is no percentage from 1 to 100."}},
    {{"fs:/.threshold=-1"}, {"fs:/.threshold: -1 is no percentage from 1 to 100."}},
    {{"fs[/].threshold=0"},
     {"fs[/].threshold: 0 is no percentage from 1 to 100; the default, 80, would be written in its "
      "place."}},
    {{"cpu.count=0", "fs.interval=0"},
     {"cpu.count: 0 gives the agent nothing to sample by.",
      "fs.interval: 0 gives the agent nothing to sample by."}},
    {{"memory.interval=2147483648"},
     {"memory.interval: 2147483648 would stand in the agent's file as the negative number "
      "-2147483648. The greatest that does not is 2147483647."}},
    {{"fs:/.enable=on", "fs.enable=off"},
     {"fs:/.enable: true has no effect while fs.enable is false: no file system is monitored "
      "then."}},
    {{"fs:*\x1B*.threshold=0"},
     {"fs:*\\x1B*.threshold: 0 is no percentage from 1 to 100; the "
      "default, 80, would be written in its place."}},
};

TEST(FindSlips, NamesWhatIsHardlyMeant) {
    for (const CSlipRow& row : kSlips) {
        SCOPED_TRACE(testing::PrintToString(row.m_assignments));
        const record::CRequest request = Must(record::MakeRequest(
            MakeLoggerConf({"/", "/\x1B"}), Must(record::ParseAssignments(row.m_assignments))));
        EXPECT_EQ(record::FindSlips(request), row.m_slips);
    }
}

TEST(FindSlips, LooksAtWhatWasAskedForAlone) {
    CLoggerConf present = MakeLoggerConf({"/"});
    present.m_UsageMonitorConf[CLoggerConf::kCpu].m_iThreshold = 0;
    present.m_FsUsageMonitorConf.m_bMonitoringEnable = false; // and "/" is on
    const auto request =
        Must(record::MakeRequest(present, Must(record::ParseAssignments({"cpu.count=1"}))));
    EXPECT_EQ(record::FindSlips(request), Texts{});
}

// ---- Lost switches ----

Texts LostSwitches(bool monitor, const std::vector<std::pair<std::string, bool>>& volumes) {
    CLoggerConf conf = MakeLoggerConf({});
    conf.m_FsUsageMonitorConf.m_bMonitoringEnable = monitor;
    for (const auto& [name, isOn] : volumes) {
        conf.m_FsUsageMonitorConf.m_FsThresholdConfList.emplace_back(name, 80, isOn);
    }
    return record::FindLostSwitches(conf);
}

constexpr char kSwitchesGo[] = "While fs.enable is false every file system's own switch is turned "
                               "off, and fs.enable does not turn it on again: ";

TEST(FindLostSwitches, CountsAndNamesThem) {
    EXPECT_EQ(LostSwitches(true, {{"/", true}}), Texts{});
    EXPECT_EQ(LostSwitches(false, {}), Texts{});
    EXPECT_EQ(LostSwitches(false, {{"/", false}}), Texts{});
    EXPECT_EQ(LostSwitches(false, {{"/", false}, {"/a\x1B", true}}),
              Texts{std::string(kSwitchesGo) + "1 is on now (/a\\x1B)."});
    EXPECT_EQ(LostSwitches(false, {{"/a", true}, {"/b", false}, {"/c", true}}),
              Texts{std::string(kSwitchesGo) + "2 are on now (/a, /c)."});
}

TEST(FindLostSwitches, NamesTenAtMost) {
    std::vector<std::pair<std::string, bool>> volumes;
    std::string names;
    for (int i = 0; i < 10; ++i) {
        volumes.emplace_back("/" + std::to_string(i), true);
        names += (names.empty() ? "/" : ", /") + std::to_string(i);
    }
    EXPECT_EQ(LostSwitches(false, volumes),
              Texts{std::string(kSwitchesGo) + "10 are on now (" + names + ")."});
    volumes.emplace_back("/10", true);
    EXPECT_EQ(LostSwitches(false, volumes),
              Texts{std::string(kSwitchesGo) + "11 are on now (" + names + ", ...)."});
}

// ---- Lost entries ----

struct CEntryRow {
    std::string m_alert;
    Texts m_lost;
};

const CEntryRow kEntries[] = {
    {"", {}},
    {"FSNAME=\"/\" (90)\nFSNAME=\"/home\" (70)\n", {}},
    {"# FSNAME=\"/gone\" (90)\n", {}},
    {"FSNAME=\"/gone (90)\nFSNAME=\"/gone\" (0)\nFSNAME=\"\" (5)\n", {}}, // malformed
    {"FSNAME=\"/gone\" (90)\n",
     {"/gone is not mounted: its entry (monitored, threshold 90 %) goes from alert.cfg."}},
    {"#KZM# \tFSNAME=\"/g\x1B\"   (75)\r",
     {"/g\\x1B is not mounted: its entry (not monitored, threshold 75 %) goes from alert.cfg."}},
    {"FSNAME=\"/b\" (1)\nFSNAME=\"/\" (90)\nFSNAME=\"/a\" (2)\nFSNAME=\"/b\" (3)\n",
     {"/b is not mounted: its entry (monitored, threshold 1 %) goes from alert.cfg.",
      "/a is not mounted: its entry (monitored, threshold 2 %) goes from alert.cfg."}},
};

TEST(FindLostEntries, NamesWhatIsNotMounted) {
    for (const CEntryRow& row : kEntries) {
        SCOPED_TRACE(row.m_alert);
        EXPECT_EQ(record::FindLostEntries(row.m_alert, MakeLoggerConf({"/", "/home"})), row.m_lost);
    }
}

// ---- Lost numbers ----

// Where every number is one that the file could have meant.
CLoggerConf WithoutNumbers() {
    CLoggerConf conf = MakeLoggerConf({"/"});
    for (CLoggerUsageMonitorConf& monitor : conf.m_UsageMonitorConf) {
        monitor.m_uiSamplingInterval = 0;
        monitor.m_uiSamplingCount = 0;
        monitor.m_iThreshold = 0;
    }
    conf.m_FsUsageMonitorConf.m_uiSamplingInterval = 0;
    conf.m_FsUsageMonitorConf.m_uiSamplingCount = 0;
    return conf;
}

std::string LostNumber(unsigned int line, const std::string& key, const std::string& field) {
    return "alert.cfg, line " + std::to_string(line) + ": " + key + " is \"" + field +
           "\", which counts as 0 and would be written so. Give it a number, too.";
}

const CEntryRow kNumbers[] = {
    {"", {}},
    {"CPU=(True, 60, 5, 90)\nMEMORY=(False,0,0,0)\nFILESYSTEM=(True, -1,+2)\n", {}},
    {"CPU=(True, 0x, 5 min, \t7)\n", {}}, // begins with a number, as the reader wants it
    {"#CPU=(True, sixty, 5, 90)\nCPU =(True, sixty, 5, 90)\nXPU=(a, b, c, d)\n", {}},
    {"CPU=(True, sixty, 5, 90)\n", {LostNumber(1, "cpu.interval", " sixty")}},
    {"\nMEMORY=(maybe,1,,-)\n",
     {LostNumber(2, "memory.count", ""), LostNumber(2, "memory.threshold", "-")}},
    {"FILESYSTEM=(True,\x1B,+)\n",
     {LostNumber(1, "fs.interval", "\\x1B"), LostNumber(1, "fs.count", "+")}},
    {"CPU=(True, a, 5, 90, x)\n", {LostNumber(1, "cpu.interval", " a")}},
    {"CPU=(True, 1, 1, 1)\nCPU=(True, 1, 1, - 1)\n", {LostNumber(2, "cpu.threshold", " - 1")}},
};

TEST(FindLostNumbers, NamesWhatIsNone) {
    for (const CEntryRow& row : kNumbers) {
        SCOPED_TRACE(row.m_alert);
        EXPECT_EQ(record::FindLostNumbers(row.m_alert, WithoutNumbers()), row.m_lost);
    }
}

TEST(FindLostNumbers, LeavesOutWhatIsGivenANumber) {
    const std::string alert =
        "CPU=(True, a, b, c)\nMEMORY=(True, a, b, c)\nFILESYSTEM=(True, a, b)\n";
    EXPECT_EQ(record::FindLostNumbers(alert, MakeLoggerConf({"/"})), Texts{});
    CLoggerConf conf = WithoutNumbers();
    conf.m_UsageMonitorConf[CLoggerConf::kCpu].m_uiSamplingInterval = 1;
    conf.m_UsageMonitorConf[CLoggerConf::kCpu].m_iThreshold = -1;
    conf.m_UsageMonitorConf[CLoggerConf::kMemory].m_uiSamplingCount = 4294967295;
    conf.m_FsUsageMonitorConf.m_uiSamplingInterval = 1;
    EXPECT_EQ(record::FindLostNumbers(alert, conf),
              (Texts{LostNumber(1, "cpu.count", " b"), LostNumber(2, "memory.interval", " a"),
                     LostNumber(2, "memory.threshold", " c"), LostNumber(3, "fs.count", " b")}));
}

// ---- Lost text ----

std::string LostText(unsigned int line, const std::string& text, const std::string& name) {
    return "alert.cfg, line " + std::to_string(line) + ": \"" + text + "\" besides the entry of " +
           name + " is not kept.";
}

const CEntryRow kTexts[] = {
    {"", {}},
    {"FSNAME=\"/\"   (80)\n#KZM# \tFSNAME=\"/home\"   (81)\n", {}}, // as it is written
    {"FSNAME=\"/\" (80)\nFSNAME=\"/home\"x(81)\n", {}},             // between name and number
    {"#KZM# FSNAME=\"/home\"   (81)\n", {}},
    {"CPU=(True, 1, 1, 1) # x\n  FILESYSTEM=(True, 1, 1) # y\n", {}}, // are kept
    {"FSNAME=\"/gone\" (80) # goes as a whole\n", {}},
    {"# FSNAME=\"/\" (80) # is none\n", {}},
    {"FSNAME=\"/\" (80) # the root\n", {LostText(1, " # the root", "/")}},
    {"\n  FSNAME=\"/\" (80)\n", {LostText(2, "  ", "/")}},
    {"\tFSNAME=\"/\" (80)\n", {LostText(1, "\\x09", "/")}}, // a tab belongs to the marker alone
    {"FSNAME=\"/\" (80)\r\nFSNAME=\"/home\" (81)\r\n",
     {LostText(1, "\\x0D", "/"), LostText(2, "\\x0D", "/home")}},
    {" FSNAME=\"/\" (80) ;\x1B\n", {LostText(1, " ", "/"), LostText(1, " ;\\x1B", "/")}},
    {"#KZM# \t# was 75\tFSNAME=\"/home\" (81)\n", {LostText(1, "\\x09# was 75\\x09", "/home")}},
    {"old #KZM# \tFSNAME=\"/home\" (81)\n", {LostText(1, "old \\x09", "/home")}},
    {"FSNAME=\"/\" (80) #KZM# \n", {LostText(1, " #KZM# ", "/")}},
    {"FSNAME=\"/\" (80)\nFSNAME=\"/\" (70) # twice", {LostText(2, " # twice", "/")}},
};

TEST(FindLostText, NamesWhatStandsBesides) {
    for (const CEntryRow& row : kTexts) {
        SCOPED_TRACE(row.m_alert);
        EXPECT_EQ(record::FindLostText(row.m_alert, MakeLoggerConf({"/", "/home"})), row.m_lost);
    }
}

// ---- All of them ----

TEST(Losses, AreNoneWhereTheFileIsAsItIsWritten) {
    CLoggerConf conf = MakeLoggerConf({"/", "/home", "/a(b)"});
    std::list<std::string> lines{"CPU=(a,0,0,0)", "MEMORY=(a,0,0,0)", "FILESYSTEM=(a,0,0)",
                                 "FSNAME=\"/a(b)\" (7)"};
    ASSERT_TRUE(conf.EditAlert(lines));
    std::string alert;
    for (const std::string& line : lines) {
        alert += line + "\n";
    }
    EXPECT_EQ(record::FindLostEntries(alert, conf), Texts{});
    EXPECT_EQ(record::FindLostNumbers(alert, conf), Texts{});
    EXPECT_EQ(record::FindLostNumbers(alert, WithoutNumbers()), Texts{});
    EXPECT_EQ(record::FindLostText(alert, conf), Texts{}) << alert;
}

} // namespace
