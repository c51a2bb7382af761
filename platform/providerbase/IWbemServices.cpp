#include "providerbase/IWbemServices.h"

IWbemServices::~IWbemServices() = default;
