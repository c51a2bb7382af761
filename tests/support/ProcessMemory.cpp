#include "tests/support/ProcessMemory.h"

#include <gtest/gtest.h>

#include <fstream>

std::size_t MemoryOf(pid_t process, const std::string& name) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    std::string word;
    std::size_t kilobytes = 0;
    while (status >> word) {
        if (word == name + ":") {
            status >> kilobytes;
        }
    }
    EXPECT_NE(kilobytes, 0U) << name << " of process " << process;
    return kilobytes * 1024;
}
