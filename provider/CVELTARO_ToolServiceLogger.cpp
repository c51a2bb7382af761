#include "provider/CVELTARO_ToolServiceLogger.h"

#include "comlib/CIWbemUtil.h"
#include "comlib/CStringUtil.h"
#include "comlib/KzmException.h"
#include "comlib/ShowMessage.h"
#include "comlib/SysString.h"
#include "provider/ForcedUnwind.h"
#include "provider/MethodResult.h"
#include "providerbase/CVendor.h"
#include "providerbase/CVendorFactory.h"
#include "providerbase/IWbemClassObject.h"
#include "providerbase/IWbemObjectSink.h"
#include "providerbase/IWbemServices.h"
#include "settings/CCancellationBlock.h"
#include "settings/LockFile.h"
#include "settings/LoggerDefinitions.h"
#include "settings/LoggerTrace.h"

#include <string>
#include <utility>

using LoggerDefinitions::kDevice;
using LoggerTrace::kModule;
using std::string;

namespace {

constexpr char kClassName[] = "VELTARO_ToolServiceLogger";
constexpr char kVendorName[] = "veltaro";
constexpr char kVersion[] = "34.1";
constexpr char kLibraryFile[] = "VELTARO_ToolServiceLogger.dll";
constexpr char kCaption[] = "CVELTARO_ToolServiceLogger - Debug";

// Traces the exception being handled; to be called in a catch block.
void TraceCaughtException(const string& module, const char* operation) {
    try {
        throw;
    } catch (const std::exception& exception) {
        CTraceUtility::WriteDebug(module.c_str(), LoggerTrace::kException, "%s [exception:%s]",
                                  operation,
                                  CStringUtil::StringToTstring(exception.what()).c_str());
    } catch (...) {
        CTraceUtility::WriteDebug(module.c_str(), LoggerTrace::kException, "%s unknown exception",
                                  operation);
    }
}

// The last lines of an operation that lets no exception out. They are dropped when tracing itself
// fails, for want of memory, say.
void TraceCaughtAtEnd(CVELTARO_ToolService& provider, const char* operation) {
    const CCancellationBlock block; // a thread that ends in a catch block takes the process with it
    try {
        TraceCaughtException(provider.GetProviderName(), operation);
        CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow, "%s [END]", operation);
    } catch (...) {
        // There is nobody left to tell.
    }
}

// What one method call holds of the platform. It is given back in the order of Release, at the
// latest when this object goes.
class CMethodObjects {
public:
    CMethodObjects() = default;
    CMethodObjects(const CMethodObjects&) = delete;
    CMethodObjects& operator=(const CMethodObjects&) = delete;
    ~CMethodObjects() {
        const CCancellationBlock block;
        Release();
    }

    void FetchClass(IWbemServices* services, IWbemContext* context) {
        m_pClassName = SysAllocString(kClassName);
        const string path(m_pClassName);
        if (services != nullptr) {
            services->GetObject(path, 0, context, &m_pClass, nullptr);
        }
    }

    void MakeOutput(const char* methodName) {
        m_pClass->GetMethod(methodName, 0, nullptr, &m_pOutDefinition);
        if (m_pOutDefinition != nullptr) {
            m_pOutDefinition->SpawnInstance(0, &m_pOutParams);
        }
    }

    void Release() {
        for (IWbemClassObject** object : {&m_pOutParams, &m_pOutDefinition, &m_pClass}) {
            if (*object != nullptr) {
                std::exchange(*object, nullptr)->Release();
            }
        }
        if (m_pClassName != nullptr) {
            SysFreeString(std::exchange(m_pClassName, nullptr));
        }
    }

    char* m_pClassName = nullptr;
    IWbemClassObject* m_pClass = nullptr;
    IWbemClassObject* m_pOutDefinition = nullptr;
    IWbemClassObject* m_pOutParams = nullptr;
};

