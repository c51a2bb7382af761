#include "tests/fuzz/support/CClassRules.h"

#include "tests/fuzz/support/CProperty.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <string>

using std::string;

namespace {

bool IsLetter(char character) {
    return std::isalpha(static_cast<unsigned char>(character)) != 0 || character == '_';
}

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

// Digits alone, or behind a minus, of a number that 32 bits hold.
bool IsNumber(const string& text, bool isSigned) {
    const bool isNegative = isSigned && text.rfind('-', 0) == 0;
    const string digits = text.substr(isNegative ? 1 : 0);
    if (digits.empty() || !std::all_of(digits.begin(), digits.end(), IsDigit)) {
        return false;
    }
    const string plain = digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
    const string most = !isSigned ? "4294967295" : isNegative ? "2147483648" : "2147483647";
    return plain.size() < most.size() || (plain.size() == most.size() && plain <= most);
}

bool IsOf(const string& value, WbemType type) {
    switch (type) {
    case WbemType::Boolean:
        return value == "true" || value == "false";
    case WbemType::UInt32:
    case WbemType::SInt32:
        return IsNumber(value, type == WbemType::SInt32);
    default:
        return type == WbemType::String;
    }
}

template <class Item>
void RequireNames(const std::vector<Item>& items) {
    std::set<string> names;
    for (const Item& item : items) {
        string name = item.m_sName;
        CProperty::Require(!name.empty() && !IsDigit(name[0]) &&
                               std::all_of(name.begin(), name.end(),
                                           [](char c) { return IsLetter(c) || IsDigit(c); }),
                           "a name is an identifier");
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return std::tolower(c); });
        CProperty::Require(names.insert(name).second, "a name is given once");
    }
}

void RequireQualifiers(const std::vector<CCimQualifier>& qualifiers) {
    RequireNames(qualifiers);
    for (const CCimQualifier& qualifier : qualifiers) {
        CProperty::Require(qualifier.m_bArray || qualifier.m_values.size() == 1,
                           "a qualifier that is no array has one value");
        for (const string& value : qualifier.m_values) {
            CProperty::Require(IsOf(value, qualifier.m_type), "a value is of its type");
        }
    }
}

void RequireProperty(const CCimProperty& property, const std::set<string>& classes) {
    RequireQualifiers(property.m_qualifiers);
    const bool isEmbedded =
        property.m_type == WbemType::Object || property.m_type == WbemType::ObjectArray;
    CProperty::Require(isEmbedded ? classes.count(property.m_sEmbeddedClass) != 0
                                  : property.m_sEmbeddedClass.empty(),
                       "an embedded class is defined");
}

} // namespace

void CClassRules::Require(const std::vector<CCimClass>& classes) {
    RequireNames(classes);
    std::set<string> names;
    for (const CCimClass& definition : classes) {
        names.insert(definition.m_sName);
    }
    for (const CCimClass& definition : classes) {
        RequireQualifiers(definition.m_qualifiers);
        RequireNames(definition.m_properties);
        RequireNames(definition.m_methods);
        for (const CCimProperty& property : definition.m_properties) {
            RequireProperty(property, names);
        }
        for (const CCimMethod& method : definition.m_methods) {
            RequireQualifiers(method.m_qualifiers);
            RequireNames(method.m_parameters);
            for (const CCimParameter& parameter : method.m_parameters) {
                RequireProperty(parameter, names);
                CProperty::Require(parameter.m_bIn || parameter.m_bOut,
                                   "a parameter is in, out or both");
            }
        }
    }
}
