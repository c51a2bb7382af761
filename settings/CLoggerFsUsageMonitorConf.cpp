#include "settings/CLoggerFsUsageMonitorConf.h"

#include "comlib/CStringUtil.h"
#include "providerbase/IWbemClassObject.h"
#include "settings/SamplingFields.h"

#include <algorithm>
#include <utility>
#include <vector>

using namespace LoggerDefinitions;
using std::string;

namespace {

// Set from the start; cleared by a malformed FSNAME line.
constexpr std::uint16_t kVolumesGoodBit = 0x8;
constexpr std::uint16_t kAllBits = 0xF;

} // namespace

CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf() {
    InitMember();
}

CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf(IWbemClassObject* object) {
    InitMember();
    CLoggerFsUsageMonitorConf read;
    if (object == nullptr || !read.ReadProperties(object)) {
        m_iStatus = kRecordFailed;
        return;
    }
    *this = std::move(read);
}

bool CLoggerFsUsageMonitorConf::ReadProperties(IWbemClassObject* object) {
    const CPropertyReader reader(object, "CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf");
    std::vector<IWbemClassObject*> rows;
    if (!SamplingFields::ReadProperties(reader, this) ||
        !reader.GetObjectArray(kFsThresholdConfList, &rows)) {
        return false;
    }
    for (IWbemClassObject* row : rows) {
        m_FsThresholdConfList.emplace_back(row);
        if (m_FsThresholdConfList.back().m_iStatus != kRecordValid) {
            return false;
        }
    }
    return true;
}

CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf(std::ifstream* file, const string& key) {
    InitMember();
    if (key != kFileSystemKey || file == nullptr) {
        m_iStatus = kRecordFailed;
        return;
    }
    RowIndex rows;
    if (!GetMountPointList(m_FsThresholdConfList, &rows)) {
        CTraceUtility::WriteDebug(
            LoggerTrace::kModule, LoggerTrace::kFailure,
            "CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf GetMountPointList() failure");
        m_iStatus = kRecordFailed;
        return;
    }
    std::uint16_t setFlag = kVolumesGoodBit;
    ReadAlertConfig(file, &rows, &setFlag);
    if (setFlag != kAllBits) {
        CTraceUtility::WriteDebug(
            LoggerTrace::kModule, LoggerTrace::kFailure,
            "CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf nSetFlag=%04X", setFlag);
        InitMember();
        m_iStatus = kRecordFailed;
    }
}

void CLoggerFsUsageMonitorConf::ReadAlertConfig(std::ifstream* file, RowIndex* rows,
                                                std::uint16_t* setFlag) {
    CLoggerConfCommon::Rewind(file);
    string line;
    while (std::getline(*file, line)) {
        if (!ReadFileSystemLine(line, setFlag) || !ReadVolumeLine(line, rows, setFlag)) {
            return;
        }
    }
}

bool CLoggerFsUsageMonitorConf::ReadFileSystemLine(const string& line, std::uint16_t* setFlag) {
    static const string kAssignment = string(kFileSystemKey) + "=";
    const string::size_type keyPos = line.find(kAssignment);
    if (keyPos == string::npos) {
        return true;
    }
    string list = GetValueListFromString(line, static_cast<unsigned int>(keyPos));
    if (list.empty()) {
        return true;
    }
    const std::list<string> fields = CStringUtil::Split(list, kFieldSeparator);
    if (fields.size() != kFsUsageMonitorFields) {
        return false;
    }
    auto field = fields.begin();
    *setFlag |= SamplingFields::ReadFields(&field, this);
    return true;
}

bool CLoggerFsUsageMonitorConf::ReadVolumeLine(const string& line, RowIndex* rows,
                                               std::uint16_t* setFlag) {
    const string::size_type keyPos = line.find(kFsNameKey);
    if (keyPos == string::npos) {
        return true;
    }
    string name;
    int threshold = 0;
    bool enable = false;
    const int kind = GetVolumeThresholdFromString(line, static_cast<unsigned int>(keyPos), &name,
                                                  &threshold, &enable);
    if (kind == kMalformedEntry) {
        *setFlag = static_cast<std::uint16_t>(*setFlag & ~kVolumesGoodBit);
        return false;
    }
    if (kind == kEntry) {
        CLoggerFsThresholdConf* row = rows->Find(name);
        if (row != nullptr) {
            row->m_iThreshold = threshold;
            row->m_bVolMonitoringEnable = enable;
        }
    }
    return true;
}

string CLoggerFsUsageMonitorConf::GetValueListFromString(const string& line, unsigned int keyPos) {
    return CLoggerConfCommon::GetTextInParentheses(line, keyPos);
}

