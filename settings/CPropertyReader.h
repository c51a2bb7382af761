#pragma once

#include <string>
#include <vector>

class IWbemClassObject;

// Reads the properties of one WBEM object for one operation of a record. Every member answers
// whether the property was read; otherwise the out-argument is left alone and the failure is traced
// at level 2, under the name of the operation.
class CPropertyReader {
public:
    // Both are borrowed for the reader's life. The object may be null: every read then fails.
    CPropertyReader(IWbemClassObject* object, const char* operation);

    bool GetBool(const char* name, bool* value) const;
    bool GetUInt(const char* name, unsigned int* value) const;
    bool GetInt(const char* name, int* value) const;
    bool GetString(const char* name, std::string* value) const;
    // What comes out belongs to the object that is read.
    bool GetObject(const char* name, IWbemClassObject** value) const;
    bool GetObjectArray(const char* name, std::vector<IWbemClassObject*>* values) const;

private:
    IWbemClassObject* m_pObject;
    const char* m_pOperation;
};
