// Every system call of "loggerctl set" and "loggerctl restore" fails, in every way that it can.

#include "history/History.h"
#include "tests/fault/CFaultPoints.h"
#include "tests/fault/CToolOutcomes.h"
#include "tests/fault/CToolRun.h"
#include "tests/fault/HostRecovery.h"
#include "tests/fault/SystemCallNumbers.h"
#include "tests/fault/ToolTruth.h"
#include "tests/support/SampleConf.h"
#include "tests/support/WholeRun.h"
#include "tests/system/loggerctl/SampleHistory.h"

#include <gtest/gtest.h>

#include <sys/syscall.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <ctime>
#include <iterator>

using Kind = CSystemCallFault::Kind;
using namespace SystemCallNumbers;
using std::string;

namespace {

void AddBoth() {
    SampleHistory::Add(SampleHistory::kOlder, "x", SampleHistory::kAgentConfig,
                       SampleHistory::kAlertConfig);
    SampleHistory::Add(SampleHistory::kNewer, "y", SampleHistory::kNewerAgentConfig,
                       SampleHistory::kNewerAlertConfig);
}

// A restore of the older copy did not come to its end.
void BeginRestore() {
    AddBoth();
    const auto now = history::CSettingsCopy::OfNow(history::CSettingsCopy::Missing::Refuse);
    ASSERT_TRUE(now.has_value());
    ASSERT_TRUE(history::BeginRestore(SampleHistory::kOlder, *now, {}).has_value());
}

// Without an ID: the newest copy, or what an earlier restore had begun.
const CToolCommand kCommands[] = {
    {"set",
     {"set", "syslog.information=yes", "cpu.threshold=95"},
     HostRecovery::KeepCopies,
     ChangedAgent(),
     ChangedAlert()},
    {"restore",
     {"restore"},
     AddBoth,
     SampleHistory::kNewerAgentConfig,
     SampleHistory::kNewerAlertConfig},
    {"restore again",
     {"restore"},
     BeginRestore,
     SampleHistory::kAgentConfig,
     SampleHistory::kAlertConfig},
};

const CToolCommand kSetAsJson = {
    "set --format=json",
    {"set", "--format=json", "syslog.information=yes", "cpu.threshold=95"},
    HostRecovery::KeepCopies,
    ChangedAgent(),
    ChangedAlert()};

struct Fault {
    const char* name;
    Kind kind;
    int error;
    bool isForGood = false;
};

struct CallRow {
    const char* call; // as the table of outcomes names it
    std::vector<long> numbers;
    std::vector<Fault> faults;
};

const CallRow kCallRows[] = {
    {"open",
     {SYS_openat},
     {{"EACCES", Kind::kError, EACCES},
      {"EINTR", Kind::kError, EINTR},
      {"EIO", Kind::kError, EIO},
      {"EMFILE", Kind::kError, EMFILE},
      {"EMFILE for good", Kind::kError, EMFILE, true}}},
    {"read",
     kReading,
     {{"EINTR", Kind::kError, EINTR},
      {"EIO", Kind::kError, EIO},
      {"EIO for good", Kind::kError, EIO, true},
      {"short", Kind::kShort, 0}}},
    {"write",
     kWriting,
     {{"EINTR", Kind::kError, EINTR},
      {"EIO", Kind::kError, EIO},
      {"ENOSPC", Kind::kError, ENOSPC},
      {"ENOSPC for good", Kind::kError, ENOSPC, true},
      {"short", Kind::kShort, 0}}},
    {"close",
     {SYS_close},
     {{"EINTR", Kind::kErrorAfterwards, EINTR}, {"EIO", Kind::kErrorAfterwards, EIO}}},
    {"sync",
     {SYS_fsync, SYS_fdatasync},
     {{"EIO", Kind::kError, EIO}, {"ENOSPC", Kind::kError, ENOSPC}}},
    {"rename",
     kRenaming,
     {{"EACCES", Kind::kError, EACCES},
      {"EIO", Kind::kError, EIO},
      {"ENOSPC", Kind::kError, ENOSPC}}},
    {"remove", kRemoving, {{"EACCES", Kind::kError, EACCES}, {"EIO", Kind::kError, EIO}}},
    {"make folder",
     kMakingFolders,
     {{"EACCES", Kind::kError, EACCES}, {"ENOSPC", Kind::kError, ENOSPC}}},
    {"set mode", kSettingModes, {{"EIO", Kind::kError, EIO}, {"EPERM", Kind::kError, EPERM}}},
    {"set times", {SYS_utimensat}, {{"EIO", Kind::kError, EIO}}},
    {"lock",
     {SYS_flock},
     {{"EINTR", Kind::kError, EINTR},
      {"ENOLCK", Kind::kError, ENOLCK},
      {"EWOULDBLOCK for good", Kind::kError, EWOULDBLOCK, true}}},
    {"status", kAsking, {{"EACCES", Kind::kError, EACCES}, {"EIO", Kind::kError, EIO}}},
    {"list", {SYS_getdents64}, {{"EIO", Kind::kError, EIO}}},
    {"start",
     kStarting,
     {{"EAGAIN", Kind::kError, EAGAIN}, {"ENOMEM for good", Kind::kError, ENOMEM, true}}},
    {"wait",
     {SYS_wait4},
     {{"ECHILD", Kind::kErrorAfterwards, ECHILD}, {"EINTR", Kind::kError, EINTR}}},
    {"pipe", {SYS_pipe2}, {{"EMFILE", Kind::kError, EMFILE}}},
    {"memory",
     {SYS_brk, SYS_mmap},
     {{"ENOMEM", Kind::kError, ENOMEM}, {"ENOMEM for good", Kind::kError, ENOMEM, true}}},
    {"protect memory", {SYS_mprotect}, {{"ENOMEM", Kind::kError, ENOMEM}}},
    {"duplicate", kDuplicating, {{"EMFILE", Kind::kError, EMFILE}}},
    {"seek", {SYS_lseek}, {{"EINVAL", Kind::kError, EINVAL}}},
    {"copy in memory", {SYS_memfd_create}, {{"EMFILE", Kind::kError, EMFILE}}},
    {"settings of a descriptor", {SYS_fcntl}, {{"EINVAL", Kind::kError, EINVAL}}},
    {"name service", {SYS_socket, SYS_connect}, {{"EMFILE", Kind::kError, EMFILE}}},
    {"limits", {SYS_prlimit64}, {{"EPERM", Kind::kError, EPERM}}},
    {"timer", {SYS_timer_create, SYS_timer_settime}, {{"EAGAIN", Kind::kError, EAGAIN}}},
    {"signals", {SYS_signalfd4, SYS_eventfd2}, {{"EMFILE", Kind::kError, EMFILE}}},
};

// Calls that cannot fail here, or whose failure is nobody's business.
const std::vector<long> kHarmless = {
    SYS_clock_nanosleep, SYS_exit_group,   SYS_futex,       SYS_getegid,     SYS_geteuid,
    SYS_getgid,          SYS_getpid,       SYS_getrandom,   SYS_kill,        SYS_gettid,
    SYS_getuid,          SYS_ioctl,        SYS_madvise,     SYS_munmap,      SYS_rt_sigaction,
    SYS_rt_sigprocmask,  SYS_rt_sigreturn, SYS_sched_yield, SYS_timer_delete};

// How far a command had come: the calls that begin each part of its way.
enum Phase { kBeginning, kReadingFiles, kKeeping, kStopping, kChanging, kStartingService, kEnding };
const char* const kPhaseNames[] = {"1 up to the callers' lock",
                                   "2 reading and checking",
                                   "3 keeping a copy",
                                   "4 stopping the service",
                                   "5 changing the files",
                                   "6 starting the service",
                                   "7 at the end"};

// Of each call of a good run. Two waits, that for the stop command and that for the start command,
// lie behind the descriptor that the guard against interruptions makes.
std::vector<Phase> PhasesOf(const std::vector<long>& calls) {
    const auto isStart = [](long number) {
        return std::count(kStarting.begin(), kStarting.end(), number) != 0;
    };
    const auto lastWait = std::find(calls.rbegin(), calls.rend(), SYS_wait4);
    const auto lastStart = std::find_if(lastWait, calls.rend(), isStart);
    const auto starting = calls.rend() - lastStart - 1;
    const auto ended = calls.rend() - lastWait - 1;
    std::vector<Phase> phases;
    Phase phase = kBeginning;
    for (const long number : calls) {
        const auto at = static_cast<std::ptrdiff_t>(phases.size());
        if (phase == kBeginning && number == SYS_flock) {
            phase = kReadingFiles;
        } else if (phase == kReadingFiles && number == SYS_mkdirat) {
            phase = kKeeping;
        } else if (number == SYS_eventfd2) {
            phase = kStopping;
        }
        phase = at == starting ? kStartingService : phase;
        phases.push_back(phase);
        if (phase == kStopping && number == SYS_wait4) {
            phase = kChanging;
        }
        phase = at == ended ? kEnding : phase;
    }
    return phases;
}

class ToolFault : public testing::TestWithParam<std::tuple<CToolCommand, CallRow>> {
protected:
    void SetUp() override {
        if (!CTracedProcess::IsPermitted()) {
            GTEST_SKIP() << "nobody may trace here";
        }
        tzset(); // the time zone is read once: here, and not in the runs
    }

