// The editor of alert.cfg. The input is what the mount command prints, a record, then the file.

#include "tests/fuzz/support/CAlertFormat.h"
#include "tests/fuzz/support/CFileInMemory.h"
#include "tests/fuzz/support/CMountFormat.h"
#include "tests/fuzz/support/CMountOutput.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/FuzzTarget.h"

namespace {

constexpr std::size_t kMount = 0;
constexpr std::size_t kRecord = 1;
constexpr std::size_t kAlert = 2;
constexpr std::size_t kSections = 3;

template <class Record>
void RequireEqual(const Record& read, const Record& written) {
    CProperty::Require(read.m_iStatus == 0, "what was written can be read");
    CProperty::Require(read.Compare(&written) && written.Compare(&read),
                       "what is written reads back equal");
}

void RequireReadBack(const Lines& lines, const CLoggerConf& conf) {
    const CFileInMemory file("alert.cfg", CInput::Join(lines));
    std::ifstream stream(file.Path());
    RequireEqual(CLoggerUsageMonitorConf(&stream, "CPU"),
                 conf.m_UsageMonitorConf[CLoggerConf::kCpu]);
    RequireEqual(CLoggerUsageMonitorConf(&stream, "MEMORY"),
                 conf.m_UsageMonitorConf[CLoggerConf::kMemory]);
    RequireEqual(CLoggerFsUsageMonitorConf(&stream, "FILESYSTEM"), conf.m_FsUsageMonitorConf);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CInput input(data, size, kSections);
    const CLoggerConf conf = input.Conf(kRecord);
    const Lines before = CInput::Split(input.Section(kAlert));
    const auto wanted = CAlertFormat::Edit(before, conf);

    Lines edited = before;
    CProperty::Require(conf.EditAlert(edited) == wanted.has_value(),
                       "alert.cfg is edited exactly when each monitor has good value lists");
    if (!wanted) {
        return 0;
    }
    CEditedLine::Require(*wanted, edited);
    if (CAlertFormat::IsStable(before, conf)) {
        Lines twice = CInput::Split(CInput::Join(edited));
        CProperty::Require(conf.EditAlert(twice) && twice == edited,
                           "editing twice equals editing once");
    }
    CMountOutput::Set(input.Section(kMount));
    const auto mounted = CMountFormat::Read(input.Section(kMount));
    if (mounted && CAlertFormat::IsKept(before, conf, *mounted)) {
        RequireReadBack(edited, conf);
    }
    return 0;
}
