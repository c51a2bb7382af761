#include "host/CMofWriter.h"

#include "host/CimText.h"

#include <cstddef>

namespace {

constexpr std::size_t kLiteralWidth = 72;

std::string Escape(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
        case '"':
            escaped += "\\\"";
            break;
        case '\\':
            escaped += "\\\\";
            break;
        case '\n':
            escaped += "\\n";
            break;
        case '\r':
            escaped += "\\r";
            break;
        case '\t':
            escaped += "\\t";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

// One literal, or several on lines of their own, broken behind blanks: no escape contains one.
std::string Literal(const std::string& text, const std::string& indent) {
    std::string rest = Escape(text);
    std::string literal;
    while (rest.size() > kLiteralWidth) {
        std::size_t blank = rest.rfind(' ', kLiteralWidth - 1);
        if (blank == std::string::npos) {
            blank = rest.find(' ');
        }
        if (blank == std::string::npos || blank + 1 == rest.size()) {
            break;
        }
        literal += "\n" + indent + "\"" + rest.substr(0, blank + 1) + "\"";
        rest.erase(0, blank + 1);
    }
    const std::string last = "\"" + rest + "\"";
    return literal.empty() ? last : literal + "\n" + indent + last;
}

std::string Qualifier(const CCimQualifier& qualifier, const std::string& indent) {
    const bool isFlag = qualifier.m_type == WbemType::Boolean && !qualifier.m_bArray;
    if (isFlag && qualifier.m_values.front() == "true") {
        return qualifier.m_sName;
    }
    std::string values;
    for (const std::string& value : qualifier.m_values) {
        values += values.empty() ? "" : ", ";
        values += qualifier.m_type == WbemType::String ? Literal(value, indent + "    ") : value;
    }
    return qualifier.m_sName + (qualifier.m_bArray ? "{" + values + "}" : "(" + values + ")");
}

// The list in brackets with its line end; nothing for no qualifiers.
std::string Qualifiers(const std::vector<CCimQualifier>& qualifiers, const std::string& indent) {
    std::string list;
    for (const CCimQualifier& qualifier : qualifiers) {
        list += list.empty() ? indent + "[" : ",\n" + indent + " ";
        list += Qualifier(qualifier, indent);
    }
    return list.empty() ? list : list + "]\n";
}

std::string Property(const CCimProperty& property, const std::string& indent) {
    return Qualifiers(property.m_qualifiers, indent) + indent + cim::TypeName(property.m_type) +
           " " + property.m_sName + (property.m_type == WbemType::ObjectArray ? "[]" : "");
}

std::string Method(const CCimMethod& method, const std::string& indent) {
    std::string parameters;
    for (const CCimParameter& parameter : method.m_parameters) {
        parameters += (parameters.empty() ? "\n" : ",\n") + Property(parameter, indent + "    ");
    }
    return Qualifiers(method.m_qualifiers, indent) + indent + cim::TypeName(method.m_returnType) +
           " " + method.m_sName + "(" + parameters + ")";
}

std::string Class(const CCimClass& definition) {
    const std::string indent = "    ";
    std::string text =
        Qualifiers(definition.m_qualifiers, "") + "class " + definition.m_sName + "\n{\n";
    std::string separator;
    for (const CCimProperty& property : definition.m_properties) {
        text += separator + Property(property, indent) + ";\n";
        separator = "\n";
    }
    for (const CCimMethod& method : definition.m_methods) {
        text += separator + Method(method, indent) + ";\n";
        separator = "\n";
    }
    return text + "};\n";
}

} // namespace

std::string CMofWriter::Write(const std::vector<CCimClass>& classes) {
    std::string text;
    for (const CCimClass& definition : classes) {
        text += (text.empty() ? "" : "\n") + Class(definition);
    }
    return text;
}
