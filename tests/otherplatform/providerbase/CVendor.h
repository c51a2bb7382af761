#pragma once

#include "tests/otherplatform/Script.h"

class CVendor {
public:
    int ExecuteCommand(const std::string& command) {
        CScript::Get().Note("ExecuteCommand " + command);
        return CScript::Get().m_onCommand(command);
    }
    void SetOwnerProvider(std::string providerName, std::string providerVersion) {
        CScript::Get().Note("SetOwnerProvider " + providerName + ", " + providerVersion);
    }
};
