// The reader of agent.cfg. The input is the file.

#include "tests/fuzz/support/CAgentFormat.h"
#include "tests/fuzz/support/CFileInMemory.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/FuzzTarget.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CInput input(data, size, 1);
    const CFileInMemory file("agent.cfg", input.Section(0));
    std::ifstream stream(file.Path());
    const CLoggerSyslogOutputConf read(&stream);
    const CAgentFormat::Reading wanted = CAgentFormat::Read(CInput::Split(input.Section(0)));

    CProperty::Require((read.m_iStatus == 0) == wanted.m_bGood,
                       "agent.cfg is taken exactly when each switch has a good value");
    CProperty::Require(CAgentFormat::Of(read) == wanted.m_switches,
                       "the switches are those of agent.cfg, or off");
    const CLoggerSyslogOutputConf again(&stream);
    CProperty::Require(again.m_iStatus == read.m_iStatus &&
                           CAgentFormat::Of(again) == CAgentFormat::Of(read),
                       "a stream that was read is read again from its first line");
    return 0;
}
