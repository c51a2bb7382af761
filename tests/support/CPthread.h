#pragma once

#include <gtest/gtest.h>

#include <pthread.h>

#include <cstddef>
#include <functional>
#include <utility>

// A thread as daemons make them: with a stack of a given size, and one that can be cancelled.
// Joined when this object goes at the latest.
class CPthread {
public:
    // A stack of 0 bytes is one of the usual size.
    explicit CPthread(std::function<void()> body, std::size_t stackSize = 0)
        : m_body(std::move(body)) {
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        if (stackSize != 0) {
            EXPECT_EQ(0, pthread_attr_setstacksize(&attributes, stackSize));
        }
        const int error = pthread_create(&m_thread, &attributes, Run, this);
        EXPECT_EQ(0, error);
        m_bJoinable = error == 0;
        pthread_attr_destroy(&attributes);
    }
    ~CPthread() { static_cast<void>(WasCancelled()); }
    CPthread(const CPthread&) = delete;
    CPthread& operator=(const CPthread&) = delete;

    void Cancel() const { EXPECT_EQ(0, pthread_cancel(m_thread)); }
    void Signal(int number) const { EXPECT_EQ(0, pthread_kill(m_thread, number)); }

    // Waits for its end; true when it was cancelled, or ended itself with End.
    bool WasCancelled() {
        void* result = nullptr;
        if (std::exchange(m_bJoinable, false)) {
            EXPECT_EQ(0, pthread_join(m_thread, &result));
        }
        return result == PTHREAD_CANCELED;
    }

    // What a cancellation does to the calling thread, at this very place.
    [[noreturn]] static void End() { pthread_exit(PTHREAD_CANCELED); }

private:
    static void* Run(void* self) {
        static_cast<CPthread*>(self)->m_body();
        return nullptr;
    }

    std::function<void()> m_body;
    pthread_t m_thread{};
    bool m_bJoinable = false;
};
