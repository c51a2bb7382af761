#include "providerbase/CVELTARO_ServerService.h"

#include "comlib/CFaultTranslation.h"
#include "comlib/CTraceUtility.h"
#include "providerbase/TraceModule.h"

#include <utility>

CVELTARO_ServerService::CVELTARO_ServerService(std::string providerName, std::string vendorName,
                                               std::string version)
    : m_sProviderName(std::move(providerName)),
      m_sVendorName(std::move(vendorName)),
      m_sProviderVersion(std::move(version)) {
    CFaultTranslation::AddProvider();
}

CVELTARO_ServerService::~CVELTARO_ServerService() {
    CFaultTranslation::RemoveProvider();
}

HRESULT CVELTARO_ServerService::ExecMethodAsync(char* /*className*/, char* /*methodName*/,
                                                long /*flags*/, IWbemContext* /*context*/,
                                                IWbemClassObject* /*inParams*/,
                                                IWbemObjectSink* /*sink*/) {
    return WbemResult::kNotSupported;
}

void CVELTARO_ServerService::writeDLLFileVersionLog(std::string fileName) {
    CTraceUtility::WriteDebug(kTraceModule, CTraceUtility::TRACE_DBG_VALUE, "%s version %s",
                              fileName.c_str(), m_sProviderVersion.c_str());
}
