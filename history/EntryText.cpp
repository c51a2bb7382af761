#include "history/EntryText.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <utility>

namespace history {

namespace {

// The lines behind the reason are "key=value".
constexpr std::array<std::pair<const char*, std::string COrigin::*>, 3> kOriginKeys{
    {{"user", &COrigin::m_user}, {"sudo", &COrigin::m_sudoUser}, {"from", &COrigin::m_from}}};
constexpr char kMissingKey[] = "missing";

// At least one.
std::vector<std::string> Lines(const std::string& text) {
    std::istringstream rest(text + '\n');
    std::vector<std::string> lines;
    for (std::string line; std::getline(rest, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string Line(std::string text) {
    constexpr char kDelete = 0x7F;
    const auto isControl = [](char c) {
        return static_cast<unsigned char>(c) < ' ' || c == kDelete;
    };
    std::replace_if(text.begin(), text.end(), isControl, ' ');
    return text + '\n';
}

void ReadKey(const std::string& line, CEntry* entry) {
    const std::string key = line.substr(0, line.find('='));
    const std::string value = line.substr(std::min(key.size() + 1, line.size()));
    for (const auto& [name, member] : kOriginKeys) {
        if (key == name) {
            entry->m_origin.*member = value;
        }
    }
    if (key == kMissingKey) {
        entry->m_missing.push_back(value);
    }
}

} // namespace

std::string EntryText(const std::string& reason, const COrigin& origin,
                      const std::vector<std::string>& missing) {
    std::string text = Line(reason);
    for (const auto& [name, member] : kOriginKeys) {
        if (!(origin.*member).empty()) {
            text.append(name).append("=").append(Line(origin.*member));
        }
    }
    for (const std::string& name : missing) {
        text.append(kMissingKey).append("=").append(Line(name));
    }
    return text;
}

void ReadEntryText(const std::string& text, CEntry* entry) {
    const std::vector<std::string> lines = Lines(text);
    entry->m_reason = lines.front();
    for (auto line = lines.begin() + 1; line != lines.end(); ++line) {
        ReadKey(*line, entry);
    }
}

std::string MissingText(const std::string& name) {
    return ", " + name + " was missing";
}

bool SaysMissing(std::string reason, const std::string& wanted) {
    for (std::size_t i = CSettingsCopy::kPaths.size(); i > 0; --i) {
        const std::string name = CSettingsCopy::Name(i - 1);
        const std::string text = MissingText(name);
        const std::size_t rest = reason.size() - std::min(text.size(), reason.size());
        if (reason.substr(rest) == text) {
            if (name == wanted) {
                return true;
            }
            reason.resize(rest);
        }
    }
    return false;
}

std::string PendingText(const CPendingRestore& pending) {
    return Line(pending.m_id) + Line(pending.m_keptId);
}

CPendingRestore ReadPendingText(const std::string& text) {
    std::vector<std::string> lines = Lines(text);
    lines.resize(2);
    return {lines[0], lines[1], false};
}

} // namespace history
