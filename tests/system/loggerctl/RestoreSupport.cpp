#include "tests/system/loggerctl/RestoreSupport.h"

#include "tests/system/loggerctl/CGolden.h"
#include "tests/system/loggerctl/SampleHistory.h"

CProgram::Result Restore(CProgram::Words arguments) {
    arguments.insert(arguments.begin(), "restore");
    return CProgram(arguments).Run();
}

void ExpectGolden(const std::string& name, CProgram::Result result) {
    result.m_sOutput = SampleHistory::WithoutNewIds(result.m_sOutput);
    result.m_sError = SampleHistory::WithoutNewIds(result.m_sError);
    CGolden::Expect("restore-" + name, result);
}
