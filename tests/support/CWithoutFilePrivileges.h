#pragma once

#include <cstdint>

// As long as it lives, the calling thread obeys the permission bits of files also when it is root:
// it gives up the capabilities that override them, and takes them back afterwards.
class CWithoutFilePrivileges {
public:
    CWithoutFilePrivileges();
    ~CWithoutFilePrivileges();
    CWithoutFilePrivileges(const CWithoutFilePrivileges&) = delete;
    CWithoutFilePrivileges& operator=(const CWithoutFilePrivileges&) = delete;

private:
    std::uint32_t m_uiEffective = 0;
};
