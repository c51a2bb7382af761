#include "comlib/CIWbemUtil.h"

#include "providerbase/IWbemClassObject.h"

#include <algorithm>
#include <utility>

// This library stands below the one that implements IWbemClassObject, so objects are reached
// through their virtual operations only.

namespace {

// Finds the property's value as a T. *held is set on success only.
template <typename T>
HRESULT FindValue(IWbemClassObject* object, const char* name, const T** held) {
    if (object == nullptr || name == nullptr) {
        return WbemResult::kInvalidParameter;
    }
    const CWbemValue* value = object->Get(name);
    if (value == nullptr || std::holds_alternative<std::monostate>(*value)) {
        return WbemResult::kNotFound;
    }
    if (!std::holds_alternative<T>(*value)) {
        return WbemResult::kTypeMismatch;
    }
    *held = std::get_if<T>(value);
    return WbemResult::kSuccess;
}

template <typename T>
HRESULT GetPlainValue(IWbemClassObject* object, const char* name, T* value) {
    if (value == nullptr) {
        return WbemResult::kInvalidParameter;
    }
    const T* held = nullptr;
    const HRESULT result = FindValue(object, name, &held);
    if (result == WbemResult::kSuccess) {
        *value = *held;
    }
    return result;
}

HRESULT SetValue(IWbemClassObject* object, const char* name, CWbemValue value) {
    return object == nullptr ? WbemResult::kInvalidParameter : object->Put(name, std::move(value));
}

} // namespace

HRESULT CIWbemUtil::getBoolFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                bool* value) {
    return GetPlainValue(object, name, value);
}

HRESULT CIWbemUtil::getUIntFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                unsigned int* value) {
    return GetPlainValue(object, name, value);
}

HRESULT CIWbemUtil::getIntFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                               int* value) {
    return GetPlainValue(object, name, value);
}

HRESULT CIWbemUtil::getStringFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                  std::string* value) {
    return GetPlainValue(object, name, value);
}

HRESULT CIWbemUtil::getParameterClassFromIWbemClassObject(IWbemClassObject* object,
                                                          const char* name,
                                                          IWbemClassObject** value) {
    if (value == nullptr) {
        return WbemResult::kInvalidParameter;
    }
    const CWbemObjectPtr* held = nullptr;
    const HRESULT result = FindValue(object, name, &held);
    if (result == WbemResult::kSuccess) {
        *value = held->get();
    }
    return result;
}

HRESULT
CIWbemUtil::getParameterClassArrayFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                       std::vector<IWbemClassObject*>* values) {
    if (values == nullptr) {
        return WbemResult::kInvalidParameter;
    }
    const CWbemObjectArray* held = nullptr;
    const HRESULT result = FindValue(object, name, &held);
    if (result == WbemResult::kSuccess) {
        std::vector<IWbemClassObject*> found;
        found.reserve(held->size());
        for (const CWbemObjectPtr& element : *held) {
            found.push_back(element.get());
        }
        values->swap(found);
    }
    return result;
}

HRESULT CIWbemUtil::setBoolToIWbemClassObject(IWbemClassObject* object, const char* name,
                                              bool value) {
    return SetValue(object, name, value);
}

HRESULT CIWbemUtil::setUIntToIWbemClassObject(IWbemClassObject* object, const char* name,
                                              unsigned int value) {
    return SetValue(object, name, value);
}

HRESULT CIWbemUtil::setIntToIWbemClassObject(IWbemClassObject* object, const char* name,
                                             int value) {
    return SetValue(object, name, value);
}

HRESULT CIWbemUtil::setStringToIWbemClassObject(IWbemClassObject* object, const char* name,
                                                std::string value) {
    return SetValue(object, name, std::move(value));
}

HRESULT CIWbemUtil::setParameterClassToIWbemClassObject(IWbemClassObject* object, const char* name,
                                                        IWbemClassObject* value) {
    if (value == nullptr) {
        return WbemResult::kInvalidParameter;
    }
    return SetValue(object, name, value->Clone());
}

HRESULT
CIWbemUtil::setParameterClassArrayToIWbemClassObject(IWbemClassObject* object, const char* name,
                                                     std::vector<IWbemClassObject*>* values) {
    if (values == nullptr || std::count(values->begin(), values->end(), nullptr) != 0) {
        return WbemResult::kInvalidParameter;
    }
    CWbemObjectArray copies;
    copies.reserve(values->size());
    for (const IWbemClassObject* value : *values) {
        copies.push_back(value->Clone());
    }
    return SetValue(object, name, std::move(copies));
}

HRESULT CIWbemUtil::setReturnValueToIWbemClassObject(IWbemClassObject* object,
                                                     unsigned long value) {
    return SetValue(object, "ReturnValue", static_cast<std::uint32_t>(value));
}
