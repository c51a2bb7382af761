#include "host/CClassRepository.h"

#include <utility>

namespace {

IWbemClassObject::Property MakeParameter(const CCimParameter& parameter) {
    IWbemClassObject::Property property;
    property.m_sName = parameter.m_sName;
    property.m_type = parameter.m_type;
    property.m_bDefined = true;
    property.m_sEmbeddedClass = parameter.m_sEmbeddedClass;
    return property;
}

IWbemClassObject::Method MakeMethod(const CCimMethod& definition) {
    IWbemClassObject::Method method;
    method.m_sName = definition.m_sName;
    method.m_returnType = definition.m_returnType;
    for (const CCimParameter& parameter : definition.m_parameters) {
        if (parameter.m_bIn) {
            method.m_inParameters.push_back(MakeParameter(parameter));
        }
        if (parameter.m_bOut) {
            method.m_outParameters.push_back(MakeParameter(parameter));
        }
    }
    return method;
}

IWbemClassObject MakeClass(const CCimClass& definition) {
    IWbemClassObject object(definition.m_sName);
    for (const CCimProperty& property : definition.m_properties) {
        object.DefineProperty(property.m_sName, property.m_type, property.m_sEmbeddedClass);
    }
    for (const CCimMethod& method : definition.m_methods) {
        object.DefineMethod(MakeMethod(method));
    }
    return object;
}

} // namespace

CClassRepository::CClassRepository(const std::vector<CCimClass>& classes) {
    for (const CCimClass& definition : classes) {
        m_classes.insert_or_assign(definition.m_sName, MakeClass(definition));
    }
}

bool CClassRepository::Holds(const std::string& className) const {
    return m_classes.find(className) != m_classes.end();
}

HRESULT CClassRepository::GetObject(const std::string& path, int flags, void* /*context*/,
                                    IWbemClassObject** object, IWbemCallResult** /*callResult*/) {
    if (flags != 0 || object == nullptr) {
        return WbemResult::kInvalidParameter;
    }
    const auto found = m_classes.find(path);
    if (found == m_classes.end()) {
        return WbemResult::kNotFound;
    }
    *object = new IWbemClassObject(found->second);
    return WbemResult::kSuccess;
}
