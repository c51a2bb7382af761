#pragma once

#include "tests/support/CExecWords.h"
#include "tests/support/CNotifySocket.h"

#include <sys/types.h>

#include <string>
#include <vector>

// A daemon of this build as a process, with a service manager that hears what it tells. Its
// environment is PATH, LC_ALL=C and what is given; what it prints counts as logged. When this
// object goes, it is told to end, and killed when it does not do so within a second.
class CDaemonProcess {
public:
    using Words = std::vector<std::string>;

    // Of the daemon's descriptors, those that are given become 3, 4 and so on.
    CDaemonProcess(const std::string& program, const Words& arguments, const Words& environment,
                   const std::vector<int>& listeners = {});
    ~CDaemonProcess();
    CDaemonProcess(const CDaemonProcess&) = delete;
    CDaemonProcess& operator=(const CDaemonProcess&) = delete;

    [[nodiscard]] pid_t Id() const { return m_process; }

    // Waits until the daemon tells this, such as "READY=1"; false when it ends first, or takes
    // twenty seconds. What it tells meanwhile is dropped.
    bool AwaitTold(const std::string& line);

    // Waits until a line of its log has this in it, and gives that line, of those that were not
    // given yet; empty when the daemon ends first, or takes twenty seconds.
    std::string AwaitLogged(const std::string& part);

    // From now on nobody takes its log: writing it fails.
    void CloseLog();

    void Signal(int signal) const;

    // Waits for its end: its exit status, 128+n when signal n ended it.
    int AwaitExit();

    // All that it has logged until now; after AwaitExit, all.
    std::string Log();
    // Of that, what is behind the last line that was given.
    std::string Rest() { return Log().substr(m_given); }

private:
    [[nodiscard]] Words Environment(std::size_t listeners, const Words& own) const;
    [[noreturn]] void Execute(const CExecWords& command, const CExecWords& environment,
                              const std::vector<int>& listeners) const;
    void TakeLog();
    bool AwaitReadable(int descriptor);

    CNotifySocket m_notify;
    int m_logReader = -1;
    int m_logWriter = -1;
    pid_t m_process = -1;
    int m_end = -1; // readable once it has ended
    std::string m_log;
    std::size_t m_given = 0; // of the log
};
