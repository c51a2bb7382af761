// The table of virtual operations of the object that the library makes, as a host sees it.

#include "provider/CVELTARO_ToolServiceLogger.h"
#include "tests/support/CTestRoot.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstring>
#include <filesystem>
#include <memory>

namespace {

constexpr std::size_t kOwnEntries = 3; // both destructors and ExecMethodAsync
constexpr std::size_t kEntries = 22;

using Table = void* const*;

Table TableOf(const void* object) {
    Table table = nullptr;
    std::memcpy(&table, object, sizeof table);
    return table;
}

// The file that holds the code of an entry.
std::string FileOf(const void* entry) {
    Dl_info info{};
    EXPECT_NE(0, dladdr(entry, &info));
    return std::filesystem::canonical(info.dli_fname);
}

struct CloseLibrary {
    void operator()(void* library) const { dlclose(library); }
};

TEST(VirtualTable, OverridesTheFirstThreeEntriesAlone) {
    const CTestRoot root;
    const std::unique_ptr<void, CloseLibrary> library(dlopen(PROVIDER_LIBRARY, RTLD_NOW));
    ASSERT_NE(nullptr, library) << dlerror();
    const auto create = reinterpret_cast<void* (*)()>(dlsym(library.get(), "create"));
    ASSERT_NE(nullptr, create);
    const std::unique_ptr<CVELTARO_ToolService> provider(
        static_cast<CVELTARO_ToolService*>(create()));
    const CVELTARO_ToolService plain("name", "vendor", "1");

    const Table own = TableOf(provider.get());
    const Table inherited = TableOf(&plain);
    const std::string libraryFile = std::filesystem::canonical(PROVIDER_LIBRARY);
    for (std::size_t entry = 0; entry < kEntries; ++entry) {
        SCOPED_TRACE("entry " + std::to_string(entry + 1));
        if (entry < kOwnEntries) {
            EXPECT_EQ(libraryFile, FileOf(own[entry]));
        } else {
            EXPECT_EQ(inherited[entry], own[entry]);
        }
    }
}

// A class that adds one operation to the provider's. It is never made.
class Extended : public CVELTARO_ToolServiceLogger {
public:
    virtual void Next() {}
};

TEST(VirtualTable, EndsWithTheInheritedOperations) {
    // A pointer to a virtual member holds the entry's offset in bytes, plus one.
    auto next = &Extended::Next;
    std::ptrdiff_t representation[2];
    static_assert(sizeof next == sizeof representation);
    std::memcpy(representation, &next, sizeof next);
    EXPECT_EQ(kEntries, static_cast<std::size_t>(representation[0]) / sizeof(void*));
}

} // namespace
