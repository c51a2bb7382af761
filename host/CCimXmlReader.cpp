#include "host/CCimXmlReader.h"

#include "host/CCimElementReader.h"
#include "host/CTextFile.h"
#include "host/CXmlDocument.h"
#include "host/CimText.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <utility>

namespace {

constexpr char kEmbeddedInstance[] = "EmbeddedInstance";

template <typename Number>
bool IsNumber(const std::string& text) {
    Number number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, code] = std::from_chars(text.data(), end, number);
    return code == std::errc() && stop == end;
}

// Walks the tree from the root to the qualifiers' values.
class CDeclarationReader : public CCimElementReader {
public:
    bool ReadRoot(const CXmlElement& root);

    std::vector<CCimClass> m_classes;

private:
    bool ReadClass(const CXmlElement& element);
    bool ReadProperty(const CXmlElement& element, bool isArray, CCimProperty* property);
    bool ReadMethod(const CXmlElement& element, CCimMethod* method);
    bool ReadParameter(const CXmlElement& element, bool isArray, CCimParameter* parameter);
    // The step that appends a qualifier to the list.
    Step Into(std::vector<CCimQualifier>* qualifiers);
    bool ReadQualifier(const CXmlElement& element, std::vector<CCimQualifier>* qualifiers);
    bool ReadQualifierValue(const CXmlElement& element, CCimQualifier* qualifier);

    bool ApplyEmbeddedInstance(const CXmlElement& element, bool isArray, CCimProperty* property);
    bool ReadFlag(const CXmlElement& element, const CCimProperty& owner, const char* name,
                  bool* flag);
    bool CheckEmbeddedClasses();
    bool CheckEmbeddedClass(const CCimClass& owner, const CCimProperty& property);
};

bool CDeclarationReader::ReadRoot(const CXmlElement& root) {
    if (root.m_sName != "CIM") {
        return Fail(root, "is not the CIM element that class definitions begin with");
    }
    const Step readClass = [this](const CXmlElement& element) { return ReadClass(element); };
    const Step readObject = [&](const CXmlElement& element) {
        return CheckAttributes(element, {}) && ReadChildren(element, {{"CLASS", readClass}});
    };
    const Step readGroup = [&](const CXmlElement& element) {
        return CheckAttributes(element, {}) &&
               ReadChildren(element,
                            {{"VALUE.OBJECT", readObject}, {"VALUE.NAMEDOBJECT", readObject}});
    };
    const Step readDeclaration = [&](const CXmlElement& element) {
        return CheckAttributes(element, {}) &&
               ReadChildren(element, {{"DECLGROUP", readGroup}, {"DECLGROUP.WITHNAME", readGroup}});
    };
    return CheckAttributes(root, {"CIMVERSION", "DTDVERSION"}) &&
           ReadChildren(root, {{"DECLARATION", readDeclaration}}) && CheckEmbeddedClasses();
}

bool CDeclarationReader::ReadClass(const CXmlElement& element) {
    CCimClass definition;
    if (!ReadName(element, &definition.m_sName) || !CheckAttributes(element, {"NAME"})) {
        return false;
    }
    m_sClassName = definition.m_sName;

    const auto readProperty = [&](const CXmlElement& child, bool isArray) {
        CCimProperty property;
        return ReadProperty(child, isArray, &property) &&
               Append(child, std::move(property), &definition.m_properties);
    };
    const auto readMethod = [&](const CXmlElement& child) {
        CCimMethod method;
        return ReadMethod(child, &method) &&
               Append(child, std::move(method), &definition.m_methods);
    };
    const Step readPlain = [&](const CXmlElement& child) { return readProperty(child, false); };
    const Step readArray = [&](const CXmlElement& child) { return readProperty(child, true); };
    const bool isRead = ReadChildren(element, {{"QUALIFIER", Into(&definition.m_qualifiers)},
                                               {"PROPERTY", readPlain},
                                               {"PROPERTY.ARRAY", readArray},
                                               {"METHOD", readMethod}}) &&
                        Append(element, std::move(definition), &m_classes);
    m_sClassName.clear();
    return isRead;
}

