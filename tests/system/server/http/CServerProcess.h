#pragma once

#include "tests/support/CDaemonProcess.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

// The lines of a front end that serves http alone, on a loopback port.
inline const std::string kOnlyHttp = "Listen=\nListenPlain=127.0.0.1:0\n";

// The front end as a process of its own: WBEMD_PROGRAM. It is killed when this object goes.
class CServerProcess {
public:
    // The configuration is the lines, and http on a loopback port. Returns once it listens.
    explicit CServerProcess(const std::string& lines = "");
    // The configuration is the lines alone. Returns once the process is started; the rest is its,
    // see CDaemonProcess.
    using Words = CDaemonProcess::Words;
    static CServerProcess Start(const std::string& lines, const Words& arguments = {},
                                const Words& environment = {},
                                const std::vector<int>& listeners = {});
    static void SetConfiguration(const std::string& lines);

    // The ports that it listens on.
    [[nodiscard]] int HttpPort() const { return m_httpPort; }
    [[nodiscard]] int HttpsPort() const { return m_httpsPort; }
    // Waits until it tells a port of this kind, "https" or "http", and takes that for its port.
    void AwaitPort(const std::string& kind);

    // Waits for a line of the log that contains the text. Lines before it are not found again.
    std::string AwaitLine(const std::string& text);
    void CloseLog() { m_daemon->CloseLog(); }
    void Signal(int signal) const { m_daemon->Signal(signal); }
    [[nodiscard]] pid_t Id() const { return m_daemon->Id(); }
    // Waits for its end: the exit code, or 128 and the signal that ended it.
    int AwaitEnd() { return m_daemon->AwaitExit(); }
    // Waits until the service manager is told this; what is told before is dropped.
    bool AwaitTold(const std::string& line) { return m_daemon->AwaitTold(line); }
    // All that it logged or said and that was not awaited.
    std::string Rest() { return m_daemon->Rest(); }

private:
    explicit CServerProcess(std::unique_ptr<CDaemonProcess> daemon) : m_daemon(std::move(daemon)) {}

    std::unique_ptr<CDaemonProcess> m_daemon;
    int m_httpPort = 0;
    int m_httpsPort = 0;
};
