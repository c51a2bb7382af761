// Every system call of both methods fails once, or from some point on, in every way that it can.

#include "tests/fault/CFaultPoints.h"
#include "tests/fault/CMethodRun.h"
#include "tests/fault/DocumentedOutcomes.h"
#include "tests/fault/HostRecovery.h"
#include "tests/fault/SystemCallNumbers.h"
#include "tests/support/WholeRun.h"

#include <gtest/gtest.h>

#include <sys/syscall.h>

#include <cerrno>
#include <string>
#include <vector>

using Kind = CSystemCallFault::Kind;
using namespace SystemCallNumbers;
using std::string;

namespace {

constexpr int kOrdinaryPoints = 3;

struct Target {
    const char* name;
    const char* method;
    CMethodRun::Files files = CMethodRun::Files::kSample;
};

const Target kGet = {"GetParameter", "GetParameter"};
const Target kSet = {"SetParameter", "SetParameter"};
const Target kSetLong = {"SetParameterOfLongFiles", "SetParameter", CMethodRun::Files::kLong};

struct Row {
    const char* call; // as the table of outcomes names it
    std::vector<long> numbers;
    const char* fault;
    Kind kind;
    int error;
    bool isForGood = false;
    bool isSlow = false; // a lock that stays out of reach costs half a minute
};

const std::vector<long> kOpening = {SYS_openat};

const Row kWritingRows[] = {
    {"write", kWriting, "EIO", Kind::kError, EIO},
    {"write", kWriting, "ENOSPC", Kind::kError, ENOSPC},
    {"write", kWriting, "ENOSPCforGood", Kind::kError, ENOSPC, true},
    {"write", kWriting, "EINTR", Kind::kError, EINTR},
    {"write", kWriting, "short", Kind::kShort, 0},
};

const Row kReadingRows[] = {
    {"read", kReading, "EIO", Kind::kError, EIO},
    {"read", kReading, "EIOforGood", Kind::kError, EIO, true},
    {"read", kReading, "EINTR", Kind::kError, EINTR},
    {"read", kReading, "short", Kind::kShort, 0},
    {"lseek", {SYS_lseek}, "EINVAL", Kind::kError, EINVAL},
};

const Row kModeRows[] = {
    {"fchmod", {SYS_fchmod}, "EIO", Kind::kError, EIO},
    {"fchmod", {SYS_fchmod}, "EPERM", Kind::kError, EPERM},
};

const Row kOtherRows[] = {
    {"open", kOpening, "EACCES", Kind::kError, EACCES},
    {"open", kOpening, "EMFILE", Kind::kError, EMFILE},
    {"open", kOpening, "EINTR", Kind::kError, EINTR},
    {"open", kOpening, "EMFILEforGood", Kind::kError, EMFILE, true},
    {"close", {SYS_close}, "EIO", Kind::kErrorAfterwards, EIO},
    {"close", {SYS_close}, "EINTR", Kind::kErrorAfterwards, EINTR},
    {"flock", {SYS_flock}, "EINTR", Kind::kError, EINTR},
    {"flock", {SYS_flock}, "ENOLCK", Kind::kError, ENOLCK},
    {"flock", {SYS_flock}, "ENOLCKforGood", Kind::kError, ENOLCK, true, true},
    {"start", kStarting, "EAGAIN", Kind::kError, EAGAIN},
    {"start", kStarting, "ENOMEM", Kind::kError, ENOMEM},
    {"start", kStarting, "EAGAINforGood", Kind::kError, EAGAIN, true},
    {"start", {SYS_clone3}, "ENOSYS", Kind::kError, ENOSYS, true},
    {"wait", {SYS_wait4}, "EINTR", Kind::kError, EINTR},
    {"wait", {SYS_wait4}, "ECHILD", Kind::kErrorAfterwards, ECHILD},
    {"futex", {SYS_futex}, "EINTR", Kind::kError, EINTR},
    {"futex", {SYS_futex}, "ETIMEDOUT", Kind::kError, ETIMEDOUT},
    {"fstat", kStatus, "EIO", Kind::kError, EIO},
    {"fcntl", {SYS_fcntl}, "EINVAL", Kind::kError, EINVAL},
    {"prlimit", {SYS_prlimit64}, "EPERM", Kind::kError, EPERM},
#ifndef KZM_NO_FAULT_TRANSLATION // the sanitizers need these themselves
    {"pipe", {SYS_pipe2}, "EMFILE", Kind::kError, EMFILE},
    {"pipe", {SYS_pipe2}, "ENFILE", Kind::kError, ENFILE},
    {"mmap", {SYS_mmap}, "ENOMEM", Kind::kError, ENOMEM},
#endif
};

class SystemCallFault : public testing::TestWithParam<std::tuple<Target, Row>> {
protected:
    void SetUp() override {
        if (!CTracedProcess::IsPermitted()) {
            GTEST_SKIP() << "nobody may trace here";
        }
    }

