#include "providerbase/CVELTARO_ToolService.h"

CVELTARO_ToolService::~CVELTARO_ToolService() = default;
