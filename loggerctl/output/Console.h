#pragma once

#include "loggerctl/output/CTerminal.h"
#include "loggerctl/output/Failure.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace output {

struct CAnswer; // see Answer.h

enum class Format { Text, Json };

// How a run of the tool speaks; one for each run.
class CConsole {
public:
    // Quiet leaves out notes and an answer's text, never a failure, nor anything that is JSON.
    CConsole(Format format, bool quiet);

    // Something worth knowing that does not end the command. Text: written at once to standard
    // error, unless quiet. JSON: kept for the document's "warnings", one string for each note, the
    // details in indented lines. The texts must be safe to print.
    void Note(const std::string& headline, const std::vector<std::string>& details = {});

    // Says what the command came to, once, and returns its exit code; Failure when standard output
    // cannot be written, of which standard error has then been told; of a change that was made, and
    // of a failure as in text, too.
    //
    // Text: an answer goes to standard output, a failure with its reasons and the host's state to
    // standard error.
    //
    // JSON: one document on standard output and nothing on standard error. An answer is its
    // document, if that is an object with the notes added to its array "warnings"; any other
    // document, and a finished text, is printed as it is, and the notes go to standard error like
    // those of text. A failure is {"error": {"code", "name", "message", "reasons"}, "warnings"};
    // with a state its "error" has "stage", "host_state": {"service", "files", "difference"} and
    // "recover_with", the commands, too.
    ExitCode Finish(const Expected<CAnswer>& result);

    [[nodiscard]] Format GetFormat() const { return m_format; }
    [[nodiscard]] bool IsQuiet() const { return m_quiet; }

private:
    [[nodiscard]] std::string JsonOf(const CAnswer& answer) const;
    [[nodiscard]] std::string WithWarnings(nlohmann::ordered_json document) const;

    const Format m_format;
    const bool m_quiet;
    std::vector<std::string> m_warnings; // the notes, with JSON
};

// Makes sure that the three standard streams are open, so that no file of the provider's takes the
// place of one; writing to a stream that was closed still fails. To be called first of all.
void SecureStandardStreams();

// Writes the whole text to standard output. False when it does not take all of it; standard error
// has then been told why. A reader that closed the pipe ends the process quietly, by SIGPIPE,
// unless the caller had that signal ignored.
bool WriteOut(const std::string& text);

// Writes "loggerctl: headline" and then each detail, indented, to standard error, above a line
// that shows progress there. The texts must be safe to print. Nothing is reported when they cannot
// be written.
void WriteError(const std::string& headline, const std::vector<std::string>& details = {});

// JSON as text: indented by two blanks, ended by a newline, and safe to print: characters that
// could steer a terminal stand as \uXXXX, and everything beyond ASCII does so unless the locale is
// UTF-8. In a string that is not UTF-8 U+FFFD takes the place of what is not.
std::string ToText(const nlohmann::ordered_json& document);

// A JSON string of bytes that may not be UTF-8: valid text as it is, otherwise escaped as Escape
// does.
nlohmann::ordered_json JsonString(const std::string& bytes);

// The same for a text of several lines, such as a difference: a line that is not UTF-8 is escaped,
// and the others stay as they are.
nlohmann::ordered_json JsonLines(const std::string& bytes);

} // namespace output
