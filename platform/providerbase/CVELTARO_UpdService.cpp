#include "providerbase/CVELTARO_UpdService.h"

CVELTARO_UpdService::~CVELTARO_UpdService() = default;

HRESULT CVELTARO_UpdService::CheckUpdateModuleConformity(IWbemClassObject* /*inParams*/,
                                                         IWbemClassObject* /*outParams*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::RegisterUpdateModule(IWbemClassObject* /*inParams*/,
                                                  IWbemClassObject* /*outParams*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::ExecuteUpdateBackup(IWbemClassObject* /*inParams*/,
                                                 IWbemClassObject* /*outParams*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::ExecutePreUpdate(IWbemClassObject* /*inParams*/,
                                              IWbemClassObject* /*outParams*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::ExecuteUpdate(IWbemClassObject* /*inParams*/,
                                           IWbemClassObject* /*outParams*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::ExecuteUpdateRestore(IWbemClassObject* /*inParams*/,
                                                  IWbemClassObject* /*outParams*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::ExecuteUpdateApplyCheck(IWbemClassObject* /*inParams*/,
                                                     IWbemClassObject* /*outParams*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::SetUpdatePriority(IWbemClassObject* /*inParams*/,
                                               IWbemClassObject* /*outParams*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::CheckDependency(IWbemClassObject* /*inParams*/,
                                             IWbemClassObject* /*outParams*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::GetUpdatePlans(IWbemClassObject* /*inParams*/,
                                            IWbemClassObject* /*outParams*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::SetDependencyInfo(IWbemClassObject* /*inParams*/,
                                               IWbemClassObject* /*outParams*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::ClearUpdateStatus(IWbemClassObject* /*inParams*/,
                                               IWbemClassObject* /*outParams*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::OutputDeviceConfigInfo(IWbemClassObject* /*inParams*/,
                                                    IWbemClassObject* /*outParams*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::GetShortageOfNecessaryComponentInfo(IWbemClassObject* /*inParams*/,
                                                                 IWbemClassObject* /*outParams*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::CheckOtherDependency(CDependencyInfo* /*dependency*/,
                                                  bool /*isRequired*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::ChangeRtnCdReboot(std::string /*returnCode*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::ChangeRtnCdPriority(long /*returnCode*/, long /*priority*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::CreateManageModuleInfo(IWbemClassObject* /*inParams*/,
                                                    CManageModuleInfo* /*module*/) {
    return WbemResult::kNotSupported;
}

HRESULT CVELTARO_UpdService::CheckUpdateCondition(CVendor* /*vendor*/, std::string /*condition*/,
                                                  bool /*isApplied*/, bool /*isForced*/) {
    return WbemResult::kNotSupported;
}
