#pragma once

#include "providerbase/CWbemValue.h"

#include <string>
#include <vector>

// Class definitions as plain data, in the order in which they were written.

// A qualifier with the values that it gives. Numbers are decimal, booleans "true" or "false".
struct CCimQualifier {
    std::string m_sName;
    WbemType m_type = WbemType::String; // Boolean, UInt32, SInt32 or String
    bool m_bArray = false;
    std::vector<std::string> m_values; // exactly one unless it is an array
};

// A property: a plain value, an embedded object or an array of embedded objects.
struct CCimProperty {
    std::string m_sName;
    WbemType m_type = WbemType::String;
    std::string m_sEmbeddedClass; // of Object and ObjectArray
    std::vector<CCimQualifier> m_qualifiers;
};

// A method's parameter: in, out or both.
struct CCimParameter : CCimProperty {
    bool m_bIn = true;
    bool m_bOut = false;
};

struct CCimMethod {
    std::string m_sName;
    WbemType m_returnType = WbemType::UInt32; // Boolean, UInt32, SInt32 or String
    std::vector<CCimParameter> m_parameters;
    std::vector<CCimQualifier> m_qualifiers;
};

struct CCimClass {
    std::string m_sName;
    std::vector<CCimProperty> m_properties;
    std::vector<CCimMethod> m_methods;
    std::vector<CCimQualifier> m_qualifiers;
};
