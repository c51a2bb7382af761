#pragma once

#include "host/CProviderHost.h"
#include "tests/support/SampleConf.h"

#include <memory>
#include <string>

// The shipped library, loaded with the shipped class definitions.
class CLoadedProvider {
public:
    CLoadedProvider();

    // Calls a method of the provider's class.
    CCallOutcome Call(const std::string& method, IWbemClassObject* inParams = nullptr);
    // Calls "SetParameter" with these settings.
    CCallOutcome Set(const CLoggerConf& conf);

    // Calls a method and returns its result; a call that broke the rules or failed as a call fails
    // the running test.
    std::uint32_t Result(const std::string& method);
    std::uint32_t SetResult(const CLoggerConf& conf);

    // Destroys the provider object and unloads the library.
    void Unload() { m_host.reset(); }

private:
    static std::uint32_t ResultOf(const CCallOutcome& outcome);

    std::unique_ptr<CProviderHost> m_host;
};
