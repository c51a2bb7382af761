// The configuration file of a daemon. The input is the file; "Text", "Words" and "Number" are known
// names.

#include "serverbase/CConfigFile.h"
#include "tests/fuzz/support/CConfigFormat.h"
#include "tests/fuzz/support/CPrintable.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/FuzzTarget.h"

#include <algorithm>
#include <string>
#include <vector>

using std::string;

namespace {

constexpr unsigned long kAbsent = 7;

// The lines that there must be a problem with, in order.
std::vector<std::size_t> ProblemLines(const CConfigFormat& format) {
    std::vector<std::size_t> lines = format.m_wrongLines;
    for (const auto& [name, value] : format.m_values) {
        const bool isText = name == "Text" || name == "Words";
        if (!isText && (name != "Number" || CConfigFormat::Number(value.m_text) < 0)) {
            lines.push_back(value.m_line);
        }
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

void RequireProblems(const std::vector<string>& problems, const std::vector<std::size_t>& lines) {
    CProperty::Require(problems.size() == lines.size(), "each wrong line is told once");
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const string beginning = "P, line " + std::to_string(lines[i]) + ": ";
        CProperty::Require(problems[i].rfind(beginning, 0) == 0, "a problem names its line");
        CProperty::Require(CPrintable::Is(problems[i]) && problems[i].find('\n') == string::npos,
                           "a problem is a line that can be printed");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const string text(data, data + size);
    if (size > CConfigFile::kBytes) {
        CProperty::Require(CConfigFile::OfText("P", text).Problems().size() == 1,
                           "a file that is too large is refused");
        return 0;
    }
    const CConfigFormat format(text);
    const auto value = [&format](const string& name, const string& absent) {
        const auto found = format.m_values.find(name);
        return found == format.m_values.end() ? absent : found->second.m_text;
    };
    CConfigFile file = CConfigFile::OfText("P", text);
    CProperty::RequireEqual(value("Text", "absent"), file.TakeText("Text", "absent"), "a text");
    CProperty::Require(CConfigFormat::Words(value("Words", "ab sent")) ==
                           file.TakeWords("Words", {"ab", "sent"}),
                       "words");
    const long number = CConfigFormat::Number(value("Number", ""));
    CProperty::Require(file.TakeNumber("Number", kAbsent, 10, 3600) ==
                           (number < 0 ? kAbsent : static_cast<unsigned long>(number)),
                       "a number");
    RequireProblems(file.Problems(), ProblemLines(format));
    return 0;
}
