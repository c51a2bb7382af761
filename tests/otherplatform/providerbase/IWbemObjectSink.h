#pragma once

class IWbemClassObject;

class IWbemObjectSink {
public:
    virtual ~IWbemObjectSink() = default;
    virtual int Indicate(long count, IWbemClassObject** objects) = 0;
    virtual int SetStatus(long flags, unsigned long result, char* text,
                          IWbemClassObject* object) = 0;
};
