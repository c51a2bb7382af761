#pragma once

#include <string>
#include <vector>

// What the tool says.
class COutput {
public:
    // Makes sure that the three standard streams are open, so that no file of the provider's takes
    // the place of one; writing to a stream that was closed still fails. To be called first of all.
    static void SecureStandardStreams();

    // Writes the whole text to standard output. False when it does not take all of it; standard
    // error has then been told why. A reader that closed the pipe ends the process quietly, by
    // SIGPIPE, unless the caller had that signal ignored.
    static bool Write(const std::string& text);

    // Writes "loggerctl: headline" and then each detail, indented, to standard error. The texts
    // must be safe to print. Nothing is reported when they cannot be written.
    static void WriteError(const std::string& headline,
                           const std::vector<std::string>& details = {});
};
