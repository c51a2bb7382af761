#pragma once

#include "providerbase/CVELTARO_UpdService.h"

// The base class of providers that serve a tool of the host (an agent, a service).
class KZM_API CVELTARO_ToolService : public CVELTARO_UpdService {
public:
    using CVELTARO_UpdService::CVELTARO_UpdService;
    ~CVELTARO_ToolService() override;
};
