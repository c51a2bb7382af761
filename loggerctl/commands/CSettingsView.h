#pragma once

#include "loggerctl/output/CTerminal.h"

#include <optional>
#include <string>
#include <vector>

class CLoggerConf;

// The settings as tables for people.
class CSettingsView {
public:
    // The space in use of each file system, in the record's order, in percent; nothing where it is
    // not known.
    using Usages = std::vector<std::optional<int>>;

    // The whole text. Without usages their column is left out.
    static std::string Text(const CLoggerConf& conf, const std::optional<Usages>& usages,
                            const CTerminal& terminal);
};
