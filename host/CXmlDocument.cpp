#include "host/CXmlDocument.h"

#include "host/CimText.h"
#include "host/XmlExcess.h"

#include <expat.h>
#include <strings.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <new>
#include <utility>

namespace {

constexpr char kNoMemory[] = "out of memory"; // short enough to be assigned without allocating

using Kind = CXmlError::Kind;

// Builds the tree from what the parser reports, and stops the parser at what is refused.
class CTreeBuilder {
public:
    CTreeBuilder(XML_Parser parser, const CXmlLimits& limits, std::size_t textBytes)
        : m_parser(parser),
          m_limits(limits),
          m_uiElementsForText(textBytes / limits.m_uiBytesForElement) {}

    void StartElement(const XML_Char* name, const XML_Char** attributes);
    void EndElement() { m_open.pop_back(); }
    void AddText(const XML_Char* text, int length);
    void CheckDeclaration(std::string_view version, const XML_Char* encoding);

    // Ends the parsing. Nothing is to be called after it.
    void Refuse(std::string reason, Kind kind = Kind::Refused);

    [[nodiscard]] bool HasRefused() const { return m_bRefused; }
    // The reason for the refusal, else the parser's own.
    [[nodiscard]] CXmlError GetError() const;
    CXmlElement TakeRoot() { return std::move(m_root); }

private:
    XML_Parser m_parser;
    const CXmlLimits& m_limits;
    std::size_t m_uiElementsForText; // how many its length allows
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
    if (m_uiElements > m_uiElementsForText) {
        return Refuse("there is more than one element for " +
                      std::to_string(m_limits.m_uiBytesForElement) + " bytes of text");
    }

