#pragma once

#include "comlib/KzmApi.h"

#include <list>
#include <string>

class KZM_API CStringUtil {
public:
    // The pieces of text between the separators, in order. Empty pieces are kept: "a,,b" gives
    // three, a trailing separator gives a last empty piece, and an empty text gives one empty
    // piece. An empty separator gives the whole text as one piece. The text is left untouched.
    static std::list<std::string> Split(std::string& text, const std::string& separator);

    // The platform's text type is the narrow string: returns the text unchanged.
    static std::string StringToTstring(std::string text);
};
