#pragma once

#include <functional>

#include <sys/types.h>

// A copy of this process that runs one function. Ended when this object goes.
class CChildProcess {
public:
    // The child's exit status is what the function returns. Test failures in it go unseen: it must
    // report through that status.
    explicit CChildProcess(const std::function<int()>& body);
    ~CChildProcess();
    CChildProcess(const CChildProcess&) = delete;
    CChildProcess& operator=(const CChildProcess&) = delete;

    // Waits for the child's end. Its exit status, or -1 when a signal ended it.
    int Wait();

private:
    pid_t m_iProcess; // -1 once it was waited for
};
