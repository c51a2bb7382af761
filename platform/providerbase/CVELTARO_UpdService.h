#pragma once

#include "providerbase/CVELTARO_ServerService.h"

class CDependencyInfo;
class CManageModuleInfo;
class CVendor;

// The update-service operations. A provider that manages no updates inherits them as they are: each
// answers WbemResult::kNotSupported and leaves its arguments untouched. Their order is the order of
// the table of virtual operations and must not change: hosts call through it.
class KZM_API CVELTARO_UpdService : public CVELTARO_ServerService {
public:
    using CVELTARO_ServerService::CVELTARO_ServerService;
    ~CVELTARO_UpdService() override;

    virtual HRESULT CheckUpdateModuleConformity(IWbemClassObject* inParams,
                                                IWbemClassObject* outParams);
    virtual HRESULT RegisterUpdateModule(IWbemClassObject* inParams, IWbemClassObject* outParams);
    virtual HRESULT ExecuteUpdateBackup(IWbemClassObject* inParams, IWbemClassObject* outParams);
    virtual HRESULT ExecutePreUpdate(IWbemClassObject* inParams, IWbemClassObject* outParams);
    virtual HRESULT ExecuteUpdate(IWbemClassObject* inParams, IWbemClassObject* outParams);
    virtual HRESULT ExecuteUpdateRestore(IWbemClassObject* inParams, IWbemClassObject* outParams);
    virtual HRESULT ExecuteUpdateApplyCheck(IWbemClassObject* inParams,
                                            IWbemClassObject* outParams);
    virtual HRESULT SetUpdatePriority(IWbemClassObject* inParams, IWbemClassObject* outParams);
    virtual HRESULT CheckDependency(IWbemClassObject* inParams, IWbemClassObject* outParams);
    virtual HRESULT GetUpdatePlans(IWbemClassObject* inParams, IWbemClassObject* outParams);
    virtual HRESULT SetDependencyInfo(IWbemClassObject* inParams, IWbemClassObject* outParams);
    virtual HRESULT ClearUpdateStatus(IWbemClassObject* inParams, IWbemClassObject* outParams);
    virtual HRESULT OutputDeviceConfigInfo(IWbemClassObject* inParams, IWbemClassObject* outParams);
    virtual HRESULT GetShortageOfNecessaryComponentInfo(IWbemClassObject* inParams,
                                                        IWbemClassObject* outParams);
    virtual HRESULT CheckOtherDependency(CDependencyInfo* dependency, bool isRequired);
    virtual HRESULT ChangeRtnCdReboot(std::string returnCode);
    virtual HRESULT ChangeRtnCdPriority(long returnCode, long priority);
    virtual HRESULT CreateManageModuleInfo(IWbemClassObject* inParams, CManageModuleInfo* module);
    virtual HRESULT CheckUpdateCondition(CVendor* vendor, std::string condition, bool isApplied,
                                         bool isForced);
};
