#include "loggerctl/record/JsonRecord.h"

#include "tests/support/CTempFile.h"
#include "tests/system/loggerctl/CLocale.h"
#include "tests/unit/loggerctl/Answer.h"
#include "tests/unit/loggerctl/AssignmentTexts.h"
#include "tests/unit/loggerctl/SampleSettings.h"

namespace {

using Texts = std::vector<std::string>;

Texts Read(const std::string& text) {
    return TextsOf(Must(record::FromJson(text, "here")));
}

// ---- Writing ----

constexpr char kUpperParts[] = R"({
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
)";

constexpr char kFileSystems[] = R"(  "FsUsageMonitorConf": {
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
)";

TEST(ToJson, WritesMembersInOrder) {
    EXPECT_EQ(record::ToJson(MakeLoggerConf({"/"}), {}, std::nullopt),
              std::string(kUpperParts) + kFileSystems);
}

TEST(ToJson, WritesTheGroupsThatAreAskedFor) {
    EXPECT_EQ(record::ToJson(MakeLoggerConf({"/"}), {"fs"}, std::nullopt),
              std::string("{\n") + kFileSystems);
    const std::string upper(kUpperParts);
    EXPECT_EQ(record::ToJson(MakeLoggerConf({"/"}), {"memory", "syslog", "cpu"}, std::nullopt),
              upper.substr(0, upper.size() - 2) + "\n}\n");
}

TEST(ToJson, WritesTheSpaceInUse) {
    const record::CUsages usages{85, std::nullopt};
    EXPECT_EQ(record::ToJson(MakeLoggerConf({"/", "/proc"}), {"fs"}, usages), R"({
  "FsUsageMonitorConf": {
    "MonitoringEnable": true,
    "SamplingInterval": 300,
    "SamplingCount": 2,
    "FsThresholdConfList": [
      {
        "VolumeName": "/",
        "Threshold": 80,
        "VolMonitoringEnable": true,
        "InUse": 85
      },
      {
        "VolumeName": "/proc",
        "Threshold": 81,
        "VolMonitoringEnable": false,
        "InUse": null
      }
    ]
  }
}
)");
}

TEST(ToJson, WritesAnEmptyListWhenNothingIsMounted) {
    const std::string text = record::ToJson(MakeLoggerConf({}), {"fs"}, record::CUsages());
    EXPECT_NE(text.find("\"FsThresholdConfList\": []"), std::string::npos) << text;
}

struct CNameRow {
    const char* m_name;
    std::string m_volume;
    std::string m_utf8;
    std::string m_plain;
};

const CNameRow kNames[] = {
    {"plain", "/home", R"("VolumeName": "/home",)", R"("VolumeName": "/home",)"},
    {"quote and backslash", "/a\"\\", R"("VolumeName": "/a\"\\",)", R"("VolumeName": "/a\"\\",)"},
    {"quote alone", "/a\"", R"("VolumeName": "/a\"",)", R"("VolumeName": "/a\"",)"},
    {"backslash alone", "/a\\", R"("VolumeName": "/a\\",)", R"("VolumeName": "/a\\",)"},
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
};

TEST(ToJson, KeepsEveryNameAndIsSafeToPrint) {
    for (const CNameRow& row : kNames) {
        for (const char* locale : {kUtf8Locale, kPlainLocale}) {
            SCOPED_TRACE(std::string(row.m_name) + " in " + locale);
            const CLocale set(locale);
            const std::string text =
                record::ToJson(MakeLoggerConf({row.m_volume}), {"fs"}, std::nullopt);
            const std::string wanted = locale == kUtf8Locale ? row.m_utf8 : row.m_plain;
            EXPECT_NE(text.find(wanted), std::string::npos) << text;
            const auto assignments = Must(record::FromJson(text, "here"));
            ASSERT_EQ(assignments.size(), 5U);
            EXPECT_EQ(assignments.back().m_address.m_name, row.m_volume);
        }
    }
}

// ---- Reading ----

