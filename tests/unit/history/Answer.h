#pragma once

#include "history/Expected.h"

#include <gtest/gtest.h>

#include <utility>

// What came back; fails the running test when a problem did.
template <class T>
T Must(history::Expected<T> answer) {
    if (!answer) {
        ADD_FAILURE() << answer.error().m_text;
        return T();
    }
    return std::move(*answer);
}

inline void Must(const history::Expected<void>& answer) {
    EXPECT_TRUE(answer) << answer.error().m_text;
}

// The problem's sentence; fails the running test when there is none.
template <class T>
std::string Problem(const history::Expected<T>& answer) {
    EXPECT_FALSE(answer);
    return answer ? "" : answer.error().m_text;
}
