// A provider library for the host's tests. What it does wrong is chosen by the build.

#include "comlib/CIWbemUtil.h"
#include "comlib/ShowMessage.h"
#include "providerbase/CVELTARO_ToolService.h"
#include "providerbase/IWbemClassObject.h"
#include "providerbase/IWbemObjectSink.h"
#include "providerbase/IWbemServices.h"

#include <cstring>
#include <exception>

namespace {

enum class Behaviour {
    Good,
    CreateGivesNull,
    CreateThrows,
    CreateThrowsInt,
    SetsNoStatus,
    SetsStatusTwice,
    IndicatesNothing,
    Succeeds,
    Throws,
    ThrowsInt,
    ThrowsBehindItsAnswer,
};
constexpr Behaviour kBehaviour = Behaviour::KZM_BEHAVIOUR;

// Its code lives in this library: whoever keeps it beyond the unloading crashes.
class CTestProviderError : public std::exception {
public:
    [[nodiscard]] const char* what() const noexcept override { return "the provider's\nown text"; }
};

class CTestProvider : public CVELTARO_ToolService {
public:
    CTestProvider() : CVELTARO_ToolService("TestProvider", "veltaro", "1.0") {}
    // Its class is there to its end.
    ~CTestProvider() override {
        IWbemClassObject* definition = GetDefinition();
        ShowMessage(definition == nullptr ? "no class" : definition->GetClassName().c_str(),
                    "TestProvider");
        if (definition != nullptr) {
            definition->Release();
        }
    }

    HRESULT ExecMethodAsync(char* className, char* methodName, long flags, IWbemContext* context,
                            IWbemClassObject* inParams, IWbemObjectSink* sink) override;

private:
    // Null before there are services.
    [[nodiscard]] IWbemClassObject* GetDefinition() const;
    void Echo(const char* className, const char* methodName, long flags,
              const IWbemContext* context, IWbemClassObject* inParams, IWbemObjectSink* sink);
};

IWbemClassObject* CTestProvider::GetDefinition() const {
    IWbemClassObject* definition = nullptr;
    if (m_pServices != nullptr) {
        m_pServices->GetObject("VELTARO_ToolServiceLogger", 0, nullptr, &definition, nullptr);
    }
    return definition;
}

HRESULT CTestProvider::ExecMethodAsync(char* className, char* methodName, long flags,
                                       IWbemContext* context, IWbemClassObject* inParams,
                                       IWbemObjectSink* sink) {
    if (kBehaviour == Behaviour::ThrowsInt) {
        throw 42;
    }
    if (kBehaviour == Behaviour::Throws) {
        throw CTestProviderError();
    }
    if (std::strcmp(methodName, "GetParameter") != 0) {
        const HRESULT status = CVELTARO_ToolService::ExecMethodAsync(className, methodName, flags,
                                                                     context, inParams, sink);
        sink->SetStatus(0, static_cast<unsigned long>(status), nullptr, nullptr);
        return status;
    }
    if (kBehaviour != Behaviour::IndicatesNothing) {
        Echo(className, methodName, flags, context, inParams, sink);
    }
    if (kBehaviour != Behaviour::SetsNoStatus) {
        sink->SetStatus(0, 0, nullptr, nullptr);
    }
    if (kBehaviour == Behaviour::SetsStatusTwice) {
        sink->SetStatus(0, 1, nullptr, nullptr);
    }
    if (kBehaviour == Behaviour::ThrowsBehindItsAnswer) {
        throw CTestProviderError();
    }
    className[0] = '\0'; // the texts are its own for the time of the call
    methodName[0] = '\0';
    return WbemResult::kSuccess;
}

void CTestProvider::Echo(const char* className, const char* methodName, long flags,
                         const IWbemContext* context, IWbemClassObject* inParams,
                         IWbemObjectSink* sink) {
    IWbemClassObject output;
    CIWbemUtil::setStringToIWbemClassObject(&output, "ClassName", className);
    CIWbemUtil::setStringToIWbemClassObject(&output, "MethodName", methodName);
    CIWbemUtil::setIntToIWbemClassObject(&output, "Flags", static_cast<int>(flags));
    CIWbemUtil::setBoolToIWbemClassObject(&output, "HasContext", context != nullptr);
    CIWbemUtil::setParameterClassToIWbemClassObject(&output, "In", inParams);

    IWbemClassObject* definition = GetDefinition();
    CIWbemUtil::setParameterClassToIWbemClassObject(&output, "Class", definition);
    if (definition != nullptr) {
        definition->Release();
    }

    CIWbemUtil::setReturnValueToIWbemClassObject(&output,
                                                 kBehaviour == Behaviour::Succeeds ? 0 : 176);
    IWbemClassObject* objects[] = {&output};
    sink->Indicate(1, objects);
}

} // namespace

#ifdef KZM_LACKS_FUNCTION
// Nobody calls it, and nobody has what it calls.
extern "C" void NobodyHasThis();
extern "C" __attribute__((visibility("default"))) void CallsIt() {
    NobodyHasThis();
}
#endif

#ifndef KZM_NO_CREATE
extern "C" __attribute__((visibility("default"))) void* create() {
    if (kBehaviour == Behaviour::CreateGivesNull) {
        return nullptr;
    }
    if (kBehaviour == Behaviour::CreateThrows) {
        throw CTestProviderError();
    }
    if (kBehaviour == Behaviour::CreateThrowsInt) {
        throw 42;
    }
    return static_cast<CVELTARO_ServerService*>(new CTestProvider());
}
#endif
