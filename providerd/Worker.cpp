#include "providerd/Worker.h"

#include "providerd/FrameTransfer.h"
#include "providerd/WorkMessages.h"
#include "serverbase/ServiceManager.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>

namespace providerd {

namespace {

using daemon_base::Level;
using daemon_base::Log;

constexpr char kName[] = "kzm-worker"; // in lists of processes

void DoNothing(int /*signal*/) {}

// A handler, so that the programs that are started do not share it.
void SurviveRequestsToEnd() {
    struct sigaction action {};
    action.sa_handler = DoNothing;
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        sigaction(number, &action, nullptr);
    }
}

} // namespace

int RunWorker(const CWorkerOptions& options) {
    if (fcntl(kWorkerDescriptor, F_SETFD, FD_CLOEXEC) != 0) {
        Log(Level::Error, "A worker is started by kzm-providerd alone.");
        return 1;
    }
    prctl(PR_SET_NAME, kName);
    SurviveRequestsToEnd();
    CProviderCaller caller(options);
    for (;;) {
        std::string payload;
        if (ReceiveFrame(kWorkerDescriptor, &payload, std::nullopt) != Transfer::Done) {
            return 0;
        }
        const std::optional<CWorkRequest> request = DecodeWorkRequest(payload);
        if (!request) {
            Log(Level::Error, "The worker was sent something that is no request.");
            return 1;
        }
        if (SendFrame(kWorkerDescriptor, Encode(caller.Call(*request)), std::nullopt) !=
            Transfer::Done) {
            return 0;
        }
    }
}

} // namespace providerd
