#pragma once

#include "comlib/KzmApi.h"

// The handlers of the fault signals, and the threads whose faults they throw.
class KZM_API CFaultTranslation {
public:
    // What KzmException::set_transrator() promises. Throws nothing. Where there is no memory to
    // remember a handler that the host has set since the last call, that handler stays.
    static void Begin() noexcept;

    // A provider object begins and ends its life, on any thread. The end of the last one ends the
    // translation for all threads, until they ask again.
    static void AddProvider() noexcept;
    static void RemoveProvider() noexcept;
};
