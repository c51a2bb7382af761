#include "providerbase/CVendor.h"

#include "tests/support/CTempFile.h"
#include "tests/support/CTestRoot.h"
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

TEST(CVendorTest, FindsProblemsWithoutRunningAnything) {
    const CTempFile file("not a program\n");
    CDeviceDescription description;
    description.m_commands["Good"] = {"/bin/sh", "-c", "rm " + file.Path()};
    description.m_commands["OnThePath"] = {"true"};
    description.m_commands["Missing"] = {"/no/such\x1B", "x"};
    description.m_commands["NotOnThePath"] = {"no-such-program"};
    description.m_commands["NoProgram"] = {file.Path()};
    description.m_commands["Folder"] = {"/bin"};
    const CVendor vendor("Logger", "Kind", description);
    const CTraceCapture trace("KzmProviderBase");
    EXPECT_EQ("", vendor.FindProblem("Good"));
    EXPECT_EQ("", vendor.FindProblem("OnThePath"));
    EXPECT_EQ("The command Missing cannot be run: \"/no/such\x1B\" is no program that can be "
              "started",
              vendor.FindProblem("Missing"));
    EXPECT_EQ("The command NotOnThePath cannot be run: \"no-such-program\" is not on the fixed "
              "PATH; give its full path",
              vendor.FindProblem("NotOnThePath"));
    EXPECT_EQ("The command NoProgram cannot be run: \"" + file.Path() +
                  "\" is no program that can be started",
              vendor.FindProblem("NoProgram"));
    EXPECT_EQ("The command Folder cannot be run: \"/bin\" is no program that can be started",
              vendor.FindProblem("Folder"));
    EXPECT_EQ("The description of device \"Logger\" has no command \"good\"; add the line "
              "\"good=<command line>\"",
              vendor.FindProblem("good"));
    EXPECT_EQ("/bin/sh", vendor.FindProgram("Good"));
    EXPECT_EQ("/usr/bin/true", vendor.FindProgram("OnThePath"));
    EXPECT_EQ("/no/such\x1B", vendor.FindProgram("Missing"));
    EXPECT_EQ("", vendor.FindProgram("NotOnThePath"));
    EXPECT_EQ("", vendor.FindProgram("good"));
    EXPECT_EQ("not a program\n", ReadFile(file.Path()));
    EXPECT_EQ(TraceLines{}, trace.Lines());
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

TEST(CVendorTest, ACommandHasTheTimeThatIsDescribed) {
    CDeviceDescription description;
    description.m_commands["CheckInstall"] = {"/bin/sleep", "30"};
    description.m_timeout = std::chrono::seconds(1);
    CVendor vendor("Logger", "Kind", description);
    const CTraceCapture trace("KzmProviderBase");
    EXPECT_EQ(124, vendor.ExecuteCommand("CheckInstall"));
}

TEST(CVendorTest, FindsWhatIsNoProgram) {
    const CTempFile file("#!/bin/sh\n");
    const auto findProblem = [](const std::string& program) {
        CDeviceDescription description;
        description.m_commands["CheckInstall"] = {program};
        return CVendor("Logger", "Kind", description).FindProblem("CheckInstall");
    };
    for (const std::string& program : {std::string("/"), file.Path(), file.Path() + ".missing"}) {
        EXPECT_EQ("The command CheckInstall cannot be run: \"" + program +
                      "\" is no program that can be started",
                  findProblem(program));
    }
    EXPECT_EQ("", findProblem("/bin/true"));
    EXPECT_EQ("", findProblem("true"));
}

} // namespace
