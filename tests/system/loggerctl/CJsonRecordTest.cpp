#include "loggerctl/record/CJsonRecord.h"

#include "tests/system/loggerctl/CLocale.h"
#include "tests/system/loggerctl/SampleSettings.h"

#include <gtest/gtest.h>

namespace {

std::unique_ptr<IWbemClassObject> Parse(const std::string& text, std::string* error) {
    return CJsonRecord::FromText(text, *SampleDefinition("LoggerConf"), SampleDefinition, error);
}

// The sample's JSON with the first occurrence of a piece replaced.
std::string Edited(const std::string& from, const std::string& to) {
    std::string text = CJsonRecord::ToText(*MakeLoggerConf({"/", "/home"}));
    const std::size_t position = text.find(from);
    EXPECT_NE(position, std::string::npos) << from;
    return text.replace(position, from.size(), to);
}

TEST(CJsonRecord, WritesPropertiesInOrder) {
    EXPECT_EQ(CJsonRecord::ToText(*MakeLoggerConf({"/"})), R"({
  "SyslogOutputConf": {
    "SyslogOutput": true,
    "InformationAlert": false,
    "WarningAlert": true,
    "ObstacleAlert": true
  },
  "UsageMonitorConfCpu": {
    "MonitoringEnable": true,
    "SamplingInterval": 60,
    "SamplingCount": 5,
    "Threshold": 90
  },
  "UsageMonitorConfMemory": {
    "MonitoringEnable": false,
    "SamplingInterval": 30,
    "SamplingCount": 3,
    "Threshold": 85
  },
  "FsUsageMonitorConf": {
    "MonitoringEnable": true,
    "SamplingInterval": 300,
    "SamplingCount": 2,
    "FsThresholdConfList": [
      {
        "VolumeName": "/",
        "Threshold": 80,
        "VolMonitoringEnable": true
      }
    ]
  }
}
)");
}

struct NameRow {
    const char* m_pName;
    std::string m_sVolume;
    std::string m_sUtf8;
    std::string m_sPlain;
};

const NameRow kNames[] = {
    {"plain", "/home", R"("VolumeName": "/home",)", R"("VolumeName": "/home",)"},
    {"quote and backslash", "/a\"\\", R"("VolumeName": "/a\"\\",)", R"("VolumeName": "/a\"\\",)"},
    {"umlaut", "/\xC3\xBC", "\"VolumeName\": \"/\xC3\xBC\",", R"("VolumeName": "/\u00fc",)"},
    {"newline", "/\n", R"("VolumeName": "/\n",)", R"("VolumeName": "/\n",)"},
    {"delete", "/\x7F", R"("VolumeName": "/\u007f",)", R"("VolumeName": "/\u007f",)"},
    {"C1", "/\xC2\x9B", R"("VolumeName": "/\u009b",)", R"("VolumeName": "/\u009b",)"},
    {"right to left", "/\xE2\x80\xAE", R"("VolumeName": "/\u202e",)",
     R"("VolumeName": "/\u202e",)"},
    {"beyond the first plane", "/\xF0\x9F\x93\x81", "\"VolumeName\": \"/\xF0\x9F\x93\x81\",",
     R"("VolumeName": "/\ud83d\udcc1",)"},
    {"not UTF-8", "/\xFF\x01", "\"VolumeName\": null,\n        \"VolumeNameBytes\": \"2FFF01\",",
     "\"VolumeName\": null,\n        \"VolumeNameBytes\": \"2FFF01\","},
    {"empty", "", R"("VolumeName": "",)", R"("VolumeName": "",)"},
};

TEST(CJsonRecord, KeepsEveryNameAndIsSafeToPrint) {
    for (const NameRow& row : kNames) {
        for (const char* locale : {kUtf8Locale, kPlainLocale}) {
            SCOPED_TRACE(std::string(row.m_pName) + " in " + locale);
            const CLocale set(locale);
            const std::string text = CJsonRecord::ToText(*MakeLoggerConf({row.m_sVolume}));
            const std::string wanted = locale == kUtf8Locale ? row.m_sUtf8 : row.m_sPlain;
            EXPECT_NE(text.find(wanted), std::string::npos) << text;

            std::string error;
            const auto object = Parse(text, &error);
            ASSERT_NE(object, nullptr) << error;
            EXPECT_EQ(CJsonRecord::ToText(*object), text);
        }
    }
}

struct ErrorRow {
    const char* m_pFrom;
    const char* m_pTo;
    const char* m_pError;
};

