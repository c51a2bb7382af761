// Reading a record from JSON text, and printing it. The input is the text.

#include "loggerctl/record/JsonRecord.h"
#include "tests/fuzz/support/CInput.h"
#include "tests/fuzz/support/CJsonFormat.h"
#include "tests/fuzz/support/CPrintable.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/FuzzTarget.h"
#include "tests/system/loggerctl/CLocale.h"
#include "tests/unit/loggerctl/SampleSettings.h"

#include <algorithm>
#include <cstdio>
#include <map>

using std::string;
using Assignments = std::vector<record::CAssignment>;
using Values = std::map<string, string>;

namespace {

// The lines of a text, and the longest of them, bound the places that can be named.
void RequirePlace(const string& text, std::size_t line, std::size_t column) {
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    CProperty::Require(line >= 1 && line <= lines, "a refusal names a line of the text");
    std::size_t begin = 0;
    for (std::size_t i = 1; i < line; ++i) {
        begin = text.find('\n', begin) + 1;
    }
    const std::size_t size = std::min(text.find('\n', begin), text.size()) - begin;
    CProperty::Require(column >= 1 && column <= size + 1, "a refusal names a column of its line");
}

void RequireRefusal(const string& text, const output::CFailure& failure) {
    CProperty::Require(failure.m_code == output::ExitCode::Usage, "a refusal is wrong usage");
    const string& refusal = failure.m_headline;
    CProperty::Require(CPrintable::Is(refusal) && refusal.find('\n') == string::npos,
                       "a refusal is safe to print on one line");
    std::size_t line = 0;
    std::size_t column = 0;
    int length = -1;
    std::sscanf(refusal.c_str(), "In here, line %zu, column %zu:%n", &line, &column, &length);
    CProperty::Require(length > 0, "a refusal begins with a place");
    const string reason = refusal.substr(static_cast<std::size_t>(length) + 1);
    RequirePlace(text, line, column);

    const bool isOfWhole = reason == "The text is not JSON." ||
                           reason.rfind("The text has a number ", 0) == 0 ||
                           reason.rfind("The text must be an object, not ", 0) == 0;
    const bool isOfMember = CJsonFormat::IsPart(reason.substr(0, reason.find_first_of(" .["))) ||
                            reason.find(" is no member of a record.") != string::npos;
    CProperty::Require(isOfWhole || isOfMember, "a text is refused by the name of what is wrong");
}

Values ValuesOf(const Assignments& assignments) {
    Values values;
    for (const record::CAssignment& assignment : assignments) {
        const record::CAddress& address = assignment.m_address;
        const string key = address.m_key != nullptr
                               ? address.m_key->m_name
                               : "fs:" + address.m_name + "." + address.m_volumeKey->m_name;
        CProperty::RequireEqual(key, address.m_text, "a setting is named by its key");
        values[key] = record::TextOf(assignment.m_value);
    }
    CProperty::Require(values.size() == assignments.size(), "a setting is assigned once");
    return values;
}

// Puts the values into settings that have the record's file systems, and prints these.
void RequireAgain(const Assignments& assignments, const string& text, const char* locale) {
    const CLocale set(locale);
    const auto request = record::MakeRequest(MakeLoggerConf(CJsonFormat::Names(text)), assignments);
    CProperty::Require(request.has_value(), "what is read can be asked for");
    const record::CUsages usages(request->m_conf.m_FsUsageMonitorConf.m_FsThresholdConfList.size());
    const string printed = record::ToJson(request->m_conf, {}, usages);
    CProperty::Require(CPrintable::Is(printed), "what is printed is safe to print");
    CProperty::Require(CJsonFormat::IsRecord(printed), "what is printed is a record");
    CProperty::Require(CJsonFormat::Names(printed) == CJsonFormat::Names(text),
                       "what is printed has the file systems of what was read");
    const Values values = CJsonFormat::Values(printed);
    for (const auto& [key, value] : CJsonFormat::Values(text)) {
        CProperty::RequireEqual(value, values.at(key),
                                "what is printed has the values of what was read");
    }
    const auto again = record::FromJson(printed, "here");
    CProperty::Require(again && ValuesOf(*again) == values, "what is printed can be read");
    CProperty::RequireEqual(
        printed, record::ToJson(record::MakeRequest(request->m_conf, *again)->m_conf, {}, usages),
        "it is then printed the same");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CInput input(data, size, 1);
    const string& text = input.Section(0);
    const CLocale set(kUtf8Locale);
    const auto assignments = record::FromJson(text, "here");

    CProperty::Require(assignments.has_value() == CJsonFormat::IsRecord(text),
                       "a text is taken exactly when it is a record or a part and nothing else");
    if (!assignments) {
        RequireRefusal(text, assignments.error());
        return 0;
    }
    CProperty::Require(ValuesOf(*assignments) == CJsonFormat::Values(text),
                       "the values are those of the text, and no others");
    RequireAgain(*assignments, text, kUtf8Locale);
    RequireAgain(*assignments, text, kPlainLocale);
    return 0;
}
