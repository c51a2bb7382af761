#pragma once

#include <functional>
#include <string>

// What is to happen in the midst of a SetParameter, on the thread of the call and under the
// provider's lock. An empty function does nothing.
struct CServiceHooks {
    // Before the service is stopped. False: it is not stopped, and nothing is written.
    std::function<bool()> m_beforeStop;
    // When the files are written and verified. False: the service is not started.
    std::function<bool()> m_beforeStart;
    // Runs a command of the device description in place of the vendor object: is given what runs
    // it, and its name; returns its answer.
    std::function<int(const std::function<int()>& run, const std::string& command)> m_around;
};

// Has hooks take part in the service commands of providers: from its construction to its
// destruction every vendor object that is made in this process has them, and such an object must
// not be used for longer. One at a time: it takes the process's maker of vendor objects.
class CServiceSteps {
public:
    static constexpr char kStop[] = "ServiceStop";
    static constexpr char kStart[] = "ServiceStart";
    // What the provider is answered in place of a command that a hook did not allow.
    static constexpr int kNotAllowed = 125;

    // The vendor objects are made from the device description at this path, none where it gives
    // none. It is read each time that one is made.
    CServiceSteps(const std::string& description, const CServiceHooks& hooks);
    ~CServiceSteps();
    CServiceSteps(const CServiceSteps&) = delete;
    CServiceSteps& operator=(const CServiceSteps&) = delete;
};
