#pragma once

#include "history/CDescriptor.h"

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

// The front end of this build as a process of its own, with operations that repeat what they are
// asked. It is killed when this object goes.
class CServerProcess {
public:
    // The configuration is the lines, and http on a loopback port. Returns once it listens.
    explicit CServerProcess(const std::string& lines = "");
    // The configuration is the lines alone. Returns once the process is started; `arguments` are
    // its. `listener` is a socket that it is given as a service manager gives it; -1: none.
    static CServerProcess Start(const std::string& lines,
                                const std::vector<std::string>& arguments = {}, int listener = -1);
    ~CServerProcess();
    CServerProcess(CServerProcess&& other) noexcept;
    CServerProcess& operator=(CServerProcess&&) = delete;
    CServerProcess(const CServerProcess&) = delete;
    CServerProcess& operator=(const CServerProcess&) = delete;

    static void SetConfiguration(const std::string& lines);

    // The ports that it listens on.
    [[nodiscard]] int HttpPort() const { return m_httpPort; }
    [[nodiscard]] int HttpsPort() const { return m_httpsPort; }
    // Waits until it tells a port of this kind, "https" or "http", and takes that for its port.
    void AwaitPort(const std::string& kind);

    // Waits for a line of the log that contains the text. Lines before it are not found again.
    std::string AwaitLine(const std::string& text);
    void Signal(int signal) const;
    [[nodiscard]] pid_t Id() const { return m_process; }
    // Waits for its end: the exit code, or 128 and the signal that ended it.
    int AwaitEnd();
    // All that it logged or said and that was not awaited; after its end.
    std::string Rest();

private:
    CServerProcess(pid_t process, history::CDescriptor log)
        : m_process(process),
          m_log(std::move(log)) {}
    bool ReadMore();

    pid_t m_process = -1;
    history::CDescriptor m_log;
    std::string m_text;
    int m_httpPort = 0;
    int m_httpsPort = 0;
};
