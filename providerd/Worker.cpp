#include "providerd/Worker.h"

#include "providerd/FrameTransfer.h"
#include "providerd/WorkMessages.h"
#include "serverbase/ServiceManager.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/time.h>

namespace providerd {

namespace {

using daemon_base::Level;
using daemon_base::Log;

constexpr char kName[] = "kzm-worker"; // in lists of processes

void DoNothing(int /*signal*/) {}

// And a log that nobody takes any more. A handler, so that the programs that are started do not
// share it.
void SurviveRequestsToEnd() {
    struct sigaction action {};
    action.sa_handler = DoNothing;
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGPIPE}) {
        sigaction(number, &action, nullptr);
    }
}

// Has the process die at the end of the time, 0: not. The daemon ends calls earlier than that, as
// long as it lives.
void DieIn(std::uint32_t milliseconds) {
    constexpr long kThousand = 1000;
    itimerval timer{};
    timer.it_value.tv_sec = milliseconds / kThousand;
    timer.it_value.tv_usec = milliseconds % kThousand * kThousand;
    setitimer(ITIMER_REAL, &timer, nullptr);
}

} // namespace

int RunWorker(const CWorkerOptions& options) {
    if (fcntl(kWorkerDescriptor, F_SETFD, FD_CLOEXEC) != 0) {
        Log(Level::Error, "A worker is started by kzm-providerd alone.");
        return 1;
    }
    prctl(PR_SET_NAME, kName);
    SurviveRequestsToEnd();
    // A daemon that has gone takes no note; the call goes on.
    CProviderCaller caller(options, [](const std::string& id) {
        SendFrame(kWorkerDescriptor, Encode(CWorkNote{id}), std::nullopt);
    });
    for (;;) {
        std::string payload;
        const Transfer transfer = ReceiveFrame(kWorkerDescriptor, &payload, std::nullopt);
        if (transfer == Transfer::Ended) {
            return 0;
        }
        const auto request = transfer == Transfer::Done ? DecodeWorkRequest(payload) : std::nullopt;
        if (!request) {
            Log(Level::Error, "The worker was sent something that is no request.");
            return 1;
        }
        DieIn(request->m_time);
        const CWorkAnswer answer = caller.Call(*request);
        DieIn(0);
        if (SendFrame(kWorkerDescriptor, Encode(answer), std::nullopt) != Transfer::Done) {
            return 0;
        }
    }
}

} // namespace providerd
