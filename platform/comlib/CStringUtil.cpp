#include "comlib/CStringUtil.h"

std::list<std::string> CStringUtil::Split(std::string& text, const std::string& separator) {
    if (separator.empty()) {
        return {text};
    }
    std::list<std::string> pieces;
    std::string::size_type begin = 0;
    std::string::size_type end = text.find(separator);
    while (end != std::string::npos) {
        pieces.push_back(text.substr(begin, end - begin));
        begin = end + separator.size();
        end = text.find(separator, begin);
    }
    pieces.push_back(text.substr(begin));
    return pieces;
}

std::string CStringUtil::StringToTstring(std::string text) {
    return text;
}
