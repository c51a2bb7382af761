// What the console says where the system fails it.

#include "loggerctl/output/Console.h"

#include "loggerctl/output/Answer.h"
#include "tests/fault/CTracedProcess.h"
#include "tests/unit/output/CStreamCapture.h"

#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

using namespace output;
using StreamKind = CStreamCapture::Kind;
using FaultKind = CSystemCallFault::Kind;

namespace {

TEST(ConsoleFault, IsAFailureWhenThereIsNoRoomOnClosing) {
    if (!CTracedProcess::IsPermitted()) {
        GTEST_SKIP() << "nobody may trace here";
    }
    CStreamCapture output(STDOUT_FILENO, StreamKind::File);
    CStreamCapture error(STDERR_FILENO, StreamKind::File);
    const auto run = [] {
        CAnswer answer;
        answer.m_text = "text\n";
        CConsole console(Format::Text, false);
        CTracedProcess::OpenWindow();
        const ExitCode code = console.Finish(answer);
        CTracedProcess::CloseWindow();
        return static_cast<int>(code);
    };
    const CSystemCallFault fault{{SYS_close}, FaultKind::kErrorAfterwards, ENOSPC, 1};
    EXPECT_EQ(CTracedProcess::Run(run, fault).m_iStatus, static_cast<int>(ExitCode::Failure));
    EXPECT_EQ(error.Text(), "loggerctl: The output cannot be written: No space left on device.\n");
}

} // namespace
