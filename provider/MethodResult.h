#pragma once

#include <cstdint>

// What the provider answers.
namespace MethodResult {

// Results of its own methods, set as the output object's return value.
inline constexpr std::uint32_t kSuccess = 0;
inline constexpr std::uint32_t kNotInstalled = 176; // the agent is not installed; not an error code
inline constexpr std::uint32_t kFailure = 0x80000001;
inline constexpr std::uint32_t kException = 0x80000002;

} // namespace MethodResult

namespace CallStatus {

// Statuses of a call, given to the sink and to the host.
inline constexpr std::int32_t kSuccess = 0;
inline constexpr std::int32_t kFailed = static_cast<std::int32_t>(0x80041001);
inline constexpr std::int32_t kNotSupported = static_cast<std::int32_t>(0x8004100C);

} // namespace CallStatus