    [[nodiscard]] static bool IsOf(const string& call) {
        return std::get<1>(GetParam()).call == call;
    }

    // The points to try of a row's n-th fault: ordinarily one, of each fault another one.
    static std::vector<int> PointsOf(std::size_t fault, int count) {
        const std::size_t faults = std::get<1>(GetParam()).faults.size();
        const std::vector<int> points = CFaultPoints::Choose(count, static_cast<int>(faults) + 1);
        return IsWholeRun() || points.empty() ? points
                                              : std::vector<int>{points.at(fault % points.size())};
    }

    // A run without a fault.
    static CTracedProcess::End RunWell(const CSystemCallFault& fault) {
        const CToolCommand& command = std::get<0>(GetParam());
        CToolRun run(command);
        const CToolObservation observation = run.Run(fault);
        EXPECT_EQ("0, done", ToolTruth::Describe(command, observation)) << observation;
        return run.End();
    }

    // One run with the fault; returns its outcome.
    static string Try(const CSystemCallFault& fault) {
        const CToolCommand& command = std::get<0>(GetParam());
        CToolRun run(command);
        const CToolObservation observation = run.Run(fault);
        const bool hadFailure = HasFailure();
        ToolTruth::Expect(command, observation, run.Root(), IsOf("write") && fault.m_bForGood);
        if (HasFailure() && !hadFailure) {
            ADD_FAILURE() << observation;
        }
        return ToolTruth::Describe(command, observation);
    }

