#pragma once

#include "comlib/HResult.h"
#include "providerbase/IWbemClassObject.h"

#include <cstdint>
#include <memory>
#include <string>

// The answer to one method call.
struct CCallOutcome {
    // Empty when the provider kept its side of the contract. Otherwise what it did wrong, in words
    // (no status, a status twice, no output object, ...); the other members are then what arrived.
    std::string m_sError;
    // The call status that the sink was given; the host's own code when none arrived.
    HRESULT m_status = WbemResult::kFailed;
    // The output object's "ReturnValue"; meaningful when m_output is set.
    std::uint32_t m_uiMethodResult = 0;
    // A copy of the output object; null when none was delivered.
    std::unique_ptr<IWbemClassObject> m_output;
};

// A provider host in its smallest complete form: one provider library, its class definitions, and
// one method call at a time, on the caller's thread.
class CProviderHost {
public:
    // Loads the class definitions and the provider library, calls its `create`, and gives the
    // provider object its services. On failure null comes back and *error says in one line which
    // file is concerned, what is wrong with it, and what to do.
    static std::unique_ptr<CProviderHost>
    Open(const std::string& libraryPath, const std::string& definitionsPath, std::string* error);

    // Destroys the provider object and unloads its library. Cannot be cancelled.
    ~CProviderHost();
    CProviderHost(const CProviderHost&) = delete;
    CProviderHost& operator=(const CProviderHost&) = delete;

    // Calls a method and waits for its end. inParams may be null and stays the caller's. A status
    // that reports failure is an outcome, not an error. Throws std::bad_alloc alone. The calling
    // thread can be cancelled where the provider says so.
    CCallOutcome Call(const std::string& className, const std::string& methodName,
                      IWbemClassObject* inParams);

private:
    struct Parts;
    explicit CProviderHost(std::unique_ptr<Parts> parts);

    std::unique_ptr<Parts> m_parts;
};
