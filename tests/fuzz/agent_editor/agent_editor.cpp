// The editor of agent.cfg. The input is a record, of which the switches count, then the file.

#include "tests/fuzz/support/CAgentFormat.h"
#include "tests/fuzz/support/CFileInMemory.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/FuzzTarget.h"

namespace {

void RequireReadBack(const Lines& lines, const CLoggerConf& conf) {
    const CFileInMemory file("agent.cfg", CInput::Join(lines));
    std::ifstream stream(file.Path());
    const CLoggerSyslogOutputConf read(&stream);
    CProperty::Require(read.m_iStatus == 0, "what was written can be read");
    CProperty::Require(read.Compare(&conf.m_SyslogOutputConf), "what is written reads back equal");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CInput input(data, size, 2);
    const CLoggerConf conf = input.Conf(0);
    const Lines before = CInput::Split(input.Section(1));
    const auto wanted = CAgentFormat::Edit(before, CAgentFormat::Of(conf.m_SyslogOutputConf));

    Lines edited = before;
    CProperty::Require(conf.EditAgent(edited) == wanted.has_value(),
                       "agent.cfg is edited exactly when each switch has good values");
    if (!wanted) {
        CProperty::Require(!CAgentFormat::Read(before).m_bGood, "what can be read can be edited");
        return 0;
    }
    CEditedLine::Require(*wanted, edited);
    if (CAgentFormat::IsPlain(before)) {
        RequireReadBack(edited, conf);
        Lines twice = edited;
        CProperty::Require(conf.EditAgent(twice) && twice == edited,
                           "editing twice equals editing once");
    }
    return 0;
}
