#include "tests/fault/CTracee.h"

#include <gtest/gtest.h>

#include <elf.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/uio.h>
#include <sys/user.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace {

// The kernel's own answers for a call that it will make again; they are in no header of programs.
bool IsInterrupted(long result) {
    constexpr long kRestartCall = -512;
    constexpr long kRestartWithoutSignal = -513;
    constexpr long kRestartWithoutHandler = -514;
    constexpr long kRestartRest = -516;
    return result == kRestartCall || result == kRestartWithoutSignal ||
           result == kRestartWithoutHandler || result == kRestartRest;
}

} // namespace

CTracee::SystemCall CTracee::Read() const {
    struct __ptrace_syscall_info info {};
    EXPECT_LT(0, ptrace(PTRACE_GET_SYSCALL_INFO, m_iProcess, sizeof info, &info));
    SystemCall call;
    call.m_bIsEntry = info.op == PTRACE_SYSCALL_INFO_ENTRY;
    if (call.m_bIsEntry) {
        call.m_iNumber = static_cast<long>(info.entry.nr);
        std::copy(std::begin(info.entry.args), std::end(info.entry.args), call.m_arguments.begin());
    } else {
        call.m_bIsInterrupted = IsInterrupted(info.exit.rval);
    }
    return call;
}

bool CTracee::HasSentSignal() const {
    siginfo_t signal{};
    return ptrace(PTRACE_GETSIGINFO, m_iProcess, nullptr, &signal) == 0 &&
           signal.si_pid == m_iProcess;
}

#if defined(__x86_64__)

namespace {

void SetRegister(pid_t process, std::size_t offset, long value) {
    EXPECT_EQ(0, ptrace(PTRACE_POKEUSER, process, offset, value));
}

} // namespace

void CTracee::Skip() const {
    SetRegister(m_iProcess, offsetof(user_regs_struct, orig_rax), -1);
}

void CTracee::ClearFirst() const {
    RestoreFirst(0);
}

void CTracee::RestoreFirst(unsigned long value) const {
    SetRegister(m_iProcess, offsetof(user_regs_struct, rdi), static_cast<long>(value));
}

void CTracee::SetSize(unsigned long size) const {
    SetRegister(m_iProcess, offsetof(user_regs_struct, rdx), static_cast<long>(size));
}

void CTracee::SetResult(long result) const {
    SetRegister(m_iProcess, offsetof(user_regs_struct, rax), result);
}

#elif defined(__aarch64__)

namespace {

void SetRegister(pid_t process, std::size_t index, unsigned long value) {
    user_regs_struct registers{};
    iovec part{&registers, sizeof registers};
    EXPECT_EQ(0, ptrace(PTRACE_GETREGSET, process, NT_PRSTATUS, &part));
    registers.regs[index] = value;
    EXPECT_EQ(0, ptrace(PTRACE_SETREGSET, process, NT_PRSTATUS, &part));
}

} // namespace

void CTracee::Skip() const {
    int none = -1;
    iovec part{&none, sizeof none};
    EXPECT_EQ(0, ptrace(PTRACE_SETREGSET, m_iProcess, NT_ARM_SYSTEM_CALL, &part));
}

void CTracee::ClearFirst() const {
    SetRegister(m_iProcess, 0, 0);
}

void CTracee::RestoreFirst(unsigned long /*value*/) const {} // the answer stands in its place

void CTracee::SetSize(unsigned long size) const {
    SetRegister(m_iProcess, 2, size);
}

void CTracee::SetResult(long result) const {
    SetRegister(m_iProcess, 0, static_cast<unsigned long>(result));
}

#endif
