#include "host/CXmlDocument.h"

#include <expat.h>
#include <strings.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <new>
#include <utility>

namespace {

constexpr char kNoMemory[] = "out of memory"; // short enough to be assigned without allocating

// Builds the tree from what the parser reports, and stops the parser at what is refused.
class CTreeBuilder {
public:
    CTreeBuilder(XML_Parser parser, const CXmlLimits& limits)
        : m_parser(parser),
          m_limits(limits) {}

    void StartElement(const XML_Char* name, const XML_Char** attributes);
    void EndElement() { m_open.pop_back(); }
    void AddText(const XML_Char* text, int length);
    void CheckEncoding(const XML_Char* encoding);

    // Ends the parsing. Nothing is to be called after it.
    void Refuse(std::string reason);

    [[nodiscard]] bool HasRefused() const { return m_bRefused; }
    // The reason for the refusal, else the parser's own.
    [[nodiscard]] CXmlError GetError() const;
    CXmlElement TakeRoot() { return std::move(m_root); }

private:
    XML_Parser m_parser;
    const CXmlLimits& m_limits;
    CXmlElement m_root;
    std::vector<CXmlElement*> m_open; // from the root to the innermost open element
    std::size_t m_uiElements = 0;
    std::size_t m_uiAttributes = 0;
    bool m_bRefused = false;
    CXmlError m_refusal;
};

CXmlError PositionOf(XML_Parser parser) {
    CXmlError error;
    error.m_uiLine = XML_GetCurrentLineNumber(parser);
    error.m_uiColumn = XML_GetCurrentColumnNumber(parser) + 1;
    return error;
}

void CTreeBuilder::StartElement(const XML_Char* name, const XML_Char** attributes) {
    if (m_open.size() >= m_limits.m_uiDepth) {
        return Refuse("elements are nested deeper than " + std::to_string(m_limits.m_uiDepth));
    }
    if (++m_uiElements > m_limits.m_uiElements) {
        return Refuse("there are more than " + std::to_string(m_limits.m_uiElements) + " elements");
    }

    CXmlElement element;
    element.m_sName = name;
    element.m_uiLine = XML_GetCurrentLineNumber(m_parser);
    for (; attributes[0] != nullptr; attributes += 2) {
        if (++m_uiAttributes > m_limits.m_uiAttributes) {
            return Refuse("there are more than " + std::to_string(m_limits.m_uiAttributes) +
                          " attributes");
        }
        element.m_attributes.push_back({attributes[0], attributes[1]});
    }

    // Only the innermost open element gets children, so the pointers to the open ones stay valid.
    if (m_open.empty()) {
        m_root = std::move(element);
        m_open.push_back(&m_root);
    } else {
        std::vector<CXmlElement>& siblings = m_open.back()->m_children;
        siblings.push_back(std::move(element));
        m_open.push_back(&siblings.back());
    }
}

void CTreeBuilder::AddText(const XML_Char* text, int length) {
    if (!m_open.empty()) {
        m_open.back()->m_sText.append(text, static_cast<std::size_t>(length));
    }
}

void CTreeBuilder::CheckEncoding(const XML_Char* encoding) {
    if (encoding != nullptr && strcasecmp(encoding, "UTF-8") != 0) {
        Refuse("the encoding \"" + std::string(encoding) +
               "\" is declared, but only UTF-8 is read");
    }
}

void CTreeBuilder::Refuse(std::string reason) {
    m_bRefused = true;
    m_refusal = PositionOf(m_parser);
    m_refusal.m_sReason = std::move(reason);
    XML_StopParser(m_parser, XML_FALSE);
}

CXmlError CTreeBuilder::GetError() const {
    if (m_bRefused) {
        return m_refusal;
    }
    CXmlError error = PositionOf(m_parser);
    error.m_sReason = XML_ErrorString(XML_GetErrorCode(m_parser));
    return error;
}

// Runs one step of the builder for a parser that is written in C: no exception may pass through it,
// and it can still report what it had already read when it was stopped.
template <typename Step>
void Guard(void* userData, Step step) {
    auto* builder = static_cast<CTreeBuilder*>(userData);
    if (builder->HasRefused()) {
        return;
    }
    try {
        step(*builder);
    } catch (...) {
        builder->Refuse(kNoMemory);
    }
}

void OnStartElement(void* userData, const XML_Char* name, const XML_Char** attributes) {
    Guard(userData, [&](CTreeBuilder& builder) { builder.StartElement(name, attributes); });
}

void OnEndElement(void* userData, const XML_Char* /*name*/) {
    Guard(userData, [](CTreeBuilder& builder) { builder.EndElement(); });
}

void OnText(void* userData, const XML_Char* text, int length) {
    Guard(userData, [&](CTreeBuilder& builder) { builder.AddText(text, length); });
}

void OnDeclaration(void* userData, const XML_Char* /*version*/, const XML_Char* encoding,
                   int /*standalone*/) {
    Guard(userData, [&](CTreeBuilder& builder) { builder.CheckEncoding(encoding); });
}

void OnDoctype(void* userData, const XML_Char* /*name*/, const XML_Char* /*systemId*/,
               const XML_Char* /*publicId*/, int /*hasInternalSubset*/) {
    Guard(userData, [](CTreeBuilder& builder) {
        builder.Refuse("a document type declaration is not allowed");
    });
}

std::optional<CXmlElement> ParseTree(std::string_view text, CXmlError* error,
                                     const CXmlLimits& limits) {
    const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(
        XML_ParserCreate("UTF-8"), &XML_ParserFree);
    if (parser == nullptr) {
        throw std::bad_alloc();
    }
    CTreeBuilder builder(parser.get(), limits);
    XML_SetUserData(parser.get(), &builder);
    XML_SetElementHandler(parser.get(), OnStartElement, OnEndElement);
    XML_SetCharacterDataHandler(parser.get(), OnText);
    XML_SetXmlDeclHandler(parser.get(), OnDeclaration);
    XML_SetStartDoctypeDeclHandler(parser.get(), OnDoctype);

    const auto length = static_cast<int>(text.size());
    if (XML_Parse(parser.get(), text.data(), length, XML_TRUE) != XML_STATUS_OK) {
        *error = builder.GetError();
        return std::nullopt;
    }
    return builder.TakeRoot();
}

// The reason to refuse a text before it is looked at in detail; empty when there is none.
std::string ReasonAtOnce(std::string_view text, const CXmlLimits& limits) {
    const std::size_t maximum = std::min(limits.m_uiBytes, std::size_t{INT_MAX});
    if (text.size() > maximum) {
        return "the text is longer than " + std::to_string(maximum) + " bytes";
    }
    // The parser finds out by the same two bytes, and no text in UTF-8 begins with a zero among
    // them.
    const std::string_view firstTwo = text.substr(0, 2);
    if (firstTwo == "\xFE\xFF" || firstTwo == "\xFF\xFE" ||
        firstTwo.find('\0') != std::string_view::npos) {
        return "the text is UTF-16, but only UTF-8 is read";
    }
    return {};
}

} // namespace

const std::string* CXmlElement::FindAttribute(std::string_view name) const {
    const auto found =
        std::find_if(m_attributes.begin(), m_attributes.end(),
                     [name](const CXmlAttribute& attribute) { return attribute.m_sName == name; });
    return found == m_attributes.end() ? nullptr : &found->m_sValue;
}

std::string CXmlError::Text() const {
    return "line " + std::to_string(m_uiLine) + ", column " + std::to_string(m_uiColumn) + ": " +
           m_sReason;
}

std::optional<CXmlDocument> CXmlDocument::Parse(std::string_view text, CXmlError* error,
                                                const CXmlLimits& limits) noexcept {
    try {
        *error = CXmlError();
        error->m_sReason = ReasonAtOnce(text, limits);
        if (!error->m_sReason.empty()) {
            return std::nullopt;
        }
        std::optional<CXmlElement> root = ParseTree(text, error, limits);
        if (!root) {
            return std::nullopt;
        }
        return CXmlDocument(std::move(*root));
    } catch (const std::bad_alloc&) {
        error->m_sReason = kNoMemory;
        return std::nullopt;
    }
}
