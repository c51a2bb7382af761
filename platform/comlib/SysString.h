#pragma once

#include "comlib/KzmApi.h"

// System strings, in their narrow-character form.

// A copy of the text that the caller owns and gives back with SysFreeString; null for null.
// Throws std::bad_alloc when there is no memory.
KZM_API char* SysAllocString(const char* text);

// Frees a string of SysAllocString; null is allowed.
KZM_API void SysFreeString(char* text);

// Compares two strings byte by byte: 0 when equal, negative or positive as in strcmp otherwise.
// Null comes before every text and equals null.
KZM_API int lstrcmpW(const char* left, const char* right);
