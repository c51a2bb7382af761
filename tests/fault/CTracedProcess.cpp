#include "tests/fault/CTracedProcess.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>

using Kind = CSystemCallFault::Kind;

namespace {

constexpr unsigned int kMostSeconds = 60;
constexpr int kSystemCallStop = SIGTRAP | 0x80;

} // namespace

bool CTracedProcess::IsPermitted() {
    static const bool isPermitted = [] {
        const pid_t process = fork();
        if (process == 0) {
            _exit(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 ? 0 : 1);
        }
        int status = 0;
        return waitpid(process, &status, 0) == process && status == 0;
    }();
    return isPermitted;
}

CTracedProcess::End CTracedProcess::Run(const std::function<int()>& body,
                                        const CSystemCallFault& fault) {
    const pid_t process = fork();
    EXPECT_NE(-1, process);
    if (process == 0) {
        alarm(kMostSeconds);
        _exit(body());
    }
    return CTracedProcess(process, fault).Trace();
}

void CTracedProcess::OpenWindow() {
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    kill(getpid(), SIGSTOP);
}

void CTracedProcess::CloseWindow() {
    kill(getpid(), SIGSTOP);
}

CTracedProcess::CTracedProcess(pid_t process, const CSystemCallFault& fault)
    : m_iProcess(process),
      m_tracee(process),
      m_fault(fault) {}

CTracedProcess::End CTracedProcess::Trace() {
    int status = 0;
    do {
        EXPECT_EQ(m_iProcess, waitpid(m_iProcess, &status, 0));
    } while (Handle(status));
    return m_end;
}

bool CTracedProcess::Handle(int status) {
    if (!WIFSTOPPED(status)) {
        m_end.m_iStatus =
            WIFSIGNALED(status) ? kSignalBase + WTERMSIG(status) : WEXITSTATUS(status);
        return false;
    }
    const int stop = WSTOPSIG(status);
    if (stop == kSystemCallStop) {
        OnSystemCall();
        Resume(0);
    } else if ((stop == SIGSTOP || stop == SIGCONT) && !m_tracee.HasSentSignal()) {
        m_bRepeats = m_bInterrupted; // somebody stops it or lets it go on: it goes on
        Resume(0);
    } else if (stop == SIGSTOP && !m_bInWindow) {
        m_bInWindow = true;
        ptrace(PTRACE_SETOPTIONS, m_iProcess, nullptr,
               PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL | PTRACE_O_TRACEEXEC);
        Resume(0);
    } else if (stop == SIGSTOP) {
        ptrace(PTRACE_DETACH, m_iProcess, nullptr, nullptr);
    } else {
        Resume(stop == SIGTRAP ? 0 : stop); // a program that is executed stops with SIGTRAP
    }
    return true;
}

void CTracedProcess::OnSystemCall() {
    const CTracee::SystemCall call = m_tracee.Read();
    m_bInterrupted = call.m_bIsInterrupted;
    if (call.m_bIsEntry) {
        OnEntry(call);
    } else if (m_bAtSleep) {
        m_tracee.SetResult(0);
    } else if (m_bAtCall && !m_bInterrupted) {
        OnExit();
    }
}

void CTracedProcess::OnEntry(const CTracee::SystemCall& call) {
    if (m_bRepeats) {
        m_bRepeats = false;
        return;
    }
    m_end.m_calls.push_back(call.m_iNumber);
    m_bAtCall = false;
    m_bAtSleep = m_fault.m_bSkipSleep && call.m_iNumber == SYS_clock_nanosleep;
    if (m_bAtSleep) {
        m_tracee.Skip();
    }
    if (!Counts(call)) {
        return;
    }
    m_end.m_counted.push_back(m_end.m_calls.size() - 1);
    const int counted = m_end.Counted();
    m_bAtCall = m_fault.m_kind != Kind::kNone &&
                (counted == m_fault.m_iPoint || (m_fault.m_bForGood && counted > m_fault.m_iPoint));
    if (m_bAtCall) {
        m_end.m_bMet = true;
        Meet(call);
    }
}

bool CTracedProcess::Counts(const CTracee::SystemCall& call) const {
    const std::vector<long>& numbers = m_fault.m_calls;
    if (!numbers.empty() &&
        std::find(numbers.begin(), numbers.end(), call.m_iNumber) == numbers.end()) {
        return false;
    }
    const std::string descriptor =
        "/proc/" + std::to_string(m_iProcess) + "/fd/" + std::to_string(call.m_arguments[0]);
    std::error_code notOpen;
    if (m_fault.m_bNotInMemory &&
        std::filesystem::read_symlink(descriptor, notOpen).native().rfind("/memfd:", 0) == 0) {
        return false;
    }
    return !m_fault.m_bOfFilesOnly || std::filesystem::is_regular_file(descriptor, notOpen);
}

void CTracedProcess::Meet(const CTracee::SystemCall& call) {
    const unsigned long size = call.m_arguments[2];
    switch (m_fault.m_kind) {
    case Kind::kError:
        if (call.m_iNumber == SYS_brk) { // it fails by answering what it answers for 0
            m_uiBreak = call.m_arguments[0];
            m_tracee.ClearFirst();
        } else {
            m_tracee.Skip();
        }
        break;
    case Kind::kShort:
        m_tracee.SetSize(
            call.m_iNumber == SYS_writev || call.m_iNumber == SYS_readv ? 1 : (size + 1) / 2);
        break;
    case Kind::kKill:
        kill(m_iProcess, SIGKILL);
        break;
    default:
        break;
    }
}

void CTracedProcess::OnExit() {
    if (m_end.m_calls.back() == SYS_brk) {
        m_tracee.RestoreFirst(m_uiBreak);
    } else if (m_fault.m_kind == Kind::kError || m_fault.m_kind == Kind::kErrorAfterwards) {
        m_tracee.SetResult(-m_fault.m_iError);
    } else if (m_fault.m_kind == Kind::kKillAfterwards) {
        kill(m_iProcess, SIGKILL);
    }
}

void CTracedProcess::Resume(int signal) const {
    // Fails when the process was killed meanwhile; its end is what is waited for next.
    ptrace(PTRACE_SYSCALL, m_iProcess, nullptr, signal);
}
