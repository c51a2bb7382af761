#pragma once

#include <string>

// A call of the C library that fails once: the n-th that the program's own code makes by this name
// while the object lives. One at a time, in programs that link `failing_calls`; calls from shared
// libraries are left alone. The names are those in CFailingCall.cpp.
class CFailingCall {
public:
    CFailingCall(const std::string& name, int error, int n = 1);
    ~CFailingCall();
    CFailingCall(const CFailingCall&) = delete;
    CFailingCall& operator=(const CFailingCall&) = delete;

    // Whether the program came so far.
    [[nodiscard]] static bool IsMet();
};

// While the object lives, fsync does nothing, for tests that make many changes and pull no
// plug.
class CNoSyncing {
public:
    CNoSyncing();
    ~CNoSyncing();
    CNoSyncing(const CNoSyncing&) = delete;
    CNoSyncing& operator=(const CNoSyncing&) = delete;
};
