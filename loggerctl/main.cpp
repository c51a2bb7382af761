#include "loggerctl/commands/CommandLine.h"
#include "loggerctl/output/Console.h"
#include "loggerctl/output/SafeText.h"

#include <malloc.h>

#include <clocale>
#include <exception>

namespace {

constexpr int kKeptMemory = 32 * 1024 * 1024; // the most that malloc takes for both

} // namespace

int main(int argumentCount, char** arguments) {
    // A run is short: memory that went back to the system would only be asked for again.
    mallopt(M_TRIM_THRESHOLD, kKeptMemory);
    mallopt(M_MMAP_THRESHOLD, kKeptMemory);
    output::SecureStandardStreams();
    std::setlocale(LC_CTYPE, "");
    try {
        return static_cast<int>(commands::Run(argumentCount, arguments));
    } catch (const std::exception& exception) {
        output::WriteError(std::string("The command was given up: ") +
                           output::Escape(exception.what()) + ".");
    }
    return static_cast<int>(output::ExitCode::Failure);
}
