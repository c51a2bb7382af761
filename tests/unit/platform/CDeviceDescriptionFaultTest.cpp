#include "providerbase/CDeviceDescription.h"

#include "tests/fault/CTracedProcess.h"
#include "tests/support/CTempFile.h"

#include <gtest/gtest.h>

#include <sys/syscall.h>

#include <cerrno>

using Kind = CSystemCallFault::Kind;

namespace {

// How many commands are read where the first reading meets the fault; -1 when it is refused.
int CommandsReadWith(Kind kind, int error) {
    const CTempFile file("Stop=/bin/true\nStart=/bin/true\n");
    const auto read = [&file] {
        CTracedProcess::OpenWindow();
        const auto description = CDeviceDescription::Read(file.Path());
        CTracedProcess::CloseWindow();
        return description ? static_cast<int>(description->m_commands.size()) : 255;
    };
    const int status = CTracedProcess::Run(read, {{SYS_read}, kind, error, 1}).m_iStatus;
    return status == 255 ? -1 : status;
}

TEST(DescriptionFault, ASignalOrAShortReadDoesNotEndTheReadingAndAnErrorDoes) {
    if (!CTracedProcess::IsPermitted()) {
        GTEST_SKIP() << "nobody may trace here";
    }
    EXPECT_EQ(CommandsReadWith(Kind::kError, EINTR), 2);
    EXPECT_EQ(CommandsReadWith(Kind::kShort, 0), 2);
    EXPECT_EQ(CommandsReadWith(Kind::kError, EIO), -1);
}

} // namespace
