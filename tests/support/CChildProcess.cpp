#include "tests/support/CChildProcess.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

CChildProcess::CChildProcess(const std::function<int()>& body) : m_iProcess(fork()) {
    EXPECT_NE(-1, m_iProcess);
    if (m_iProcess == 0) {
        _exit(body());
    }
}

CChildProcess::~CChildProcess() {
    if (m_iProcess > 0) {
        kill(m_iProcess, SIGKILL);
        Wait();
    }
}

int CChildProcess::Wait() {
    int status = 0;
    EXPECT_EQ(m_iProcess, waitpid(m_iProcess, &status, 0));
    m_iProcess = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
