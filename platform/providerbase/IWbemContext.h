#pragma once

#include "comlib/KzmApi.h"

// What a host knows about the caller of a method; providers pass it through and do not look inside.
class KZM_API IWbemContext {
public:
    IWbemContext() = default;
    IWbemContext(const IWbemContext&) = delete;
    IWbemContext& operator=(const IWbemContext&) = delete;
    virtual ~IWbemContext();
};
