#pragma once

#include <ctime>
#include <string>

// The names of history entries: the time in UTC and a number within the second, such as
// 20261121-083000-001. They sort by age.
class CHistoryId {
public:
    static bool IsId(const std::string& text);

    // The time in an ID.
    static std::time_t TimeOf(const std::string& id);

    // An ID for a new entry. It sorts behind the newest one so far (empty: none), also when the
    // clock has been set back meanwhile.
    static std::string Next(std::time_t now, const std::string& newest);
};