    static CObservation Observe(const CSystemCallFault& fault, CMethodRun* run) {
        if (std::get<1>(GetParam()).call == string("futex")) {
            CMethodRun::SlowCommandsDown();
        }
        return run->Run(fault);
    }
    // The number of the calls; makes the case.
    static int CountCalls(const CSystemCallFault& fault, DocumentedOutcomes::Case* made);
    // One run with the fault, and the way back.
    static void Try(const CSystemCallFault& fault, const DocumentedOutcomes::Case& made);
};

int SystemCallFault::CountCalls(const CSystemCallFault& fault, DocumentedOutcomes::Case* made) {
    const Target& target = std::get<0>(GetParam());
    CMethodRun run(target.method, target.files);
    *made = run.Case(std::get<1>(GetParam()).call);
    CSystemCallFault counted = fault;
    counted.m_kind = Kind::kNone;
    const CObservation observation = Observe(counted, &run);
    EXPECT_TRUE(observation.m_report.has_value()) << observation;
    made->m_goodTrace = observation.m_report->m_trace;
    EXPECT_EQ("Success", DocumentedOutcomes::Find(*made, observation)) << observation;
    return run.End().Counted();
}

void SystemCallFault::Try(const CSystemCallFault& fault, const DocumentedOutcomes::Case& made) {
    const Target& target = std::get<0>(GetParam());
    CMethodRun run(target.method, target.files);
    const CObservation observation = Observe(fault, &run);
    const string outcome = DocumentedOutcomes::Find(made, observation);
    EXPECT_NE("", outcome) << observation;
    if (!observation.m_bMet) {
        EXPECT_EQ("Success", outcome) << observation;
    }
    if (made.m_sMethod == kSet.method) {
        HostRecovery::ExpectRestored(run.Root());
    }
}

TEST_P(SystemCallFault, LeadsToADocumentedOutcome) {
    const auto& [target, row] = GetParam();
    if (row.isSlow && row.isForGood && !IsWholeRun()) {
        GTEST_SKIP() << "half a minute: only with KZM_TEST_WHOLE";
    }
    DocumentedOutcomes::Case made;
    CSystemCallFault fault{row.numbers, row.kind, row.error, 0, row.isForGood};
    fault.m_bOfFilesOnly = row.call == string("write"); // the sanitizers write into pipes
    const int count = CountCalls(fault, &made);
    const std::vector<int> points = CFaultPoints::Choose(count, kOrdinaryPoints);
    for (const int point : points) {
        SCOPED_TRACE("call " + std::to_string(point));
        fault.m_iPoint = point;
        Try(fault, made);
    }
    CFaultPoints::Tell(string(target.name) + " " + row.call + " " + row.fault,
                       static_cast<int>(points.size()), count);
}

string NameOf(const testing::TestParamInfo<std::tuple<Target, Row>>& info) {
    const auto& [target, row] = info.param;
    return string(target.name) + "_" + row.call + "_" + row.fault;
}

INSTANTIATE_TEST_SUITE_P(All, SystemCallFault,
                         testing::Combine(testing::Values(kGet, kSet),
                                          testing::ValuesIn(kOtherRows)),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(Reading, SystemCallFault,
                         testing::Combine(testing::Values(kGet, kSet, kSetLong),
                                          testing::ValuesIn(kReadingRows)),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(Writing, SystemCallFault,
                         testing::Combine(testing::Values(kSet, kSetLong),
                                          testing::ValuesIn(kWritingRows)),
                         NameOf);
// GetParameter has to make the lock file.
INSTANTIATE_TEST_SUITE_P(Making, SystemCallFault,
                         testing::Combine(testing::Values(kGet), testing::ValuesIn(kModeRows)),
                         NameOf);

} // namespace
