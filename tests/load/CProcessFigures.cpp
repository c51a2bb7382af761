#include "tests/load/CProcessFigures.h"

#include <gtest/gtest.h>

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace {

std::size_t ResidentKb() {
    std::ifstream file("/proc/self/statm");
    std::size_t wholePages = 0;
    std::size_t residentPages = 0;
    EXPECT_TRUE(file >> wholePages >> residentPages);
    return residentPages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) / 1024;
}

std::size_t OpenDescriptors() {
    const fs::directory_iterator descriptors("/proc/self/fd");
    const auto count = std::distance(fs::begin(descriptors), fs::end(descriptors));
    return static_cast<std::size_t>(count) - 1; // the iterator's own
}

bool HasChildren() {
    siginfo_t info{};
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0 || errno != ECHILD;
}

} // namespace

CProcessFigures CProcessFigures::Take() {
    return {ResidentKb(), mallinfo2().uordblks, OpenDescriptors(), HasChildren()};
}
