#include "loggerctl/output/CTerminal.h"

#include "loggerctl/output/CSafeText.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace {

// The variable's value; empty when it is not set.
std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

bool UnderstandsSequences() {
    const std::string type = Variable("TERM");
    return !type.empty() && type != "dumb";
}

std::size_t ColumnsOf(int descriptor) {
    struct winsize size {};
    if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
        return CTerminal::kDefaultColumns;
    }
    return size.ws_col;
}

} // namespace

CTerminal CTerminal::Of(int descriptor) {
    CTerminal terminal;
    terminal.m_bTerminal = isatty(descriptor) == 1 && UnderstandsSequences();
    terminal.m_bColour = terminal.m_bTerminal && Variable("NO_COLOR").empty();
    terminal.m_bUtf8 = CSafeText::IsUtf8Locale();
    terminal.m_columns = ColumnsOf(descriptor);
    return terminal;
}
