#include "wbemd/http/Credentials.h"

#include "wbemd/http/Base64.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace wbemd {

using std::string_view;

namespace {

constexpr string_view kField = "Authorization";
constexpr string_view kScheme = "Basic";

bool IsText(string_view text) {
    return text.size() <= messages::kCredentialBytes &&
           std::none_of(text.begin(), text.end(), [](char c) {
               const auto byte = static_cast<unsigned char>(c);
               return byte < ' ' || byte == 0x7F;
           });
}

// What follows the scheme and the blanks behind it; nothing for another scheme.
std::optional<string_view> WithoutScheme(string_view value) {
    const std::size_t blank = value.find(' ');
    if (blank == string_view::npos || !IsSameName(value.substr(0, blank), kScheme)) {
        return std::nullopt;
    }
    return value.substr(value.find_first_not_of(' ', blank));
}

} // namespace

std::optional<messages::CCredentials> ReadCredentials(const CHttpHead& head) {
    if (head.Count(kField) != 1) {
        return std::nullopt;
    }
    const std::string value = *head.Find(kField);
    const std::optional<string_view> encoded = WithoutScheme(value);
    const std::optional<std::string> pair = encoded ? DecodeBase64(*encoded) : std::nullopt;
    const std::size_t colon = pair ? pair->find(':') : std::string::npos;
    if (colon == 0 || colon == std::string::npos) {
        return std::nullopt;
    }
    messages::CCredentials credentials{pair->substr(0, colon), pair->substr(colon + 1)};
    if (!IsText(credentials.m_user) || !IsText(credentials.m_password)) {
        return std::nullopt;
    }
    return credentials;
}

} // namespace wbemd
