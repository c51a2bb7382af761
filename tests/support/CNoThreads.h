#pragma once

#include <pthread.h>

#include <cstddef>

// While the object lives, no thread can be started that leaves the size of its stack to the system:
// the size is more than there is room for.
class CNoThreads {
public:
    CNoThreads() {
        pthread_getattr_default_np(&m_before);
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, std::size_t{1} << 60);
        pthread_setattr_default_np(&attributes);
        pthread_attr_destroy(&attributes);
    }
    ~CNoThreads() {
        pthread_setattr_default_np(&m_before);
        pthread_attr_destroy(&m_before);
    }
    CNoThreads(const CNoThreads&) = delete;
    CNoThreads& operator=(const CNoThreads&) = delete;

private:
    pthread_attr_t m_before{};
};
