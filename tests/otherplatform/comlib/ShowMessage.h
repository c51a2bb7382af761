#pragma once

#include "tests/otherplatform/Script.h"

inline void ShowMessage(const char* text, const char* caption) {
    CScript::Get().Note("ShowMessage " + std::string(text) + ", " + caption);
}

inline void ShowMessage(const wchar_t* text, const wchar_t* caption) {
    const std::wstring wideText(text);
    const std::wstring wideCaption(caption);
    std::string narrow;
    for (const wchar_t character : wideText + L", " + wideCaption) {
        narrow.push_back(static_cast<char>(character));
    }
    CScript::Get().Note("ShowMessage wide " + narrow);
}
