#include "loggerctl/record/Keys.h"

#include "tests/unit/loggerctl/Answer.h"
#include "tests/unit/loggerctl/SampleSettings.h"

namespace {

using Texts = std::vector<std::string>;

// The settings that an address means, as "KEY=VALUE".
Texts Found(record::CSettings* settings, const record::CAddress& address) {
    Texts texts;
    for (const record::CSetting& setting : Must(settings->Find(address))) {
        texts.push_back(setting.m_text + "=" + record::TextOf(record::ValueOf(setting.m_member)));
    }
    return texts;
}

CLoggerConf Sample() {
    return MakeLoggerConf(
        {"/", "/home", "/a.threshold", "/b\\x41", "/bA", "/n\nl", "/a].enable", "/x*"});
}

// ---- Keys and what they mean ----

struct CValueRow {
    const char* m_key;
    Texts m_found;
};

const CValueRow kValues[] = {
    {"syslog.output", {"syslog.output=true"}},
    {"syslog.information", {"syslog.information=false"}},
    {"syslog.warning", {"syslog.warning=true"}},
    {"syslog.obstacle", {"syslog.obstacle=true"}},
    {"cpu.enable", {"cpu.enable=true"}},
    {"cpu.interval", {"cpu.interval=60"}},
    {"cpu.count", {"cpu.count=5"}},
    {"cpu.threshold", {"cpu.threshold=90"}},
    {"memory.enable", {"memory.enable=false"}},
    {"memory.interval", {"memory.interval=30"}},
    {"memory.count", {"memory.count=3"}},
    {"memory.threshold", {"memory.threshold=85"}},
    {"fs.enable", {"fs.enable=true"}},
    {"fs.interval", {"fs.interval=300"}},
    {"fs.count", {"fs.count=2"}},
    {"fs:/.enable", {"fs:/.enable=true"}},
    {"fs:/.threshold", {"fs:/.threshold=80"}},
    {"fs:/home.enable", {"fs:/home.enable=false"}},
    {"fs[/home].enable", {"fs:/home.enable=false"}},
    {"fs[/home].threshold", {"fs:/home.threshold=81"}},
    {"fs:/a.threshold.threshold", {"fs:/a.threshold.threshold=82"}},
    {"fs[/a.threshold].enable", {"fs:/a.threshold.enable=true"}},
    {"fs:/b\\x41.threshold", {"fs:/b\\x41.threshold=83"}},   // raw, before the escape for /bA
    {"fs:/b\\\\x41.threshold", {"fs:/b\\x41.threshold=83"}}, // as the tables print it
    {"fs[/b\\\\x41].threshold", {"fs:/b\\x41.threshold=83"}},
    {"fs:/bA.threshold", {"fs:/bA.threshold=84"}},
    {"fs:/n\\x0Al.threshold", {"fs:/n\nl.threshold=85"}},
    {"fs:/n\nl.threshold", {"fs:/n\nl.threshold=85"}},
    {"fs[/a].enable].threshold", {"fs:/a].enable.threshold=86"}},
    {"fs:/a].enable.threshold", {"fs:/a].enable.threshold=86"}},
    {"fs:/x*.threshold", {"fs:/x*.threshold=87"}}, // a name before a pattern
    {"fs:/b*.threshold", {"fs:/b\\x41.threshold=83", "fs:/bA.threshold=84"}},
    {"fs[/b?].threshold", {"fs:/bA.threshold=84"}},
    {"fs:/[gh]ome.enable", {"fs:/home.enable=false"}},
    {"fs:/b\\*.threshold", {"fs:/b\\x41.threshold=83"}}, // the backslash is one of the name's
    {"fs:*a*.threshold", {"fs:/a.threshold.threshold=82", "fs:/a].enable.threshold=86"}},
};

TEST(Keys, FindTheirSettings) {
    CLoggerConf conf = Sample();
    record::CSettings settings(&conf);
    for (const CValueRow& row : kValues) {
        SCOPED_TRACE(row.m_key);
        const record::CAddress address = Must(record::ParseKey(row.m_key));
        EXPECT_EQ(address.m_text, row.m_key);
        EXPECT_EQ(Found(&settings, address), row.m_found);
    }
}

TEST(Keys, AStarMeansSlashesToo) {
    CLoggerConf conf = MakeLoggerConf({"/srv", "/srv/a", "/srv/a/b", "/home"});
    record::CSettings settings(&conf);
    EXPECT_EQ(
        Found(&settings, Must(record::ParseKey("fs:/s*.threshold"))),
        (Texts{"fs:/srv.threshold=80", "fs:/srv/a.threshold=81", "fs:/srv/a/b.threshold=82"}));
}

TEST(Keys, AreExactUnlessTheyArePatternsOnly) {
    CLoggerConf conf = Sample();
    record::CSettings settings(&conf);
    const auto isExact = [&](const char* key) {
        return settings.IsExact(Must(record::ParseKey(key)));
    };
    for (const char* key : {"cpu.count", "fs:/home.enable", "fs:/x*.enable", "fs:/gone.enable",
                            "fs[/n\\x0Al].enable"}) {
        EXPECT_TRUE(isExact(key)) << key;
    }
    for (const char* key : {"fs:*.enable", "fs:/?.enable", "fs[/[h]ome].enable", "fs:/z*.enable"}) {
        EXPECT_FALSE(isExact(key)) << key;
    }
}

TEST(Keys, AFileSystemMustBeMounted) {
    CLoggerConf conf = Sample();
    record::CSettings settings(&conf);
    const auto problem = [&](const char* key) {
        return WrongUsage(settings.Find(Must(record::ParseKey(key))));
    };
    EXPECT_EQ(problem("fs:/hom.enable"),
              "The file system '/hom' is not mounted. Did you mean '/home'?");
    EXPECT_EQ(problem("fs[/srv/\x1B].enable"), "The file system '/srv/\\x1B' is not mounted.");
    EXPECT_EQ(problem("fs:/z*\x1B.enable"),
              "No file system is mounted whose name matches '/z*\\x1B'.");
    EXPECT_EQ(settings.FindVolume("/hom"), nullptr);
    EXPECT_EQ(settings.FindVolume("/n\\x0Al"), nullptr); // no spelling but the name itself
    ASSERT_NE(settings.FindVolume("/home"), nullptr);
    EXPECT_EQ(settings.FindVolume("/home")->m_iThreshold, 81);
}

TEST(Keys, OfOneNameTheFirstFileSystemIsMeant) {
    CLoggerConf conf = MakeLoggerConf({"/a", "/a"});
    record::CSettings settings(&conf);
    EXPECT_EQ(Found(&settings, Must(record::ParseKey("fs:/a.threshold"))),
              Texts{"fs:/a.threshold=80"});
}

// ---- Keys that are none ----

constexpr char kForm[] = ": a file system's key is written fs:/home.enable or fs:/home.threshold.";
constexpr char kBehind[] = ": behind the file system's name stands .enable or .threshold.";

struct CUnknownRow {
    const char* m_key;
    std::string m_problem; // behind the key
};

const CUnknownRow kUnknown[] = {
    {"", "."},
    {"zebra", "."},
    {"cpu", ": it is a group of keys, which \"loggerctl get\" alone takes."},
    {"syslog.ouput", ". Did you mean 'syslog.output'?"},
    {"cpu.treshold", ". Did you mean 'cpu.threshold'?"},
    {"SYSLOG.OUTPUT", "."},
    {"fs.threshold", kForm},
    {"fs:", kForm},
    {"fs:/home", kForm},
    {"fs:.enable", kForm},
    {"fs[", kForm},
    {"fs[/home", kForm},
    {"fs[].enable", kForm},
    {"fs:/home.", kBehind},
    {"fs:/home.enabel", kBehind + std::string(" Did you mean 'fs:/home.enable'?")},
    {"fs:/home.interval", kBehind},
    {"fs[/home]", kBehind},
    {"fs[/home].", kBehind},
    {"fs[/home].enabel", kBehind + std::string(" Did you mean 'fs[/home].enable'?")},
    {"fs[/home]xenable", kBehind + std::string(" Did you mean 'fs[/home].enable'?")},
    {"fs[/home]enable", kBehind + std::string(" Did you mean 'fs[/home].enable'?")},
    {"fs[/home].interval", kBehind},
};

TEST(Keys, UnknownOnesAreRefusedWithASuggestion) {
    for (const CUnknownRow& row : kUnknown) {
        SCOPED_TRACE(row.m_key);
        EXPECT_EQ(WrongUsage(record::ParseKey(row.m_key)),
                  "Unknown key '" + std::string(row.m_key) + "'" + row.m_problem);
    }
    EXPECT_EQ(WrongUsage(record::ParseKey("cpu.count\n")),
              "Unknown key 'cpu.count\\x0A'. Did you mean 'cpu.count'?");
}

// ---- Groups ----

Texts KeyTexts(const std::vector<record::CAddress>& addresses) {
    Texts texts;
    for (const record::CAddress& address : addresses) {
        texts.push_back(address.m_text);
    }
    return texts;
}

TEST(KeyGroups, StandForTheirKeys) {
    EXPECT_EQ(KeyTexts(Must(record::ParseKeys({"cpu", "fs:/.enable", "syslog"}))),
              (Texts{"cpu.enable", "cpu.interval", "cpu.count", "cpu.threshold", "fs:/.enable",
                     "syslog.output", "syslog.information", "syslog.warning", "syslog.obstacle"}));
    EXPECT_EQ(KeyTexts(Must(record::ParseKeys({"memory"}))),
              (Texts{"memory.enable", "memory.interval", "memory.count", "memory.threshold"}));
    EXPECT_EQ(KeyTexts(Must(record::ParseKeys({"fs"}))),
              (Texts{"fs.enable", "fs.interval", "fs.count", "fs:*.enable", "fs:*.threshold"}));
    EXPECT_EQ(KeyTexts(Must(record::ParseKeys({}))), Texts{});
    EXPECT_EQ(WrongUsage(record::ParseKeys({"cpu", "cpux", "zebra"})), "Unknown key 'cpux'.");
}

TEST(KeyGroups, OfFileSystemsHasEveryOneOfThem) {
    CLoggerConf conf = MakeLoggerConf({"/", "/\\x2f[*"});
    record::CSettings settings(&conf);
    Texts found;
    for (const record::CAddress& address : Must(record::ParseKeys({"fs"}))) {
        for (const std::string& text : Found(&settings, address)) {
            found.push_back(text);
        }
    }
    EXPECT_EQ(found,
              (Texts{"fs.enable=true", "fs.interval=300", "fs.count=2", "fs:/.enable=true",
                     "fs:/\\x2f[*.enable=false", "fs:/.threshold=80", "fs:/\\x2f[*.threshold=81"}));
}

TEST(KeyGroups, AreFour) {
    for (const char* text : {"syslog", "cpu", "memory", "fs"}) {
        EXPECT_TRUE(record::IsGroup(text)) << text;
    }
    for (const char* text : {"", "cp", "CPU", "fs.", "fs:"}) {
        EXPECT_FALSE(record::IsGroup(text)) << text;
    }
}

TEST(KeyNames, AreAllKeys) {
    const Texts names = record::KeyNames();
    EXPECT_EQ(names.size(), 17U);
    for (const std::string& name : names) {
        EXPECT_EQ(Must(record::ParseKey(name)).m_text, name);
    }
    EXPECT_EQ(names.front(), "syslog.output");
    EXPECT_EQ(names.back(), "fs:NAME.threshold");
}

// ---- Values ----

TEST(Values, AreAssignedByTheirMembers) {
    CLoggerConf conf = MakeLoggerConf({"/", "/home"});
    record::CSettings settings(&conf);
    const auto assign = [&](const char* key, const record::CValue& value) {
        const auto found = Must(settings.Find(Must(record::ParseKey(key))));
        ASSERT_EQ(found.size(), 1U);
        record::Assign(value, found.front().m_member);
        EXPECT_EQ(record::ValueOf(found.front().m_member), value);
    };
    assign("cpu.enable", false);
    assign("fs.count", std::uint32_t{4294967295});
    assign("fs:/home.threshold", std::int32_t{-7});
    EXPECT_FALSE(conf.m_UsageMonitorConf[CLoggerConf::kCpu].m_bMonitoringEnable);
    EXPECT_EQ(conf.m_FsUsageMonitorConf.m_uiSamplingCount, 4294967295U);
    EXPECT_EQ(conf.m_FsUsageMonitorConf.m_FsThresholdConfList.back().m_iThreshold, -7);
}

TEST(Values, AreReadAsScriptsReadThem) {
    EXPECT_EQ(record::TextOf(true), "true");
    EXPECT_EQ(record::TextOf(false), "false");
    EXPECT_EQ(record::TextOf(std::uint32_t{4294967295}), "4294967295");
    EXPECT_EQ(record::TextOf(std::int32_t{-2147483647 - 1}), "-2147483648");
}

// ---- Changes ----

Texts Changes(const CLoggerConf& from, const CLoggerConf& to) {
    Texts texts;
    for (const record::CChange& change : record::FindChanges(from, to)) {
        texts.push_back(change.m_text + " " + record::TextOf(change.m_old) + " " +
                        record::TextOf(change.m_new));
    }
    return texts;
}

TEST(Changes, AreNoneBetweenEquals) {
    EXPECT_EQ(Changes(Sample(), Sample()), Texts{});
    EXPECT_EQ(Changes(MakeLoggerConf({"/"}), MakeLoggerConf({})), Texts{});
}

TEST(Changes, StandInTheTablesOrder) {
    const CLoggerConf from = MakeLoggerConf({"/", "/home"});
    CLoggerConf to = MakeLoggerConf({"/home", "/"}); // where the values are exchanged
    to.m_FsUsageMonitorConf.m_uiSamplingInterval = 1;
    to.m_SyslogOutputConf.m_bObstacleAlert = false;
    EXPECT_EQ(Changes(from, to), (Texts{"syslog.obstacle true false", "fs.interval 300 1",
                                        "fs:/home.enable false true", "fs:/home.threshold 81 80",
                                        "fs:/.enable true false", "fs:/.threshold 80 81"}));
}

TEST(Changes, CountWhatIsNewAsOnesWithTheDefaults) {
    EXPECT_EQ(Changes(MakeLoggerConf({}), MakeLoggerConf({"/", "/new"})),
              (Texts{"fs:/.enable false true", "fs:/new.threshold 80 81"}));
}

} // namespace
