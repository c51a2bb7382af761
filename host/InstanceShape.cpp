#include "host/InstanceShape.h"

#include "host/CimText.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace cim {

namespace {

using Words = std::vector<std::string_view>;

struct CAttributeRule {
    std::string_view m_sName;
    bool m_bNeeded = false;
    Words m_values; // empty: any
};

struct CGroupRule {
    Words m_elements;
    bool m_bMany = false; // any number of them; else one or none
};

struct CElementRule {
    std::string_view m_sName;
    std::vector<CAttributeRule> m_attributes;
    std::vector<CGroupRule> m_groups; // in this order
    bool m_bText = false;
};

std::vector<CElementRule> MakeRules() {
    const Words isFlag{"true", "false"};
    const Words isEmbedding{"instance", "object"};
    const Words isType{"boolean", "string", "char16", "uint8",  "sint8",    "uint16", "sint16",
                       "uint32",  "sint32", "uint64", "sint64", "datetime", "real32", "real64"};
    const CAttributeRule name{"NAME", true, {}};
    const CAttributeRule type{"TYPE", false, {}};
    const CAttributeRule origin{"CLASSORIGIN", false, {}};
    const CAttributeRule propagated{"PROPAGATED", false, isFlag};
    const CAttributeRule embedded{"EmbeddedObject", false, isEmbedding};
    const CAttributeRule embeddedInCapitals{"EMBEDDEDOBJECT", false, isEmbedding};
    const CAttributeRule language{"xml:lang", false, {}};
    const CGroupRule qualifiers{{"QUALIFIER"}, true};
    return {
        {"INSTANCE",
         {{"CLASSNAME", true, {}}, language},
         {qualifiers, {{"PROPERTY", "PROPERTY.ARRAY", "PROPERTY.REFERENCE"}, true}}},
        {"PROPERTY",
         {name, type, origin, propagated, embedded, embeddedInCapitals, language},
         {qualifiers, {{"VALUE"}}}},
        {"PROPERTY.ARRAY",
         {name,
          type,
          {"ARRAYSIZE", false, {}},
          origin,
          propagated,
          embedded,
          embeddedInCapitals,
          language},
         {qualifiers, {{"VALUE.ARRAY"}}}},
        {"QUALIFIER",
         {name,
          {"TYPE", true, isType},
          propagated,
          {"OVERRIDABLE", false, isFlag},
          {"TOSUBCLASS", false, isFlag},
          {"TOINSTANCE", false, isFlag},
          {"TRANSLATABLE", false, isFlag},
          language},
         {{{"VALUE", "VALUE.ARRAY"}}}},
        {"VALUE.ARRAY", {}, {{{"VALUE", "VALUE.NULL"}, true}}},
        {"VALUE.NULL", {}, {}},
        {"VALUE", {}, {}, true},
    };
}

// Every element that another's rule names has one, but for PROPERTY.REFERENCE, which is not looked
// into.
const CElementRule& RuleOf(const CXmlElement& element) {
    static const std::vector<CElementRule> kRules = MakeRules();
    return *std::find_if(kRules.begin(), kRules.end(), [&element](const CElementRule& rule) {
        return rule.m_sName == element.m_sName;
    });
}

bool IsAmong(const Words& words, std::string_view word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

std::string Listed(const Words& words) {
    std::string list;
    for (const std::string_view word : words) {
        list += (list.empty() ? "" : ", ") + std::string(word);
    }
    return list;
}

std::string FindAttributeFault(const CXmlElement& element, const CElementRule& rule) {
    for (const CAttributeRule& attribute : rule.m_attributes) {
        if (attribute.m_bNeeded && element.FindAttribute(attribute.m_sName) == nullptr) {
            return "has no attribute " + std::string(attribute.m_sName);
        }
    }
    for (const CXmlAttribute& attribute : element.m_attributes) {
        const auto known = std::find_if(
            rule.m_attributes.begin(), rule.m_attributes.end(),
            [&](const auto& candidate) { return candidate.m_sName == attribute.m_sName; });
        if (known == rule.m_attributes.end()) {
            return "has an attribute " + Shown(attribute.m_sName) + ", which may not be there";
        }
        if (!known->m_values.empty() && !IsAmong(known->m_values, attribute.m_sValue)) {
            return "has the attribute " + attribute.m_sName + " with the value " +
                   Shown(attribute.m_sValue) + ", which is none of " + Listed(known->m_values);
        }
    }
    return {};
}

std::string FindContentFault(const CXmlElement& element, const CElementRule& rule) {
    auto group = rule.m_groups.begin();
    for (const CXmlElement& child : element.m_children) {
        group = std::find_if(group, rule.m_groups.end(), [&child](const CGroupRule& candidate) {
            return IsAmong(candidate.m_elements, child.m_sName);
        });
        if (group == rule.m_groups.end()) {
            return "holds an element " + Shown(child.m_sName) +
                   (rule.m_bText ? "; write \"<\" in a text as \"&lt;\", or the text as CDATA"
                                 : ", which may not be there");
        }
        group += group->m_bMany ? 0 : 1;
    }
    const bool isBlank = element.m_sText.find_first_not_of(" \t\r\n") == std::string::npos;
    return rule.m_bText || isBlank ? "" : "holds text, which may not be there";
}

} // namespace

std::string FindShapeFault(const CXmlElement& element) {
    const CElementRule& rule = RuleOf(element);
    std::string fault = FindAttributeFault(element, rule);
    if (fault.empty()) {
        fault = FindContentFault(element, rule);
    }
    return fault.empty() ? fault : element.m_sName + " " + fault;
}

std::string FindDeepShapeFault(const CXmlElement& element) {
    std::string fault = FindShapeFault(element);
    for (const CXmlElement& child : element.m_children) {
        if (!fault.empty()) {
            return fault;
        }
        fault = FindDeepShapeFault(child);
    }
    return fault;
}

std::string Shown(std::string_view text) {
    constexpr std::size_t kShown = 60;
    return text.size() <= kShown ? Quote(text) : Quote(text.substr(0, kShown)) + "...";
}

} // namespace cim
