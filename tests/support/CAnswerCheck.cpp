#include "tests/support/CAnswerCheck.h"

#include "host/CXmlDocument.h"

#include <strings.h>

#include <algorithm>
#include <map>
#include <optional>
#include <set>

using std::string;
using std::vector;

namespace {

using Names = std::set<string>;

// What an element of an answer may be.
struct CRule {
    Names m_required; // attributes
    Names m_optional;
    Names m_children;
    bool m_holdsText = false;
};

const std::map<string, CRule> kRules = {
    {"CIM", {{"CIMVERSION", "DTDVERSION"}, {}, {"MESSAGE"}}},
    {"MESSAGE", {{"ID", "PROTOCOLVERSION"}, {}, {"SIMPLERSP"}}},
    {"SIMPLERSP", {{}, {}, {"METHODRESPONSE", "IMETHODRESPONSE"}}},
    {"METHODRESPONSE", {{"NAME"}, {}, {"ERROR", "RETURNVALUE", "PARAMVALUE"}}},
    {"IMETHODRESPONSE", {{"NAME"}, {}, {"ERROR", "IRETURNVALUE"}}},
    {"ERROR", {{"CODE", "DESCRIPTION"}, {}, {}}},
    {"RETURNVALUE", {{"PARAMTYPE"}, {}, {"VALUE"}}},
    {"PARAMVALUE", {{"NAME", "PARAMTYPE", "EmbeddedObject"}, {}, {"VALUE"}}},
    {"IRETURNVALUE",
     {{}, {}, {"CLASS", "CLASSNAME", "INSTANCE", "INSTANCENAME", "VALUE.NAMEDINSTANCE"}}},
    {"CLASS", {{"NAME"}, {}, {"QUALIFIER", "PROPERTY", "PROPERTY.ARRAY", "METHOD"}}},
    {"CLASSNAME", {{"NAME"}, {}, {}}},
    {"QUALIFIER", {{"NAME", "TYPE"}, {}, {"VALUE", "VALUE.ARRAY"}}},
    {"PROPERTY", {{"NAME", "TYPE"}, {"CLASSORIGIN", "EmbeddedObject"}, {"QUALIFIER", "VALUE"}}},
    {"PROPERTY.ARRAY",
     {{"NAME", "TYPE"}, {"CLASSORIGIN", "EmbeddedObject"}, {"QUALIFIER", "VALUE.ARRAY"}}},
    {"METHOD", {{"NAME", "TYPE"}, {"CLASSORIGIN"}, {"QUALIFIER", "PARAMETER", "PARAMETER.ARRAY"}}},
    {"PARAMETER", {{"NAME", "TYPE"}, {}, {"QUALIFIER"}}},
    {"PARAMETER.ARRAY", {{"NAME", "TYPE"}, {}, {"QUALIFIER"}}},
    {"VALUE.NAMEDINSTANCE", {{}, {}, {"INSTANCENAME", "INSTANCE"}}},
    {"INSTANCENAME", {{"CLASSNAME"}, {}, {"KEYBINDING"}}},
    {"KEYBINDING", {{"NAME"}, {}, {"KEYVALUE"}}},
    {"KEYVALUE", {{"VALUETYPE"}, {}, {}, true}},
    {"INSTANCE", {{"CLASSNAME"}, {}, {"PROPERTY", "PROPERTY.ARRAY"}}},
    {"VALUE.ARRAY", {{}, {}, {"VALUE"}}},
    {"VALUE", {{}, {}, {}, true}}};

// How many children an element has where that is fixed.
const std::map<string, std::size_t> kChildren = {{"CIM", 1},
                                                 {"MESSAGE", 1},
                                                 {"SIMPLERSP", 1},
                                                 {"IMETHODRESPONSE", 1},
                                                 {"QUALIFIER", 1},
                                                 {"PARAMVALUE", 1},
                                                 {"RETURNVALUE", 1},
                                                 {"KEYBINDING", 1},
                                                 {"VALUE.NAMEDINSTANCE", 2}};

// What clients cannot read when it is written as one tag.
const Names kTwoTags = {"IRETURNVALUE", "CLASS",     "PROPERTY",   "PROPERTY.ARRAY",
                        "METHOD",       "PARAMETER", "RETURNVALUE"};

// Looks at one answer.
class CLook {
public:
    void CimAnswer(const CAnswerCheck::Headers& headers, const string& body);
    void PlainAnswer(unsigned status, const CAnswerCheck::Headers& headers, const string& body);
    void Length(const CAnswerCheck::Headers& headers, const string& body);

