// Where the records keep their data and their virtual operations. Programs that were compiled
// against these headers go by it, so neither may move.

#include "settings/CLoggerConf.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace {

// The documented members in the documented order, one struct for each record.

struct SyslogOutputConf {
    virtual ~SyslogOutputConf() = default;
    bool m_bSyslogOutput;
    bool m_bInformationAlert;
    bool m_bWarningAlert;
    bool m_bObstacleAlert;
    std::int32_t m_iStatus;
};

struct UsageMonitorConf {
    virtual ~UsageMonitorConf() = default;
    bool m_bMonitoringEnable;
    std::uint32_t m_uiSamplingInterval;
    std::uint32_t m_uiSamplingCount;
    std::int32_t m_iThreshold;
    std::int32_t m_iStatus;
};

struct FsThresholdConf {
    virtual ~FsThresholdConf() = default;
    std::string m_sVolumeName;
    std::int32_t m_iThreshold;
    bool m_bVolMonitoringEnable;
    std::int32_t m_iStatus;
};

struct FsUsageMonitorConf {
    virtual ~FsUsageMonitorConf() = default;
    bool m_bMonitoringEnable;
    std::uint32_t m_uiSamplingInterval;
    std::uint32_t m_uiSamplingCount;
    std::list<FsThresholdConf> m_FsThresholdConfList;
    std::int32_t m_iStatus;
};

struct Conf {
    virtual ~Conf() = default;
    SyslogOutputConf m_SyslogOutputConf;
    UsageMonitorConf m_UsageMonitorConf[2];
    FsUsageMonitorConf m_FsUsageMonitorConf;
    std::int32_t m_iStatus;
};

#define SAME_PLACE(layout, member)                                                                 \
    static_assert(offsetof(CLogger##layout, member) == offsetof(layout, member) &&                 \
                      sizeof(CLogger##layout::member) == sizeof(layout::member),                   \
                  #member " moved")
#define SAME_SIZE(layout)                                                                          \
    static_assert(sizeof(CLogger##layout) == sizeof(layout), #layout " has other members")

SAME_PLACE(SyslogOutputConf, m_bSyslogOutput);
SAME_PLACE(SyslogOutputConf, m_bInformationAlert);
SAME_PLACE(SyslogOutputConf, m_bWarningAlert);
SAME_PLACE(SyslogOutputConf, m_bObstacleAlert);
SAME_PLACE(SyslogOutputConf, m_iStatus);
SAME_SIZE(SyslogOutputConf);

SAME_PLACE(UsageMonitorConf, m_bMonitoringEnable);
SAME_PLACE(UsageMonitorConf, m_uiSamplingInterval);
SAME_PLACE(UsageMonitorConf, m_uiSamplingCount);
SAME_PLACE(UsageMonitorConf, m_iThreshold);
SAME_PLACE(UsageMonitorConf, m_iStatus);
SAME_SIZE(UsageMonitorConf);

SAME_PLACE(FsThresholdConf, m_sVolumeName);
SAME_PLACE(FsThresholdConf, m_iThreshold);
SAME_PLACE(FsThresholdConf, m_bVolMonitoringEnable);
SAME_PLACE(FsThresholdConf, m_iStatus);
SAME_SIZE(FsThresholdConf);

SAME_PLACE(FsUsageMonitorConf, m_bMonitoringEnable);
SAME_PLACE(FsUsageMonitorConf, m_uiSamplingInterval);
SAME_PLACE(FsUsageMonitorConf, m_uiSamplingCount);
SAME_PLACE(FsUsageMonitorConf, m_FsThresholdConfList);
SAME_PLACE(FsUsageMonitorConf, m_iStatus);
SAME_SIZE(FsUsageMonitorConf);

SAME_PLACE(Conf, m_SyslogOutputConf);
SAME_PLACE(Conf, m_UsageMonitorConf);
SAME_PLACE(Conf, m_FsUsageMonitorConf);
SAME_PLACE(Conf, m_iStatus);
SAME_SIZE(Conf);
static_assert(CLoggerConf::kCpu == 0 && CLoggerConf::kMemory == 1);

template <class Record>
class RecordTables : public testing::Test {};

using Records = testing::Types<CLoggerSyslogOutputConf, CLoggerUsageMonitorConf,
                               CLoggerFsThresholdConf, CLoggerFsUsageMonitorConf, CLoggerConf>;
TYPED_TEST_SUITE(RecordTables, Records);

template <class Record>
struct Extended : Record {
    virtual void Next() {}
};

// The two entries that every virtual destructor has, and no other operation.
TYPED_TEST(RecordTables, HoldTheDestructorAlone) {
    static_assert(std::has_virtual_destructor_v<TypeParam>);
    // A pointer to a virtual member holds the entry's offset in bytes, plus one.
    auto next = &Extended<TypeParam>::Next;
    std::ptrdiff_t representation[2];
    static_assert(sizeof next == sizeof representation);
    std::memcpy(representation, &next, sizeof next);
    EXPECT_EQ(2U, static_cast<std::size_t>(representation[0]) / sizeof(void*));
}

} // namespace
