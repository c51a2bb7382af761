#include "loggerctl/output/CHexText.h"

namespace {

constexpr char kDigits[] = "0123456789ABCDEF";

// -1 for a character that is no digit.
int DigitValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    return -1;
}

} // namespace

std::string CHexText::FromBytes(const std::string& bytes) {
    std::string digits;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        digits += kDigits[value >> 4];
        digits += kDigits[value & 0xF];
    }
    return digits;
}

std::optional<std::string> CHexText::ToBytes(const std::string& digits) {
    if (digits.size() % 2 != 0) {
        return std::nullopt;
    }
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const int high = DigitValue(digits[i]);
        const int low = DigitValue(digits[i + 1]);
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        bytes += static_cast<char>(high * 16 + low);
    }
    return bytes;
}
