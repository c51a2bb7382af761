#pragma once

#include "tests/fuzz/support/CFileFormat.h"
#include "tests/fuzz/support/CInput.h"

#include <array>
#include <optional>
#include <string>

// agent.cfg, stated plainly and apart from the product.
class CAgentFormat {
public:
    // In the order of the keys: output, information, warning, obstacle.
    using Switches = std::array<bool, 4>;

    static Switches Of(const CLoggerSyslogOutputConf& conf);

    // What a record read from these lines holds. A line sets the first key that it gives a value
    // word. Good when every key was set and no other word than "True" and "False" was met. A bad
    // word ends the reading; what was read before it stays only where it was complete.
    struct Reading {
        bool m_bGood;
        Switches m_switches;
    };
    static Reading Read(const Lines& lines);

    // What an edit must make of the lines: each key that a line gives a word to has it exchanged,
    // where the word stands first in the line. Nothing when the edit must fail.
    static std::optional<EditedLines> Edit(const Lines& lines, const Switches& switches);

    // True when no line gives a word to two keys, or has its word in front of the value already.
    // Then what is written must read back equal, and writing it again must change nothing.
    static bool IsPlain(const Lines& lines);
};
