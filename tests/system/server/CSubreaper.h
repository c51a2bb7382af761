#pragma once

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <sys/wait.h>

// The orphans among the processes below this one become its children.
class CSubreaper {
public:
    CSubreaper() { prctl(PR_SET_CHILD_SUBREAPER, 1); }
    ~CSubreaper() { prctl(PR_SET_CHILD_SUBREAPER, 0); }
    CSubreaper(const CSubreaper&) = delete;
    CSubreaper& operator=(const CSubreaper&) = delete;

    // The status of the next child that ends, once it has.
    int AwaitChild() const {
        int status = -1;
        EXPECT_LT(0, waitpid(-1, &status, 0));
        return status;
    }
};