    static void TryAll(std::size_t index);
};

void ToolFault::TryAll(std::size_t index) {
    const auto& [command, row] = GetParam();
    const Fault& made = row.faults.at(index);
    CSystemCallFault fault{row.numbers};
    fault.m_bOfFilesOnly = IsOf("write") && made.error != EINTR;
    fault.m_bNotInMemory = IsOf("read");
    fault.m_bSkipSleep = true; // a lock that stays out of reach costs half a minute
    const CTracedProcess::End good = RunWell(fault);
    const std::vector<Phase> phases = PhasesOf(good.m_calls);
    fault.m_kind = made.kind;
    fault.m_iError = made.error;
    fault.m_bForGood = made.isForGood;
    std::set<CToolOutcomes::Case> cases;
    const std::vector<int> points = PointsOf(index, good.Counted());
    for (const int point : points) {
        SCOPED_TRACE(string(made.name) + " at call " + std::to_string(point));
        fault.m_iPoint = point;
        const string outcome = Try(fault);
        if (point <= good.Counted()) {
            const std::size_t position = good.m_counted.at(static_cast<std::size_t>(point) - 1);
            cases.insert({kPhaseNames[phases.at(position)], outcome});
        }
    }
    if (!IsOf("memory")) { // where the heap grows differs from run to run: there truth must do
        CToolOutcomes::Expect(command.m_pName, string(row.call) + " " + made.name, cases);
    }
    CFaultPoints::Tell(string("loggerctl ") + command.m_pName + ": " + row.call + " " + made.name,
                       static_cast<int>(points.size()), good.Counted());
}

TEST_P(ToolFault, LeadsToADocumentedOutcome) {
    for (std::size_t index = 0; index < std::get<1>(GetParam()).faults.size(); ++index) {
        TryAll(index);
    }
}

TEST(ToolFaultTable, HasEveryCallThatTheToolMakes) {
    if (!CTracedProcess::IsPermitted()) {
        GTEST_SKIP() << "nobody may trace here";
    }
    std::set<long> known(kHarmless.begin(), kHarmless.end());
    for (const CallRow& row : kCallRows) {
        known.insert(row.numbers.begin(), row.numbers.end());
    }
    for (const CToolCommand& command : kCommands) {
        CToolRun run(command);
        run.Run({});
        for (const long number : run.End().m_calls) {
            EXPECT_EQ(1U, known.count(number)) << command.m_pName << ": call " << number;
        }
    }
}

string NameOf(const testing::TestParamInfo<std::tuple<CToolCommand, CallRow>>& info) {
    const auto& [command, row] = info.param;
    string name = string(command.m_pName) + "_" + row.call;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Of, ToolFault,
                         testing::Combine(testing::ValuesIn(kCommands),
                                          testing::ValuesIn(kCallRows)),
                         NameOf);

std::vector<CallRow> RowsOf(const std::vector<string>& calls) {
    std::vector<CallRow> rows;
    std::copy_if(
        std::begin(kCallRows), std::end(kCallRows), std::back_inserter(rows),
        [&](const CallRow& row) { return std::count(calls.begin(), calls.end(), row.call); });
    return rows;
}

INSTANTIATE_TEST_SUITE_P(AsJson, ToolFault,
                         testing::Combine(testing::Values(kSetAsJson),
                                          testing::ValuesIn(RowsOf({"write", "sync", "start",
                                                                    "duplicate"}))),
                         NameOf);

} // namespace
