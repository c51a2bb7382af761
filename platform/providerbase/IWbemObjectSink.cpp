#include "providerbase/IWbemObjectSink.h"

IWbemObjectSink::~IWbemObjectSink() = default;
