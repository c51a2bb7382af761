#pragma once

#include <cstdint>

// The 32-bit status of WBEM operations: 0 or positive on success, negative on failure.
using HRESULT = std::int32_t;

namespace WbemResult {

inline constexpr HRESULT kSuccess = 0;
inline constexpr HRESULT kFailed = static_cast<HRESULT>(0x80041001);
inline constexpr HRESULT kNotFound = static_cast<HRESULT>(0x80041002);
inline constexpr HRESULT kTypeMismatch = static_cast<HRESULT>(0x80041005);
inline constexpr HRESULT kInvalidParameter = static_cast<HRESULT>(0x80041008);
inline constexpr HRESULT kNotSupported = static_cast<HRESULT>(0x8004100C);

} // namespace WbemResult
