#pragma once

#include <list>
#include <string>

class CStringUtil {
public:
    static std::list<std::string> Split(std::string& text, const std::string& separator) {
        std::list<std::string> pieces;
        std::string::size_type begin = 0;
        for (;;) {
            const std::string::size_type end = text.find(separator, begin);
            pieces.push_back(text.substr(begin, end - begin));
            if (end == std::string::npos) {
                return pieces;
            }
            begin = end + separator.size();
        }
    }

    static std::string StringToTstring(std::string text) { return text; }
};
