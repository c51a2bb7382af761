#pragma once

// Holds the settings lock until Release or its end.
class CHeldLock {
public:
    CHeldLock();
    ~CHeldLock();
    CHeldLock(const CHeldLock&) = delete;
    CHeldLock& operator=(const CHeldLock&) = delete;

    void Release() const;

private:
    int m_iFile;
};
