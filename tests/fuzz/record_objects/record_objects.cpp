// A record on its way into WBEM objects and back, with every trace line formatted. The input is the
// record.

#include "comlib/CTraceUtility.h"
#include "providerbase/IWbemClassObject.h"
#include "tests/fuzz/support/CInput.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/CWholeRecord.h"
#include "tests/fuzz/support/FuzzTarget.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CTraceUtility::SetListener(0xF, [](const CTraceUtility::Line&) {}); // lines that are wanted
    const CLoggerConf conf = CInput(data, size, 1).Conf(0);
    conf.OutPutMemberToDebugLog();
    IWbemClassObject object;
    CProperty::Require(conf.ConvertToIWbemClassObject(&object), "every record becomes an object");
    const CLoggerConf read(&object);
    CProperty::Require(read.m_iStatus == 0 && CWholeRecord::IsSame(read, conf),
                       "a record comes back from its object as it was");
    return 0;
}
