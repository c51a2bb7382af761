#pragma once

#include "host/CCimClass.h"
#include "host/CXmlDocument.h"

#include <cstddef>
#include <string>
#include <vector>

// XML texts, written plainly and apart from the product.
class CXmlText {
public:
    // A text that holds just this element: every character that could mean something else is
    // written by its number.
    static std::string Of(const CXmlElement& element);
    static std::string Of(const std::vector<CCimClass>& classes);

    // Names, values, texts and children, all in order; the lines do not count.
    static bool IsSame(const CXmlElement& left, const CXmlElement& right);

    // States that an error is one line, begins with a place, and that the place is in the text.
    static void RequirePlace(const std::string& text, const std::string& error);
};
