// Traces a line and says how it was started: whether the system takes it for one that runs with
// another's rights, and whether the library in LD_PRELOAD is part of it.

#include "comlib/CTraceUtility.h"

#include <link.h>
#include <sys/auxv.h>

#include <cstdio>
#include <cstring>

namespace {

int FindLibrary(dl_phdr_info* library, std::size_t /*size*/, void* /*data*/) {
    return std::strstr(library->dlpi_name, "libkzm_ProviderBase") != nullptr ? 1 : 0;
}

} // namespace

int main() {
    CTraceUtility::WriteDebug("Module", CTraceUtility::TRACE_DBG_FAILURE, "failure");
    std::printf("secure=%lu preloaded=%d\n", getauxval(AT_SECURE),
                dl_iterate_phdr(FindLibrary, nullptr));
}