const ErrorRow kErrors[] = {
    {"\"SyslogOutput\": true", "\"SyslogOutput\": 1",
     "SyslogOutputConf.SyslogOutput must be true or false, not 1"},
    {"\"SamplingInterval\": 60", "\"SamplingInterval\": -1",
     "UsageMonitorConfCpu.SamplingInterval must be a whole number from 0 to 4294967295, not -1"},
    {"\"SamplingInterval\": 60", "\"SamplingInterval\": 4294967296",
     "UsageMonitorConfCpu.SamplingInterval must be a whole number from 0 to 4294967295, not "
     "4294967296"},
    {"\"SamplingInterval\": 60", "\"SamplingInterval\": 1.5",
     "UsageMonitorConfCpu.SamplingInterval must be a whole number from 0 to 4294967295, not 1.5"},
    {"\"Threshold\": 90", "\"Threshold\": 2147483648",
     "UsageMonitorConfCpu.Threshold must be a whole number from -2147483648 to 2147483647, not "
     "2147483648"},
    {"\"Threshold\": 90", "\"Threshold\": 18446744073709551615",
     "UsageMonitorConfCpu.Threshold must be a whole number from -2147483648 to 2147483647, not "
     "18446744073709551615"},
    {"\"Threshold\": 81", "\"Threshold\": \"81\"",
     "FsUsageMonitorConf.FsThresholdConfList[1].Threshold must be a whole number from -2147483648 "
     "to 2147483647, not \"81\""},
    {"\"VolumeName\": \"/home\"", "\"VolumeName\": 7",
     "FsUsageMonitorConf.FsThresholdConfList[1].VolumeName must be a string, not 7"},
    {"\"VolumeName\": \"/home\"", "\"VolumeName\": null",
     "FsUsageMonitorConf.FsThresholdConfList[1].VolumeName must be a string, not null"},
    {"\"VolumeName\": \"/home\"", "\"VolumeName\": null, \"VolumeNameBytes\": \"F\"",
     "FsUsageMonitorConf.FsThresholdConfList[1].VolumeNameBytes must be bytes in hexadecimal, not "
     "\"F\""},
    {"\"VolumeName\": \"/home\"", "\"VolumeName\": \"x\", \"VolumeNameBytes\": \"2F\"",
     "FsUsageMonitorConf.FsThresholdConfList[1].VolumeName must be null when VolumeNameBytes is "
     "given"},
    {"\"SamplingCount\": 5,", "", "UsageMonitorConfCpu.SamplingCount is missing"},
    {"\"SamplingCount\": 5", "\"SamplingCuont\": 5",
     "UsageMonitorConfCpu.SamplingCuont is no member of UsageMonitorConf. Did you mean "
     "'SamplingCount'?"},
    {"\"SamplingCount\": 5", "\"SamplingCount\": 1e400",
     "The text has a number that is greater than any number can be"},
    {"\"SamplingCount\": 5", "\"SamplingCount\": 5, \"\": 1",
     "UsageMonitorConfCpu.'' is no member of UsageMonitorConf."},
    {"\"SamplingCount\": 5", "\"SamplingCount\": 5, \"SamplingCount\": 6",
     "The text has 'SamplingCount' twice in one object"},
    {"\"FsThresholdConfList\": [", "\"FsThresholdConfList\": [3, ",
     "FsUsageMonitorConf.FsThresholdConfList[0] must be an object, not 3"},
};

TEST(CJsonRecord, NamesTheMemberThatIsWrong) {
    for (const ErrorRow& row : kErrors) {
        SCOPED_TRACE(row.m_pTo);
        std::string error;
        EXPECT_EQ(Parse(Edited(row.m_pFrom, row.m_pTo), &error), nullptr);
        EXPECT_EQ(error, row.m_pError);
    }
}

TEST(CJsonRecord, RefusesWhatIsNoObject) {
    for (const char* text : {"", "{", "[]", "null", "7", "{} x", "{\"a\": \"\xFF\"}"}) {
        SCOPED_TRACE(text);
        std::string error;
        EXPECT_EQ(Parse(text, &error), nullptr);
        EXPECT_EQ(error.find("The text "), 0U) << error;
    }
}

TEST(CJsonRecord, TakesTheEndsOfTheRanges) {
    std::string error;
    EXPECT_NE(Parse(Edited("\"Threshold\": 90", "\"Threshold\": -2147483648"), &error), nullptr);
    EXPECT_NE(Parse(Edited("\"Threshold\": 90", "\"Threshold\": 2147483647"), &error), nullptr);
    EXPECT_NE(Parse(Edited("\"SamplingCount\": 5", "\"SamplingCount\": 4294967295"), &error),
              nullptr);
    EXPECT_EQ(error, "");
}

} // namespace
