#pragma once

#include "tests/support/CTraceCapture.h"

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

// All that one method call did and left, as tests compare it.
struct CObservation {
    // What the calling process tells; see Text.
    struct Report {
        bool m_bThrown = false; // the host itself failed
        std::string m_sError;   // what the provider did wrong as the host sees it
        bool m_bDelivered = false;
        std::uint32_t m_uiResult = 0; // when something was delivered
        std::uint32_t m_uiStatus = 0;
        bool m_bLockHeld = false;
        bool m_bHasChildren = false;
        bool m_bMet = false;               // an allocation failed
        int m_iAllocations = 0;            // in the window
        std::vector<std::string> m_leaked; // the files of descriptors that were not open before
        TraceLines m_trace;

        // The lines of these levels.
        [[nodiscard]] TraceLines Lines(int mask) const;

        [[nodiscard]] std::string Text() const;
        // Nothing comes back from a text that is not whole.
        static std::optional<Report> Parse(const std::string& text);
    };

    std::optional<Report> m_report; // none when the process died
    int m_iExitStatus = -1;
    bool m_bMet = false; // the fault happened
    // Afterwards, when every process has ended.
    bool m_bOrphansEnded = false;
    bool m_bLockFree = false;
    std::vector<std::string> m_vendorCalls;
    std::string m_sAgent;
    std::string m_sAlert;
};

std::ostream& operator<<(std::ostream& out, const CObservation& observation);
