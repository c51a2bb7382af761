// The texts of the history's own files, and the names of its entries. The input is a file "reason",
// which is also taken for the file of a restore, then names, a line each.

#include "history/EntryText.h"
#include "history/HistoryFolder.h"
#include "tests/fuzz/support/CHistoryFormat.h"
#include "tests/fuzz/support/CInput.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/FuzzTarget.h"

using std::string;

namespace {

constexpr std::size_t kText = 0;
constexpr std::size_t kNames = 1;

void RequireSame(const history::CEntry& entry, const CHistoryFormat& wanted, const char* property) {
    CProperty::RequireEqual(wanted.m_reason, entry.m_reason, property);
    CProperty::RequireEqual(wanted.m_user, entry.m_origin.m_user, property);
    CProperty::RequireEqual(wanted.m_sudoUser, entry.m_origin.m_sudoUser, property);
    CProperty::RequireEqual(wanted.m_from, entry.m_origin.m_from, property);
    CProperty::Require(wanted.m_missing == entry.m_missing, property);
}

history::CEntry Read(const string& text) {
    history::CEntry entry;
    history::ReadEntryText(text, &entry);
    return entry;
}

void CheckEntry(const string& text) {
    const history::CEntry entry = Read(text);
    CHistoryFormat format(text);
    RequireSame(entry, format, "what is read is what the lines say");

    const string written = EntryText(entry.m_reason, entry.m_origin, entry.m_missing);
    format.ReplaceControls();
    RequireSame(Read(written), format, "what is written reads back equal, without controls");
    const history::CEntry again = Read(written);
    CProperty::RequireEqual(written, EntryText(again.m_reason, again.m_origin, again.m_missing),
                            "it is then written the same");
}

// The whole text as a value, line feeds and all.
void CheckValues(const string& text) {
    const history::COrigin origin{text, text, text};
    const history::CEntry entry = Read(EntryText(text, origin, {text}));
    const string line = CHistoryFormat::WithoutControls(text);
    for (const string& read : {entry.m_reason, entry.m_origin.m_user, entry.m_origin.m_sudoUser,
                               entry.m_origin.m_from}) {
        CProperty::RequireEqual(line, read, "a value is kept as one line");
    }
    CProperty::Require(entry.m_missing == std::vector<string>{line}, "a name is kept as one line");
}

void CheckPending(const string& text) {
    const history::CPendingRestore pending = history::ReadPendingText(text);
    const history::CPendingRestore again = history::ReadPendingText(PendingText(pending));
    CProperty::RequireEqual(CHistoryFormat::WithoutControls(pending.m_id), again.m_id,
                            "what is remembered reads back equal");
    CProperty::RequireEqual(CHistoryFormat::WithoutControls(pending.m_keptId), again.m_keptId,
                            "what was kept reads back equal");
}

void CheckMissing(const string& reason) {
    for (const string name : {"agent.cfg", "alert.cfg"}) {
        const bool isNamed = reason.find(history::MissingText(name)) != string::npos;
        CProperty::Require(isNamed || !history::SaysMissing(reason, name),
                           "a reason says of no other file that it was missing");
        CProperty::Require(history::SaysMissing(reason + history::MissingText(name), name),
                           "the end of a reason says which file was missing");
    }
    const string both =
        reason + history::MissingText("agent.cfg") + history::MissingText("alert.cfg");
    CProperty::Require(history::SaysMissing(both, "agent.cfg") &&
                           history::SaysMissing(both, "alert.cfg"),
                       "both can be missing");
}

void CheckName(const string& name) {
    CProperty::Require(history::IsId(name) == CHistoryFormat::IsId(name),
                       "an ID is a time that there is, and a number");
    if (!history::IsId(name) || CHistoryFormat::IsLastYear(name)) {
        return;
    }
    for (const std::time_t now : {std::time_t{0}, history::TimeOf(name)}) {
        const string next = history::NextId(now, name);
        CProperty::Require(history::IsId(next) && next > name, "the next ID sorts behind");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CInput input(data, size, 2);
    const string& text = input.Section(kText);
    CheckEntry(text);
    CheckValues(text);
    CheckPending(text);
    CheckMissing(text);
    for (const string& name : CInput::Split(input.Section(kNames))) {
        CheckName(name);
    }
    return 0;
}