TEST(FromJson, AssignsAllThatAWholeRecordHas) {
    const CLoggerConf conf = MakeLoggerConf({"/", "/b*.threshold"});
    const Texts all{"syslog.output=true",
                    "syslog.information=false",
                    "syslog.warning=true",
                    "syslog.obstacle=true",
                    "cpu.enable=true",
                    "cpu.interval=60",
                    "cpu.count=5",
                    "cpu.threshold=90",
                    "memory.enable=false",
                    "memory.interval=30",
                    "memory.count=3",
                    "memory.threshold=85",
                    "fs.enable=true",
                    "fs.interval=300",
                    "fs.count=2",
                    "fs:/.threshold=80",
                    "fs:/.enable=true",
                    "fs:/b*.threshold.threshold=81",
                    "fs:/b*.threshold.enable=false"};
    EXPECT_EQ(Read(record::ToJson(conf, {}, std::nullopt)), all);
    EXPECT_EQ(Read(record::ToJson(conf, {}, record::CUsages{7, std::nullopt})), all);
    const auto assignments = Must(record::FromJson(record::ToJson(conf, {}, std::nullopt), "here"));
    ASSERT_FALSE(assignments.empty());
    EXPECT_EQ(assignments.front().m_address.m_key, &record::Keys().front());
    EXPECT_EQ(assignments.back().m_address.m_volumeKey, &record::VolumeKeys().front());
}

struct CPartRow {
    const char* m_json;
    Texts m_assignments;
};

const CPartRow kParts[] = {
    {"{}", {}},
    {"{\"SyslogOutputConf\": {}}", {}},
    {"{\"FsUsageMonitorConf\": {\"FsThresholdConfList\": []}}", {}},
    {" \r\n\t{ \"UsageMonitorConfCpu\" : { \"Threshold\" : 91 } } \n", {"cpu.threshold=91"}},
    {R"({"UsageMonitorConfMemory": {"SamplingCount": 7, "MonitoringEnable": true},
         "SyslogOutputConf": {"WarningAlert": false}})",
     {"memory.count=7", "memory.enable=true", "syslog.warning=false"}},
    // The name may stand behind the values, and values may be none.
    {R"({"FsUsageMonitorConf": {"FsThresholdConfList": [
         {"Threshold": 7, "VolumeName": "/a"}, {"VolumeName": "/b"},
         {"VolMonitoringEnable": true, "VolumeNameBytes": "2fFf", "VolumeName": null},
         {"VolumeNameBytes": "2F63", "Threshold": 9}], "SamplingInterval": 1}})",
     {"fs:/a.threshold=7", "fs:/\xFF.enable=true", "fs:/c.threshold=9", "fs.interval=1"}},
    // Whatever the space in use may be.
    {R"({"FsUsageMonitorConf": {"FsThresholdConfList": [
         {"VolumeName": "/a", "InUse": "x", "Threshold": 7}]}})",
     {"fs:/a.threshold=7"}},
    {R"({"UsageMonitorConfCpu": {"Threshold": -2147483648, "SamplingInterval": 4294967295,
         "SamplingCount": 0}})",
     {"cpu.threshold=-2147483648", "cpu.interval=4294967295", "cpu.count=0"}},
    {R"({"UsageMonitorConfCpu": {"Threshold": 2147483647}})", {"cpu.threshold=2147483647"}},
    {R"({"\u0053yslogOutputConf": {"SyslogOutput": true}})", {"syslog.output=true"}},
};

TEST(FromJson, AssignsWhatThereIs) {
    for (const CPartRow& row : kParts) {
        SCOPED_TRACE(row.m_json);
        EXPECT_EQ(Read(row.m_json), row.m_assignments);
    }
}

// ---- Texts that are refused ----

struct CErrorRow {
    std::string m_text;
    std::string m_problem; // behind "In here, "
};

std::string Cpu(const std::string& members) {
    return "{\"UsageMonitorConfCpu\": {\n  " + members + "}}";
}
std::string Volume(const std::string& members) {
    return "{\"FsUsageMonitorConf\": {\"FsThresholdConfList\": [{\"VolumeName\": \"/\"},\n {" +
           members + "}]}}";
}
const std::string kVolume = "FsUsageMonitorConf.FsThresholdConfList[1]";
constexpr char kUnsigned[] = "must be a whole number from 0 to 4294967295, not ";
constexpr char kSigned[] = "must be a whole number from -2147483648 to 2147483647, not ";

