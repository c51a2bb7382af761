#include "tests/fuzz/support/CMountFormat.h"

#include "tests/fuzz/support/CMountOutput.h"

#include <algorithm>

using std::string;

namespace {

constexpr string::size_type kLongestReading = 4095;

// Takes a line off the front of the text.
string TakeLine(string* text) {
    const string::size_type feed = text->find('\n');
    const string::size_type length =
        std::min(kLongestReading, feed == string::npos ? text->size() : feed + 1);
    string line = text->substr(0, std::min(length, text->find('\0')));
    text->erase(0, length);
    if (!line.empty()) {
        line.pop_back();
    }
    return line;
}

} // namespace

std::optional<std::vector<string>> CMountFormat::Read(const string& text) {
    if (text == CMountOutput::kCannotBeStarted) {
        return std::nullopt;
    }
    std::vector<string> names;
    for (string rest = text; !rest.empty();) {
        const string line = TakeLine(&rest);
        const string::size_type on = line.find(" on ");
        const string behind = on == string::npos ? "" : line.substr(on + 4);
        const string::size_type type = behind.find(" type ");
        if (on == string::npos || type == string::npos) {
            continue;
        }
        const string name = behind.substr(0, type);
        if (name.empty()) {
            return std::nullopt;
        }
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(name);
        }
    }
    return names;
}
