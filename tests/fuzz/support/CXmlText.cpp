#include "tests/fuzz/support/CXmlText.h"

#include "tests/fuzz/support/CProperty.h"

#include <algorithm>
#include <cstdio>

using std::string;
using Elements = std::vector<CXmlElement>;
using Attributes = std::vector<CXmlAttribute>;

namespace {

string Escaped(const string& text) {
    string escaped;
    for (const char character : text) {
        const bool isPlain = static_cast<unsigned char>(character) >= ' ' &&
                             string("<>&\"'").find(character) == string::npos;
        escaped += isPlain ? string(1, character)
                           : "&#" + std::to_string(static_cast<unsigned char>(character)) + ";";
    }
    return escaped;
}

CXmlElement Element(const string& name, const Attributes& attributes, Elements children) {
    CXmlElement element;
    element.m_sName = name;
    element.m_attributes = attributes;
    element.m_children = std::move(children);
    return element;
}

const char* TypeName(WbemType type) {
    switch (type) {
    case WbemType::Boolean:
        return "boolean";
    case WbemType::UInt32:
        return "uint32";
    case WbemType::SInt32:
        return "sint32";
    default:
        return "string";
    }
}

Elements Qualifiers(const std::vector<CCimQualifier>& qualifiers) {
    Elements elements;
    for (const CCimQualifier& qualifier : qualifiers) {
        Elements values;
        for (const string& text : qualifier.m_values) {
            values.push_back(Element("VALUE", {}, {}));
            values.back().m_sText = text;
        }
        if (qualifier.m_bArray) {
            values = {Element("VALUE.ARRAY", {}, values)};
        }
        elements.push_back(
            Element("QUALIFIER",
                    {{"NAME", qualifier.m_sName}, {"TYPE", TypeName(qualifier.m_type)}}, values));
    }
    return elements;
}

CXmlElement Property(const string& kind, const CCimProperty& property) {
    const string array = property.m_type == WbemType::ObjectArray ? ".ARRAY" : "";
    return Element(kind + array, {{"NAME", property.m_sName}, {"TYPE", TypeName(property.m_type)}},
                   Qualifiers(property.m_qualifiers));
}

CXmlElement Method(const CCimMethod& method) {
    CXmlElement element =
        Element("METHOD", {{"NAME", method.m_sName}, {"TYPE", TypeName(method.m_returnType)}},
                Qualifiers(method.m_qualifiers));
    for (const CCimParameter& parameter : method.m_parameters) {
        element.m_children.push_back(Property("PARAMETER", parameter));
    }
    return element;
}

CXmlElement Class(const CCimClass& definition) {
    CXmlElement element =
        Element("CLASS", {{"NAME", definition.m_sName}}, Qualifiers(definition.m_qualifiers));
    for (const CCimProperty& property : definition.m_properties) {
        element.m_children.push_back(Property("PROPERTY", property));
    }
    for (const CCimMethod& method : definition.m_methods) {
        element.m_children.push_back(Method(method));
    }
    return Element("VALUE.OBJECT", {}, {element});
}

} // namespace

string CXmlText::Of(const CXmlElement& element) {
    string text = "<" + element.m_sName;
    for (const CXmlAttribute& attribute : element.m_attributes) {
        text += " " + attribute.m_sName + "=\"" + Escaped(attribute.m_sValue) + "\"";
    }
    text += ">" + Escaped(element.m_sText);
    for (const CXmlElement& child : element.m_children) {
        text += Of(child);
    }
    return text + "</" + element.m_sName + ">";
}

string CXmlText::Of(const std::vector<CCimClass>& classes) {
    CXmlElement group = Element("DECLGROUP", {}, {});
    for (const CCimClass& definition : classes) {
        group.m_children.push_back(Class(definition));
    }
    return Of(Element("CIM", {}, {Element("DECLARATION", {}, {group})}));
}

bool CXmlText::IsSame(const CXmlElement& left, const CXmlElement& right) {
    const auto isSameAttribute = [](const CXmlAttribute& one, const CXmlAttribute& other) {
        return one.m_sName == other.m_sName && one.m_sValue == other.m_sValue;
    };
    return left.m_sName == right.m_sName && left.m_sText == right.m_sText &&
           std::equal(left.m_attributes.begin(), left.m_attributes.end(),
                      right.m_attributes.begin(), right.m_attributes.end(), isSameAttribute) &&
           std::equal(left.m_children.begin(), left.m_children.end(), right.m_children.begin(),
                      right.m_children.end(), IsSame);
}

void CXmlText::RequirePlace(const string& text, const string& error) {
    const bool hasControl = std::any_of(error.begin(), error.end(), [](char character) {
        return static_cast<unsigned char>(character) < ' ' || character == 0x7F;
    });
    CProperty::Require(!hasControl, "an error is one line, without control characters");
    std::size_t line = 0;
    CProperty::Require(std::sscanf(error.c_str(), "line %zu", &line) == 1,
                       "an error begins with its line");
    // A carriage return alone ends a line, too.
    const auto ends = std::count_if(text.begin(), text.end(), [](char character) {
        return character == '\n' || character == '\r';
    });
    CProperty::Require(line >= 1 && line <= static_cast<std::size_t>(ends) + 1,
                       "an error names a line of the text");
}