const CErrorRow kErrors[] = {
    {Cpu("\"MonitoringEnable\": 1"),
     "line 2, column 23: UsageMonitorConfCpu.MonitoringEnable must be true or false, not 1."},
    {Cpu("\"SamplingInterval\": -1"),
     "line 2, column 23: UsageMonitorConfCpu.SamplingInterval " + std::string(kUnsigned) + "-1."},
    {Cpu("\"SamplingInterval\":4294967296"),
     "line 2, column 22: UsageMonitorConfCpu.SamplingInterval " + std::string(kUnsigned) +
         "4294967296."},
    {Cpu("\"SamplingInterval\": 1.5"),
     "line 2, column 23: UsageMonitorConfCpu.SamplingInterval " + std::string(kUnsigned) + "1.5."},
    {Cpu("\"SamplingCount\": null"),
     "line 2, column 20: UsageMonitorConfCpu.SamplingCount " + std::string(kUnsigned) + "null."},
    {Cpu("\"Threshold\": 2147483648"),
     "line 2, column 16: UsageMonitorConfCpu.Threshold " + std::string(kSigned) + "2147483648."},
    {Cpu("\"Threshold\": -2147483649"),
     "line 2, column 16: UsageMonitorConfCpu.Threshold " + std::string(kSigned) + "-2147483649."},
    {Cpu("\"Threshold\": 18446744073709551615"),
     "line 2, column 16: UsageMonitorConfCpu.Threshold " + std::string(kSigned) +
         "18446744073709551615."},
    {Cpu("\"Threshold\": [7]"),
     "line 2, column 16: UsageMonitorConfCpu.Threshold must be a single value, not an array."},
    {Cpu("\"Threshold\": {}"),
     "line 2, column 16: UsageMonitorConfCpu.Threshold must be a single value, not an object."},
    {Cpu("\"Threshold\": \"" + std::string(50, 'x') + "\""),
     "line 2, column 16: UsageMonitorConfCpu.Threshold " + std::string(kSigned) + "\"" +
         std::string(39, 'x') + "...."},
    {Cpu("\"SamplingCuont\": 5"), "line 2, column 3: UsageMonitorConfCpu.SamplingCuont is no "
                                  "member of a record. Did you mean 'SamplingCount'?"},
    {Cpu("\"FsThresholdConfList\": []"),
     "line 2, column 3: UsageMonitorConfCpu.FsThresholdConfList "
     "is no member of a record."},
    {Cpu("\"Threshold\": 5, \"\": 1"),
     "line 2, column 19: UsageMonitorConfCpu.'' is no member of a record."},
    {Cpu("\"Threshold\": 5,\n\"Threshold\": 5"),
     "line 3, column 1: UsageMonitorConfCpu.Threshold stands there twice."},
    {Cpu("\"SamplingCount\": 1e400"),
     "line 2, column 20: The text has a number that is greater than any number can be."},
    {"{\"UsageMonitorConfCpu\": {}, \"UsageMonitorConfCpu\": {}}",
     "line 1, column 29: UsageMonitorConfCpu stands there twice."},
    {"{\"UsageMonitorConfCpu\": 3}",
     "line 1, column 25: UsageMonitorConfCpu must be an object, not 3."},
    {"{\"UsageMonitorConfCpu\": []}",
     "line 1, column 25: UsageMonitorConfCpu must be an object, not an array."},
    {"{\"\x1B\": 1}", "line 1, column 3: The text is not JSON."},
    {"{\"\\u001b\": 1}", "line 1, column 2: \\x1B is no member of a record."},
    {"{\"FsUsageMonitorConf\": {\"FsThresholdConfList\": 7}}",
     "line 1, column 48: FsUsageMonitorConf.FsThresholdConfList must be an array, not 7."},
    {"{\"FsUsageMonitorConf\": {\"FsThresholdConfList\": {}}}",
     "line 1, column 48: FsUsageMonitorConf.FsThresholdConfList must be an array, not an object."},
    {"{\"FsUsageMonitorConf\": {\"FsThresholdConfList\": [{\"VolumeName\": \"/\"}, 3]}}",
     "line 1, column 70: " + kVolume + " must be an object, not 3."},
    {"{\"FsUsageMonitorConf\": {\"FsThresholdConfList\": [{\"VolumeName\": \"/\"}, []]}}",
     "line 1, column 70: " + kVolume + " must be an object, not an array."},
    {Volume("\"VolumeName\": \"/a\", \"Threshold\": \"81\""),
     "line 2, column 36: " + kVolume + ".Threshold " + kSigned + "\"81\"."},
    {Volume("\"VolumeName\": 7"),
     "line 2, column 17: " + kVolume + ".VolumeName must be a string, not 7."},
    {Volume("\"VolumeName\": {}"),
     "line 2, column 17: " + kVolume + ".VolumeName must be a single value, not an object."},
    {Volume("\"Threshold\": 3"), "line 2, column 2: " + kVolume + " has no VolumeName."},
    {Volume("\"VolumeName\": null"), "line 2, column 2: " + kVolume + " has no VolumeName."},
    {Volume("\"VolumeName\": \"\""), "line 2, column 2: " + kVolume + " has no VolumeName."},
    {Volume("\"VolumeNameBytes\": \"\""), "line 2, column 2: " + kVolume + " has no VolumeName."},
    {Volume("\"VolumeName\": \"/\""),
     "line 2, column 2: " + kVolume + " names the file system '/', as one before it does."},
    {Volume("\"VolumeNameBytes\": \"2F\""),
     "line 2, column 2: " + kVolume + " names the file system '/', as one before it does."},
    {Volume("\"VolumeNameBytes\": \"F\""),
     "line 2, column 22: " + kVolume + ".VolumeNameBytes must be bytes in hexadecimal, not \"F\"."},
    {Volume("\"VolumeNameBytes\": 47"),
     "line 2, column 22: " + kVolume + ".VolumeNameBytes must be bytes in hexadecimal, not 47."},
    {Volume("\"VolumeName\": \"\", \"VolumeNameBytes\": \"2F\""),
     "line 2, column 40: " + kVolume + ".VolumeNameBytes is given besides VolumeName."},
    {Volume("\"VolumeName\": \"x\", \"VolumeNameBytes\": \"2F\""),
     "line 2, column 41: " + kVolume + ".VolumeNameBytes is given besides VolumeName."},
    {Volume("\"VolumeNameBytes\": \"2F\", \"VolumeName\": \"x\""),
     "line 2, column 42: " + kVolume + ".VolumeName must be null when VolumeNameBytes is given."},
    {Volume("\"VolumeName\": \"/a\", \"InUse\": [7]"),
     "line 2, column 32: " + kVolume + ".InUse must be a single value, not an array."},
    {Volume("\"VolumeName\": \"/a\", \"Name\": 7"),
     "line 2, column 23: " + kVolume + ".Name is no member of a record."},
    {Volume("\"VolumeName\": \"/a\", \"VolumeName\": \"/b\""),
     "line 2, column 23: " + kVolume + ".VolumeName stands there twice."},
    {"{\"\": 1}", "line 1, column 2: '' is no member of a record."},
    {"", "line 1, column 1: The text is not JSON."},
    {"{", "line 1, column 1: The text is not JSON."},
    {"[]", "line 1, column 1: The text must be an object, not an array."},
    {"null", "line 1, column 1: The text must be an object, not null."},
    {"\n  7", "line 2, column 3: The text must be an object, not 7."},
    {"{} x", "line 1, column 4: The text is not JSON."},
    {"{\n\"a\": \"\xFF\"}", "line 2, column 1: a is no member of a record."},
    {"\xEF\xBB\xBF{}\n,", "line 2, column 1: The text is not JSON."},
};

