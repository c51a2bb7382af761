#include "history/CHistoryId.h"

#include <array>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr char kTimeFormat[] = "%Y%m%d-%H%M%S";
constexpr std::size_t kTimeLength = 15;
constexpr std::size_t kLength = 19;
constexpr int kLastNumber = 999;

std::string Format(std::time_t time, int number) {
    std::tm parts{};
    std::array<char, 64> text{};
    gmtime_r(&time, &parts);
    const std::size_t length = std::strftime(text.data(), text.size(), kTimeFormat, &parts);
    std::snprintf(text.data() + length, text.size() - length, "-%03d", number);
    return text.data();
}

int NumberOf(const std::string& id) {
    return static_cast<int>(std::strtol(id.c_str() + kTimeLength + 1, nullptr, 10));
}

} // namespace

bool CHistoryId::IsId(const std::string& text) {
    if (text.size() != kLength ||
        text.find_first_not_of("0123456789", kTimeLength + 1) != std::string::npos) {
        return false;
    }
    // A date that does not exist comes out as another one.
    return Format(TimeOf(text), NumberOf(text)) == text;
}

std::time_t CHistoryId::TimeOf(const std::string& id) {
    std::tm parts{};
    strptime(id.c_str(), kTimeFormat, &parts);
    return timegm(&parts);
}

std::string CHistoryId::Next(std::time_t now, const std::string& newest) {
    std::string id = Format(now, 1);
    if (id > newest) {
        return id;
    }
    const int number = NumberOf(newest) + 1;
    return number <= kLastNumber ? Format(TimeOf(newest), number) : Format(TimeOf(newest) + 1, 1);
}
