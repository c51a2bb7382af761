// XML documents. The input is the text.

#include "host/CXmlDocument.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/CXmlText.h"
#include "tests/fuzz/support/FuzzTarget.h"

#include <algorithm>
#include <string>

using std::string;

namespace {

// Small enough to be met.
constexpr CXmlLimits kLimits{900, 8, 40, 30};

struct CExtent {
    std::size_t m_depth = 0;
    std::size_t m_elements = 0;
    std::size_t m_attributes = 0;
};

// Lines run downwards in the order of the text.
CExtent Measure(const CXmlElement& element, std::size_t* line) {
    CProperty::Require(element.m_uiLine >= *line, "an element's line is not above those before it");
    *line = element.m_uiLine;
    CExtent extent{0, 1, element.m_attributes.size()};
    for (const CXmlElement& child : element.m_children) {
        const CExtent inner = Measure(child, line);
        extent.m_depth = std::max(extent.m_depth, inner.m_depth);
        extent.m_elements += inner.m_elements;
        extent.m_attributes += inner.m_attributes;
    }
    ++extent.m_depth;
    return extent;
}

bool Fits(const CExtent& extent, const CXmlLimits& limits) {
    return extent.m_depth <= limits.m_uiDepth && extent.m_elements <= limits.m_uiElements &&
           extent.m_attributes <= limits.m_uiAttributes;
}

void CheckRefusal(const string& text, const CXmlError& error) {
    CProperty::Require(!error.m_sReason.empty(), "a refusal has a reason");
    CProperty::Require(error.m_uiColumn >= 1 && error.m_uiColumn <= text.size() + 1,
                       "a refusal names a column");
    CXmlText::RequirePlace(text, error.Text());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const string text(data, data + size);
    CXmlError error;
    const auto document = CXmlDocument::Parse(text, &error);
    CXmlError limitedError;
    const auto limited = CXmlDocument::Parse(text, &limitedError, kLimits);
    CProperty::Require(document || !limited, "limits let no more through");
    if (!limited) {
        CheckRefusal(text, limitedError);
    }
    if (!document) {
        CheckRefusal(text, error);
        return 0;
    }
    std::size_t line = 1;
    const CExtent extent = Measure(document->GetRoot(), &line);
    CProperty::Require(limited.has_value() ==
                           (text.size() <= kLimits.m_uiBytes && Fits(extent, kLimits)),
                       "a document is refused exactly when it is beyond a limit");
    const auto again = CXmlDocument::Parse(CXmlText::Of(document->GetRoot()), &error);
    CProperty::Require(again && CXmlText::IsSame(again->GetRoot(), document->GetRoot()),
                       "what is written reads back equal");
    return 0;
}