TEST(FromJson, NamesThePlaceAndTheMemberThatIsWrong) {
    for (const CErrorRow& row : kErrors) {
        SCOPED_TRACE(row.m_text);
        EXPECT_EQ(WrongUsage(record::FromJson(row.m_text, "here")), "In here, " + row.m_problem);
    }
}

TEST(FromJson, RefusesTextsThatAreNestedDeeply) {
    const std::string deep(100'000, '[');
    EXPECT_EQ(WrongUsage(record::FromJson(deep, "here")),
              "In here, line 1, column 1: The text must be an object, not an array.");
}

// ---- Files ----

TEST(ReadRecord, ReadsAFile) {
    const CTempFile file("{\"UsageMonitorConfCpu\": {\"Threshold\": 7}}\n");
    EXPECT_EQ(TextsOf(Must(record::ReadRecord(file.Path()))), Texts{"cpu.threshold=7"});
}

TEST(ReadRecord, NamesTheFileThatIsWrong) {
    const CTempFile file("{}\n}");
    EXPECT_EQ(WrongUsage(record::ReadRecord(file.Path())),
              "In " + file.Path() + ", line 2, column 1: The text is not JSON.");
    EXPECT_EQ(WrongUsage(record::ReadRecord("/no/such\x1B")),
              "/no/such\\x1B cannot be read: No such file or directory.");
    EXPECT_EQ(WrongUsage(record::ReadRecord("/tmp")), "/tmp cannot be read: Is a directory.");
}

TEST(ReadRecord, TakesSixteenMebibytesAtMost) {
    constexpr std::size_t kLongest = std::size_t{16} * 1024 * 1024;
    const CTempFile longest("{" + std::string(kLongest - 2, ' ') + "}");
    EXPECT_TRUE(Must(record::ReadRecord(longest.Path())).empty());
    const CTempFile longer("{" + std::string(kLongest - 1, ' ') + "}");
    EXPECT_EQ(WrongUsage(record::ReadRecord(longer.Path())),
              longer.Path() + " cannot be read: it is longer than 16 MiB.");
}

} // namespace
