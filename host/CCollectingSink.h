#pragma once

#include "host/CProviderHost.h"
#include "providerbase/IWbemObjectSink.h"

#include <string>

// Collects the answer of one method call and checks that the provider keeps the sink's contract:
// one status; one output object before it, with a ReturnValue, unless the status reports failure.
// Not locked: for calls that end before ExecMethodAsync returns, on the same thread.
class CCollectingSink : public IWbemObjectSink {
public:
    // Copies the first object. Answers kInvalidParameter for a null object or a negative count,
    // kFailed for a further object or after the status; these are violations.
    HRESULT Indicate(long count, IWbemClassObject** objects) override;

    // Keeps the first status, of which the low 32 bits count. Answers kFailed, and notes a
    // violation, when there was one already.
    HRESULT SetStatus(long flags, unsigned long result, char* text,
                      IWbemClassObject* object) override;

    // What arrived, once the call is over, and the first violation in words.
    CCallOutcome TakeOutcome();

private:
    HRESULT Violate(HRESULT answer, const std::string& what);
    void CheckCompleteness();

    CCallOutcome m_outcome;
    bool m_bHasStatus = false;
};
