// Hosts without memory: every n-th allocation fails, also those made while a failure is answered.

#include "comlib/CTraceUtility.h"
#include "providerbase/CVendorFactory.h"
#include "tests/support/CChildProcess.h"
#include "tests/support/CLoadedProvider.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/Descriptors.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

namespace {

int failingAllocation = 0; // each of this number; none for 0
int allocations = 0;

} // namespace

void* operator new(std::size_t size) {
    if (failingAllocation != 0 && ++allocations % failingAllocation == 0) {
        throw std::bad_alloc();
    }
    if (void* block = std::malloc(size == 0 ? 1 : size)) {
        return block;
    }
    throw std::bad_alloc();
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}

namespace {

// What runs without memory; true when it came to its end, false when it threw std::bad_alloc. All
// else ends the process.
template <class Step>
bool RunWithoutMemory(int failing, Step step) {
    allocations = 0;
    failingAllocation = failing;
    bool isDone = true;
    try {
        step();
    } catch (const std::bad_alloc&) {
        isDone = false;
    }
    failingAllocation = 0;
    return isDone;
}

// The life of a provider in a host, with one call: an exception may leave the lock held. What fails
// without memory is done again with it.
int Live(const std::string& method, int failing) {
    std::unique_ptr<CProviderHost> host;
    std::string error;
    const auto open = [&] {
        host = CProviderHost::Open(PROVIDER_LIBRARY, CLASS_DEFINITIONS, &error);
    };
    RunWithoutMemory(failing, open);
    if (host == nullptr) {
        open();
    }
    IWbemClassObject request;
    ChangedConf().ConvertToIWbemClassObject(&request);
    CCallOutcome outcome;
    const std::string className = "VELTARO_ToolServiceLogger";
    const bool isDone =
        RunWithoutMemory(failing, [&] { outcome = host->Call(className, method, &request); });
    const bool isSuccess = isDone && outcome.m_sError.empty() && outcome.m_status == 0;
    RunWithoutMemory(failing, [&] { host.reset(); });
    return isSuccess && outcome.m_output == nullptr ? 1 : 0;
}

TEST(DescriptionWithoutMemory, LeavesNoDescriptorBehind) {
    CTraceUtility::SetDestination(15, "/dev/null");
    const CTestRoot root;
    CVendorFactory factory;
    const auto before = Descriptors();
    int refusals = 0;
    for (int failing = 1; failing < 60; ++failing) {
        CVendor* vendor = nullptr;
        const bool isDone = RunWithoutMemory(
            failing, [&] { vendor = factory.GetVendorObject("Provider", "Logger", "Logger"); });
        refusals += isDone ? 0 : 1;
        EXPECT_EQ(before, Descriptors()) << "each allocation of number " << failing;
        factory.ReleaseVendorObject(vendor);
    }
    EXPECT_LT(3, refusals);
    CTraceUtility::SetDestination(0, "");
}

class HostWithoutMemory : public testing::TestWithParam<const char*> {};

TEST_P(HostWithoutMemory, IsNeverEnded) {
    CTraceUtility::SetDestination(15, "/dev/null");
    for (int failing = 1; failing < 400; failing += 1 + failing / 5) {
        const CTestRoot root;
        CChildProcess child([failing] { return Live(GetParam(), failing); });
        EXPECT_EQ(0, child.Wait()) << "each allocation of number " << failing;
    }
    CTraceUtility::SetDestination(0, "");
}

INSTANTIATE_TEST_SUITE_P(Calls, HostWithoutMemory, testing::Values("GetParameter", "SetParameter"));

} // namespace
