#pragma once

#include <string>

// What the mount command prints. Programs that hold this class never start it: the linker leads
// their popen and pclose here (-Wl,--wrap=popen,--wrap=pclose).
class CMountOutput {
public:
    // From now on the command prints this text, or cannot be started.
    static void Set(const std::string& text);
    static constexpr char kCannotBeStarted[] = "!";

    // True when what was started was closed, too.
    static bool IsClosed();
};