// Reads what properties and parameters have in common.
bool CDeclarationReader::ReadProperty(const CXmlElement& element, bool isArray,
                                      CCimProperty* property) {
    return ReadName(element, &property->m_sName) && ReadType(element, &property->m_type) &&
           CheckAttributes(element, {"NAME", "TYPE"}) &&
           ReadChildren(element, {{"QUALIFIER", Into(&property->m_qualifiers)}}) &&
           ApplyEmbeddedInstance(element, isArray, property);
}

bool CDeclarationReader::ReadMethod(const CXmlElement& element, CCimMethod* method) {
    const auto readParameter = [&](const CXmlElement& child, bool isArray) {
        CCimParameter parameter;
        return ReadParameter(child, isArray, &parameter) &&
               Append(child, std::move(parameter), &method->m_parameters);
    };
    const Step readPlain = [&](const CXmlElement& child) { return readParameter(child, false); };
    const Step readArray = [&](const CXmlElement& child) { return readParameter(child, true); };
    return ReadName(element, &method->m_sName) && ReadType(element, &method->m_returnType) &&
           CheckAttributes(element, {"NAME", "TYPE"}) &&
           ReadChildren(element, {{"QUALIFIER", Into(&method->m_qualifiers)},
                                  {"PARAMETER", readPlain},
                                  {"PARAMETER.ARRAY", readArray}});
}

bool CDeclarationReader::ReadParameter(const CXmlElement& element, bool isArray,
                                       CCimParameter* parameter) {
    if (!ReadProperty(element, isArray, parameter) ||
        !ReadFlag(element, *parameter, "In", &parameter->m_bIn) ||
        !ReadFlag(element, *parameter, "Out", &parameter->m_bOut)) {
        return false;
    }
    return parameter->m_bIn || parameter->m_bOut ||
           Fail(element, "is neither an in- nor an out-parameter");
}

CCimElementReader::Step CDeclarationReader::Into(std::vector<CCimQualifier>* qualifiers) {
    return
        [this, qualifiers](const CXmlElement& child) { return ReadQualifier(child, qualifiers); };
}

bool CDeclarationReader::ReadQualifier(const CXmlElement& element,
                                       std::vector<CCimQualifier>* qualifiers) {
    CCimQualifier qualifier;
    const auto readValue = [&](const CXmlElement& child) {
        return ReadQualifierValue(child, &qualifier);
    };
    const auto readArray = [&](const CXmlElement& child) {
        qualifier.m_bArray = true;
        return CheckAttributes(child, {}) && ReadChildren(child, {{"VALUE", readValue}});
    };
    if (!ReadName(element, &qualifier.m_sName) || !ReadType(element, &qualifier.m_type) ||
        !CheckAttributes(element, {"NAME", "TYPE"}) ||
        !ReadChildren(element, {{"VALUE", readValue}, {"VALUE.ARRAY", readArray}})) {
        return false;
    }
    if (qualifier.m_bArray ? element.m_children.size() != 1 : qualifier.m_values.size() != 1) {
        return Fail(element, "must hold exactly one VALUE or one VALUE.ARRAY");
    }
    return Append(element, std::move(qualifier), qualifiers);
}

bool CDeclarationReader::ReadQualifierValue(const CXmlElement& element, CCimQualifier* qualifier) {
    if (!CheckAttributes(element, {})) {
        return false;
    }
    if (!element.m_children.empty()) {
        return Fail(element.m_children.front(), "is not understood inside VALUE");
    }
    std::string value = element.m_sText;
    bool isGood = true;
    if (qualifier->m_type == WbemType::Boolean) {
        isGood = cim::AreSameNames(value, "true") || cim::AreSameNames(value, "false");
        value = cim::AreSameNames(value, "true") ? "true" : "false";
    } else if (qualifier->m_type == WbemType::UInt32) {
        isGood = IsNumber<std::uint32_t>(value);
    } else if (qualifier->m_type == WbemType::SInt32) {
        isGood = IsNumber<std::int32_t>(value);
    }
    if (!isGood) {
        return Fail(element, "holds " + cim::Quote(element.m_sText) +
                                 ", which is not of the type of " + "the qualifier " +
                                 cim::Quote(qualifier->m_sName));
    }
    qualifier->m_values.push_back(std::move(value));
    return true;
}

