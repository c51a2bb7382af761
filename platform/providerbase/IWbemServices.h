#pragma once

#include "comlib/HResult.h"
#include "comlib/KzmApi.h"

#include <string>

class IWbemCallResult;
class IWbemClassObject;

// The host's side of the object model: where a provider gets its class definition from.
class KZM_API IWbemServices {
public:
    IWbemServices() = default;
    IWbemServices(const IWbemServices&) = delete;
    IWbemServices& operator=(const IWbemServices&) = delete;
    virtual ~IWbemServices();

    // The definition of the class that the path names, as an object that the caller owns and gives
    // back with Release. On failure a negative code, and *object is left alone. Flags must be 0;
    // the context may be null; callResult is null for a call that is answered at once.
    virtual HRESULT GetObject(const std::string& path, int flags, void* context,
                              IWbemClassObject** object, IWbemCallResult** callResult) = 0;
};
