#pragma once

#include "history/CDescriptor.h"
#include "serverbase/Messages.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// Stands in for the daemon that calls the provider, at its socket below the root of this build. The
// password "right" is right for every user; a user "reader" may read, every other one change. A
// call is answered with its own parameters.
class CFakeProviderd {
public:
    CFakeProviderd();
    ~CFakeProviderd();
    CFakeProviderd(const CFakeProviderd&) = delete;
    CFakeProviderd& operator=(const CFakeProviderd&) = delete;

    // What was asked so far, as "check USER PASSWORD PEER" and "call USER PASSWORD PEER METHOD
    // PARAMETERS".
    std::vector<std::string> Asked();
    // Waits until so many questions came; the test fails when they do not.
    void AwaitAsked(std::size_t count);

    // From now on calls (or checks) are not answered until Release.
    void HoldCalls() { Set(&m_holdsCalls, true); }
    void HoldChecks() { Set(&m_holdsChecks, true); }
    void Release();
    // From now on each connection ends when a call (or a check) has come, without an answer.
    void DieOnCalls() { Set(&m_diesOnCalls, true); }
    void DieOnChecks() { Set(&m_diesOnChecks, true); }
    // From now on each connection takes nothing more once a check was answered, and stays.
    void StopReadingAfterChecks() { Set(&m_stopsReading, true); }
    // From now on calls are answered with this.
    void AnswerCalls(const messages::CCallAnswer& answer);
    // From now on everything is answered with these bytes.
    void AnswerBytes(const std::string& bytes);

    // Ends every connection that there is.
    void HangUp();

private:
    void Set(bool* flag, bool value);
    void Accept();
    void Serve(int socket);
    bool Answer(int socket, const messages::Request& request);
    std::string CallAnswer(const messages::CCallRequest& request);

    history::CDescriptor m_listener;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_asked;
    std::vector<int> m_sockets; // closed after their threads have ended
    std::vector<std::thread> m_threads;
    messages::CCallAnswer m_callAnswer;
    bool m_hasCallAnswer = false;
    std::string m_bytes;
    bool m_holdsCalls = false;
    bool m_holdsChecks = false;
    bool m_diesOnCalls = false;
    bool m_diesOnChecks = false;
    bool m_stopsReading = false;
    bool m_isEnding = false;
    std::thread m_acceptor;
};