void Deliver(IWbemClassObject* outParams, std::uint32_t methodResult, IWbemObjectSink* sink) {
    if (outParams == nullptr) {
        return;
    }
    CIWbemUtil::setReturnValueToIWbemClassObject(outParams, methodResult);
    if (sink != nullptr) {
        sink->Indicate(1, &outParams);
    }
}

// Answers the exception being handled.
void DeliverException(IWbemClassObject* outParams, IWbemObjectSink* sink) {
    const CCancellationBlock block; // a thread that ends in a catch block takes the process with it
    try {
        TraceCaughtException(kModule, "CVELTARO_ToolServiceLogger::ExecMethodAsync()");
        Deliver(outParams, MethodResult::kException, sink);
    } catch (...) {
        // Without memory, say, the answer cannot be delivered either: the status alone must do.
    }
}

void ReportStatus(HRESULT status, IWbemObjectSink* sink) {
    if (sink != nullptr) {
        sink->SetStatus(0, static_cast<std::uint32_t>(status), nullptr, nullptr);
    }
}

} // namespace

CVELTARO_ToolServiceLogger::CVELTARO_ToolServiceLogger()
    : CVELTARO_ToolService(kModule, kVendorName, kVersion),
      m_pVendorFactory(nullptr),
      m_iLockFd(-1) {
    constexpr char kOperation[] = "CVELTARO_ToolServiceLogger::CVELTARO_ToolServiceLogger()";
    try {
        CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow, "%s [START]", kOperation);
        ShowMessage("CVELTARO_ToolServiceLogger()", kCaption);
        KzmException::set_transrator();
        writeDLLFileVersionLog(kLibraryFile);
        ObtainVendor();
        CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow, "%s [END]", kOperation);
    } catch (const ForcedUnwind&) {
        ReleaseVendors(); // an object that was not made is not destroyed
        throw;
    } catch (...) {
        TraceCaughtAtEnd(*this, kOperation);
    }
}

void CVELTARO_ToolServiceLogger::ObtainVendor() {
    m_pVendorFactory = new CVendorFactory;
    CVendor* vendor = m_pVendorFactory->GetVendorObject(GetProviderName(), kDevice, kDevice);
    if (vendor == nullptr) {
        CTraceUtility::WriteDebug(
            kModule, LoggerTrace::kValue,
            "CVELTARO_ToolServiceLogger::CVELTARO_ToolServiceLogger() pVendor == NULL");
        ShowMessage("pVendor == NULL", kCaption);
        return;
    }
    ShowMessage("SetOwnerProvider()", "SetOwnerProvider - Debug");
    vendor->SetOwnerProvider(GetProviderName(), GetProviderVersion());
    m_VendorList.push_back(vendor);
}

CVELTARO_ToolServiceLogger::~CVELTARO_ToolServiceLogger() {
    constexpr char kOperation[] = "CVELTARO_ToolServiceLogger::~CVELTARO_ToolServiceLogger()";
    const CCancellationBlock block;
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow, "%s [START]", kOperation);
    KzmException::set_transrator();
    try {
        ReleaseVendors();
        CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow, "%s [END]", kOperation);
    } catch (...) {
        TraceCaughtAtEnd(*this, kOperation);
    }
}

void CVELTARO_ToolServiceLogger::ReleaseVendors() {
    if (m_pVendorFactory == nullptr) {
        return;
    }
    for (CVendor*& vendor : m_VendorList) {
        m_pVendorFactory->ReleaseVendorObject(vendor);
        vendor = nullptr;
    }
    m_VendorList.clear();
    delete m_pVendorFactory;
}

