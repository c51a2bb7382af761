#include "wbemd/cimxml/CXmlWriter.h"

#include "host/CimText.h"

namespace wbemd {

namespace {

// White space in an attribute goes by its number: readers make blanks of any other.
void AppendAttributeText(std::string_view value, std::string* xml) {
    for (const char character : cim::EscapeAttribute(value)) {
        if (character == '\t' || character == '\n' || character == '\r') {
            *xml += "&#" + std::to_string(character) + ";";
        } else {
            *xml += character;
        }
    }
}

} // namespace

void CXmlWriter::Open(std::string_view name, Attributes attributes) {
    m_xml += '<';
    m_xml += name;
    for (const auto& [attribute, value] : attributes) {
        Attribute(attribute, value);
    }
    m_xml += '>';
}

void CXmlWriter::Close(std::string_view name) {
    m_xml += "</";
    m_xml += name;
    m_xml += '>';
}

void CXmlWriter::Text(std::string_view text) {
    m_xml += cim::EscapeText(text);
}

void CXmlWriter::Element(std::string_view name, std::string_view text, Attributes attributes) {
    Open(name, attributes);
    Text(text);
    Close(name);
}

std::string CXmlWriter::Take() {
    return std::exchange(m_xml, {});
}

void CXmlWriter::Attribute(std::string_view name, std::string_view value) {
    m_xml += ' ';
    m_xml += name;
    m_xml += "=\"";
    AppendAttributeText(value, &m_xml);
    m_xml += '"';
}

} // namespace wbemd
