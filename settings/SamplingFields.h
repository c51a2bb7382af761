#pragma once

#include "settings/CLoggerConfCommon.h"
#include "settings/CPropertyReader.h"
#include "settings/CPropertyWriter.h"
#include "settings/LoggerDefinitions.h"
#include "settings/LoggerTrace.h"

#include <cstdint>
#include <list>
#include <string>

// What the CPU, memory and file-system monitors have in common: the switch, the sampling interval
// and the sampling count. Record is a class with the members m_bMonitoringEnable,
// m_uiSamplingInterval and m_uiSamplingCount. Failures and differences are traced as those of the
// record itself.
namespace SamplingFields {

// The bits of the three fields in a reader's set of what it has seen.
inline constexpr std::uint16_t kEnableBit = 0x1;
inline constexpr std::uint16_t kIntervalBit = 0x2;
inline constexpr std::uint16_t kCountBit = 0x4;

// Takes the three fields that begin a value list and returns the bits of those that were set. A
// switch that says neither "True" nor "False" is left as it was, without its bit; numbers are not
// checked. The iterator must have three fields before it and stands behind them afterwards.
template <class Record>
std::uint16_t ReadFields(std::list<std::string>::const_iterator* field, Record* record) {
    std::uint16_t setFlag = kIntervalBit | kCountBit;
    if (CLoggerConfCommon::GetEnable(*(*field)++, &record->m_bMonitoringEnable)) {
        setFlag |= kEnableBit;
    }
    record->m_uiSamplingInterval =
        static_cast<unsigned int>(CLoggerConfCommon::GetNumber(*(*field)++));
    record->m_uiSamplingCount =
        static_cast<unsigned int>(CLoggerConfCommon::GetNumber(*(*field)++));
    return setFlag;
}

// Reads the three properties in order; false at the first that fails.
template <class Record>
bool ReadProperties(const CPropertyReader& reader, Record* record) {
    using namespace LoggerDefinitions;
    return reader.GetBool(kMonitoringEnable, &record->m_bMonitoringEnable) &&
           reader.GetUInt(kSamplingInterval, &record->m_uiSamplingInterval) &&
           reader.GetUInt(kSamplingCount, &record->m_uiSamplingCount);
}

// Sets the three properties in order; false at the first that fails.
template <class Record>
bool WriteProperties(const CPropertyWriter& writer, const Record& record) {
    using namespace LoggerDefinitions;
    return writer.SetBool(kMonitoringEnable, record.m_bMonitoringEnable) &&
           writer.SetUInt(kSamplingInterval, record.m_uiSamplingInterval) &&
           writer.SetUInt(kSamplingCount, record.m_uiSamplingCount);
}

// Compares in order; false at the first difference.
template <class Record>
bool Compare(const char* name, const Record& left, const Record& right) {
    using namespace LoggerDefinitions;
    using LoggerTrace::IsSame;
    return IsSame(name, kMonitoringEnable, static_cast<int>(left.m_bMonitoringEnable),
                  static_cast<int>(right.m_bMonitoringEnable)) &&
           IsSame(name, kSamplingInterval, static_cast<int>(left.m_uiSamplingInterval),
                  static_cast<int>(right.m_uiSamplingInterval)) &&
           IsSame(name, kSamplingCount, static_cast<int>(left.m_uiSamplingCount),
                  static_cast<int>(right.m_uiSamplingCount));
}

// Traces the three values.
template <class Record>
void Dump(const Record& record) {
    using LoggerTrace::kModule;
    using LoggerTrace::kValue;
    CTraceUtility::WriteDebug(kModule, kValue, "m_bMonitoringEnable=%d",
                              static_cast<int>(record.m_bMonitoringEnable));
    CTraceUtility::WriteDebug(kModule, kValue, "m_uiSamplingInterval=%d",
                              static_cast<int>(record.m_uiSamplingInterval));
    CTraceUtility::WriteDebug(kModule, kValue, "m_uiSamplingCount=%d",
                              static_cast<int>(record.m_uiSamplingCount));
}

} // namespace SamplingFields
