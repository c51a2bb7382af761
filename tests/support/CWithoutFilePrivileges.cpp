#include "tests/support/CWithoutFilePrivileges.h"

#include <gtest/gtest.h>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

struct Capabilities {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3]{};

    void Read() { EXPECT_EQ(0, syscall(SYS_capget, &header, data)); }
    void Write() { EXPECT_EQ(0, syscall(SYS_capset, &header, data)); }
};

constexpr std::uint32_t kOverrides = (1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH);

} // namespace

CWithoutFilePrivileges::CWithoutFilePrivileges() {
    Capabilities capabilities;
    capabilities.Read();
    m_uiEffective = capabilities.data[0].effective;
    capabilities.data[0].effective &= ~kOverrides;
    capabilities.Write();
}

CWithoutFilePrivileges::~CWithoutFilePrivileges() {
    Capabilities capabilities;
    capabilities.Read();
    capabilities.data[0].effective = m_uiEffective;
    capabilities.Write();
}
