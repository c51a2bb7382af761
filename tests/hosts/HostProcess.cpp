#include "tests/hosts/HostProcess.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <exception>
#include <thread>

std::string EndOf(const std::function<int()>& host) {
    const pid_t process = fork();
    if (process == 0) {
        const rlimit none{0, 0};
        setrlimit(RLIMIT_CORE, &none);
        alarm(50);
        std::thread([&host] { _exit(host()); }).join();
    }
    int status = 0;
    waitpid(process, &status, 0);
    return WIFEXITED(status) ? "exit " + std::to_string(WEXITSTATUS(status))
                             : sigabbrev_np(WTERMSIG(status));
}

void SetHandler(int signalNumber, void (*handler)(int, siginfo_t*, void*), int flags,
                int alsoBlocked) {
    struct sigaction action {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO | flags;
    if (alsoBlocked != 0) {
        sigaddset(&action.sa_mask, alsoBlocked);
    }
    sigaction(signalNumber, &action, nullptr);
}

bool IsBlocked(int signalNumber) {
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    return sigismember(&blocked, signalNumber) == 1;
}

void ReadFromNowhere() {
    // Hidden from the compiler, which knows that nothing can be there.
    const volatile int* volatile address = reinterpret_cast<const volatile int*>(0x10);
    [[maybe_unused]] const int value = *address;
}

void DivideByZero() {
    volatile int dividend = 10;
    volatile int zero = 0;
    [[maybe_unused]] const volatile int quotient = dividend / zero;
}
