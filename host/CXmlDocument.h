#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct CXmlAttribute {
    std::string m_sName;
    std::string m_sValue;
};

// One element of a document. Names are kept as written, prefixes included.
struct CXmlElement {
    std::string m_sName;
    std::vector<CXmlAttribute> m_attributes; // in the order of the text
    std::string m_sText;                 // its own characters, joined; not those of its children
    std::vector<CXmlElement> m_children; // in the order of the text
    std::size_t m_uiLine = 0;            // where its start tag begins, from 1

    // The value of an attribute, owned by this element; null when there is none of this name.
    [[nodiscard]] const std::string* FindAttribute(std::string_view name) const;
};

// How much of a text is read before it is refused. Each is counted before memory is taken for what
// it counts.
struct CXmlLimits {
    std::size_t m_uiBytes = std::size_t{8} * 1024 * 1024;
    std::size_t m_uiDepth = 64; // the root element has depth 1
    std::size_t m_uiElements = 100'000;
    std::size_t m_uiAttributes = 100'000;          // of all elements together
    std::size_t m_uiBytesForElement = 1;           // of the whole text, for each element in it
    std::size_t m_uiAttributesOfElement = 100'000; // of any one element
    std::size_t m_uiAttributeBytes = SIZE_MAX;     // of any one attribute's value, as it is written

    // For what comes over the network.
    static CXmlLimits ForStrangers();
};

// Why a text is no document, and where. Lines and columns count from 1.
struct CXmlError {
    // NotWellFormed: it is no XML 1.0 in UTF-8. Refused: it could be, but has a document type
    // declaration or is beyond a limit. NoMemory: it could be, but there is no memory for it.
    enum class Kind { NotWellFormed, Refused, NoMemory };

    Kind m_kind = Kind::NotWellFormed;
    std::size_t m_uiLine = 1;
    std::size_t m_uiColumn = 1;
    std::string m_sReason;
    bool m_bEndsEarly = false; // what there is of the text is good, but its end is missing

    // "line 3, column 7: mismatched tag"
    [[nodiscard]] std::string Text() const;
};

// A whole XML text as a tree of elements. Comments and processing instructions are dropped.
//
// The text may come from anywhere: a document type declaration (and with it every entity that is
// not built in), an encoding other than UTF-8, declared or not, another version of XML than 1.0 and
// a text beyond the limits are refused.
class CXmlDocument {
public:
    // On failure nothing comes back and *error says why. Throws nothing.
    static std::optional<CXmlDocument> Parse(std::string_view text, CXmlError* error,
                                             const CXmlLimits& limits = {}) noexcept;

    [[nodiscard]] const CXmlElement& GetRoot() const { return m_root; }

private:
    explicit CXmlDocument(CXmlElement root) : m_root(std::move(root)) {}

    CXmlElement m_root;
};
