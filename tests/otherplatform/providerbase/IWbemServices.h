#pragma once

#include <string>

class IWbemClassObject;
class IWbemCallResult;

class IWbemServices {
public:
    virtual ~IWbemServices() = default;
    virtual int GetObject(const std::string& path, int flags, void* context,
                          IWbemClassObject** object, IWbemCallResult** callResult) = 0;
};
