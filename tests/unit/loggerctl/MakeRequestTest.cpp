#include "loggerctl/record/Request.h"

#include "tests/unit/loggerctl/Answer.h"
#include "tests/unit/loggerctl/AssignmentTexts.h"
#include "tests/unit/loggerctl/SampleSettings.h"

namespace {

using Texts = std::vector<std::string>;

const Texts kMounted = {"/", "/home", "/a\nb"};

output::Expected<record::CRequest> Request(const Texts& assignments) {
    return record::MakeRequest(MakeLoggerConf(kMounted),
                               Must(record::ParseAssignments(assignments)));
}

// "KEY NEW" for each setting that the request changes.
Texts RequestedChanges(const record::CRequest& request) {
    Texts texts;
    for (const auto& change : record::FindChanges(MakeLoggerConf(kMounted), request.m_conf)) {
        texts.push_back(change.m_text + " " + record::TextOf(change.m_new));
    }
    return texts;
}

struct CRequestRow {
    const char* m_name;
    Texts m_assignments;
    Texts m_changes;
};

const CRequestRow kRequests[] = {
    {"nothing", {}, {}},
    {"both spellings, and one without effect",
     {"fs:/a\\x0Ab.threshold=7", "cpu.threshold=91", "cpu.count=5", "memory.enable=on",
      "fs[/].enable=no"},
     {"cpu.threshold 91", "memory.enable true", "fs:/.enable false", "fs:/a\nb.threshold 7"}},
    {"a pattern",
     {"fs:*.threshold=7"},
     {"fs:/.threshold 7", "fs:/home.threshold 7", "fs:/a\nb.threshold 7"}},
    {"an exact one before a pattern",
     {"fs:/home.threshold=8", "fs:*.threshold=7"},
     {"fs:/.threshold 7", "fs:/home.threshold 8", "fs:/a\nb.threshold 7"}},
    {"an exact one behind a pattern",
     {"fs[*].threshold=7", "fs[/home].threshold=8"},
     {"fs:/.threshold 7", "fs:/home.threshold 8", "fs:/a\nb.threshold 7"}},
    {"of two patterns the later one",
     {"fs:/?*.threshold=7", "fs:/h*.threshold=8"},
     {"fs:/home.threshold 8", "fs:/a\nb.threshold 7"}},
    {"of two patterns the later one, the greater",
     {"fs:/h*.threshold=8", "fs:/?*.threshold=7"},
     {"fs:/home.threshold 7", "fs:/a\nb.threshold 7"}},
    {"a pattern and another setting",
     {"fs:*.enable=on", "fs:/home.threshold=8"},
     {"fs:/home.enable true", "fs:/home.threshold 8"}},
};

TEST(MakeRequest, ExchangesWhatWasAsked) {
    for (const CRequestRow& row : kRequests) {
        SCOPED_TRACE(row.m_name);
        const record::CRequest request = Must(Request(row.m_assignments));
        EXPECT_EQ(RequestedChanges(request), row.m_changes);
        EXPECT_EQ(request.m_asked.size(), row.m_assignments.size());
    }
}

TEST(MakeRequest, KeepsWhatWasAskedAsItWasWritten) {
    const auto asked = Must(Request({"fs[/h*].threshold=0", "cpu.count=7"})).m_asked;
    ASSERT_EQ(asked.size(), 2U);
    EXPECT_EQ(asked[0].m_text, "fs[/h*].threshold");
    EXPECT_TRUE(asked[0].m_ofVolume);
    EXPECT_EQ(asked[0].m_value, record::CValue(std::int32_t{0}));
    EXPECT_EQ(asked[1].m_text, "cpu.count");
    EXPECT_FALSE(asked[1].m_ofVolume);
    EXPECT_EQ(asked[1].m_value, record::CValue(std::uint32_t{7}));
}

struct CRefusedRow {
    Texts m_assignments;
    Texts m_reasons;
};

const CRefusedRow kRefused[] = {
    {{"fs:/hone.enable=1", "cpu.count=1", "fs[/nowhere].enable=1"},
     {"The file system '/hone' is not mounted. Did you mean '/home'?",
      "The file system '/nowhere' is not mounted."}},
    {{"fs:/z*.enable=1"}, {"No file system is mounted whose name matches '/z*'."}},
    {{"fs:/home.enable=1", "fs[/home].enable=1"},
     {"fs[/home].enable is given twice, under two spellings of its name."}},
    {{"fs[/a\nb].enable=1", "fs:/a\\x0Ab.enable=1", "fs:/gone.enable=1"},
     {"fs:/a\\\\x0Ab.enable is given twice, under two spellings of its name.",
      "The file system '/gone' is not mounted."}},
};

TEST(MakeRequest, SaysAllThatIsWrong) {
    for (const CRefusedRow& row : kRefused) {
        SCOPED_TRACE(testing::PrintToString(row.m_assignments));
        const auto request = Request(row.m_assignments);
        EXPECT_EQ(WrongUsage(request), "Nothing was changed.");
        ASSERT_FALSE(request);
        EXPECT_EQ(request.error().m_reasons, row.m_reasons);
    }
}

// ---- Reduce ----

// Assignments as a record gives them: names are file systems' own.
record::CAssignment OfVolume(const std::string& name, std::size_t key,
                             const record::CValue& value) {
    const record::CVolumeKey& volumeKey = record::VolumeKeys()[key];
    return {{record::VolumeKeyText(name, volumeKey), nullptr, &volumeKey, name}, value};
}
constexpr std::size_t kEnableKey = 0;
constexpr std::size_t kThresholdKey = 1;

TEST(Reduce, TakesOutWhatChangesNothing) {
    auto assignments = Must(record::ParseAssignments(
        {"cpu.threshold=90", "cpu.count=6", "memory.enable=off", "fs.enable=off"}));
    assignments.push_back(OfVolume("/home", kEnableKey, false));
    assignments.push_back(OfVolume("/home", kThresholdKey, std::int32_t{82}));
    assignments.push_back(OfVolume("/", kThresholdKey, std::int32_t{80}));
    EXPECT_EQ(record::Reduce(MakeLoggerConf(kMounted), &assignments), Texts{});
    EXPECT_EQ(TextsOf(assignments),
              (Texts{"cpu.count=6", "fs.enable=false", "fs:/home.threshold=82"}));
}

TEST(Reduce, TakesOutWhatIsNotMounted) {
    std::vector<record::CAssignment> assignments{
        OfVolume("/gone", kEnableKey, true), OfVolume("/gone", kThresholdKey, std::int32_t{1}),
        OfVolume("/home", kEnableKey, true), OfVolume("/a\\x0Ab", kEnableKey, true),
        OfVolume("/h*", kEnableKey, true)};
    EXPECT_EQ(record::Reduce(MakeLoggerConf(kMounted), &assignments),
              (Texts{"/gone", "/a\\x0Ab", "/h*"}));
    EXPECT_EQ(TextsOf(assignments), Texts{"fs:/home.enable=true"});
}

} // namespace
