#pragma once

#include <string>

// The settings lock, held from construction to destruction. While somebody else holds it, a
// terminal on standard error shows so.
class CSettingsLock {
public:
    // Waits for the lock, 30 seconds at most.
    CSettingsLock();
    ~CSettingsLock();
    CSettingsLock(const CSettingsLock&) = delete;
    CSettingsLock& operator=(const CSettingsLock&) = delete;

    [[nodiscard]] bool IsHeld() const { return m_iDescriptor >= 0; }

    // Why somebody who has just tried did not get the lock: a sentence that is safe to print. Looks
    // at the lock file as it is now.
    static std::string WhyRefused();

private:
    int m_iDescriptor = -1;
};
