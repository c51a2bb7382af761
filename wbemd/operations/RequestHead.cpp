#include "wbemd/operations/RequestHead.h"

#include "host/CimText.h"

#include <algorithm>

namespace wbemd {

namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kHeaderMismatch = "header-mismatch";

std::string_view Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// What stands before the first separator, trimmed; *text is then what stands behind it.
std::string_view TakeUpTo(char separator, std::string_view* text) {
    const std::size_t end = std::min(text->find(separator), text->size());
    const std::string_view before = Trim(text->substr(0, end));
    text->remove_prefix(std::min(end + 1, text->size()));
    return before;
}

std::string_view Unquote(std::string_view text) {
    const bool isQuoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return isQuoted ? text.substr(1, text.size() - 2) : text;
}

// XML in UTF-8. Other parameters than the character set do not matter.
bool IsXmlInUtf8(std::string_view contentType) {
    const std::string_view type = TakeUpTo(';', &contentType);
    bool isGood = cim::AreSameNames(type, "application/xml") || cim::AreSameNames(type, "text/xml");
    while (!contentType.empty()) {
        std::string_view parameter = TakeUpTo(';', &contentType);
        if (cim::AreSameNames(TakeUpTo('=', &parameter), "charset")) {
            isGood = isGood && cim::AreSameNames(Unquote(Trim(parameter)), "utf-8");
        }
    }
    return isGood;
}

std::optional<unsigned> HexDigit(char digit) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    const char lower = digit >= 'A' && digit <= 'F' ? static_cast<char>(digit - 'A' + 'a') : digit;
    const std::size_t value = kDigits.find(lower);
    return value == std::string_view::npos ? std::nullopt
                                           : std::optional(static_cast<unsigned>(value));
}

// Nothing when a percent sign begins anything but two digits, or the bytes are no UTF-8.
std::optional<std::string> PercentDecode(std::string_view text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            decoded += text[i];
            continue;
        }
        const auto high = i + 1 < text.size() ? HexDigit(text[i + 1]) : std::nullopt;
        const auto low = i + 2 < text.size() ? HexDigit(text[i + 2]) : std::nullopt;
        if (!high || !low) {
            return std::nullopt;
        }
        decoded += static_cast<char>(*high * 16 + *low);
        i += 2;
    }
    return cim::IsUtf8(decoded) ? std::optional(decoded) : std::nullopt;
}

bool IsSameNamespace(std::string_view left, std::string_view right) {
    return cim::AreSameNames(StripSlashes(left), StripSlashes(right));
}

// "namespace:Class", or "namespace:Class.keys" of an instance, whose keys do not matter. An
// intrinsic operation has its namespace alone there, or whatever it works on behind it.
bool IsSameObject(std::string_view announced, const CCimRequest& request) {
    const std::size_t colon = std::min(announced.find(':'), announced.size());
    if (!IsSameNamespace(announced.substr(0, colon), request.m_namespace)) {
        return false;
    }
    if (request.m_isIntrinsic) {
        return true;
    }
    std::string_view name = announced.substr(std::min(colon + 1, announced.size()));
    if (request.m_isOfInstance) {
        name = name.substr(0, name.find_first_of(".="));
    }
    return cim::AreSameNames(name, request.m_class);
}

} // namespace

std::optional<CRefusal> CheckHead(const CRequestHead& head) {
    if (!head.m_contentType || !IsXmlInUtf8(*head.m_contentType)) {
        return CRefusal{415, {}, "Requests are application/xml or text/xml, in UTF-8."};
    }
    if (head.m_contentEncoding) {
        return CRefusal{415, {}, "Requests are sent as they are, without Content-Encoding."};
    }
    if (!head.m_cimOperation || !cim::AreSameNames(Trim(*head.m_cimOperation), "MethodCall")) {
        return CRefusal{400, "unsupported-operation",
                        "The header CIMOperation must be MethodCall."};
    }
    return std::nullopt;
}

std::optional<CRefusal> CheckAnnounced(const CRequestHead& head, const CCimRequest& request) {
    const auto method = PercentDecode(Trim(head.m_cimMethod.value_or("%")));
    if (!method || !cim::AreSameNames(*method, request.m_method)) {
        return CRefusal{400, kHeaderMismatch,
                        "The header CIMMethod must name the method that the body calls."};
    }
    const auto object = PercentDecode(Trim(head.m_cimObject.value_or("%")));
    if (!object || !IsSameObject(*object, request)) {
        return CRefusal{400, kHeaderMismatch,
                        "The header CIMObject must name the namespace, and for a method the class, "
                        "that the body names."};
    }
    return std::nullopt;
}

} // namespace wbemd
