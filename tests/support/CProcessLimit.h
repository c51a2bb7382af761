#pragma once

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/types.h>

// A limit of another process, such as RLIMIT_DATA, as long as the object lives.
class CProcessLimit {
public:
    CProcessLimit(pid_t process, __rlimit_resource resource, rlim_t value)
        : m_process(process),
          m_resource(resource) {
        EXPECT_EQ(prlimit(m_process, m_resource, nullptr, &m_before), 0);
        const rlimit limit{value, m_before.rlim_max};
        EXPECT_EQ(prlimit(m_process, m_resource, &limit, nullptr), 0);
    }
    ~CProcessLimit() { prlimit(m_process, m_resource, &m_before, nullptr); }
    CProcessLimit(const CProcessLimit&) = delete;
    CProcessLimit& operator=(const CProcessLimit&) = delete;

private:
    pid_t m_process;
    __rlimit_resource m_resource;
    rlimit m_before{};
};
