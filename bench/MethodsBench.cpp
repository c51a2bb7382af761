#include "bench/MethodsBench.h"

#include "KzmPaths.h"
#include "bench/Floor.h"
#include "bench/Measuring.h"
#include "host/CProviderHost.h"
#include "settings/CLoggerConf.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

using Measuring::Operation;

namespace {

constexpr char kClass[] = "VELTARO_ToolServiceLogger";

std::shared_ptr<CProviderHost> OpenHost() {
    std::string error;
    auto host = CProviderHost::Open(PROVIDER_LIBRARY, CLASS_DEFINITIONS, &error);
    if (host == nullptr) {
        std::fprintf(stderr, "%s\n", error.c_str());
        std::abort();
    }
    return host;
}

void Call(CProviderHost* host, const char* method, IWbemClassObject* inParams) {
    const CCallOutcome outcome = host->Call(kClass, method, inParams);
    if (!outcome.m_sError.empty() || outcome.m_status != 0 || outcome.m_uiMethodResult != 0) {
        std::fprintf(stderr, "%s answered 0x%08x %s\n", method, outcome.m_uiMethodResult,
                     outcome.m_sError.c_str());
        std::abort(); // a failing call must not be taken for a fast one
    }
}

Operation GetParameter() {
    return [host = OpenHost()] { Call(host.get(), "GetParameter", nullptr); };
}

// Sets what the files hold already: they are rewritten all the same.
Operation SetParameter() {
    auto inParams = std::make_shared<IWbemClassObject>();
    if (!CLoggerConf(KzmPaths::kAgentConfig, KzmPaths::kAlertConfig)
             .ConvertToIWbemClassObject(inParams.get())) {
        std::abort();
    }
    return [host = OpenHost(), inParams] { Call(host.get(), "SetParameter", inParams.get()); };
}

} // namespace

void RegisterMethods() {
    Measuring::Register("GetParameter", GetParameter);
    Measuring::Register("SetParameter", SetParameter);
    Measuring::RegisterUntraced("Floor of GetParameter", [] { return Floor::GetParameter; });
    Measuring::RegisterUntraced("Floor of SetParameter", [] { return Floor::SetParameter; });
    Measuring::RegisterUntraced("Mount command", [] { return Floor::RunMountCommand; });
}
