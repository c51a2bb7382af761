// JSON takes long to compile: what only speaks to the console does without this header.
#pragma once

#include "loggerctl/output/Failure.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <string>

namespace output {

// What a command came to when it succeeded: a text for people, and the same for programs.
struct CAnswer { // NOLINT(bugprone-exception-escape): moving JSON does not throw
    ExitCode m_code = ExitCode::Success;
    std::string m_text; // whole lines, safe to print
    nlohmann::ordered_json m_document;
    std::function<std::string()> m_json; // for large ones: gives the finished JSON text instead
};

} // namespace output