    // Only the innermost open element gets children, so the pointers to the open ones stay valid.
    CXmlElement& element = m_open.empty() ? m_root : m_open.back()->m_children.emplace_back();
    m_open.push_back(&element);
    element.m_sName = name;
    element.m_uiLine = XML_GetCurrentLineNumber(m_parser);
    for (; attributes[0] != nullptr; attributes += 2) {
        if (++m_uiAttributes > m_limits.m_uiAttributes) {
            return Refuse("there are more than " + std::to_string(m_limits.m_uiAttributes) +
                          " attributes");
        }
        element.m_attributes.push_back({attributes[0], attributes[1]});
    }
}

void CTreeBuilder::AddText(const XML_Char* text, int length) {
    if (!m_open.empty()) {
        m_open.back()->m_sText.append(text, static_cast<std::size_t>(length));
    }
}

void CTreeBuilder::CheckDeclaration(std::string_view version, const XML_Char* encoding) {
    if (version != "1.0") {
        Refuse("XML " + std::string(version) + " is declared, but only XML 1.0 is read",
               Kind::NotWellFormed);
    } else if (encoding != nullptr && strcasecmp(encoding, "UTF-8") != 0) {
        Refuse("the encoding \"" + std::string(encoding) + "\" is declared, but only UTF-8 is read",
               Kind::NotWellFormed);
    }
}

void CTreeBuilder::Refuse(std::string reason, Kind kind) {
    m_bRefused = true;
    m_refusal = PositionOf(m_parser);
    m_refusal.m_kind = kind;
    m_refusal.m_sReason = std::move(reason);
    XML_StopParser(m_parser, XML_FALSE);
}

CXmlError CTreeBuilder::GetError() const {
    if (m_bRefused) {
        return m_refusal;
    }
    CXmlError error = PositionOf(m_parser);
    const XML_Error code = XML_GetErrorCode(m_parser);
    error.m_sReason = XML_ErrorString(code);
    error.m_bEndsEarly = code == XML_ERROR_NO_ELEMENTS || code == XML_ERROR_UNCLOSED_TOKEN;
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
        builder->Refuse(kNoMemory, Kind::NoMemory);
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

void OnDeclaration(void* userData, const XML_Char* version, const XML_Char* encoding,
                   int /*standalone*/) {
    Guard(userData, [&](CTreeBuilder& builder) { builder.CheckDeclaration(version, encoding); });
}

void OnDoctype(void* userData, const XML_Char* /*name*/, const XML_Char* /*systemId*/,
               const XML_Char* /*publicId*/, int /*hasInternalSubset*/) {
    Guard(userData, [](CTreeBuilder& builder) {
        builder.Refuse("a document type declaration is not allowed");
    });
}

// Lines as text editors count them, columns in characters, as the parser does it.
CXmlError ErrorAt(std::string_view text, std::size_t offset, Kind kind, std::string reason) {
    const std::string_view before = text.substr(0, offset);
    const std::string_view line = before.substr(before.rfind('\n') + 1);
    CXmlError error;
    error.m_kind = kind;
    error.m_uiLine = 1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    error.m_uiColumn =
        1 + static_cast<std::size_t>(std::count_if(line.begin(), line.end(), [](char character) {
            return (static_cast<unsigned char>(character) & 0xC0U) != 0x80;
        }));
    error.m_sReason = std::move(reason);
    return error;
}

// Parses the text up to a tag that is beyond the limits, so that what is wrong first is reported.
std::optional<CXmlElement> ParseTree(std::string_view text, CXmlError* error,
                                     const CXmlLimits& limits) {
    const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(
        XML_ParserCreate("UTF-8"), &XML_ParserFree);
    if (parser == nullptr) {
        throw std::bad_alloc();
    }
    CTreeBuilder builder(parser.get(), limits, text.size());
    XML_SetUserData(parser.get(), &builder);
    XML_SetElementHandler(parser.get(), OnStartElement, OnEndElement);
    XML_SetCharacterDataHandler(parser.get(), OnText);
    XML_SetXmlDeclHandler(parser.get(), OnDeclaration);
    XML_SetStartDoctypeDeclHandler(parser.get(), OnDoctype);

    std::optional<CXmlExcess> excess = FindXmlExcess(text, limits);
    // With its first character: only then has the parser seen the end of what stands before it.
    const std::size_t length = excess ? excess->m_uiOffset + 1 : text.size();
    const XML_Bool isAll = excess ? XML_FALSE : XML_TRUE;
    if (XML_Parse(parser.get(), text.data(), static_cast<int>(length), isAll) != XML_STATUS_OK) {
        *error = builder.GetError();
        return std::nullopt;
    }
    if (excess) {
        *error = ErrorAt(text, excess->m_uiOffset, Kind::Refused, std::move(excess->m_sReason));
        return std::nullopt;
    }
    return builder.TakeRoot();
}

// The reason to refuse a text before it is parsed; nothing when there is none.
std::optional<CXmlError> ErrorAtOnce(std::string_view text, const CXmlLimits& limits) {
    const std::size_t maximum = std::min(limits.m_uiBytes, std::size_t{INT_MAX});
    if (text.size() > maximum) {
        return ErrorAt(text, 0, Kind::Refused,
                       "the text is longer than " + std::to_string(maximum) + " bytes");
    }
    // The parser finds out by the same two bytes, and no text in UTF-8 begins with a zero among
    // them.
    const std::string_view firstTwo = text.substr(0, 2);
    if (firstTwo == "\xFE\xFF" || firstTwo == "\xFF\xFE" ||
        firstTwo.find('\0') != std::string_view::npos) {
        return ErrorAt(text, 0, Kind::NotWellFormed, "the text is UTF-16, but only UTF-8 is read");
    }
    const std::size_t utf8 = cim::Utf8Bytes(text);
    if (utf8 < text.size()) {
        return ErrorAt(text, utf8, Kind::NotWellFormed, "the text is not UTF-8");
    }
    return std::nullopt;
}

} // namespace

const std::string* CXmlElement::FindAttribute(std::string_view name) const {
    const auto found =
        std::find_if(m_attributes.begin(), m_attributes.end(),
                     [name](const CXmlAttribute& attribute) { return attribute.m_sName == name; });
    return found == m_attributes.end() ? nullptr : &found->m_sValue;
}

CXmlLimits CXmlLimits::ForStrangers() {
    CXmlLimits limits;
    limits.m_uiBytes = std::size_t{16} * 1024 * 1024;
    limits.m_uiDepth = 16;
    // A tree takes up to two hundred bytes for each of these, whatever the text has for it.
    limits.m_uiElements = 200'000;
    limits.m_uiAttributes = 400'000;
    limits.m_uiBytesForElement = 8;
    limits.m_uiAttributesOfElement = 64;
    limits.m_uiAttributeBytes = std::size_t{64} * 1024;
    return limits;
}

std::string CXmlError::Text() const {
    return "line " + std::to_string(m_uiLine) + ", column " + std::to_string(m_uiColumn) + ": " +
           m_sReason;
}

std::optional<CXmlDocument> CXmlDocument::Parse(std::string_view text, CXmlError* error,
                                                const CXmlLimits& limits) noexcept {
    try {
        *error = CXmlError();
        if (std::optional<CXmlError> atOnce = ErrorAtOnce(text, limits)) {
            *error = std::move(*atOnce);
            return std::nullopt;
        }
        std::optional<CXmlElement> root = ParseTree(text, error, limits);
        if (!root) {
            return std::nullopt;
        }
        return CXmlDocument(std::move(*root));
    } catch (const std::bad_alloc&) {
        error->m_kind = Kind::NoMemory;
        error->m_sReason = kNoMemory;
        return std::nullopt;
    }
}
