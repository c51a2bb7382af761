#pragma once

#include <tl/expected.hpp>

#include <cstring>
#include <string>

namespace history {

// Why something could not be done: one sentence that begins with the path concerned, and the error
// number behind it (0: none). The paths are the build's own, so the text is safe to print.
struct CProblem {
    std::string m_text;
    int m_number = 0;
};

template <class T>
using Expected = tl::expected<T, CProblem>;

// "PATH: cannot be ACTION (why)." for an action such as "read" or "replaced".
inline CProblem Refused(const std::string& path, const std::string& action, int number) {
    return {path + ": cannot be " + action + " (" + std::strerror(number) + ").", number};
}

} // namespace history
