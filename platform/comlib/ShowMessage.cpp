#include "comlib/ShowMessage.h"

#include <atomic>
#include <string>

namespace {

std::atomic<ShowMessageHook> currentHook{nullptr};

// Appends one code point as UTF-8; what is none is replaced by U+FFFD.
void AppendUtf8(char32_t codePoint, std::string& text) {
    const auto trail = [codePoint](unsigned int shift) {
        return static_cast<char>(0x80 | ((codePoint >> shift) & 0x3F));
    };
    const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (isSurrogate || codePoint > 0x10FFFF) {
        text += "\xEF\xBF\xBD";
    } else if (codePoint < 0x80) {
        text += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        text += {static_cast<char>(0xC0 | (codePoint >> 6)), trail(0)};
    } else if (codePoint < 0x10000) {
        text += {static_cast<char>(0xE0 | (codePoint >> 12)), trail(6), trail(0)};
    } else {
        text += {static_cast<char>(0xF0 | (codePoint >> 18)), trail(12), trail(6), trail(0)};
    }
}

// The C library's conversions depend on the process's locale, which is the host program's business.
std::string ToUtf8(const wchar_t* wideText) {
    std::string text;
    for (; *wideText != L'\0'; ++wideText) {
        AppendUtf8(static_cast<char32_t>(*wideText), text);
    }
    return text;
}

} // namespace

void ShowMessage(const char* text, const char* caption) {
    const ShowMessageHook hook = currentHook.load();
    if (hook != nullptr) {
        hook(text, caption);
    }
}

void ShowMessage(const wchar_t* text, const wchar_t* caption) {
    const ShowMessageHook hook = currentHook.load();
    if (hook != nullptr) {
        hook(ToUtf8(text).c_str(), ToUtf8(caption).c_str());
    }
}

void SetShowMessageHook(ShowMessageHook hook) {
    currentHook.store(hook);
}
