#include "providerd/door/CommandLine.h"
#include "serverbase/ServiceManager.h"

#include <cstdlib>
#include <exception>
#include <string>

int main(int argumentCount, char** arguments) {
    try {
        return providerd::RunCommandLine({arguments + 1, arguments + argumentCount});
    } catch (const std::exception& exception) {
        daemon_base::Log(daemon_base::Level::Error,
                         std::string("kzm-providerd ends: ") + exception.what() + ".");
    }
    return EXIT_FAILURE;
}
