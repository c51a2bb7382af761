#include "host/CInstanceReader.h"

#include "host/CXmlDocument.h"
#include "host/CimText.h"
#include "host/InstanceShape.h"

#include <algorithm>
#include <new>
#include <optional>
#include <utility>

namespace {

using cim::Shown;

constexpr char kCutByClient[] =
    " (a client that takes values apart at commas may have cut it there)";

// Reads one text with all that it embeds. Every step answers false, or null, after a failure, which
// GetError then describes.
class CInstanceReading {
public:
    explicit CInstanceReading(const std::vector<CCimClass>& classes) : m_classes(classes) {}

    // The text of the property's or parameter's value, or of this entry of it.
    CWbemObjectPtr ReadEmbedded(std::string_view text, const CCimProperty& property,
                                std::optional<std::size_t> index = std::nullopt);
    CWbemObjectPtr ReadText(std::string_view text, const std::string& className);

    [[nodiscard]] const std::string& GetError() const { return m_sError; }

private:
    CWbemObjectPtr ReadInstance(const CXmlElement& element, const CCimClass& definition);
    bool CheckInstance(const CXmlElement& element, const CCimClass& definition);
    // Finds the property's place in the class, and reads its value into the same place.
    bool ReadProperty(const CXmlElement& element, const CCimClass& definition,
                      std::vector<CWbemValue>* values);
    bool CheckProperty(const CXmlElement& element, const CCimProperty& property);
    bool ReadValue(const CXmlElement& element, const CCimProperty& property, CWbemValue* value);
    bool ReadArray(const CXmlElement& array, const CCimProperty& property, CWbemValue* value);
    bool ReadPlain(const std::string& text, const CCimProperty& property, CWbemValue* value);

    // Keeps the error and answers false.
    bool Fail(const std::string& what);
    CWbemObjectPtr FailWithNull(const std::string& what) {
        Fail(what);
        return nullptr;
    }

    // What an embedded text stands in.
    struct CPlace {
        const std::string& m_sName;
        std::optional<std::size_t> m_index;
    };

