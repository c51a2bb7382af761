#pragma once

#include "providerbase/IWbemClassObject.h"

#include <string>

// An object as a text that two objects share when they have the same class, and properties of the
// same names, types and values in the same order. As in:
//   Outer{Flag=bool 1,Count=uint32 5,Name="a",One=Inner{},Many=[Inner{},Inner{}],Other=null}
std::string Dump(const IWbemClassObject& object);
