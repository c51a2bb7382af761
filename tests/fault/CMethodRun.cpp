#include "tests/fault/CMethodRun.h"

#include "KzmPaths.h"
#include "tests/fault/HostRecovery.h"
#include "tests/support/CLoadedProvider.h"
#include "tests/support/Descriptors.h"
#include "tests/support/ProviderLockFile.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

using std::string;

namespace {

constexpr std::chrono::seconds kLongestLife{10}; // of what a dead process leaves behind

const CMethodRun::Window kTracedWindow{
    CTracedProcess::OpenWindow, [](CObservation::Report*) { CTracedProcess::CloseWindow(); }};

// More than one buffer of the C++ library, in lines that it does not buffer.
string LongComments() {
    constexpr int kLines = 5;
    constexpr std::size_t kLength = 3000;
    string text;
    for (int line = 0; line < kLines; ++line) {
        text += "#" + string(kLength, 'x') + "\n";
    }
    return text;
}

bool HasChildren() {
    return waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
}

string ReadAll(int descriptor) {
    string text;
    std::array<char, 4096> buffer{};
    ssize_t count = 0;
    while ((count = read(descriptor, buffer.data(), buffer.size())) > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return text;
}

} // namespace

CMethodRun::CMethodRun(string method, Files files)
    : m_sMethod(std::move(method)),
      m_sFileEnds(files == Files::kLong ? LongComments() : "") {
    m_root.SetAgentConfig(CTestRoot::kAgentConfig + m_sFileEnds);
    m_root.SetAlertConfig(CTestRoot::kAlertConfig + m_sFileEnds);
    HostRecovery::KeepCopies();
    if (m_sMethod == "SetParameter") {
        WriteFile(KzmPaths::kLockFile, "");
    }
}

DocumentedOutcomes::Case CMethodRun::Case(const string& fault) const {
    return {m_sMethod,
            fault,
            CTestRoot::kAgentConfig + m_sFileEnds,
            CTestRoot::kAlertConfig + m_sFileEnds,
            ChangedAgent() + m_sFileEnds,
            ChangedAlert() + m_sFileEnds,
            {}};
}

void CMethodRun::SlowCommandsDown() {
    const string script = CTestRoot::Path("/opt/veltaro/agent/vendor-command");
    WriteFile(script, Replace(ReadFile(script), "\n", "\nsleep 0.05\n"));
}

CObservation CMethodRun::Run(const CSystemCallFault& fault) {
    return Observe(kTracedWindow, fault);
}

CObservation CMethodRun::Run(const Window& window) {
    return Observe(window, {});
}

CObservation CMethodRun::Observe(const Window& window, const CSystemCallFault& fault) {
    std::array<int, 2> report{};
    EXPECT_EQ(0, pipe2(report.data(), O_CLOEXEC));
    m_end = CTracedProcess::Run([&] { return CallAndReport(window, report[1]); }, fault);
    close(report[1]);
    CObservation observation;
    observation.m_report = CObservation::Report::Parse(ReadAll(report[0]));
    close(report[0]);
    observation.m_iExitStatus = m_end.m_iStatus;
    observation.m_bMet = m_end.m_bMet || (observation.m_report && observation.m_report->m_bMet);
    observation.m_bOrphansEnded = m_orphans.HaveEnded(kLongestLife);
    observation.m_bLockFree = IsLockFree();
    observation.m_vendorCalls = m_root.VendorCalls();
    observation.m_sAgent = ReadFile(KzmPaths::kAgentConfig);
    observation.m_sAlert = ReadFile(KzmPaths::kAlertConfig);
    return observation;
}

int CMethodRun::CallAndReport(const Window& window, int reportTo) const {
    const string text = Call(window).Text();
    return write(reportTo, text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1;
}

CObservation::Report CMethodRun::Call(const Window& window) const {
    CObservation::Report report;
    CLoadedProvider provider;
    IWbemClassObject inParams;
    ChangedConf().ConvertToIWbemClassObject(&inParams);
    CCallOutcome outcome;
    const CTraceCapture trace;
    const auto before = Descriptors();
    window.m_pOpen();
    try {
        outcome = provider.Call(m_sMethod, &inParams);
    } catch (...) {
        report.m_bThrown = true;
    }
    window.m_pClose(&report);
    for (const auto& descriptor : Descriptors()) {
        if (before.count(descriptor) == 0) {
            report.m_leaked.push_back(descriptor.second);
        }
    }
    report.m_bHasChildren = HasChildren();
    report.m_bLockHeld = !IsLockFree();
    report.m_sError = outcome.m_sError;
    report.m_bDelivered = outcome.m_output != nullptr;
    report.m_uiResult = outcome.m_uiMethodResult;
    report.m_uiStatus = static_cast<std::uint32_t>(outcome.m_status);
    report.m_trace = trace.Lines();
    return report;
}
