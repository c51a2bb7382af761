#include "loggerctl/record/CSettingsKeys.h"

#include "tests/system/loggerctl/SampleSettings.h"

#include <gtest/gtest.h>

namespace {

struct Row {
    const char* m_pKey;
    const char* m_pValue;
};

const Row kValues[] = {
    {"syslog.output", "true"},
    {"syslog.information", "false"},
    {"syslog.warning", "true"},
    {"syslog.obstacle", "true"},
    {"cpu.enable", "true"},
    {"cpu.interval", "60"},
    {"cpu.count", "5"},
    {"cpu.threshold", "90"},
    {"memory.enable", "false"},
    {"memory.interval", "30"},
    {"memory.count", "3"},
    {"memory.threshold", "85"},
    {"fs.enable", "true"},
    {"fs.interval", "300"},
    {"fs.count", "2"},
    {"fs[/].enable", "true"},
    {"fs[/].threshold", "80"},
    {"fs[/home].enable", "false"},
    {"fs[/home].threshold", "81"},
    {"fs[/a].enable].threshold", "82"},
    {"fs[/b\\x41].threshold", "83"},   // raw, before the escape for /bA
    {"fs[/b\\\\x41].threshold", "83"}, // as the tables print it
    {"fs[/bA].threshold", "84"},
    {"fs[/n\\x0Al].threshold", "85"},
    {"fs[/n\nl].threshold", "85"},
};

std::unique_ptr<IWbemClassObject> MakeSample() {
    return MakeLoggerConf({"/", "/home", "/a].enable", "/b\\x41", "/bA", "/n\nl"});
}

TEST(CSettingsKeys, FindTheirValues) {
    const auto conf = MakeSample();
    for (const Row& row : kValues) {
        SCOPED_TRACE(row.m_pKey);
        std::string error;
        const auto address = CSettingsKeys::Parse(row.m_pKey, &error);
        ASSERT_TRUE(address.has_value()) << error;
        EXPECT_EQ(CSettingsKeys::ReadText(*address, conf.get(), &error), row.m_pValue) << error;
        EXPECT_EQ(error, "");
    }
}

TEST(CSettingsKeys, NamesAreAllKeys) {
    const std::vector<std::string> names = CSettingsKeys::Names();
    EXPECT_EQ(names.size(), 17U);
    for (const std::string& name : names) {
        std::string error;
        EXPECT_TRUE(CSettingsKeys::Parse(name, &error).has_value()) << error;
    }
}

struct ErrorRow {
    const char* m_pKey;
    const char* m_pError;
};

const ErrorRow kUnknown[] = {
    {"", "Unknown key ''."},
    {"zebra", "Unknown key 'zebra'."},
    {"syslog.ouput", "Unknown key 'syslog.ouput'. Did you mean 'syslog.output'?"},
    {"cpu.treshold", "Unknown key 'cpu.treshold'. Did you mean 'cpu.threshold'?"},
    {"SYSLOG.OUTPUT", "Unknown key 'SYSLOG.OUTPUT'."},
    {"cpu.count\n", "Unknown key 'cpu.count\\x0A'. Did you mean 'cpu.count'?"},
    {"fs.threshold", "Unknown key 'fs.threshold'. Did you mean 'cpu.threshold'?"},
    {"fs[", "Unknown key 'fs[': a file system's key is written fs[/home].enable."},
    {"fs[/home", "Unknown key 'fs[/home': a file system's key is written fs[/home].enable."},
    {"fs[].enable", "Unknown key 'fs[].enable': a file system's key is written fs[/home].enable."},
    {"fs[/home]", "Unknown key 'fs[/home]': behind the file system's name stands .enable or "
                  ".threshold."},
    {"fs[/home].enabel", "Unknown key 'fs[/home].enabel': behind the file system's name stands "
                         ".enable or .threshold. Did you mean 'fs[/home].enable'?"},
    {"fs[/home]xenable", "Unknown key 'fs[/home]xenable': behind the file system's name stands "
                         ".enable or .threshold. Did you mean 'fs[/home].enable'?"},
    {"fs[/home].interval", "Unknown key 'fs[/home].interval': behind the file system's name "
                           "stands .enable or .threshold."},
};

TEST(CSettingsKeys, AllAreThoseOfTheRecord) {
    const auto conf = MakeSample();
    EXPECT_EQ(CSettingsKeys::VolumeNames(conf.get()),
              (std::vector<std::string>{"/", "/home", "/a].enable", "/b\\x41", "/bA", "/n\nl"}));
    const std::vector<CSettingsAddress> all = CSettingsKeys::All(conf.get());
    ASSERT_EQ(all.size(), 15U + 6U * 2U);
    EXPECT_EQ(all.front().m_sText, "syslog.output");
    EXPECT_EQ(all.back().m_sText, "fs[/n\nl].threshold");
    for (const CSettingsAddress& address : all) {
        SCOPED_TRACE(address.m_sText);
        std::string error;
        EXPECT_TRUE(CSettingsKeys::ReadText(address, conf.get(), &error).has_value()) << error;
    }
    IWbemClassObject empty;
    EXPECT_EQ(CSettingsKeys::All(&empty).size(), 15U);
}

TEST(CSettingsKeys, UnknownOnesAreRefusedWithASuggestion) {
    for (const ErrorRow& row : kUnknown) {
        SCOPED_TRACE(row.m_pKey);
        std::string error;
        EXPECT_FALSE(CSettingsKeys::Parse(row.m_pKey, &error).has_value());
        EXPECT_EQ(error, row.m_pError);
    }
}

TEST(CSettingsKeys, AFileSystemMustBeMounted) {
    const auto conf = MakeSample();
    std::string error;
    const auto address = CSettingsKeys::Parse("fs[/hom].enable", &error);
    ASSERT_TRUE(address.has_value());
    EXPECT_EQ(CSettingsKeys::FindHolder(*address, conf.get(), &error), nullptr);
    EXPECT_EQ(error, "The file system '/hom' is not mounted. Did you mean '/home'?");
}

TEST(CSettingsKeys, AMissingPartOfTheAnswerIsNamed) {
    IWbemClassObject empty;
    std::string error;
    const auto address = CSettingsKeys::Parse("cpu.count", &error);
    ASSERT_TRUE(address.has_value());
    EXPECT_FALSE(CSettingsKeys::ReadText(*address, &empty, &error).has_value());
    EXPECT_EQ(error, "The provider's answer has no UsageMonitorConfCpu.");
}

} // namespace
