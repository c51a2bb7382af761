#include "comlib/KzmException.h"

#include "comlib/CFaultTranslation.h"

#include <signal.h>

#include <cinttypes>
#include <cstdio>

namespace {

const char* NameOf(int signalNumber) {
    switch (signalNumber) {
    case SIGSEGV:
        return "SIGSEGV";
    case SIGBUS:
        return "SIGBUS";
    case SIGFPE:
        return "SIGFPE";
    case SIGILL:
        return "SIGILL";
    default:
        return "signal";
    }
}

} // namespace

KzmException::KzmException(int signalNumber, const void* address) noexcept
    : m_iSignal(signalNumber),
      m_text{} {
    std::snprintf(m_text.data(), m_text.size(), "%s at 0x%" PRIxPTR, NameOf(signalNumber),
                  reinterpret_cast<std::uintptr_t>(address));
}

KzmException::~KzmException() = default;

void KzmException::set_transrator() {
#ifndef KZM_NO_FAULT_TRANSLATION
    CFaultTranslation::Begin();
#endif
}
