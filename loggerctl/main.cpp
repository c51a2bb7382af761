#include "loggerctl/commands/CCommandLine.h"
#include "loggerctl/output/COutput.h"
#include "loggerctl/output/CSafeText.h"

#include <clocale>
#include <exception>

int main(int argumentCount, char** arguments) {
    COutput::SecureStandardStreams();
    std::setlocale(LC_CTYPE, "");
    try {
        return static_cast<int>(CCommandLine::Run(argumentCount, arguments));
    } catch (const std::exception& exception) {
        COutput::WriteError(std::string("The command was given up: ") +
                            CSafeText::Escape(exception.what()) + ".");
    }
    return static_cast<int>(ExitCode::Failure);
}
