// The worker with the provider of this build, as kzm-providerd starts it. The environment has what
// a test wants otherwise: KZM_TEST_PROVIDER, KZM_TEST_LOCK_TIME (seconds), KZM_TEST_MEMORY (bytes).

#include "providerd/Worker.h"

#include <sys/resource.h>

#include <cstdlib>
#include <string>

int main() {
    providerd::CWorkerOptions options{PROVIDER_LIBRARY, CLASS_DEFINITIONS,
                                      std::chrono::seconds(30)};
    if (const char* library = std::getenv("KZM_TEST_PROVIDER")) {
        options.m_library = library;
    }
    if (const char* time = std::getenv("KZM_TEST_LOCK_TIME")) {
        options.m_callersLockTime = std::chrono::seconds(std::stoi(time));
    }
    if (const char* memory = std::getenv("KZM_TEST_MEMORY")) {
        const rlimit limit{std::stoul(memory), std::stoul(memory)};
        setrlimit(RLIMIT_AS, &limit);
    }
    return providerd::RunWorker(options);
}