bool CDeclarationReader::ApplyEmbeddedInstance(const CXmlElement& element, bool isArray,
                                               CCimProperty* property) {
    const CCimQualifier* qualifier = cim::FindNamed(property->m_qualifiers, kEmbeddedInstance);
    if (qualifier == nullptr) {
        return !isArray ||
               Fail(element, "is an array without an EmbeddedInstance qualifier; only arrays of "
                             "embedded instances are supported");
    }
    if (property->m_type != WbemType::String) {
        return Fail(element, "has an EmbeddedInstance qualifier, so its type must be string");
    }
    if (qualifier->m_type != WbemType::String || qualifier->m_bArray) {
        return Fail(element, "has an EmbeddedInstance qualifier that is not one string");
    }
    property->m_type = isArray ? WbemType::ObjectArray : WbemType::Object;
    property->m_sEmbeddedClass = qualifier->m_values.front();
    return true;
}

// Takes a boolean qualifier's value; leaves *flag alone when there is no such qualifier.
bool CDeclarationReader::ReadFlag(const CXmlElement& element, const CCimProperty& owner,
                                  const char* name, bool* flag) {
    const CCimQualifier* qualifier = cim::FindNamed(owner.m_qualifiers, name);
    if (qualifier == nullptr) {
        return true;
    }
    if (qualifier->m_type != WbemType::Boolean || qualifier->m_bArray) {
        return Fail(element, "has a qualifier " + cim::Quote(name) + " that is not one boolean");
    }
    *flag = qualifier->m_values.front() == "true";
    return true;
}

bool CDeclarationReader::CheckEmbeddedClasses() {
    for (const CCimClass& owner : m_classes) {
        for (const CCimProperty& property : owner.m_properties) {
            if (!CheckEmbeddedClass(owner, property)) {
                return false;
            }
        }
        for (const CCimMethod& method : owner.m_methods) {
            for (const CCimParameter& parameter : method.m_parameters) {
                if (!CheckEmbeddedClass(owner, parameter)) {
                    return false;
                }
            }
        }
    }
    return true;
}

bool CDeclarationReader::CheckEmbeddedClass(const CCimClass& owner, const CCimProperty& property) {
    const bool isEmbedded =
        property.m_type == WbemType::Object || property.m_type == WbemType::ObjectArray;
    // Exactly, letter case included: this is how the object model compares.
    const bool isDefined =
        std::any_of(m_classes.begin(), m_classes.end(), [&](const CCimClass& item) {
            return item.m_sName == property.m_sEmbeddedClass;
        });
    if (!isEmbedded || isDefined) {
        return true;
    }
    return Fail(cim::Quote(property.m_sName) + " in class " + owner.m_sName + " embeds the class " +
                cim::Quote(property.m_sEmbeddedClass) + ", which is not defined");
}

} // namespace

std::optional<std::vector<CCimClass>> CCimXmlReader::Read(std::string_view text,
                                                          std::string* error) {
    CXmlError xmlError;
    const std::optional<CXmlDocument> document = CXmlDocument::Parse(text, &xmlError);
    if (!document) {
        *error = xmlError.Text();
        return std::nullopt;
    }
    CDeclarationReader reader;
    if (!reader.ReadRoot(document->GetRoot())) {
        *error = reader.GetError();
        return std::nullopt;
    }
    return std::move(reader.m_classes);
}

std::optional<std::vector<CCimClass>> CCimXmlReader::ReadFile(const std::string& path,
                                                              std::string* error) {
    std::string reason;
    const std::optional<std::string> text = CTextFile::Read(path, CXmlLimits().m_uiBytes, &reason);
    if (!text) {
        *error = path + ": cannot be read: " + reason;
        return std::nullopt;
    }
    auto classes = Read(*text, &reason);
    if (!classes) {
        *error = path + ": " + reason;
    }
    return classes;
}
