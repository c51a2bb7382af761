#pragma once

#include "comlib/CIWbemUtil.h"
#include "tests/otherplatform/Script.h"

class IWbemContext;
class IWbemObjectSink;
class IWbemServices;

class CVELTARO_ToolService {
public:
    // What a forwarded call brought.
    struct Forwarded {
        char* className;
        char* methodName;
        long flags;
        IWbemContext* context;
        IWbemClassObject* inParams;
        IWbemObjectSink* sink;
    };

    CVELTARO_ToolService(std::string providerName, std::string vendorName, std::string version)
        : m_sProviderName(providerName),
          m_sVersion(version) {
        CScript::Get().Note("CVELTARO_ToolService " + providerName + ", " + vendorName + ", " +
                            version);
    }
    virtual ~CVELTARO_ToolService() { CScript::Get().Note("~CVELTARO_ToolService"); }

    virtual HRESULT ExecMethodAsync(char* className, char* methodName, long flags,
                                    IWbemContext* context, IWbemClassObject* inParams,
                                    IWbemObjectSink* sink) {
        m_forwarded = {className, methodName, flags, context, inParams, sink};
        CScript::Get().Note("forwarded " + std::string(methodName));
        return CScript::Get().m_iForwardedStatus;
    }

    void writeDLLFileVersionLog(std::string fileName) {
        CScript::Get().Note("writeDLLFileVersionLog " + fileName);
    }
    std::string GetProviderName() { return m_sProviderName; }
    std::string GetProviderVersion() { return m_sVersion; }

    IWbemServices* m_pServices = nullptr;
    Forwarded m_forwarded{};

private:
    std::string m_sProviderName;
    std::string m_sVersion;
};
