#include "wbemd/cimxml/CXmlWriter.h"

#include "host/CimText.h"

namespace wbemd {

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

void CXmlWriter::Text(std::string_view text) { m_xml += cim::EscapeText(text); }

void CXmlWriter::Element(std::string_view name, std::string_view text, Attributes attributes) {
    Open(name, attributes);
    Text(text);
    Close(name);
}

std::string CXmlWriter::Take() { return std::exchange(m_xml, {}); }

void CXmlWriter::Attribute(std::string_view name, std::string_view value) {
    m_xml += ' ';
    m_xml += name;
    m_xml += "=\"";
    m_xml += cim::EscapeAttribute(value);
    m_xml += '"';
}

} // namespace wbemd
