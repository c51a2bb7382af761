#pragma once

#include "comlib/HResult.h"
#include "comlib/KzmApi.h"

class IWbemClassObject;

// Where the answer of one method call goes: any number of objects, then exactly one status.
class KZM_API IWbemObjectSink {
public:
    IWbemObjectSink() = default;
    IWbemObjectSink(const IWbemObjectSink&) = delete;
    IWbemObjectSink& operator=(const IWbemObjectSink&) = delete;
    virtual ~IWbemObjectSink();

    // Delivers objects. They stay the caller's: a sink copies what it keeps before it returns.
    virtual HRESULT Indicate(long count, IWbemClassObject** objects) = 0;

    // Reports the status of the call (an HRESULT's 32 bits). Text and object may be null.
    virtual HRESULT SetStatus(long flags, unsigned long result, char* text,
                              IWbemClassObject* object) = 0;
};
