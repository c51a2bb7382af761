#pragma once

#include "tests/fuzz/support/CFileFormat.h"
#include "tests/fuzz/support/CInput.h"

#include <optional>
#include <string>
#include <vector>

// alert.cfg, stated plainly and apart from the product. The records hold values only: their
// members are set, nothing of their own is called.
class CAlertFormat {
public:
    // The first line of the key ("CPU=" or "MEMORY=") with a value list counts: four fields, the
    // first of them a switch. Nothing when that does not hold.
    static std::optional<CLoggerUsageMonitorConf> ReadMonitor(const Lines& lines, const char* key);

    // Every line counts, up to the first value list that has not three fields. A switch and numbers
    // must have been seen by then, and no malformed entry. One row for each mount point, threshold
    // 80 and off, unless an entry says otherwise.
    static std::optional<CLoggerFsUsageMonitorConf>
    ReadFileSystems(const Lines& lines, const std::vector<std::string>& mounted);

    // What an edit must make of the lines; nothing when it must fail.
    static std::optional<EditedLines> Edit(const Lines& lines, const CLoggerConf& conf);

    // True when an edited file must read back as the record: no entry is malformed, every value
    // list stands in the first parentheses of its line, and the record has exactly the mounted file
    // systems, each of which the file can hold.
    static bool IsKept(const Lines& lines, const CLoggerConf& conf,
                       const std::vector<std::string>& mounted);

    // True when a second edit must change nothing: as above, but whatever is mounted, and each
    // written name as the reader would find it.
    static bool IsStable(const Lines& lines, const CLoggerConf& conf);

    // Value by value and row by row, in order.
    static bool IsSame(const CLoggerUsageMonitorConf& left, const CLoggerUsageMonitorConf& right);
    static bool IsSame(const CLoggerFsUsageMonitorConf& left,
                       const CLoggerFsUsageMonitorConf& right);
};
