#include "provider/CVELTARO_ToolServiceLogger.h"

#include "settings/LockFile.h"

bool CVELTARO_ToolServiceLogger::GetMutex() {
    m_iLockFd = LockFile::Take();
    return m_iLockFd != -1;
}

bool CVELTARO_ToolServiceLogger::DelMutex() {
    if (m_iLockFd != -1) {
        LockFile::Give(m_iLockFd);
        m_iLockFd = -1;
    }
    return true;
}
