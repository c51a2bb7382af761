#pragma once

#include "comlib/KzmApi.h"

// A debugging hook: code announces where it is, and a host program that set a hook sees it. Without
// a hook nothing happens. Texts are the caller's and are not kept.
KZM_API void ShowMessage(const char* text, const char* caption);
KZM_API void ShowMessage(const wchar_t* text, const wchar_t* caption);

// For hosts and tests: receives every message, wide ones as narrow text, on the thread that shows
// it. Null removes the hook.
using ShowMessageHook = void (*)(const char* text, const char* caption);
KZM_API void SetShowMessageHook(ShowMessageHook hook);
