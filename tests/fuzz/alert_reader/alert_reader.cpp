// The readers of alert.cfg and of the mount table. The input is what the mount command prints, then
// the file.

#include "tests/fuzz/support/CAlertFormat.h"
#include "tests/fuzz/support/CFileInMemory.h"
#include "tests/fuzz/support/CMountFormat.h"
#include "tests/fuzz/support/CMountOutput.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/FuzzTarget.h"

namespace {

constexpr std::size_t kMount = 0;
constexpr std::size_t kAlert = 1;

template <class Record>
void RequireRead(const Record& read, const std::optional<Record>& wanted) {
    CProperty::Require((read.m_iStatus == 0) == wanted.has_value(),
                       "alert.cfg is taken exactly when the file and the mount table are good");
    CProperty::Require(CAlertFormat::IsSame(read, wanted.value_or(Record())),
                       "the values are those of alert.cfg, or the defaults");
}

std::optional<CLoggerFsUsageMonitorConf> WantedFileSystems(const std::string& mount,
                                                           const Lines& lines) {
    const auto mounted = CMountFormat::Read(mount);
    return mounted ? CAlertFormat::ReadFileSystems(lines, *mounted) : std::nullopt;
}

void CheckMountTable(const std::string& mount) {
    const CLoggerFsThresholdConf before("before", 7, true);
    std::list<CLoggerFsThresholdConf> rows{before};
    const bool isRead = CLoggerFsUsageMonitorConf().GetMountPointList(rows);
    CProperty::Require(CMountOutput::IsClosed(), "the mount command is waited for");

    const auto mounted = CMountFormat::Read(mount);
    CProperty::Require(isRead == mounted.has_value(),
                       "the mount table is taken exactly when no mount point is empty");
    CLoggerFsUsageMonitorConf found;
    CLoggerFsUsageMonitorConf wanted;
    found.m_FsThresholdConfList = rows;
    if (mounted || mount == CMountOutput::kCannotBeStarted) {
        wanted.m_FsThresholdConfList = {before};
    }
    for (const std::string& name : mounted.value_or(std::vector<std::string>())) {
        if (name != before.m_sVolumeName) {
            wanted.m_FsThresholdConfList.emplace_back(name, 80, false);
        }
    }
    CProperty::Require(CAlertFormat::IsSame(found, wanted),
                       "each mount point that is new gets a row behind those that are there");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CInput input(data, size, 2);
    const Lines lines = CInput::Split(input.Section(kAlert));
    const CFileInMemory file("alert.cfg", input.Section(kAlert));
    std::ifstream stream(file.Path());

    CMountOutput::Set(input.Section(kMount));
    CheckMountTable(input.Section(kMount));
    RequireRead(CLoggerFsUsageMonitorConf(&stream, "FILESYSTEM"),
                WantedFileSystems(input.Section(kMount), lines));
    RequireRead(CLoggerUsageMonitorConf(&stream, "MEMORY"),
                CAlertFormat::ReadMonitor(lines, "MEMORY="));
    RequireRead(CLoggerUsageMonitorConf(&stream, "CPU"), CAlertFormat::ReadMonitor(lines, "CPU="));
    return 0;
}
