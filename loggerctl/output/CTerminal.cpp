#include "loggerctl/output/CTerminal.h"

#include "loggerctl/output/SafeText.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

namespace output {

namespace {

// The variable's value; empty when it is not set.
std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

} // namespace

CTerminal CTerminal::Of(int descriptor) {
    const std::string type = Variable("TERM");
    CTerminal terminal;
    terminal.m_terminal = isatty(descriptor) == 1;
    terminal.m_sequences = terminal.m_terminal && !type.empty() && type != "dumb";
    terminal.m_colour = terminal.m_sequences && Variable("NO_COLOR").empty();
    terminal.m_utf8 = IsUtf8Locale();
    struct winsize size {};
    if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col != 0) {
        terminal.m_columns = size.ws_col;
    }
    return terminal;
}

} // namespace output
