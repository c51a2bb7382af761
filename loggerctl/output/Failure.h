#pragma once

#include <tl/expected.hpp>

#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace output {

// How a command ends. Scripts rely on these numbers: none ever changes its meaning.
enum class ExitCode : int {
    Success = 0,
    Usage = 2,
    NotInstalled = 3,
    Failure = 4,
    Exception = 5,
    NotLoaded = 6,
    Busy = 7,
    NoRights = 8,
    Stopped = 9,
};

struct CExitCodeEntry {
    ExitCode m_code;
    const char* m_name;
    const char* m_meaning;
};

// What the host is left with after a command had begun to change it. All texts but the difference
// must be safe to print.
struct CHostState {
    // How far the command had come: "not-begun", "stop-failed", "stopped", "start-failed",
    // "given-up", "differs" or "unknown".
    std::string m_stage;
    std::string m_service;     // "running", "stopped", "unknown" or "untouched"
    std::string m_serviceText; // a sentence about it
    std::string m_difference;  // unified diff of the files since before, raw; empty: as they were
    std::string m_filesText;   // the sentence before the difference

    // What a command does ("To put the files back as they were:"), and the command.
    std::vector<std::pair<std::string, std::string>> m_recover;
};

// Why a command failed. All texts must be safe to print.
struct CFailure {
    ExitCode m_code = ExitCode::Failure;
    std::string m_headline;
    std::vector<std::string> m_reasons;
    std::optional<CHostState> m_state; // of a host that the command may have changed
};

template <class T>
using Expected = tl::expected<T, CFailure>;

// The one home of the exit codes and what they mean, in ascending order.
const std::array<CExitCodeEntry, 9>& ExitCodes();

std::string NameOf(ExitCode code);
std::string MeaningOf(ExitCode code);

// The table as text for the end of --help, without a final newline.
std::string ExitCodeHelp();

// A failure for a function to return.
inline tl::unexpected<CFailure> Fail(ExitCode code, std::string headline,
                                     std::vector<std::string> reasons = {}) {
    return tl::unexpected<CFailure>(
        CFailure{code, std::move(headline), std::move(reasons), std::nullopt});
}

} // namespace output
