#include "loggerctl/output/Console.h"

#include "history/CDescriptor.h"
#include "loggerctl/output/Answer.h"
#include "loggerctl/output/CProgressLine.h"
#include "loggerctl/output/SafeText.h"
#include "loggerctl/output/UnifiedDiff.h"

#include <fcntl.h>
#include <unistd.h>

#include <utf8.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <sstream>

namespace output {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kJsonIndent = 2;
constexpr std::size_t kJsonEscapeLength = 6; // \uXXXX

void WriteFailure(const CFailure& failure) {
    WriteError(failure.m_headline, failure.m_reasons);
    if (!failure.m_state) {
        return;
    }
    CTerminal terminal = CTerminal::Of(STDERR_FILENO);
    terminal.m_terminal = true; // made safe on a pipe, too: nobody pipes a message to patch
    std::istringstream difference(ForOutput(failure.m_state->m_difference, terminal));
    std::vector<std::string> details{failure.m_state->m_filesText};
    for (std::string line; std::getline(difference, line);) {
        details.push_back(line);
    }
    details.push_back(failure.m_state->m_serviceText);
    for (const auto& [what, command] : failure.m_state->m_recover) {
        details.push_back(what);
        details.back().append("  ").append(command);
    }
    WriteError("The state of the host now:", details);
}

void AddState(const CHostState& state, Json* error) {
    (*error)["stage"] = state.m_stage;
    (*error)["host_state"] = {
        {"service", state.m_service},
        {"files", state.m_difference.empty() ? "unchanged" : "changed"},
        {"difference", JsonLines(state.m_difference)},
    };
    Json& commands = (*error)["recover_with"] = Json::array();
    for (const auto& recover : state.m_recover) {
        commands.push_back(recover.second);
    }
}

Json DocumentOf(const CFailure& failure) {
    Json error = {
        {"code", static_cast<int>(failure.m_code)},
        {"name", NameOf(failure.m_code)},
        {"message", failure.m_headline},
        {"reasons", failure.m_reasons},
    };
    if (failure.m_state) {
        AddState(*failure.m_state, &error);
    }
    return Json::object({{"error", error}});
}

bool MayBeUnsafe(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte != '\n' && (byte < 0x20 || byte >= 0x7F);
}

// Unsafe characters stand only inside of JSON strings, where their escapes mean the same; line ends
// are the layout's own.
std::string WithoutUnsafeCharacters(const std::string& json) {
    if (std::none_of(json.begin(), json.end(), MayBeUnsafe)) {
        return json;
    }
    std::string safe;
    for (auto position = json.begin(); position != json.end();) {
        const auto begin = position;
        const char32_t code = utf8::unchecked::next(position);
        if (code != '\n' && IsUnsafe(code)) {
            const std::string character(begin, position);
            safe += Json(character).dump(-1, ' ', true).substr(1, kJsonEscapeLength);
        } else {
            safe.append(begin, position);
        }
    }
    return safe;
}

// The details stand in lines of their own.
std::string Message(const std::string& headline, const std::vector<std::string>& details) {
    std::string text = headline;
    for (const std::string& detail : details) {
        text += "\n  " + detail;
    }
    return text;
}

// Whether something was changed, and not only tried out.
bool IsChange(const Json& document) {
    return document.is_object() && document.value("changed", false) &&
           !document.value("dry_run", false);
}

// Some file systems report only on closing that there was no room.
int CloseCopy(int descriptor) {
    const int copy = dup(descriptor);
    return copy >= 0 && close(copy) == 0 ? 0 : errno;
}

} // namespace

CConsole::CConsole(Format format, bool quiet) : m_format(format), m_quiet(quiet) {}

void CConsole::Note(const std::string& headline, const std::vector<std::string>& details) {
    if (m_format == Format::Json) {
        m_warnings.push_back(Message(headline, details));
    } else if (!m_quiet) {
        WriteError(headline, details);
    }
}

ExitCode CConsole::Finish(const Expected<CAnswer>& result) {
    const ExitCode code = result ? result->m_code : result.error().m_code;
    std::string text;
    if (m_format == Format::Json) {
        text = result ? JsonOf(*result) : WithWarnings(DocumentOf(result.error()));
    } else if (!result) {
        WriteFailure(result.error());
    } else if (!m_quiet) {
        text = result->m_text;
    }
    if (text.empty()) {
        return code;
    }
    // A failure must not be lost because the reader of its document has gone.
    const auto former = result ? SIG_ERR : std::signal(SIGPIPE, SIG_IGN);
    const bool isWritten = WriteOut(text);
    if (former != SIG_ERR) {
        std::signal(SIGPIPE, former);
    }
    if (!isWritten && !result) {
        WriteFailure(result.error());
    } else if (!isWritten && IsChange(result->m_document)) {
        WriteError("What was asked for has been done, though.");
    }
    return isWritten ? code : ExitCode::Failure;
}

std::string CConsole::JsonOf(const CAnswer& answer) const {
    if (!answer.m_json && answer.m_document.is_object()) {
        return WithWarnings(answer.m_document);
    }
    for (const std::string& warning : m_warnings) {
        if (!m_quiet) {
            WriteError(warning);
        }
    }
    return answer.m_json ? answer.m_json() : ToText(answer.m_document);
}

std::string CConsole::WithWarnings(Json document) const {
    Json& warnings = document["warnings"];
    if (!warnings.is_array()) {
        warnings = Json::array();
    }
    for (const std::string& warning : m_warnings) {
        warnings.push_back(warning);
    }
    return ToText(document);
}

void SecureStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0) {
            // The lowest free number is given out: this stream's own. The wrong way round, so that
            // using it is an error.
            open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

bool WriteOut(const std::string& text) {
    int error = history::CDescriptor::WriteAll(STDOUT_FILENO, text);
    if (error == 0) {
        error = CloseCopy(STDOUT_FILENO);
    }
    if (error != 0) {
        WriteError(std::string("The output cannot be written: ") + std::strerror(error) + ".");
    }
    return error == 0;
}

void WriteError(const std::string& headline, const std::vector<std::string>& details) {
    CProgressLine::WriteAbove("loggerctl: " + Message(headline, details) + '\n');
}

std::string ToText(const Json& document) {
    const bool asciiOnly = !IsUtf8Locale();
    return WithoutUnsafeCharacters(
               document.dump(kJsonIndent, ' ', asciiOnly, Json::error_handler_t::replace)) +
           '\n';
}

Json JsonString(const std::string& bytes) {
    return IsValidUtf8(bytes) ? bytes : Escape(bytes);
}

Json JsonLines(const std::string& bytes) {
    std::string lines;
    std::size_t begin = 0;
    for (std::size_t end = bytes.find('\n'); end != std::string::npos;
         end = bytes.find('\n', begin)) {
        lines += JsonString(bytes.substr(begin, end - begin)).get<std::string>() + "\n";
        begin = end + 1;
    }
    return lines + JsonString(bytes.substr(begin)).get<std::string>();
}

} // namespace output
