#include "loggerctl/output/TimeText.h"

#include <array>

namespace output {

namespace {

std::string TimeText(const char* format, const std::tm& parts) {
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), format, &parts);
    return text.data();
}

} // namespace

std::string LocalTime(std::time_t time) {
    std::tm parts{};
    localtime_r(&time, &parts);
    return TimeText("%Y-%m-%d %H:%M:%S", parts);
}

std::string UniversalTime(std::time_t time) {
    std::tm parts{};
    gmtime_r(&time, &parts);
    return TimeText("%Y-%m-%dT%H:%M:%SZ", parts);
}

} // namespace output
