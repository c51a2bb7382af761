#pragma once

namespace providerd {

// The class that the provider serves, and its methods.
inline constexpr char kClass[] = "VELTARO_ToolServiceLogger";
inline constexpr char kGetParameter[] = "GetParameter";
inline constexpr char kSetParameter[] = "SetParameter";

} // namespace providerd
