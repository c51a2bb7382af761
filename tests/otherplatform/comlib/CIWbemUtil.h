#pragma once

#include "providerbase/IWbemClassObject.h"

#include <cstdint>
#include <vector>

using HRESULT = std::int32_t;

class CIWbemUtil {
public:
    using Object = IWbemClassObject;
    using Objects = std::vector<Object*>;

    static HRESULT getBoolFromIWbemClassObject(Object* object, const char* name, bool* value) {
        return Get(object, name, value);
    }
    static HRESULT getUIntFromIWbemClassObject(Object* object, const char* name, unsigned* value) {
        return Get(object, name, value);
    }
    static HRESULT getIntFromIWbemClassObject(Object* object, const char* name, int* value) {
        return Get(object, name, value);
    }
    static HRESULT getStringFromIWbemClassObject(Object* object, const char* name,
                                                 std::string* value) {
        return Get(object, name, value);
    }
    static HRESULT getParameterClassFromIWbemClassObject(Object* object, const char* name,
                                                         Object** value) {
        if (IsFailing() || object == nullptr || object->m_values.count(name) == 0) {
            return kFailed;
        }
        *value = std::any_cast<Object>(&object->m_values[name]);
        return 0;
    }
    static HRESULT getParameterClassArrayFromIWbemClassObject(Object* object, const char* name,
                                                              Objects* values) {
        if (IsFailing() || object == nullptr || object->m_values.count(name) == 0) {
            return kFailed;
        }
        for (Object& element : *std::any_cast<std::vector<Object>>(&object->m_values[name])) {
            values->push_back(&element);
        }
        return 0;
    }

    static HRESULT setBoolToIWbemClassObject(Object* object, const char* name, bool value) {
        return Set(object, name, value);
    }
    static HRESULT setUIntToIWbemClassObject(Object* object, const char* name, unsigned value) {
        return Set(object, name, value);
    }
    static HRESULT setIntToIWbemClassObject(Object* object, const char* name, int value) {
        return Set(object, name, value);
    }
    static HRESULT setStringToIWbemClassObject(Object* object, const char* name,
                                               std::string value) {
        return Set(object, name, value);
    }
    static HRESULT setParameterClassToIWbemClassObject(Object* object, const char* name,
                                                       Object* value) {
        return Set(object, name, *value);
    }
    static HRESULT setParameterClassArrayToIWbemClassObject(Object* object, const char* name,
                                                            Objects* values) {
        std::vector<Object> copies;
        for (const Object* value : *values) {
            copies.push_back(*value);
        }
        return Set(object, name, copies);
    }

    static HRESULT setReturnValueToIWbemClassObject(Object* object, unsigned long value) {
        char text[32];
        std::snprintf(text, sizeof text, "setReturnValue 0x%08lx", value);
        CScript::Get().Note(text);
        object->m_values["ReturnValue"] = value;
        return 0;
    }

private:
    static constexpr HRESULT kFailed = -1;

    static bool IsFailing() {
        CScript& script = CScript::Get();
        const bool isFailing = ++script.m_iPropertyCalls == script.m_iFailingPropertyCall;
        if (isFailing && script.m_bFailingPropertyThrows) {
            throw 42;
        }
        return isFailing;
    }

    template <class T>
    static HRESULT Get(Object* object, const char* name, T* value) {
        if (IsFailing() || object == nullptr || object->m_values.count(name) == 0) {
            return kFailed;
        }
        *value = std::any_cast<T>(object->m_values[name]);
        return 0;
    }

    template <class T>
    static HRESULT Set(Object* object, const char* name, const T& value) {
        if (IsFailing() || object == nullptr) {
            return kFailed;
        }
        object->m_values[name] = value;
        return 0;
    }
};
