#pragma once

#include "comlib/KzmException.h"
#include "tests/hosts/HostProcess.h"

// Whether a fault of the calling thread is thrown as an exception.
inline bool IsThrown() {
    try {
        ReadFromNowhere();
    } catch (const KzmException&) {
        return true;
    }
    return false;
}
