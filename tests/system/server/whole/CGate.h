#pragma once

#include "tests/system/server/Phases.h"
#include "tests/unit/providerd/CFifo.h"

// Made before a change, which then waits at this gate, with the service stopped, until it is let go
// on.
class CGate {
public:
    CGate() {
        SetVendorScript("if [ \"$1\" = ServiceStop ]; then : > " + m_begun.Path() + "; : < " +
                        m_onward.Path() + "; fi");
    }
    // Another change is to pass.
    ~CGate() { SetVendorScript(""); }
    CGate(const CGate&) = delete;
    CGate& operator=(const CGate&) = delete;

    void Await() const { m_begun.Await(); }
    void Open() const { m_onward.Release(); }

private:
    CFifo m_begun;
    CFifo m_onward;
};
