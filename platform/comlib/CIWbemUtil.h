#pragma once

#include "comlib/HResult.h"
#include "comlib/KzmApi.h"

#include <string>
#include <vector>

class IWbemClassObject;

// Typed access to the named properties of a WBEM object.
//
// Every getter answers 0 and fills its out-argument, or a negative code and leaves it alone:
//   WbemResult::kInvalidParameter  the object, the name or the out-argument is null
//   WbemResult::kNotFound          the object has no such property, or it is null
//   WbemResult::kTypeMismatch      the property is of another type
//
// Every setter copies what it is given, adding the property or replacing its value, and answers 0,
// or a negative code and leaves the object as it was:
//   WbemResult::kInvalidParameter  the object, the name or the value's pointer is null
//   WbemResult::kTypeMismatch      the object's definition gives the property another type
class KZM_API CIWbemUtil {
public:
    static HRESULT getBoolFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                               bool* value);
    static HRESULT getUIntFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                               unsigned int* value);
    static HRESULT getIntFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                              int* value);
    static HRESULT getStringFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                 std::string* value);

    // The embedded objects handed out belong to the object that holds them: they stay valid until
    // that property is set again or the holder goes. The caller frees nothing.
    static HRESULT getParameterClassFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                         IWbemClassObject** value);
    static HRESULT
    getParameterClassArrayFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                               std::vector<IWbemClassObject*>* values);

    static HRESULT setBoolToIWbemClassObject(IWbemClassObject* object, const char* name,
                                             bool value);
    static HRESULT setUIntToIWbemClassObject(IWbemClassObject* object, const char* name,
                                             unsigned int value);
    static HRESULT setIntToIWbemClassObject(IWbemClassObject* object, const char* name, int value);
    static HRESULT setStringToIWbemClassObject(IWbemClassObject* object, const char* name,
                                               std::string value);

    // The embedded objects are copied deeply; the caller keeps its own. An array must not hold
    // null.
    static HRESULT setParameterClassToIWbemClassObject(IWbemClassObject* object, const char* name,
                                                       IWbemClassObject* value);
    static HRESULT setParameterClassArrayToIWbemClassObject(IWbemClassObject* object,
                                                            const char* name,
                                                            std::vector<IWbemClassObject*>* values);

    // Sets the property "ReturnValue" (unsigned 32-bit) of a method's output object. A null object
    // is harmless and answers WbemResult::kInvalidParameter.
    static HRESULT setReturnValueToIWbemClassObject(IWbemClassObject* object, unsigned long value);
};
