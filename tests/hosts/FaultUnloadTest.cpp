// A host that opens the provider library and closes it, again and again.

#include "providerbase/CVELTARO_ServerService.h"
#include "tests/hosts/HostProcess.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <link.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

namespace {

using CreateFunction = void* (*)();

bool OpenAndCloseAlone(const char* path) {
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    return library != nullptr && dlclose(library) == 0;
}

// One whole life of the libraries. False when they cannot be had.
bool OpenAndClose() {
    void* library = dlopen(PROVIDER_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        return false;
    }
    const auto create = reinterpret_cast<CreateFunction>(dlsym(library, "create"));
    delete static_cast<CVELTARO_ServerService*>(create());
    return dlclose(library) == 0 && OpenAndCloseAlone(PROVIDERBASE_LIBRARY) &&
           OpenAndCloseAlone(COMLIB_LIBRARY);
}

// Whether the library is one that the loader never takes away. A compiler can have that effect on a
// library by chance; this one must not depend on it.
bool IsLoadedForEver(const char* library) {
    void* handle = dlopen(library, RTLD_NOW);
    const link_map* map = nullptr;
    if (handle == nullptr || dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0) {
        return false;
    }
    bool isForEver = false;
    for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
        isForEver |= entry->d_tag == DT_FLAGS_1 && (entry->d_un.d_val & DF_1_NODELETE) != 0;
    }
    dlclose(handle);
    return isForEver;
}

bool IsLoaded(const char* library) {
    void* handle = dlopen(library, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        dlclose(handle);
    }
    return handle != nullptr;
}

std::ptrdiff_t Mappings() {
    std::ifstream maps("/proc/self/maps");
    return std::count(std::istreambuf_iterator<char>(maps), {}, '\n');
}

class FaultUnload : public testing::Test {
protected:
    void SetUp() override { SKIP_UNLESS_TRANSLATED(); }
};

TEST_F(FaultUnload, AThousandTimesMakesNothingGrow) {
    EXPECT_EQ("exit 0", EndOf([] {
                  std::ptrdiff_t mappings = 0;
                  std::size_t used = 0;
                  for (int time = 1; time <= 1000; ++time) {
                      if (!OpenAndClose()) {
                          return 1;
                      }
                      if (time == 100) {
                          mappings = Mappings();
                          used = mallinfo2().uordblks;
                      }
                  }
                  return Mappings() == mappings && mallinfo2().uordblks == used ? 0 : 2;
              }));
}

TEST_F(FaultUnload, ClosesTheProviderAndKeepsTheHandlers) {
    EXPECT_EQ("exit 0", EndOf([] {
                  if (!OpenAndClose() || IsLoaded(PROVIDER_LIBRARY)) {
                      return 1;
                  }
                  return IsLoaded(COMLIB_LIBRARY) && IsLoadedForEver(COMLIB_LIBRARY) ? 0 : 2;
              }));
}

TEST_F(FaultUnload, LeavesFaultsToTheDefaultAction) {
    EXPECT_EQ("SEGV", EndOf([] {
                  OpenAndClose();
                  OpenAndClose();
                  try {
                      ReadFromNowhere();
                  } catch (...) {
                  }
                  return 0;
              }));
}

TEST_F(FaultUnload, LeavesFaultsToTheHandlerOfTheHost) {
    EXPECT_EQ("exit 42", EndOf([] {
                  OpenAndClose();
                  SetHandler(SIGSEGV, [](int, siginfo_t*, void*) { _exit(42); });
                  OpenAndClose();
                  std::thread(OpenAndClose).join(); // and whatever that thread leaves at its end
                  ReadFromNowhere();
                  return 0;
              }));
}

} // namespace
