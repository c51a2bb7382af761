#include "wbemd/cimxml/CIntrinsicParameters.h"

#include "host/CimText.h"

#include <algorithm>

namespace wbemd {

namespace {

const std::string& NameOf(const CXmlElement& parameter) {
    return *parameter.FindAttribute("NAME");
}

bool HoldsText(const CXmlElement& element) {
    return element.m_sText.find_first_not_of(" \t\r\n") != std::string::npos;
}

// Whether it is this element, without attributes and children.
bool IsPlain(const CXmlElement& element, std::string_view name) {
    return element.m_sName == name && element.m_attributes.empty() && element.m_children.empty();
}

// A parameter of an intrinsic operation can be null, which is not the same as empty.
bool IsNull(const CXmlElement& parameter) {
    return parameter.m_children.empty() && !HoldsText(parameter);
}

} // namespace

bool CIntrinsicParameters::TakeFlag(std::string_view name, bool absent) {
    const CXmlElement* sent = Take(name);
    if (sent == nullptr) {
        return absent;
    }
    const CXmlElement* value = Content(*sent, "VALUE");
    const auto flag = value != nullptr && IsPlain(*value, "VALUE")
                          ? cim::ParseBoolean(value->m_sText)
                          : std::nullopt;
    if (!flag) {
        Note(*sent, "must be TRUE or FALSE");
    }
    return flag.value_or(absent);
}

std::optional<std::string> CIntrinsicParameters::TakeClassName(std::string_view name, Need need) {
    const CXmlElement* sent = Take(name);
    if (sent == nullptr || (need == Need::Optional && IsNull(*sent))) {
        if (need == Need::Required) {
            Note("The parameter \"" + std::string(name) + "\" is missing.");
        }
        return std::nullopt;
    }
    const CXmlElement* value = Content(*sent, "CLASSNAME");
    const bool isGood = value != nullptr && value->m_children.empty() && !HoldsText(*value) &&
                        value->m_attributes.size() == 1 &&
                        value->m_attributes.front().m_sName == "NAME";
    if (!isGood) {
        return Note(*sent, "must hold one CLASSNAME with the attribute NAME alone");
    }
    return value->m_attributes.front().m_sValue;
}

std::optional<CSentInstanceName> CIntrinsicParameters::TakeInstanceName(std::string_view name) {
    const CXmlElement* sent = Take(name);
    if (sent == nullptr) {
        Note("The parameter \"" + std::string(name) + "\" is missing.");
        return std::nullopt;
    }
    const CXmlElement* value = Content(*sent, "INSTANCENAME");
    if (value == nullptr) {
        return Note(*sent, "must hold one INSTANCENAME");
    }
    auto instance = ReadInstanceName(*value);
    if (!instance) {
        return Note(*sent, "holds no instance name: " + instance.error());
    }
    return std::move(*instance);
}

std::optional<std::vector<std::string>> CIntrinsicParameters::TakeNames(std::string_view name) {
    const CXmlElement* sent = Take(name);
    if (sent == nullptr || IsNull(*sent)) {
        return std::nullopt;
    }
    const CXmlElement* list = Content(*sent, "VALUE.ARRAY");
    if (list == nullptr || !list->m_attributes.empty() || HoldsText(*list)) {
        return Note(*sent, "must hold one VALUE.ARRAY");
    }
    std::vector<std::string> names;
    for (const CXmlElement& value : list->m_children) {
        if (!IsPlain(value, "VALUE")) {
            return Note(*sent, "must hold a list of VALUE elements, each with a name");
        }
        names.push_back(value.m_sText);
    }
    return names;
}

std::string CIntrinsicParameters::Problem() const {
    if (!m_problem.empty() || m_left.empty()) {
        return m_problem;
    }
    return "The operation has no parameter " + cim::Quote(NameOf(*m_left.front())) + ".";
}

const CXmlElement* CIntrinsicParameters::Take(std::string_view name) {
    const auto isNamed = [name](const CXmlElement* sent) {
        return cim::AreSameNames(NameOf(*sent), name);
    };
    const auto taken = std::stable_partition(
        m_left.begin(), m_left.end(), [&](const CXmlElement* sent) { return !isNamed(sent); });
    const auto count = m_left.end() - taken;
    const CXmlElement* parameter = count == 1 ? *taken : nullptr;
    m_left.erase(taken, m_left.end());
    if (count > 1) {
        Note("The parameter \"" + std::string(name) + "\" is given twice.");
    }
    return parameter;
}

const CXmlElement* CIntrinsicParameters::Content(const CXmlElement& parameter,
                                                 std::string_view element) {
    const bool isGood = !HoldsText(parameter) && parameter.m_children.size() == 1 &&
                        parameter.m_children.front().m_sName == element;
    return isGood ? &parameter.m_children.front() : nullptr;
}

std::nullopt_t CIntrinsicParameters::Note(const CXmlElement& parameter, std::string_view what) {
    Note("The parameter " + cim::Quote(NameOf(parameter)) + " " + std::string(what) + ".");
    return std::nullopt;
}

void CIntrinsicParameters::Note(std::string problem) {
    if (m_problem.empty()) {
        m_problem = std::move(problem);
    }
}

} // namespace wbemd
