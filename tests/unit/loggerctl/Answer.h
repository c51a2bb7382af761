#pragma once

#include "loggerctl/output/Failure.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

// What came back; fails the running test when a failure did.
template <class T>
T Must(output::Expected<T> answer) {
    if (!answer) {
        ADD_FAILURE() << answer.error().m_headline
                      << testing::PrintToString(answer.error().m_reasons);
        return T();
    }
    return std::move(*answer);
}

// The headline of wrong usage; fails the running test when there is none, or another failure.
template <class T>
std::string WrongUsage(const output::Expected<T>& answer) {
    if (answer) {
        ADD_FAILURE() << "no failure";
        return "";
    }
    EXPECT_EQ(output::ExitCode::Usage, answer.error().m_code);
    return answer.error().m_headline;
}
