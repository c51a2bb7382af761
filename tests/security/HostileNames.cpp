#include "tests/security/HostileNames.h"

#include "tests/support/SampleConf.h"

#include <ostream>

namespace {

constexpr std::size_t kLongName = 4000; // fits a line of the mount command that is read at once

} // namespace

std::ostream& operator<<(std::ostream& out, const HostileName& row) {
    return out << row.name;
}

std::vector<HostileName> MountableNames() {
    return {
        {"Quote", "/a\"b", false},
        {"Quotes", "/a\" (7) \"b", false},
        {"Marker", "/a#KZM# b", false},
        {"Comment", "/a#b"},
        {"Parentheses", "/a) (5"},
        {"KeyOfALine", "/CPU=(True, 1, 2, 3)"},
        {"KeyOfAFileSystem", "/FSNAME=(5)"},
        {"FormatDirectives", "/%s%n%x%999999d%5$n"},
        {"ShellMetacharacters", "/$(touch x);`touch x`|&>x *?~'"},
        {"TerminalEscapes", "/\x1B[2J\x1B]0;title\x07\b"},
        {"TerminalEscapesOfOneCharacter", "/\xC2\x9B"
                                          "2J\xC2\x90"},
        {"RightToLeft", "/\xE2\x80\xAE"
                        "elif\xE2\x80\xA8"},
        {"CarriageReturn", "/a\rb\r"},
        {"NotUtf8", "/\xFF\xC0\xAF\x9B"},
        {"OtherFolders", "/../../etc/../"},
        {"VeryLong", "/" + std::string(kLongName, 'x')},
    };
}

std::vector<HostileName> RequestableNames() {
    constexpr std::size_t kHugeName = 1 << 20;
    std::vector<HostileName> names = MountableNames();
    names.push_back({"LineFeed", "/a\nb", false});
    names.push_back({"Type", "/a type b", false});
    names.push_back({"Empty", "", false});
    names.push_back({"Huge", "/" + std::string(kHugeName, 'x'), false});
    return names;
}

std::string MountOutput(const std::string& name) {
    return "/dev/sda1 on " + name + " type ext4 (rw)\n";
}

CLoggerConf ConfWith(const std::string& name) {
    CLoggerConf conf = SampleConf();
    conf.m_FsUsageMonitorConf.m_FsThresholdConfList = {{name, 90, true}};
    return conf;
}
