#include "settings/CPropertyReader.h"

#include "comlib/CIWbemUtil.h"
#include "settings/LoggerTrace.h"

using LoggerTrace::IsDone;

CPropertyReader::CPropertyReader(IWbemClassObject* object, const char* operation)
    : m_pObject(object),
      m_pOperation(operation) {}

bool CPropertyReader::GetBool(const char* name, bool* value) const {
    return IsDone(m_pOperation, "getBoolFromIWbemClassObject",
                  CIWbemUtil::getBoolFromIWbemClassObject(m_pObject, name, value));
}

bool CPropertyReader::GetUInt(const char* name, unsigned int* value) const {
    return IsDone(m_pOperation, "getUIntFromIWbemClassObject",
                  CIWbemUtil::getUIntFromIWbemClassObject(m_pObject, name, value));
}

bool CPropertyReader::GetInt(const char* name, int* value) const {
    return IsDone(m_pOperation, "getIntFromIWbemClassObject",
                  CIWbemUtil::getIntFromIWbemClassObject(m_pObject, name, value));
}

bool CPropertyReader::GetString(const char* name, std::string* value) const {
    return IsDone(m_pOperation, "getStringFromIWbemClassObject",
                  CIWbemUtil::getStringFromIWbemClassObject(m_pObject, name, value));
}

bool CPropertyReader::GetObject(const char* name, IWbemClassObject** value) const {
    return IsDone(m_pOperation, "getParameterClassFromIWbemClassObject",
                  CIWbemUtil::getParameterClassFromIWbemClassObject(m_pObject, name, value));
}

bool CPropertyReader::GetObjectArray(const char* name,
                                     std::vector<IWbemClassObject*>* values) const {
    return IsDone(m_pOperation, "getParameterClassArrayFromIWbemClassObject",
                  CIWbemUtil::getParameterClassArrayFromIWbemClassObject(m_pObject, name, values));
}
