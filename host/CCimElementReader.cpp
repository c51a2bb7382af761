#include "host/CCimElementReader.h"

namespace {

bool IsIdentifier(std::string_view name) {
    constexpr char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
    constexpr char kDigits[] = "0123456789";
    return !name.empty() && name.find_first_of(kDigits) != 0 &&
           name.find_first_not_of(std::string(kLetters) + kDigits) == std::string_view::npos;
}

} // namespace

bool CCimElementReader::ReadName(const CXmlElement& element, std::string* name) {
    const std::string* value = element.FindAttribute("NAME");
    if (value == nullptr) {
        return Fail(element, "has no attribute NAME");
    }
    if (!IsIdentifier(*value)) {
        return Fail(element, "has a name that is not made of letters, digits and '_'");
    }
    *name = *value;
    return true;
}

bool CCimElementReader::ReadType(const CXmlElement& element, WbemType* type) {
    static constexpr std::pair<std::string_view, WbemType> kTypes[] = {
        {"boolean", WbemType::Boolean},
        {"uint32", WbemType::UInt32},
        {"sint32", WbemType::SInt32},
        {"string", WbemType::String},
    };
    const std::string* value = element.FindAttribute("TYPE");
    if (value == nullptr) {
        return Fail(element, "has no attribute TYPE");
    }
    for (const auto& [name, known] : kTypes) {
        if (*value == name) {
            *type = known;
            return true;
        }
    }
    return Fail(element, "has the type " + cim::Quote(*value) +
                             ", which is not one of boolean, uint32, sint32, string");
}

bool CCimElementReader::CheckAttributes(const CXmlElement& element, Names known) {
    for (const CXmlAttribute& attribute : element.m_attributes) {
        if (std::find(known.begin(), known.end(), attribute.m_sName) == known.end()) {
            return Fail(element,
                        "has an attribute " + attribute.m_sName + " that is not understood");
        }
    }
    return true;
}

bool CCimElementReader::ReadChildren(const CXmlElement& element, Steps steps) {
    if (element.m_sText.find_first_not_of(" \t\r\n") != std::string::npos) {
        return Fail(element, "holds text where only elements are expected");
    }
    for (const CXmlElement& child : element.m_children) {
        const auto* const step =
            std::find_if(steps.begin(), steps.end(), [&child](const auto& candidate) {
                return candidate.first == child.m_sName;
            });
        if (step == steps.end()) {
            return Fail(child, "is not understood inside " + element.m_sName);
        }
        if (!step->second(child)) {
            return false;
        }
    }
    return true;
}

bool CCimElementReader::Fail(const CXmlElement& element, const std::string& what) {
    std::string error = "line " + std::to_string(element.m_uiLine) + ": " + element.m_sName;
    if (const std::string* name = element.FindAttribute("NAME")) {
        error += " " + cim::Quote(*name);
    }
    if (!m_sClassName.empty() && element.m_sName != "CLASS") {
        error += " in class " + m_sClassName;
    }
    return Fail(error + " " + what);
}

bool CCimElementReader::Fail(std::string error) {
    m_sError = std::move(error);
    return false;
}
