#include "host/InstanceText.h"

#include "host/CimText.h"
#include "host/InstanceShape.h"

namespace cim {

namespace {

// Writes an object with all that it embeds. Every step answers false after a failure, which
// GetError then describes.
class CInstanceWriting {
public:
    explicit CInstanceWriting(const std::vector<CCimClass>& classes) : m_classes(classes) {}

    // Appends the text to another.
    bool Write(const IWbemClassObject& object, const std::string& className, std::string* text);

    [[nodiscard]] const std::string& GetError() const { return m_sError; }

private:
    bool WriteProperty(const CCimClass& owner, const CCimProperty& property,
                       const CWbemValue& value, std::string* text);
    bool WriteValue(const CCimProperty& property, const CWbemValue& value, std::string* text);
    bool WriteArray(const CCimProperty& property, const CWbemObjectArray& array, std::string* text);
    bool WriteEmbedded(const CCimProperty& property, const IWbemClassObject& object,
                       std::string* text);

    const std::vector<CCimClass>& m_classes;
    std::size_t m_uiDepth = 0;
    std::string m_sError;
};

bool CInstanceWriting::Write(const IWbemClassObject& object, const std::string& className,
                             std::string* text) {
    const CCimClass* definition = FindNamed(m_classes, className);
    if (definition == nullptr) {
        m_sError = "there is no class " + Shown(className);
        return false;
    }
    const std::string& ownName = object.GetClassName();
    if (!ownName.empty() && !AreSameNames(ownName, className)) {
        m_sError = "an object is of the class " + Shown(ownName) + " instead of " + className;
        return false;
    }
    if (m_uiDepth == kEmbeddingDepth) {
        m_sError = "objects are embedded deeper than " + std::to_string(kEmbeddingDepth);
        return false;
    }
    ++m_uiDepth;
    *text += "<INSTANCE CLASSNAME=\"" + EscapeAttribute(definition->m_sName) + "\">";
    for (const CCimProperty& property : definition->m_properties) {
        static const CWbemValue kNull;
        const CWbemValue* value = object.Get(property.m_sName.c_str());
        if (!WriteProperty(*definition, property, value == nullptr ? kNull : *value, text)) {
            return false;
        }
    }
    *text += "</INSTANCE>";
    --m_uiDepth;
    return true;
}

bool CInstanceWriting::WriteProperty(const CCimClass& owner, const CCimProperty& property,
                                     const CWbemValue& value, std::string* text) {
    const bool isArray = property.m_type == WbemType::ObjectArray;
    const std::string element = isArray ? "PROPERTY.ARRAY" : "PROPERTY";
    *text += "<" + element + " NAME=\"" + EscapeAttribute(property.m_sName) + "\" TYPE=\"" +
             TypeName(property.m_type) + "\"";
    if (isArray || property.m_type == WbemType::Object) {
        *text += " EmbeddedObject=\"instance\"";
    }
    *text += ">";
    const auto type = static_cast<WbemType>(value.index());
    if (type != WbemType::Null) {
        if (type != property.m_type) {
            m_sError = owner.m_sName + "." + property.m_sName + " is not of its class's type";
            return false;
        }
        if (!WriteValue(property, value, text)) {
            return false;
        }
    }
    *text += "</" + element + ">";
    return true;
}

bool CInstanceWriting::WriteValue(const CCimProperty& property, const CWbemValue& value,
                                  std::string* text) {
    if (const auto* array = std::get_if<CWbemObjectArray>(&value)) {
        return WriteArray(property, *array, text);
    }
    if (const auto* object = std::get_if<CWbemObjectPtr>(&value)) {
        return WriteEmbedded(property, **object, text);
    }
    std::string plain;
    if (const auto* boolean = std::get_if<bool>(&value)) {
        plain = *boolean ? "TRUE" : "FALSE";
    } else if (const auto* positive = std::get_if<std::uint32_t>(&value)) {
        plain = std::to_string(*positive);
    } else if (const auto* number = std::get_if<std::int32_t>(&value)) {
        plain = std::to_string(*number);
    } else {
        plain = EscapeText(EncodeString(std::get<std::string>(value)));
    }
    *text += "<VALUE>" + plain + "</VALUE>";
    return true;
}

bool CInstanceWriting::WriteArray(const CCimProperty& property, const CWbemObjectArray& array,
                                  std::string* text) {
    *text += "<VALUE.ARRAY>";
    for (const CWbemObjectPtr& object : array) {
        if (!WriteEmbedded(property, *object, text)) {
            return false;
        }
    }
    *text += "</VALUE.ARRAY>";
    return true;
}

bool CInstanceWriting::WriteEmbedded(const CCimProperty& property, const IWbemClassObject& object,
                                     std::string* text) {
    std::string embedded;
    if (!Write(object, property.m_sEmbeddedClass, &embedded)) {
        return false;
    }
    *text += "<VALUE>" + EscapeText(embedded) + "</VALUE>";
    return true;
}

} // namespace

std::optional<std::string> InstanceText(const IWbemClassObject& object,
                                        const std::string& className,
                                        const std::vector<CCimClass>& classes, std::string* error) {
    CInstanceWriting writing(classes);
    std::string text;
    if (!writing.Write(object, className, &text)) {
        *error = writing.GetError();
        return std::nullopt;
    }
    return text;
}

} // namespace cim
