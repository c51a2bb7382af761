#include "loggerctl/output/CUnifiedDiff.h"

#include "loggerctl/output/CLineDifference.h"
#include "loggerctl/output/CSafeText.h"

#include <algorithm>
#include <vector>

namespace {

using Lines = CLineDifference::Lines;

constexpr std::size_t kContext = 3;
constexpr char kNoNewline[] = "\\ No newline at end of file\n";

// Lines of both texts, from a begin up to an end.
struct Section {
    std::size_t m_oldBegin = 0;
    std::size_t m_oldEnd = 0;
    std::size_t m_newBegin = 0;
    std::size_t m_newEnd = 0;
};

// Each with its line end, which the last one may lack.
Lines Split(const std::string& text) {
    Lines lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\n', begin);
        const std::size_t next = end == std::string::npos ? text.size() : end + 1;
        lines.push_back(text.substr(begin, next - begin));
        begin = next;
    }
    return lines;
}

// The places where lines go, come, or both, in order, without anything around them.
std::vector<Section> FindChanges(const CLineDifference& difference) {
    const std::vector<bool>& removed = difference.m_removed;
    const std::vector<bool>& added = difference.m_added;
    std::vector<Section> changes;
    Section change;
    while (change.m_oldEnd < removed.size() || change.m_newEnd < added.size()) {
        change.m_oldBegin = change.m_oldEnd;
        change.m_newBegin = change.m_newEnd;
        while (change.m_oldEnd < removed.size() && removed[change.m_oldEnd]) {
            ++change.m_oldEnd;
        }
        while (change.m_newEnd < added.size() && added[change.m_newEnd]) {
            ++change.m_newEnd;
        }
        if (change.m_oldEnd != change.m_oldBegin || change.m_newEnd != change.m_newBegin) {
            changes.push_back(change);
        } else {
            ++change.m_oldEnd;
            ++change.m_newEnd;
        }
    }
    return changes;
}

// "-5,3": where the lines begin, counted from 1, and how many there are. No lines begin at the
// line before them.
std::string Range(char sign, std::size_t begin, std::size_t end) {
    const std::size_t count = end - begin;
    std::string text = sign + std::to_string(count == 0 ? begin : begin + 1);
    return count == 1 ? text : text + ',' + std::to_string(count);
}

std::string Marked(char mark, const Lines& lines, std::size_t begin, std::size_t end) {
    std::string text;
    for (std::size_t i = begin; i < end; ++i) {
        text += mark + lines[i];
        if (lines[i].back() != '\n') {
            text += std::string("\n") + kNoNewline;
        }
    }
    return text;
}

// Tabs are harmless, and part of a line that the agent's files have.
std::string SafeLine(const std::string& line) {
    if (line == kNoNewline) {
        return line;
    }
    std::string safe;
    for (std::size_t begin = 0; begin < line.size();) {
        const std::size_t end = std::min(line.find_first_of("\t\n", begin), line.size());
        safe += CSafeText::Escape(line.substr(begin, end - begin)) + line.substr(end, 1);
        begin = end + 1;
    }
    return safe;
}

class CHunks {
public:
    CHunks(const Lines& oldLines, const Lines& newLines) : m_old(oldLines), m_new(newLines) {}

    [[nodiscard]] std::string Text(const std::vector<Section>& changes) const {
        std::string text;
        for (auto first = changes.begin(); first != changes.end();) {
            auto last = first;
            while (last + 1 != changes.end() &&
                   (last + 1)->m_oldBegin - last->m_oldEnd <= 2 * kContext) {
                ++last;
            }
            text += Hunk({first, last + 1});
            first = last + 1;
        }
        return text;
    }

private:
    // Changes that share their context.
    [[nodiscard]] std::string Hunk(const std::vector<Section>& changes) const {
        const std::size_t before = std::min(kContext, changes.front().m_oldBegin);
        const std::size_t after = std::min(kContext, m_old.size() - changes.back().m_oldEnd);
        const std::size_t oldBegin = changes.front().m_oldBegin - before;
        const std::size_t oldEnd = changes.back().m_oldEnd + after;
        std::string text =
            "@@ " + Range('-', oldBegin, oldEnd) + ' ' +
            Range('+', changes.front().m_newBegin - before, changes.back().m_newEnd + after) +
            " @@\n";
        std::size_t position = oldBegin;
        for (const Section& change : changes) {
            text += Marked(' ', m_old, position, change.m_oldBegin) +
                    Marked('-', m_old, change.m_oldBegin, change.m_oldEnd) +
                    Marked('+', m_new, change.m_newBegin, change.m_newEnd);
            position = change.m_oldEnd;
        }
        return text + Marked(' ', m_old, position, oldEnd);
    }

    const Lines& m_old;
    const Lines& m_new;
};

} // namespace

std::string CUnifiedDiff::Make(const std::string& oldText, const std::string& newText,
                               const std::string& oldName, const std::string& newName) {
    if (oldText == newText) {
        return "";
    }
    const Lines oldLines = Split(oldText);
    const Lines newLines = Split(newText);
    const CLineDifference difference = CLineDifference::Find(oldLines, newLines);
    return "--- " + oldName + "\n+++ " + newName + '\n' +
           CHunks(oldLines, newLines).Text(FindChanges(difference));
}

std::string CUnifiedDiff::ForOutput(const std::string& diff, bool terminal) {
    if (!terminal) {
        return diff;
    }
    std::string text;
    for (const std::string& line : Split(diff)) {
        text += SafeLine(line);
    }
    return text;
}
