#pragma once

// The module that this library's trace lines name.
inline constexpr char kTraceModule[] = "KzmProviderBase";
