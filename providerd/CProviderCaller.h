#pragma once

#include "KzmPaths.h"
#include "host/CProviderHost.h"
#include "host/CServiceSteps.h"
#include "providerd/WorkMessages.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace providerd {

struct CWorkerOptions {
    std::string m_library = KzmPaths::kProviderLibrary;
    std::string m_definitions = KzmPaths::kClassDefinitions;
    std::chrono::seconds m_callersLockTime{30}; // how long a change waits for others
};

// Calls the provider for management clients. What goes wrong is logged in words. For one thread; at
// most one at a time in a process.
//
// The provider is loaded for the first call, and anew when its library, the class definitions or
// the agent's device description have become others since.
class CProviderCaller {
public:
    // Told of the copy that was kept, by its ID in the history, before anything is changed.
    using Kept = std::function<void(const std::string&)>;

    CProviderCaller(CWorkerOptions options, Kept kept);

    // Makes a call. A SetParameter holds the callers' lock meanwhile, and keeps both settings files
    // in the history before the service is stopped. Results:
    //   Done          the provider answered
    //   NotAvailable  the provider could not be loaded
    //   NotKept       the files could not be kept: nothing was stopped or written
    //   Failed        the parameters are no object, the callers' lock was not to be had (nothing
    //                 was called), or the provider gave no answer that its contract allows
    CWorkAnswer Call(const CWorkRequest& request);

private:
    bool Open();
    CWorkAnswer CallLocked(const CWorkRequest& request, IWbemClassObject* inParameters);
    CWorkAnswer CallProvider(const CWorkRequest& request, IWbemClassObject* inParameters);
    bool KeepFiles();

    const CWorkerOptions m_options;
    const Kept m_kept;
    const CServiceSteps m_steps;
    std::unique_ptr<CProviderHost> m_host;   // goes before the steps
    std::string m_loadedFiles;               // from which m_host was made
    const CWorkRequest* m_request = nullptr; // of the call that is made
    CWorkAnswer m_answer;                    // to it
};

} // namespace providerd