    vector<string> m_problems;

private:
    void Header(const CAnswerCheck::Headers& headers, const string& name,
                const std::optional<string>& wanted);
    void Tags(const string& body);
    void Document(const string& text, const string& root);
    void Element(const CXmlElement& element);
    void Attributes(const CXmlElement& element, const CRule& rule);
    void Content(const CXmlElement& element, const CRule& rule);
    void Response(const CXmlElement& element);
    void Embedded(const CXmlElement& element);
    void Unless(bool holds, const string& problem);
};

std::optional<string> Find(const CAnswerCheck::Headers& headers, const string& name) {
    for (const auto& [known, value] : headers) {
        if (strcasecmp(known.c_str(), name.c_str()) == 0) {
            return value;
        }
    }
    return std::nullopt;
}

void CLook::CimAnswer(const CAnswerCheck::Headers& headers, const string& body) {
    Header(headers, "Content-Type", "application/xml; charset=\"utf-8\"");
    Header(headers, "CIMOperation", "MethodResponse");
    Header(headers, "CIMError", std::nullopt);
    Header(headers, "WWW-Authenticate", std::nullopt);
    Unless(body.rfind("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<CIM ", 0) == 0,
           "the body does not begin with an XML declaration and CIM");
    Tags(body);
    Document(body, "CIM");
}

void CLook::PlainAnswer(unsigned status, const CAnswerCheck::Headers& headers, const string& body) {
    Header(headers, "Content-Type", "text/plain; charset=\"utf-8\"");
    Header(headers, "CIMOperation", std::nullopt);
    const auto challenge = Find(headers, "WWW-Authenticate");
    Unless((status == 401) == challenge.has_value(), "status and WWW-Authenticate do not fit");
    Unless(!challenge || challenge->rfind("Basic realm=\"", 0) == 0, "the challenge is not Basic");
    Unless(!Find(headers, "CIMError") || status == 400 || status == 501,
           "status and CIMError do not fit");
    const bool isPrintable = std::all_of(body.begin(), body.end() - (body.empty() ? 0 : 1),
                                         [](char c) { return c >= ' ' && c <= '~'; });
    Unless(body.size() > 1 && body.back() == '\n' && isPrintable, "the body is not one line");
}

void CLook::Length(const CAnswerCheck::Headers& headers, const string& body) {
    if (const auto length = Find(headers, "Content-Length")) {
        Unless(*length == std::to_string(body.size()), "Content-Length is wrong");
    }
}

void CLook::Header(const CAnswerCheck::Headers& headers, const string& name,
                   const std::optional<string>& wanted) {
    const auto found = Find(headers, name);
    Unless(found == wanted, name + " is " + found.value_or("absent"));
}

// What an XML parser does not tell.
void CLook::Tags(const string& body) {
    Unless(body.find("<!") == string::npos, "there is a comment, a CDATA section or a DOCTYPE");
    Unless(body.find("<?", 1) == string::npos, "there is a processing instruction");
    for (std::size_t at = 0; (at = body.find("/>", at)) != string::npos; ++at) {
        const std::size_t begin = body.rfind('<', at) + 1;
        const string name = body.substr(begin, body.find_first_of(" /", begin) - begin);
        Unless(kTwoTags.count(name) == 0, name + " is one tag");
    }
}

void CLook::Document(const string& text, const string& root) {
    CXmlError error;
    const auto document = CXmlDocument::Parse(text, &error, {SIZE_MAX, 64, SIZE_MAX, SIZE_MAX});
    if (!document) {
        m_problems.push_back("not well-formed: " + error.Text());
        return;
    }
    Unless(document->GetRoot().m_sName == root, "the root is " + document->GetRoot().m_sName);
    Element(document->GetRoot());
}

void CLook::Element(const CXmlElement& element) {
    const auto rule = kRules.find(element.m_sName);
    if (rule == kRules.end()) {
        m_problems.push_back(element.m_sName + " is unknown");
        return;
    }
    Attributes(element, rule->second);
    Content(element, rule->second);
    Response(element);
    Embedded(element);
    for (const CXmlElement& child : element.m_children) {
        Element(child);
    }
}

void CLook::Attributes(const CXmlElement& element, const CRule& rule) {
    Names missing = rule.m_required;
    for (const CXmlAttribute& attribute : element.m_attributes) {
        const bool isRequired = missing.erase(attribute.m_sName) == 1;
        Unless(isRequired || rule.m_optional.count(attribute.m_sName) == 1,
               element.m_sName + " has the attribute " + attribute.m_sName);
    }
    Unless(missing.empty(), element.m_sName + " lacks an attribute");
}

void CLook::Content(const CXmlElement& element, const CRule& rule) {
    Unless(rule.m_holdsText || element.m_sText.find_first_not_of('\n') == string::npos,
           element.m_sName + " holds text");
    for (const CXmlElement& child : element.m_children) {
        Unless(rule.m_children.count(child.m_sName) == 1,
               element.m_sName + " holds " + child.m_sName);
    }
    const auto count = kChildren.find(element.m_sName);
    Unless(count == kChildren.end() || element.m_children.size() == count->second,
           element.m_sName + " holds another number of elements");
}

// An error alone, or the return value before the out-parameters.
void CLook::Response(const CXmlElement& element) {
    if (element.m_sName != "METHODRESPONSE") {
        return;
    }
    const vector<CXmlElement>& children = element.m_children;
    const bool isError = children.size() == 1 && children.front().m_sName == "ERROR";
    const auto isParameter = [](const CXmlElement& child) { return child.m_sName == "PARAMVALUE"; };
    const bool isResult = !children.empty() && children.front().m_sName == "RETURNVALUE" &&
                          std::all_of(children.begin() + 1, children.end(), isParameter);
    Unless(isError || isResult, "METHODRESPONSE is neither an error nor a result");
}

void CLook::Embedded(const CXmlElement& element) {
    const string* embedded = element.FindAttribute("EmbeddedObject");
    if (embedded == nullptr) {
        return;
    }
    Unless(*embedded == "instance", element.m_sName + " embeds what is no instance");
    for (const CXmlElement& child : element.m_children) {
        if (child.m_sName == "VALUE") {
            Document(child.m_sText, "INSTANCE");
        }
        for (const CXmlElement& entry : child.m_children) {
            Document(entry.m_sText, "INSTANCE");
        }
    }
}

void CLook::Unless(bool holds, const string& problem) {
    if (!holds) {
        m_problems.push_back(problem);
    }
}

} // namespace

vector<string> CAnswerCheck::Problems(unsigned status, const Headers& headers, const string& body) {
    CLook look;
    if (status == 200) {
        look.CimAnswer(headers, body);
    } else {
        look.PlainAnswer(status, headers, body);
    }
    look.Length(headers, body);
    return look.m_problems;
}
