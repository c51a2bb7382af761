#include "tests/fuzz/support/CMountOutput.h"

#include <cstdio>

namespace {

// Libfuzzer calls the target from one thread.
std::string s_text;
int s_open = 0;

} // namespace

void CMountOutput::Set(const std::string& text) {
    s_text = text;
}

bool CMountOutput::IsClosed() {
    return s_open == 0;
}

// The linker gives these two their names.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
extern "C" FILE* __wrap_popen(const char* /*command*/, const char* /*type*/);
extern "C" int __wrap_pclose(FILE* stream);

extern "C" FILE* __wrap_popen(const char* /*command*/, const char* /*type*/) {
    if (s_text == CMountOutput::kCannotBeStarted) {
        return nullptr;
    }
    ++s_open;
    return fmemopen(s_text.data(), s_text.size(), "r");
}

extern "C" int __wrap_pclose(FILE* stream) {
    --s_open;
    return std::fclose(stream);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
