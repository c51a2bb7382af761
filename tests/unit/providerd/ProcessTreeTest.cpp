#include "providerd/ProcessTree.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using providerd::ChildrenOf;
using Processes = std::vector<pid_t>;

namespace {

// A process of this name that waits until it is killed.
class CWaitingProcess {
public:
    explicit CWaitingProcess(const char* name) {
        int ready[2];
        EXPECT_EQ(0, pipe(ready));
        m_id = fork();
        if (m_id == 0) {
            prctl(PR_SET_NAME, name);
            close(ready[0]);
            close(ready[1]); // says that it is there
            for (;;) {
                pause();
            }
        }
        close(ready[1]);
        char none = 0;
        EXPECT_EQ(0, read(ready[0], &none, 1));
        close(ready[0]);
    }
    ~CWaitingProcess() {
        kill(m_id, SIGKILL);
        waitpid(m_id, nullptr, 0);
    }
    CWaitingProcess(const CWaitingProcess&) = delete;
    CWaitingProcess& operator=(const CWaitingProcess&) = delete;

    [[nodiscard]] pid_t Id() const { return m_id; }

private:
    pid_t m_id = -1;
};

TEST(ChildrenOf, AreFoundWhateverTheirNames) {
    EXPECT_EQ(Processes{}, ChildrenOf(getpid()));
    for (const char* name : {"plain", ") S 1", ")", "two words", "", ") ) ) 1 1"}) {
        const CWaitingProcess child(name);
        EXPECT_EQ(Processes{child.Id()}, ChildrenOf(getpid())) << name;
        EXPECT_EQ(Processes{}, ChildrenOf(child.Id())) << name;
    }
    EXPECT_EQ(Processes{}, ChildrenOf(getpid()));
}

} // namespace
