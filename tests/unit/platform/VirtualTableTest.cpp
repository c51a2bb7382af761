// Hosts call these classes through their tables of virtual operations, so the order must not
// change.

#include "providerbase/CVELTARO_ToolService.h"
#include "providerbase/CVendor.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

namespace {

// The entry of a virtual operation in its table, from 1. A pointer to a virtual member holds the
// entry's offset in bytes, plus one.
template <typename Member>
std::size_t EntryOf(Member member) {
    std::ptrdiff_t representation[2];
    static_assert(sizeof(member) == sizeof(representation));
    std::memcpy(representation, &member, sizeof(member));
    EXPECT_EQ(1, representation[0] % 2) << "is not virtual";
    return static_cast<std::size_t>(representation[0]) / sizeof(void*) + 1;
}

TEST(VirtualTableTest, OfVendorObjects) {
    EXPECT_EQ(3U, EntryOf(&CVendor::GetDeviceName));
    EXPECT_EQ(4U, EntryOf(&CVendor::GetVendorKind));
    EXPECT_EQ(5U, EntryOf(&CVendor::HasCommand));
    EXPECT_EQ(6U, EntryOf(&CVendor::ExecuteCommand));
    EXPECT_EQ(7U, EntryOf(&CVendor::Reserved7));
    EXPECT_EQ(20U, EntryOf(&CVendor::Reserved20));
    EXPECT_EQ(21U, EntryOf(&CVendor::SetOwnerProvider));
}

TEST(VirtualTableTest, OfProviders) {
    using Service = CVELTARO_ToolService;
    EXPECT_EQ(3U, EntryOf(&Service::ExecMethodAsync));
    EXPECT_EQ(4U, EntryOf(&Service::CheckUpdateModuleConformity));
    EXPECT_EQ(5U, EntryOf(&Service::RegisterUpdateModule));
    EXPECT_EQ(6U, EntryOf(&Service::ExecuteUpdateBackup));
    EXPECT_EQ(7U, EntryOf(&Service::ExecutePreUpdate));
    EXPECT_EQ(8U, EntryOf(&Service::ExecuteUpdate));
    EXPECT_EQ(9U, EntryOf(&Service::ExecuteUpdateRestore));
    EXPECT_EQ(10U, EntryOf(&Service::ExecuteUpdateApplyCheck));
    EXPECT_EQ(11U, EntryOf(&Service::SetUpdatePriority));
    EXPECT_EQ(12U, EntryOf(&Service::CheckDependency));
    EXPECT_EQ(13U, EntryOf(&Service::GetUpdatePlans));
    EXPECT_EQ(14U, EntryOf(&Service::SetDependencyInfo));
    EXPECT_EQ(15U, EntryOf(&Service::ClearUpdateStatus));
    EXPECT_EQ(16U, EntryOf(&Service::OutputDeviceConfigInfo));
    EXPECT_EQ(17U, EntryOf(&Service::GetShortageOfNecessaryComponentInfo));
    EXPECT_EQ(18U, EntryOf(&Service::CheckOtherDependency));
    EXPECT_EQ(19U, EntryOf(&Service::ChangeRtnCdReboot));
    EXPECT_EQ(20U, EntryOf(&Service::ChangeRtnCdPriority));
    EXPECT_EQ(21U, EntryOf(&Service::CreateManageModuleInfo));
    EXPECT_EQ(22U, EntryOf(&Service::CheckUpdateCondition));
}

} // namespace
