#pragma once

#include <string>
#include <vector>

class IWbemClassObject;

// Sets the properties of one WBEM object for one operation of a record. Every member answers
// whether the property was set; otherwise the failure is traced at level 2, under the name of the
// operation.
class CPropertyWriter {
public:
    // Both are borrowed for the writer's life. The object may be null: every write then fails.
    CPropertyWriter(IWbemClassObject* object, const char* operation);

    bool SetBool(const char* name, bool value) const;
    bool SetUInt(const char* name, unsigned int value) const;
    bool SetInt(const char* name, int value) const;
    bool SetString(const char* name, const std::string& value) const;
    // The object that is written keeps copies of its own.
    bool SetObject(const char* name, IWbemClassObject* value) const;
    bool SetObjectArray(const char* name, std::vector<IWbemClassObject*>* values) const;

private:
    IWbemClassObject* m_pObject;
    const char* m_pOperation;
};