    const std::vector<CCimClass>& m_classes;
    std::vector<CPlace> m_path;
    std::size_t m_uiDepth = 0;
    // What is being read.
    std::string_view m_sClassName;
    std::string_view m_sPropertyName; // empty: the instance itself
    std::string m_sError;
};

std::string_view WithoutBlanks(std::string_view text) {
    const std::size_t begin = std::min(text.find_first_not_of(" \t\r\n"), text.size());
    return text.substr(begin);
}

CWbemObjectPtr CInstanceReading::ReadEmbedded(std::string_view text, const CCimProperty& property,
                                              std::optional<std::size_t> index) {
    const std::string_view className = m_sClassName;
    const std::string_view propertyName = m_sPropertyName;
    m_path.push_back({property.m_sName, index});
    CWbemObjectPtr object = ReadText(text, property.m_sEmbeddedClass);
    m_path.pop_back();
    m_sClassName = className;
    m_sPropertyName = propertyName;
    return object;
}

CWbemObjectPtr CInstanceReading::ReadText(std::string_view text, const std::string& className) {
    m_sClassName = className;
    m_sPropertyName = {};
    const CCimClass* definition = cim::FindNamed(m_classes, className);
    if (definition == nullptr) {
        return FailWithNull("there is no such class");
    }
    if (m_uiDepth == cim::kEmbeddingDepth) {
        return FailWithNull("instances are embedded deeper than " +
                            std::to_string(cim::kEmbeddingDepth));
    }
    // A declaration is not allowed behind blanks, but is taken there.
    text = WithoutBlanks(text);
    if (text.empty()) {
        return FailWithNull("the text is empty; give the text of an INSTANCE element (a client "
                            "that takes values apart at commas may have lost it)");
    }
    CXmlError error;
    const auto document = CXmlDocument::Parse(text, &error, CXmlLimits::ForStrangers());
    if (!document) {
        if (error.m_kind == CXmlError::Kind::NoMemory) {
            throw std::bad_alloc();
        }
        return FailWithNull("the text is not the XML of an INSTANCE element: " + error.Text() +
                            (error.m_bEndsEarly ? kCutByClient : ""));
    }
    ++m_uiDepth;
    CWbemObjectPtr object = ReadInstance(document->GetRoot(), *definition);
    --m_uiDepth;
    return object;
}

CWbemObjectPtr CInstanceReading::ReadInstance(const CXmlElement& element,
                                              const CCimClass& definition) {
    if (!CheckInstance(element, definition)) {
        return nullptr;
    }
    std::vector<CWbemValue> values(definition.m_properties.size());
    for (const CXmlElement& child : element.m_children) {
        if (!ReadProperty(child, definition, &values)) {
            return nullptr;
        }
    }
    auto object = std::make_unique<IWbemClassObject>(definition.m_sName);
    for (std::size_t i = 0; i < values.size(); ++i) {
        m_sPropertyName = definition.m_properties[i].m_sName;
        if (std::holds_alternative<std::monostate>(values[i])) {
            return FailWithNull("is missing; give every property of the class");
        }
        object->Put(definition.m_properties[i].m_sName.c_str(), std::move(values[i]));
    }
    return object;
}

bool CInstanceReading::CheckInstance(const CXmlElement& element, const CCimClass& definition) {
    if (element.m_sName != "INSTANCE") {
        return Fail("the text is of an element " + Shown(element.m_sName) +
                    "; give one of INSTANCE");
    }
    const std::string fault = cim::FindShapeFault(element);
    if (!fault.empty()) {
        return Fail(fault);
    }
    const std::string& className = *element.FindAttribute("CLASSNAME");
    return cim::AreSameNames(className, definition.m_sName) ||
           Fail("the instance is of the class " + Shown(className) + "; give one of " +
                definition.m_sName);
}

bool CInstanceReading::ReadProperty(const CXmlElement& element, const CCimClass& definition,
                                    std::vector<CWbemValue>* values) {
    m_sPropertyName = {};
    if (element.m_sName == "QUALIFIER") {
        const std::string fault = cim::FindDeepShapeFault(element);
        return fault.empty() || Fail(fault);
    }
    const std::string* name = element.FindAttribute("NAME");
    if (name == nullptr) {
        return Fail(element.m_sName + " has no attribute NAME");
    }
    const CCimProperty* property = cim::FindNamed(definition.m_properties, *name);
    if (property == nullptr) {
        return Fail("the class has no property " + Shown(*name) + "; leave it out");
    }
    m_sPropertyName = property->m_sName;
    CWbemValue& value =
        (*values)[static_cast<std::size_t>(property - definition.m_properties.data())];
    if (!std::holds_alternative<std::monostate>(value)) {
        return Fail("is given twice; give it once");
    }
    return CheckProperty(element, *property) && ReadValue(element, *property, &value);
}

bool CInstanceReading::CheckProperty(const CXmlElement& element, const CCimProperty& property) {
    const std::string expected =
        property.m_type == WbemType::ObjectArray ? "PROPERTY.ARRAY" : "PROPERTY";
    if (element.m_sName != expected) {
        return Fail("is given as " + element.m_sName + "; give it as " + expected);
    }
    const std::string fault = cim::FindDeepShapeFault(element);
    if (!fault.empty()) {
        return Fail(fault);
    }
    const std::string typeName = cim::TypeName(property.m_type);
    const std::string* type = element.FindAttribute("TYPE");
    if (type == nullptr) {
        return Fail("has no TYPE; give it as " + typeName);
    }
    return *type == typeName || Fail("has the TYPE " + Shown(*type) + "; give it as " + typeName);
}

bool CInstanceReading::ReadValue(const CXmlElement& element, const CCimProperty& property,
                                 CWbemValue* value) {
    const bool isNull =
        element.m_children.empty() || element.m_children.back().m_sName == "QUALIFIER";
    if (property.m_type == WbemType::ObjectArray) {
        return isNull ? Fail("is NULL; give an array, which may be an empty VALUE.ARRAY")
                      : ReadArray(element.m_children.back(), property, value);
    }
    if (isNull) {
        return Fail("is NULL; give a VALUE");
    }
    const std::string& text = element.m_children.back().m_sText;
    if (property.m_type == WbemType::Object) {
        CWbemObjectPtr object = ReadEmbedded(text, property);
        const bool isRead = object != nullptr;
        *value = std::move(object);
        return isRead;
    }
    return ReadPlain(text, property, value);
}

bool CInstanceReading::ReadArray(const CXmlElement& array, const CCimProperty& property,
                                 CWbemValue* value) {
    CWbemObjectArray objects(array.m_children.size());
    for (std::size_t i = 0; i < objects.size(); ++i) {
        const CXmlElement& entry = array.m_children[i];
        if (entry.m_sName == "VALUE.NULL") {
            return Fail("the entry [" + std::to_string(i) +
                        "] is NULL; give it a VALUE, or leave it out");
        }
        objects[i] = ReadEmbedded(entry.m_sText, property, i);
        if (objects[i] == nullptr) {
            return false;
        }
    }
    *value = std::move(objects);
    return true;
}

template <typename Value>
bool Take(std::optional<Value> parsed, CWbemValue* value) {
    if (parsed) {
        *value = std::move(*parsed);
    }
    return parsed.has_value();
}

bool CInstanceReading::ReadPlain(const std::string& text, const CCimProperty& property,
                                 CWbemValue* value) {
    switch (property.m_type) {
    case WbemType::Boolean:
        return Take(cim::ParseBoolean(text), value) ||
               Fail("the value " + Shown(text) + " is no boolean; give TRUE or FALSE");
    case WbemType::UInt32:
        return Take(cim::ParseUInt32(text), value) ||
               Fail("the value " + Shown(text) +
                    " is no uint32; give decimal digits, from 0 to 4294967295");
    case WbemType::SInt32:
        return Take(cim::ParseSInt32(text), value) ||
               Fail("the value " + Shown(text) +
                    " is no sint32; give decimal digits, from -2147483648 to 2147483647");
    default:
        return Take(cim::DecodeString(text), value) ||
               Fail("the value " + Shown(text) +
                    " has a backslash that begins neither \\\\ nor \\xHH (a byte other than 00); "
                    "give a backslash as \\\\");
    }
}

bool CInstanceReading::Fail(const std::string& what) {
    m_sError = m_sClassName;
    if (!m_sPropertyName.empty()) {
        m_sError += "." + std::string(m_sPropertyName);
    }
    const char* separator = " in ";
    for (const CPlace& place : m_path) {
        m_sError += separator + place.m_sName;
        m_sError += place.m_index ? "[" + std::to_string(*place.m_index) + "]" : "";
        separator = ".";
    }
    m_sError += ": " + what;
    return false;
}

} // namespace

CInstanceReader::CInstanceReader(std::vector<CCimClass> classes) : m_classes(std::move(classes)) {}

std::unique_ptr<IWbemClassObject> CInstanceReader::Read(const std::string& className,
                                                        std::string_view text,
                                                        std::string* error) const {
    CInstanceReading reading(m_classes);
    auto object = reading.ReadText(text, className);
    *error = reading.GetError();
    return object;
}

std::unique_ptr<IWbemClassObject> CInstanceReader::ReadParameter(const CCimProperty& parameter,
                                                                 std::string_view text,
                                                                 std::string* error) const {
    CInstanceReading reading(m_classes);
    auto object = reading.ReadEmbedded(text, parameter);
    *error = reading.GetError();
    return object;
}
