#pragma once

#include "history/CDescriptor.h"
#include "providerd/FrameTransfer.h"

#include <sys/types.h>

#include <memory>
#include <string>

namespace providerd {

// A worker: a process that takes requests from a connection and answers them, and ends when the
// connection does.
//
// It is the leader of a process group of its own. It finds its end of the connection at
// kWorkerDescriptor, the standard streams as they are here, every signal at its default and none
// blocked, and nothing else. Its environment is a fixed PATH, LC_ALL=C, the variables of this
// software (KZM_...), and JOURNAL_STREAM.
class CWorkerProcess {
public:
    // Starts the program with the argument "--worker". Null, with a reason in *error, when it
    // cannot be started.
    static std::unique_ptr<CWorkerProcess> Start(const std::string& program, std::string* error);

    // Ends it as Finish does, unless it was ended.
    ~CWorkerProcess();
    CWorkerProcess(const CWorkerProcess&) = delete;
    CWorkerProcess& operator=(const CWorkerProcess&) = delete;

    // This side of the connection. Belongs to this object.
    [[nodiscard]] int Socket() const { return m_socket.Get(); }

    // Between two calls: whether it still waits for a request. It neither ended nor said anything.
    [[nodiscard]] bool IsReady() const;

    // ByItself: it is told to end, and killed when it does not do so within a second.
    // Killed: it is killed at once, in whatever it is at, with its process group and the commands
    // that it runs.
    //
    // True when it has ended then: nothing is left of it, and nobody has its locks. False when the
    // system has not let it end within two seconds. Nothing can be sent to it any more.
    enum class End { ByItself, Killed };
    bool Finish(End end);

    // Whether it has ended; nothing is left of it then.
    bool HasEnded() { return WaitForEnd(std::chrono::milliseconds(0)); }

    // How it ended: "exit status 1", "signal 9"; once it has.
    [[nodiscard]] std::string Description() const;

private:
    explicit CWorkerProcess(history::CDescriptor socket);
    int Watch();
    bool WaitForEnd(std::chrono::milliseconds time);

    history::CDescriptor m_socket;
    pid_t m_process = -1;
    history::CDescriptor m_processDescriptor; // which tells of its end
    bool m_isRunning = false;                 // or not waited for yet
    int m_status = 0;                         // of the end, as waitpid gives it
};

} // namespace providerd
