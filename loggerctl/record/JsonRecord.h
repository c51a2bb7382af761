#pragma once

#include "loggerctl/record/Request.h"

#include <optional>
#include <string>
#include <vector>

// Settings as JSON text: an object with the parts of the record under their WBEM names, and in each
// its members. A file system's name that is not valid UTF-8 is lossless: the member VolumeName is
// null, and VolumeNameBytes holds the bytes in hexadecimal.
namespace record {

// Members of a file system besides those that the record has.
inline constexpr char kVolumeNameBytes[] = "VolumeNameBytes";
inline constexpr char kInUse[] = "InUse";

// The space in use of each file system, in the record's order, in percent; nothing where it is not
// known.
using CUsages = std::vector<std::optional<int>>;

// Of the record, or of the groups of keys given (see IsGroup). With usages, each file system has
// them as the member InUse, null where it is not known.
std::string ToJson(const CLoggerConf& conf, const std::vector<std::string>& groups,
                   const std::optional<CUsages>& usages);

// Reads what ToJson gives, or a part of it: members that are absent are not assigned. InUse is
// passed over. Every other member must be known, of its type and in its range, and stand there
// once; a file system must have a name, each its own. Otherwise wrong usage, which names the place
// by line and column and the member, as in "FsUsageMonitorConf.FsThresholdConfList[2].Threshold".
// `source` says in messages what is read, safe to print.
output::Expected<std::vector<CAssignment>> FromJson(const std::string& text,
                                                    const std::string& source);

// The same from a file of at most 16 MiB, or from standard input for "-".
output::Expected<std::vector<CAssignment>> ReadRecord(const std::string& path);

} // namespace record
