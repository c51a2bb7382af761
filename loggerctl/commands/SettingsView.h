#pragma once

#include "loggerctl/output/CTable.h"
#include "loggerctl/record/JsonRecord.h"

#include <optional>
#include <string>
#include <vector>

// The settings as tables for people.
namespace commands {

// The tables of all settings, or of some groups of keys (see record::IsGroup). Without usages their
// column is left out.
std::string SettingsText(const CLoggerConf& conf, const std::vector<std::string>& groups,
                         const std::optional<record::CUsages>& usages,
                         const output::CTerminal& terminal);

// The space in use as a bar against the threshold that raises an alert: a cell such as
// "########....|...  52 %". In one cell of the bar the threshold is marked, unless it is none
// between 1 and 100. The word "over" follows from the threshold on. Block characters are used with
// utf8, ASCII otherwise. The style tells how near the threshold is, and is dim for a file system
// that is not monitored, which is never "over".
output::CTable::Cell UsageCell(int percent, int threshold, bool monitored, bool utf8);

} // namespace commands
