#include "providerbase/IWbemContext.h"

IWbemContext::~IWbemContext() = default;
