#pragma once

#include <string>
#include <vector>

// An entry of the history, stated plainly and apart from the product.
class CHistoryFormat {
public:
    // The first line is the reason, the others are "key=value"; what is no known key is nothing.
    explicit CHistoryFormat(const std::string& text);

    // Every control character as a blank.
    static std::string WithoutControls(std::string text);
    void ReplaceControls();

    // YYYYMMDD-HHMMSS-NNN, of a time in UTC from the year 1000 on.
    static bool IsId(const std::string& text);
    static bool IsLastYear(const std::string& id) { return id.compare(0, 4, "9999") == 0; }

    std::string m_reason;
    std::string m_user;
    std::string m_sudoUser;
    std::string m_from;
    std::vector<std::string> m_missing;
};