int CLoggerFsUsageMonitorConf::GetVolumeThresholdFromString(const string& line, unsigned int keyPos,
                                                            string* name, int* threshold,
                                                            bool* enable) {
    *threshold = 0;
    name->clear();
    *enable = false;

    string::size_type equals = string::npos;
    if (line.find(kDisabledMarker) != string::npos) {
        equals = line.find('=');
    } else {
        equals = CLoggerConfCommon::CheckCommentLine(line, keyPos);
        if (equals == string::npos) {
            return kNoEntry;
        }
        *enable = true;
    }

    const string::size_type nameBegin = line.find('"', equals);
    const string::size_type nameEnd =
        nameBegin == string::npos ? string::npos : line.find('"', nameBegin + 1);
    if (nameEnd == string::npos) {
        return kMalformedEntry;
    }
    name->assign(line, nameBegin + 1, nameEnd - nameBegin - 1);

    const string::size_type open = line.find('(', nameEnd);
    const string::size_type close = open == string::npos ? string::npos : line.find(')', open);
    if (close == string::npos) {
        return kMalformedEntry;
    }
    *threshold =
        static_cast<int>(CLoggerConfCommon::GetNumber(line.substr(open + 1, close - open - 1)));
    return name->empty() || *threshold == 0 ? kMalformedEntry : kEntry;
}

bool CLoggerFsUsageMonitorConf::CheckMountPointName(string name,
                                                    std::list<CLoggerFsThresholdConf>& list) {
    return std::any_of(list.begin(), list.end(), [&name](const CLoggerFsThresholdConf& row) {
        return row.m_sVolumeName == name;
    });
}

void CLoggerFsUsageMonitorConf::InitMember() {
    m_FsThresholdConfList.clear();
    m_bMonitoringEnable = false;
    m_uiSamplingInterval = 0;
    m_uiSamplingCount = 0;
    m_iStatus = kRecordValid;
}

bool CLoggerFsUsageMonitorConf::Compare(const CLoggerFsUsageMonitorConf* other) const {
    if (!SamplingFields::Compare("CLoggerFsUsageMonitorConf", *this, *other)) {
        return false;
    }
    CVolumeIndex<const CLoggerFsThresholdConf> otherRows(other->m_FsThresholdConfList);
    for (const CLoggerFsThresholdConf& row : m_FsThresholdConfList) {
        const CLoggerFsThresholdConf* found = otherRows.Find(row.m_sVolumeName);
        if (found == nullptr) {
            CTraceUtility::WriteDebug(LoggerTrace::kModule, LoggerTrace::kFailure,
                                      "CLoggerFsUsageMonitorConf::Compare VolumeName not same. "
                                      "VolumeName1(%s) not found.",
                                      row.m_sVolumeName.c_str());
            return false;
        }
        if (!row.Compare(*found)) {
            return false;
        }
    }
    const auto size = static_cast<int>(m_FsThresholdConfList.size());
    const auto otherSize = static_cast<int>(other->m_FsThresholdConfList.size());
    if (size != otherSize) {
        CTraceUtility::WriteDebug(LoggerTrace::kModule, LoggerTrace::kFailure,
                                  "CLoggerFsUsageMonitorConf::Compare FsList size is not same. "
                                  "FsList1.size=%d FsList2.size=%d",
                                  size, otherSize);
        return false;
    }
    return true;
}

bool CLoggerFsUsageMonitorConf::ConvertToIWbemClassObject(IWbemClassObject* object) const {
    const CPropertyWriter writer(object, "CLoggerFsUsageMonitorConf::ConvertToIWbemClassObject");
    if (!SamplingFields::WriteProperties(writer, *this)) {
        return false;
    }
    std::vector<IWbemClassObject> elements(m_FsThresholdConfList.size());
    std::vector<IWbemClassObject*> rows;
    rows.reserve(elements.size());
    auto element = elements.begin();
    for (const CLoggerFsThresholdConf& row : m_FsThresholdConfList) {
        if (!row.ConvertToIWbemClassObject(&*element)) {
            return false;
        }
        rows.push_back(&*element++);
    }
    return writer.SetObjectArray(kFsThresholdConfList, &rows);
}

void CLoggerFsUsageMonitorConf::OutPutMemberToDebugLog() const {
    using LoggerTrace::kModule;
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow,
                              "CLoggerFsUsageMonitorConf::OutPutMemberToDebugLog[START]");
    SamplingFields::Dump(*this);
    for (const CLoggerFsThresholdConf& row : m_FsThresholdConfList) {
        row.OutPutMemberToDebugLog();
    }
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow,
                              "CLoggerFsUsageMonitorConf::OutPutMemberToDebugLog[END]");
}
