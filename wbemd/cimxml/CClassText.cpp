#include "wbemd/cimxml/CClassText.h"

#include "host/CimText.h"
#include "wbemd/cimxml/CXmlWriter.h"

#include <algorithm>

namespace wbemd {

namespace {

// Writes the elements of one class definition.
class CDefinitionWriter {
public:
    CDefinitionWriter(const CCimClass& definition, const CClassFilter& filter)
        : m_definition(definition),
          m_filter(filter) {}

    std::string Head();
    std::string Property(const CCimProperty& property);
    std::string Tail();

private:
    void Method(const CCimMethod& method);
    void Parameter(const CCimParameter& parameter);
    // Begins the element of something that the class declares.
    void OpenDeclared(const char* element, const std::string& name, WbemType type);
    void Qualifiers(const std::vector<CCimQualifier>& qualifiers);
    void Qualifier(const CCimQualifier& qualifier);
    void QualifierValue(const CCimQualifier& qualifier, const std::string& value);

    const CCimClass& m_definition;
    const CClassFilter& m_filter;
    CXmlWriter m_xml;
};

std::string CDefinitionWriter::Head() {
    m_xml.Open("CLASS", {{"NAME", m_definition.m_sName}});
    Qualifiers(m_definition.m_qualifiers);
    return m_xml.Take();
}

std::string CDefinitionWriter::Property(const CCimProperty& property) {
    const char* element = property.m_type == WbemType::ObjectArray ? "PROPERTY.ARRAY" : "PROPERTY";
    OpenDeclared(element, property.m_sName, property.m_type);
    Qualifiers(property.m_qualifiers);
    m_xml.Close(element);
    return m_xml.Take();
}

std::string CDefinitionWriter::Tail() {
    for (const CCimMethod& method : m_definition.m_methods) {
        Method(method);
    }
    m_xml.Close("CLASS");
    return m_xml.Take();
}

void CDefinitionWriter::Method(const CCimMethod& method) {
    OpenDeclared("METHOD", method.m_sName, method.m_returnType);
    Qualifiers(method.m_qualifiers);
    for (const CCimParameter& parameter : method.m_parameters) {
        Parameter(parameter);
    }
    m_xml.Close("METHOD");
}

void CDefinitionWriter::Parameter(const CCimParameter& parameter) {
    const char* element =
        parameter.m_type == WbemType::ObjectArray ? "PARAMETER.ARRAY" : "PARAMETER";
    m_xml.Open(element, {{"NAME", parameter.m_sName}, {"TYPE", CimTypeName(parameter.m_type)}});
    Qualifiers(parameter.m_qualifiers);
    m_xml.Close(element);
}

void CDefinitionWriter::OpenDeclared(const char* element, const std::string& name, WbemType type) {
    if (m_filter.m_origin) {
        m_xml.Open(
            element,
            {{"NAME", name}, {"TYPE", CimTypeName(type)}, {"CLASSORIGIN", m_definition.m_sName}});
    } else {
        m_xml.Open(element, {{"NAME", name}, {"TYPE", CimTypeName(type)}});
    }
}

void CDefinitionWriter::Qualifiers(const std::vector<CCimQualifier>& qualifiers) {
    if (!m_filter.m_qualifiers) {
        return;
    }
    for (const CCimQualifier& qualifier : qualifiers) {
        Qualifier(qualifier);
    }
}

void CDefinitionWriter::Qualifier(const CCimQualifier& qualifier) {
    m_xml.Open("QUALIFIER", {{"NAME", qualifier.m_sName}, {"TYPE", CimTypeName(qualifier.m_type)}});
    if (qualifier.m_bArray) {
        m_xml.Open("VALUE.ARRAY");
    }
    for (const std::string& value : qualifier.m_values) {
        QualifierValue(qualifier, value);
    }
    if (qualifier.m_bArray) {
        m_xml.Close("VALUE.ARRAY");
    }
    m_xml.Close("QUALIFIER");
}

void CDefinitionWriter::QualifierValue(const CCimQualifier& qualifier, const std::string& value) {
    if (qualifier.m_type == WbemType::Boolean) {
        m_xml.Element("VALUE", value == "true" ? "TRUE" : "FALSE");
    } else {
        m_xml.Element("VALUE", value);
    }
}

} // namespace

CClassText::CClassText(const CCimClass& definition) {
    for (const bool qualifiers : {false, true}) {
        for (const bool origin : {false, true}) {
            const CClassFilter filter{qualifiers, origin};
            m_pieces[IndexOf(filter)] = Write(definition, filter);
        }
    }
}

const std::string& CClassText::Whole(const CClassFilter& filter) const {
    return m_pieces[IndexOf(filter)].m_whole;
}

std::string CClassText::WithProperties(const CClassFilter& filter,
                                       const std::vector<std::string>& names) const {
    const CPieces& pieces = m_pieces[IndexOf(filter)];
    std::string text = pieces.m_head;
    for (const CProperty& property : pieces.m_properties) {
        const bool isWanted = std::any_of(names.begin(), names.end(), [&](const std::string& name) {
            return cim::AreSameNames(name, property.m_name);
        });
        if (isWanted) {
            text += property.m_text;
        }
    }
    return text + pieces.m_tail;
}

CClassText::CPieces CClassText::Write(const CCimClass& definition, const CClassFilter& filter) {
    CDefinitionWriter writer(definition, filter);
    CPieces pieces;
    pieces.m_head = writer.Head();
    pieces.m_whole = pieces.m_head;
    for (const CCimProperty& property : definition.m_properties) {
        pieces.m_properties.push_back({property.m_sName, writer.Property(property)});
        pieces.m_whole += pieces.m_properties.back().m_text;
    }
    pieces.m_tail = writer.Tail();
    pieces.m_whole += pieces.m_tail;
    return pieces;
}

std::size_t CClassText::IndexOf(const CClassFilter& filter) {
    return (filter.m_qualifiers ? 2U : 0U) + (filter.m_origin ? 1U : 0U);
}

const char* CimTypeName(WbemType type) {
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

} // namespace wbemd
