#include "providerbase/CVendor.h"

#include "tests/support/CTraceCapture.h"

#include <gtest/gtest.h>

namespace {

CDeviceDescription MakeDescription() {
    CDeviceDescription description;
    description.m_commands["CheckInstall"] = {"/bin/sh", "-c", "exit 3"};
    return description;
}

TEST(CVendorTest, KnowsItsDeviceAndCommands) {
    CVendor vendor("Logger", "Kind", MakeDescription());
    EXPECT_EQ("Logger", vendor.GetDeviceName());
    EXPECT_EQ("Kind", vendor.GetVendorKind());
    EXPECT_TRUE(vendor.HasCommand("CheckInstall"));
    EXPECT_FALSE(vendor.HasCommand("checkinstall"));
    EXPECT_FALSE(vendor.HasCommand(""));
}

TEST(CVendorTest, TracesEachAnswerForItsOwner) {
    CVendor vendor("Logger", "Kind", MakeDescription());
    vendor.SetOwnerProvider("TarnwellLogger", "34.1");
    const CTraceCapture trace("KzmProviderBase");
    EXPECT_EQ(3, vendor.ExecuteCommand("CheckInstall"));
    EXPECT_EQ(
        (TraceLines{{1, "CVendor::ExecuteCommand() [TarnwellLogger 34.1] Logger CheckInstall=3"}}),
        trace.Lines());
}

TEST(CVendorTest, ACommandThatIsNotDescribedIsNotRun) {
    CVendor vendor("Logger", "Kind", MakeDescription());
    const CTraceCapture trace("KzmProviderBase");
    EXPECT_EQ(127, vendor.ExecuteCommand("ServiceStop"));
    EXPECT_EQ(
        (TraceLines{{2, "CVendor::ExecuteCommand() the description of device \"Logger\" has no "
                        "command \"ServiceStop\"; add the line \"ServiceStop=<command line>\""},
                    {1, "CVendor::ExecuteCommand() [] Logger ServiceStop=127"}}),
        trace.Lines());
}

TEST(CVendorTest, TheReservedOperationsDoNothing) {
    CVendor vendor("Logger", "Kind", MakeDescription());
    using Reserved = int (CVendor::*)();
    const Reserved operations[] = {
        &CVendor::Reserved7,  &CVendor::Reserved8,  &CVendor::Reserved9,  &CVendor::Reserved10,
        &CVendor::Reserved11, &CVendor::Reserved12, &CVendor::Reserved13, &CVendor::Reserved14,
        &CVendor::Reserved15, &CVendor::Reserved16, &CVendor::Reserved17, &CVendor::Reserved18,
        &CVendor::Reserved19, &CVendor::Reserved20,
    };
    for (const Reserved operation : operations) {
        EXPECT_EQ(-1, (vendor.*operation)());
    }
}

} // namespace
