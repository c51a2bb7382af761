#pragma once

#include "comlib/HResult.h"
#include "comlib/KzmApi.h"

#include <string>

class IWbemClassObject;
class IWbemContext;
class IWbemObjectSink;
class IWbemServices;

// A provider's identity, and the entry point through which a host calls its methods.
class KZM_API CVELTARO_ServerService {
public:
    CVELTARO_ServerService(std::string providerName, std::string vendorName, std::string version);
    CVELTARO_ServerService(const CVELTARO_ServerService&) = delete;
    CVELTARO_ServerService& operator=(const CVELTARO_ServerService&) = delete;
    virtual ~CVELTARO_ServerService();

    // Serves one method call and returns its status. The base class knows no method of its own: it
    // answers WbemResult::kNotSupported to every name and leaves the sink to its caller.
    virtual HRESULT ExecMethodAsync(char* className, char* methodName, long flags,
                                    IWbemContext* context, IWbemClassObject* inParams,
                                    IWbemObjectSink* sink);

    // The name and the version given to the constructor.
    [[nodiscard]] std::string GetProviderName() const { return m_sProviderName; }
    [[nodiscard]] std::string GetProviderVersion() const { return m_sProviderVersion; }

    // Traces, at level 1, the version of the provider's library under this file name.
    void writeDLLFileVersionLog(std::string fileName);

    // For hosts: gives the provider its services object before the first call. The host keeps the
    // ownership and the object outlives the provider's calls.
    void SetServices(IWbemServices* services) { m_pServices = services; }

protected:
    IWbemServices* m_pServices = nullptr;

private:
    std::string m_sProviderName;
    std::string m_sVendorName;
    std::string m_sProviderVersion;
};
