#pragma once

#include "tests/otherplatform/Script.h"

#include <any>
#include <map>

// Here an object says what it is when it is released, and may be a definition without a method.
class IWbemClassObject {
public:
    std::map<std::string, std::any>
        m_values; // bool, unsigned, int, string, IWbemClassObject or array
    std::string m_sRole = "object";
    bool m_bHasOutSignature = true;

    int GetMethod(const char* name, long flags, IWbemClassObject** inSignature,
                  IWbemClassObject** outSignature) {
        CScript::Get().Note("GetMethod " + std::string(name) + " " + std::to_string(flags) +
                            (inSignature == nullptr ? " no in-signature" : " in-signature"));
        if (!m_bHasOutSignature) {
            return -1;
        }
        *outSignature = new IWbemClassObject;
        (*outSignature)->m_sRole = "definition";
        return 0;
    }

    int SpawnInstance(long flags, IWbemClassObject** instance) {
        CScript::Get().Note("SpawnInstance " + std::to_string(flags));
        *instance = new IWbemClassObject;
        (*instance)->m_sRole = "instance";
        return 0;
    }

    void Release() {
        CScript::Get().Note("Release " + m_sRole);
        delete this;
    }
};
