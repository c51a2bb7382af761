#include "wbemd/cimxml/InParameters.h"

#include "host/CimText.h"

#include <algorithm>
#include <utility>

namespace wbemd {

namespace {

using Text = tl::expected<std::string_view, std::string>;

constexpr std::string_view kBlanks = " \t\r\n";

const std::string& NameOf(const CXmlElement& sent) {
    return *sent.FindAttribute("NAME");
}

tl::unexpected<std::string> Fail(const std::string& name, std::string_view what) {
    return tl::unexpected("The parameter " + cim::Quote(name) + " " + std::string(what) + ".");
}

bool IsBlank(std::string_view text) {
    return text.find_first_not_of(kBlanks) == std::string_view::npos;
}

// The text of an embedded instance that a VALUE holds.
Text TextOfValue(const std::string& name, const CXmlElement& value) {
    if (!value.m_attributes.empty()) {
        return Fail(name, "has a VALUE with attributes, which it cannot have");
    }
    if (!value.m_children.empty()) {
        return Fail(name, "holds XML elements where their text belongs: write the markup of the "
                          "instance as &lt; and &gt;, or put it into a CDATA section");
    }
    return value.m_sText;
}

// The text of the embedded instance that a parameter holds.
Text TextOf(const CXmlElement& sent) {
    const std::string& name = NameOf(sent);
    const std::string* type = sent.FindAttribute("PARAMTYPE");
    if (type != nullptr && *type != "string") {
        return Fail(name, "must have the PARAMTYPE string, or none");
    }
    if (!IsBlank(sent.m_sText)) {
        return Fail(name, "holds text outside of a VALUE");
    }
    if (sent.m_children.empty()) {
        return Fail(name, "is NULL, but must have a value");
    }
    const CXmlElement& value = sent.m_children.front();
    if (sent.m_children.size() > 1) {
        return Fail(name, "holds more than one value");
    }
    if (value.m_sName == "VALUE.ARRAY") {
        return Fail(name, "holds an array, but must be one value");
    }
    if (value.m_sName != "VALUE") {
        return Fail(name, "must hold a VALUE with an instance as text");
    }
    return TextOfValue(name, value);
}

bool IsInParameter(const CCimMethod& method, const std::string& name) {
    return std::any_of(method.m_parameters.begin(), method.m_parameters.end(),
                       [&](const CCimParameter& parameter) {
                           return parameter.m_bIn && cim::AreSameNames(parameter.m_sName, name);
                       });
}

// The one element that gives the parameter.
tl::expected<const CXmlElement*, std::string> Find(const CCimParameter& parameter,
                                                   const std::vector<const CXmlElement*>& sent) {
    const auto isIt = [&](const CXmlElement* element) {
        return cim::AreSameNames(NameOf(*element), parameter.m_sName);
    };
    const auto found = std::find_if(sent.begin(), sent.end(), isIt);
    if (found == sent.end()) {
        return Fail(parameter.m_sName, "is missing");
    }
    if (std::any_of(found + 1, sent.end(), isIt)) {
        return Fail(parameter.m_sName, "is given twice");
    }
    return *found;
}

tl::expected<CWbemObjectPtr, std::string> ReadParameter(const CInstanceReader& reader,
                                                        const CCimParameter& parameter,
                                                        const CXmlElement& sent) {
    const Text text = TextOf(sent);
    if (!text) {
        return tl::unexpected(text.error());
    }
    std::string error;
    CWbemObjectPtr object = reader.ReadParameter(parameter, *text, &error);
    if (object == nullptr) {
        return tl::unexpected(error + ".");
    }
    return object;
}

} // namespace

tl::expected<IWbemClassObject, std::string>
ReadInParameters(const CInstanceReader& reader, const CCimMethod& method,
                 const std::vector<const CXmlElement*>& sent) {
    for (const CXmlElement* element : sent) {
        if (!IsInParameter(method, NameOf(*element))) {
            return tl::unexpected("The method " + method.m_sName + " has no in-parameter " +
                                  cim::Quote(NameOf(*element)) + ".");
        }
    }
    IWbemClassObject parameters;
    for (const CCimParameter& parameter : method.m_parameters) {
        if (!parameter.m_bIn) {
            continue;
        }
        const auto element = Find(parameter, sent);
        if (!element) {
            return tl::unexpected(element.error());
        }
        auto object = ReadParameter(reader, parameter, **element);
        if (!object) {
            return tl::unexpected(object.error());
        }
        parameters.Put(parameter.m_sName.c_str(), std::move(*object));
    }
    return parameters;
}

} // namespace wbemd
