#include "loggerctl/CTerminal.h"

#include "loggerctl/CSafeText.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace {

bool IsSet(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0';
}

bool UnderstandsSequences() {
    return IsSet("TERM") && std::strcmp(std::getenv("TERM"), "dumb") != 0;
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
    terminal.m_bColour = terminal.m_bTerminal && !IsSet("NO_COLOR");
    terminal.m_bUtf8 = CSafeText::IsUtf8Locale();
    terminal.m_columns = ColumnsOf(descriptor);
    return terminal;
}