HRESULT CVELTARO_ToolServiceLogger::ExecMethodAsync(char* className, char* methodName, long flags,
                                                    IWbemContext* context,
                                                    IWbemClassObject* inParams,
                                                    IWbemObjectSink* sink) {
    constexpr char kOperation[] = "CVELTARO_ToolServiceLogger::ExecMethodAsync";
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow, "%s [START]", kOperation);
    ShowMessage(L"CVELTARO_ToolServiceLogger::ExecMethodAsync()",
                L"CVELTARO_ToolServiceLogger::ExecMethodAsync");
    KzmException::set_transrator();

    CMethodObjects objects;
    std::uint32_t methodResult = MethodResult::kSuccess;
    HRESULT status = CallStatus::kSuccess;
    bool hasClass = true;
    try {
        objects.FetchClass(m_pServices, context);
        hasClass = objects.m_pClass != nullptr;
        if (hasClass) {
            // The output object is made for every method, also for those that are forwarded.
            objects.MakeOutput(methodName);
            if (lstrcmpW(methodName, "GetParameter") == 0) {
                methodResult = GetParameter(inParams, objects.m_pOutParams);
                Deliver(objects.m_pOutParams, methodResult, sink);
            } else if (lstrcmpW(methodName, "SetParameter") == 0) {
                methodResult = SetParameter(inParams, objects.m_pOutParams);
                Deliver(objects.m_pOutParams, methodResult, sink);
            } else {
                status = CVELTARO_ToolService::ExecMethodAsync(className, methodName, flags,
                                                               context, inParams, sink);
            }
        }
    } catch (const ForcedUnwind&) {
        DelMutex(); // the process goes on, and with it every other caller
        throw;
    } catch (...) {
        DeliverException(objects.m_pOutParams, sink);
        status = CallStatus::kFailed;
    }
    if (!hasClass) {
        CTraceUtility::WriteDebug(kModule, LoggerTrace::kFailure, "%s pClass == NULL", kClassName);
        objects.Release();
        ReportStatus(CallStatus::kNotSupported, sink);
        return CallStatus::kNotSupported;
    }
    // For a forwarded method, too, whatever the base class told the sink.
    ReportStatus(status, sink);
    objects.Release();

    CTraceUtility::WriteDebug(kModule, LoggerTrace::kValue, "%s mr=0x%08x", kOperation,
                              methodResult);
    if (status != CallStatus::kSuccess) {
        CTraceUtility::WriteDebug(kModule, LoggerTrace::kFailure, "%s hr=0x%08x", kOperation,
                                  static_cast<unsigned int>(status));
    }
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow, "%s [END]", kOperation);
    return status;
}

std::uint32_t CVELTARO_ToolServiceLogger::BeginMethod(const char* methodName) {
    const auto traceFailure = [methodName](const char* reason) {
        CTraceUtility::WriteDebug(kModule, LoggerTrace::kFailure,
                                  "CVELTARO_ToolServiceLogger::%s() %s", methodName, reason);
    };
    if (m_VendorList.empty()) {
        traceFailure("CIM_VTR_E_CRITICAL_ERROR");
        return MethodResult::kFailure;
    }
    constexpr int kAgentNotInstalled = 1;
    if (m_VendorList.front()->ExecuteCommand("CheckInstall") == kAgentNotInstalled) {
        traceFailure("Logger not installed");
        return MethodResult::kNotInstalled;
    }
    if (!GetMutex()) {
        traceFailure("GetMutex failure");
        return MethodResult::kFailure;
    }
    return MethodResult::kSuccess;
}

bool CVELTARO_ToolServiceLogger::GetMutex() {
    m_iLockFd = LockFile::Take();
    return m_iLockFd != -1;
}

bool CVELTARO_ToolServiceLogger::DelMutex() {
    if (m_iLockFd != -1) {
        LockFile::Give(m_iLockFd);
        m_iLockFd = -1;
    }
    return true;
}

// Makes the provider object. The host owns it and destroys it through its virtual destructor.
// Throws what the allocation or the base class throws.
extern "C" __attribute__((visibility("default"))) void* create();

void* create() {
    return new CVELTARO_ToolServiceLogger;
}
