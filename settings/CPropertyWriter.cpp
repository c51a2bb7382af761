#include "settings/CPropertyWriter.h"

#include "comlib/CIWbemUtil.h"
#include "settings/LoggerTrace.h"

using LoggerTrace::IsDone;

CPropertyWriter::CPropertyWriter(IWbemClassObject* object, const char* operation)
    : m_pObject(object),
      m_pOperation(operation) {}

bool CPropertyWriter::SetBool(const char* name, bool value) const {
    return IsDone(m_pOperation, "setBoolToIWbemClassObject",
                  CIWbemUtil::setBoolToIWbemClassObject(m_pObject, name, value));
}

bool CPropertyWriter::SetUInt(const char* name, unsigned int value) const {
    return IsDone(m_pOperation, "setUIntToIWbemClassObject",
                  CIWbemUtil::setUIntToIWbemClassObject(m_pObject, name, value));
}

bool CPropertyWriter::SetInt(const char* name, int value) const {
    return IsDone(m_pOperation, "setIntToIWbemClassObject",
                  CIWbemUtil::setIntToIWbemClassObject(m_pObject, name, value));
}

bool CPropertyWriter::SetString(const char* name, const std::string& value) const {
    return IsDone(m_pOperation, "setStringToIWbemClassObject",
                  CIWbemUtil::setStringToIWbemClassObject(m_pObject, name, value));
}

bool CPropertyWriter::SetObject(const char* name, IWbemClassObject* value) const {
    return IsDone(m_pOperation, "setParameterClassToIWbemClassObject",
                  CIWbemUtil::setParameterClassToIWbemClassObject(m_pObject, name, value));
}

bool CPropertyWriter::SetObjectArray(const char* name,
                                     std::vector<IWbemClassObject*>* values) const {
    return IsDone(m_pOperation, "setParameterClassArrayToIWbemClassObject",
                  CIWbemUtil::setParameterClassArrayToIWbemClassObject(m_pObject, name, values));
}
