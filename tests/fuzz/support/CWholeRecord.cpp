#include "tests/fuzz/support/CWholeRecord.h"

#include "tests/fuzz/support/CAgentFormat.h"
#include "tests/fuzz/support/CAlertFormat.h"

bool CWholeRecord::IsSame(const CLoggerConf& left, const CLoggerConf& right) {
    return CAgentFormat::Of(left.m_SyslogOutputConf) ==
               CAgentFormat::Of(right.m_SyslogOutputConf) &&
           CAlertFormat::IsSame(left.m_UsageMonitorConf[0], right.m_UsageMonitorConf[0]) &&
           CAlertFormat::IsSame(left.m_UsageMonitorConf[1], right.m_UsageMonitorConf[1]) &&
           CAlertFormat::IsSame(left.m_FsUsageMonitorConf, right.m_FsUsageMonitorConf);
}
