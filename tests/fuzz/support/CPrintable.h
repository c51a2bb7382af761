#pragma once

#include <string>

// What may go to a terminal.
class CPrintable {
public:
    // True when the text is UTF-8 and, line feeds apart, has no control characters and none that
    // change the direction or the line of what follows.
    static bool Is(const std::string& text);

    // True for a control character other than a tab, which lines of settings may not have.
    static bool IsControl(char character);
};
