#pragma once

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

// A named pipe for a process to wait at, or to tell something by: either side's opening waits for
// the other's.
class CFifo {
public:
    CFifo() {
        m_folder = "/tmp/kzm-fifo-XXXXXX";
        EXPECT_NE(nullptr, mkdtemp(m_folder.data()));
        EXPECT_EQ(0, mkfifo(Path().c_str(), 0666));
    }
    ~CFifo() {
        unlink(Path().c_str());
        rmdir(m_folder.c_str());
    }
    CFifo(const CFifo&) = delete;
    CFifo& operator=(const CFifo&) = delete;

    [[nodiscard]] std::string Path() const { return m_folder + "/fifo"; }

    // Waits until somebody waits for this, and lets him go on.
    void Release() const { close(open(Path().c_str(), O_WRONLY | O_CLOEXEC)); }
    // Waits until somebody tells something by it.
    void Await() const { close(open(Path().c_str(), O_RDONLY | O_CLOEXEC)); }

private:
    std::string m_folder;
};
