#include "loggerctl/record/CSetRequest.h"

#include "loggerctl/record/CSetWarnings.h"
#include "loggerctl/record/CSettingsChange.h"
#include "tests/system/loggerctl/SampleSettings.h"

#include <gtest/gtest.h>

namespace {

using Texts = std::vector<std::string>;

const Texts kMounted = {"/", "/home", "/a\nb"};

std::optional<CSetRequest> Request(const Texts& assignments, Texts* reasons) {
    std::string error;
    const auto parsed = CSettingsAssignment::ParseAll(assignments, &error);
    EXPECT_TRUE(parsed.has_value()) << error;
    return CSetRequest::FromAssignments(*parsed, *MakeLoggerConf(kMounted), reasons);
}

Texts Changes(CSetRequest* request) {
    Texts texts;
    for (const auto& change :
         CSettingsChange::Find(*MakeLoggerConf(kMounted), *request->LoggerConf())) {
        texts.push_back(change.m_address.m_sText + " " + change.m_sOld + " " + change.m_sNew);
    }
    return texts;
}

TEST(CSetRequest, ExchangesWhatWasAsked) {
    Texts reasons;
    auto request = Request({"fs[/a\\x0Ab].threshold=7", "cpu.threshold=91", "cpu.count=5",
                            "memory.enable=on", "fs[/].enable=no"},
                           &reasons);
    ASSERT_TRUE(request.has_value()) << testing::PrintToString(reasons);
    EXPECT_EQ(Changes(&*request), (Texts{"cpu.threshold 90 91", "memory.enable false true",
                                         "fs[/].enable true false", "fs[/a\nb].threshold 82 7"}));
    EXPECT_EQ(request->m_asked.size(), 5U);
}

TEST(CSetRequest, KnowsTheMountedFileSystems) {
    Texts reasons;
    EXPECT_FALSE(Request({"fs[/hone].enable=1", "fs[/nowhere].enable=1"}, &reasons));
    EXPECT_EQ(reasons, (Texts{"The file system '/hone' is not mounted. Did you mean '/home'?",
                              "The file system '/nowhere' is not mounted."}));
}

TEST(CSetRequest, TakesASettingOnceUnderWhateverSpelling) {
    Texts reasons;
    EXPECT_FALSE(Request({"fs[/a\nb].enable=1", "fs[/a\\x0Ab].enable=1"}, &reasons));
    EXPECT_EQ(reasons,
              Texts{"fs[/a\\\\x0Ab].enable is given twice, under two spellings of its name."});
}

struct NamesRow {
    const char* m_pName;
    Texts m_names;
    Texts m_reasons;
};

const NamesRow kNames[] = {
    {"the same", kMounted, {}},
    {"another order", {"/a\nb", "/home", "/"}, {}},
    {"one missing",
     {"/", "/home"},
     {"The file system '/a\\x0Ab' is mounted, but missing in the record. Add it."}},
    {"one too many",
     {"/", "/home", "/a\nb", "/\x1B"},
     {"The file system '/\\x1B' is not mounted. Take it out of the record, or mount it."}},
    {"one twice",
     {"/", "/home", "/a\nb", "/home"},
     {"The file system '/home' stands in the record more than once."}},
    {"all wrong",
     {"/x", "/x"},
     {"The file system '/x' is not mounted. Take it out of the record, or mount it.",
      "The file system '/x' stands in the record more than once.",
      "The file system '/' is mounted, but missing in the record. Add it.",
      "The file system '/home' is mounted, but missing in the record. Add it.",
      "The file system '/a\\x0Ab' is mounted, but missing in the record. Add it."}},
};

TEST(CSetRequest, OfARecordNamesExactlyTheMountedFileSystems) {
    for (const NamesRow& row : kNames) {
        SCOPED_TRACE(row.m_pName);
        Texts reasons;
        const auto request = CSetRequest::FromRecord(*MakeLoggerConf(row.m_names),
                                                     *MakeLoggerConf(kMounted), &reasons);
        EXPECT_EQ(request.has_value(), row.m_reasons.empty());
        EXPECT_EQ(reasons, row.m_reasons);
    }
}

TEST(CSetRequest, OfARecordAsksForWhatDiffers) {
    Texts reasons;
    const auto request = CSetRequest::FromRecord(*MakeLoggerConf({"/home", "/", "/a\nb"}),
                                                 *MakeLoggerConf(kMounted), &reasons);
    ASSERT_TRUE(request.has_value());
    Texts asked;
    for (const CSettingsAddress& address : request->m_asked) {
        asked.push_back(address.m_sText);
    }
    EXPECT_EQ(asked, (Texts{"fs[/home].enable", "fs[/home].threshold", "fs[/].enable",
                            "fs[/].threshold"}));
}

struct WarningRow {
    Texts m_assignments;
    Texts m_warnings;
};

const WarningRow kWarnings[] = {
    {{"cpu.threshold=1", "memory.threshold=100", "fs[/].threshold=1", "cpu.count=1"}, {}},
    {{"cpu.interval=2147483647", "fs[/].enable=on", "fs.enable=on"}, {}},
    {{"fs.enable=off", "fs[/].enable=off", "cpu.enable=on"}, {}},
    {{"cpu.threshold=0"}, {"cpu.threshold: 0 is no percentage from 1 to 100."}},
    {{"memory.threshold=101"}, {"memory.threshold: 101 is no percentage from 1 to 100."}},
    {{"fs[/].threshold=-1"}, {"fs[/].threshold: -1 is no percentage from 1 to 100."}},
    {{"fs[/].threshold=0"},
     {"fs[/].threshold: 0 is no percentage from 1 to 100; the default, 80, would be written in its "
      "place."}},
    {{"cpu.count=0", "fs.interval=0"},
     {"cpu.count: 0 gives the agent nothing to sample by.",
      "fs.interval: 0 gives the agent nothing to sample by."}},
    {{"memory.interval=2147483648"},
     {"memory.interval: 2147483648 would stand in the agent's file as the negative number "
      "-2147483648. The greatest that does not is 2147483647."}},
    {{"fs[/].enable=on", "fs.enable=off"},
     {"fs[/].enable: true has no effect while fs.enable is false: no file system is monitored "
      "then."}},
};

TEST(CSetWarnings, NameWhatIsHardlyMeant) {
    for (const WarningRow& row : kWarnings) {
        SCOPED_TRACE(testing::PrintToString(row.m_assignments));
        Texts reasons;
        auto request = Request(row.m_assignments, &reasons);
        ASSERT_TRUE(request.has_value()) << testing::PrintToString(reasons);
        EXPECT_EQ(CSetWarnings::Find(&*request), row.m_warnings);
    }
}

} // namespace
