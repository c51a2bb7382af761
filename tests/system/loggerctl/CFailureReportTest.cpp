#include "loggerctl/CFailureReport.h"

#include <gtest/gtest.h>

namespace {

using Texts = std::vector<std::string>;

Texts ReasonsOf(const Texts& lines) {
    std::vector<CTraceUtility::Line> traced;
    for (const std::string& line : lines) {
        traced.push_back({"TarnwellLogger", 2, line});
    }
    return CFailureReport::Reasons(traced);
}

struct Row {
    const char* m_pName;
    Texts m_lines;
    Texts m_reasons;
};

const Row kRows[] = {
    {"nothing", {}, {}},
    {"an exception and its consequence",
     {"CVELTARO_ToolServiceLogger::ExecMethodAsync() [exception:no [more] memory]",
      "CVELTARO_ToolServiceLogger::ExecMethodAsync hr=0x80041001"},
     {"The provider met an exception: no [more] memory."}},
    {"an unknown exception",
     {"CVELTARO_ToolServiceLogger::ExecMethodAsync() unknown exception"},
     {"The provider met an exception of an unknown type."}},
    {"an exception while the provider was made",
     {"CVELTARO_ToolServiceLogger::CVELTARO_ToolServiceLogger() [exception:SIGSEGV at 0x0]"},
     {"The provider met an exception: SIGSEGV at 0x0."}},
    {"no class",
     {"VELTARO_ToolServiceLogger pClass == NULL"},
     {"The class definitions lack the provider's class. Install the product again, or name other "
      "definitions with --definitions."}},
    {"a refused description",
     {"CDeviceDescription::Read() /x/Logger.conf:2 has an empty command; give the program to run"},
     {"/x/Logger.conf:2 has an empty command; give the program to run."}},
    {"a line that is not known", {"Something\n\x1B[2J new"}, {"Something\\x0A\\x1B[2J new"}},
    {"one reason twice", {"a", "b", "a"}, {"a", "b"}},
};

TEST(CFailureReport, TranslatesTheTrace) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.m_pName);
        EXPECT_EQ(ReasonsOf(row.m_lines), row.m_reasons);
    }
}

} // namespace
