#include "host/CServiceSteps.h"

#include "providerbase/CVendor.h"
#include "providerbase/CVendorFactory.h"
#include "tests/support/CTempFile.h"

#include <gtest/gtest.h>

namespace {

using Texts = std::vector<std::string>;

constexpr char kDescription[] = "CheckInstall=/bin/sh -c \"exit 4\"\n"
                                "ServiceStop=/bin/sh -c \"exit 5\"\n"
                                "ServiceStart=/bin/sh -c \"exit 6\"\n";

CVendor* MakeVendor(CVendorFactory& factory) {
    return factory.GetVendorObject("provider", "NoSuchDevice", "kind");
}

TEST(CServiceSteps, WithoutHooksRunsTheCommands) {
    const CTempFile description(kDescription);
    const CServiceSteps steps(description.Path(), {});
    CVendorFactory factory;
    CVendor* vendor = MakeVendor(factory);
    ASSERT_NE(nullptr, vendor);
    EXPECT_EQ("NoSuchDevice", vendor->GetDeviceName());
    EXPECT_EQ("kind", vendor->GetVendorKind());
    EXPECT_EQ(4, vendor->ExecuteCommand("CheckInstall"));
    EXPECT_EQ(5, vendor->ExecuteCommand(CServiceSteps::kStop));
    EXPECT_EQ(6, vendor->ExecuteCommand(CServiceSteps::kStart));
}

TEST(CServiceSteps, AsksTheHooksFirst) {
    struct Row {
        bool m_bStop;
        bool m_bStart;
        int m_iStop; // the answers
        int m_iStart;
        Texts m_events;
    };
    const Row rows[] = {
        {true, true, 5, 6, {"beforeStop", "ServiceStop", "beforeStart", "ServiceStart"}},
        {false, true, 125, 6, {"beforeStop", "beforeStart", "ServiceStart"}},
        {true, false, 5, 125, {"beforeStop", "ServiceStop", "beforeStart"}},
    };
    const CTempFile description(kDescription);
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.m_events));
        Texts events;
        const CServiceSteps steps(description.Path(),
                                  {[&] {
                                       events.emplace_back("beforeStop");
                                       return row.m_bStop;
                                   },
                                   [&] {
                                       events.emplace_back("beforeStart");
                                       return row.m_bStart;
                                   },
                                   [&](const auto& run, const std::string& command) {
                                       events.push_back(command);
                                       return run();
                                   }});
        CVendorFactory factory;
        CVendor* vendor = MakeVendor(factory);
        ASSERT_NE(nullptr, vendor);
        EXPECT_EQ(row.m_iStop, vendor->ExecuteCommand(CServiceSteps::kStop));
        EXPECT_EQ(row.m_iStart, vendor->ExecuteCommand(CServiceSteps::kStart));
        EXPECT_EQ(row.m_events, events);
    }
}

TEST(CServiceSteps, WithoutADescriptionMakesNoVendorObject) {
    const CServiceSteps steps("/no/such/description", {});
    CVendorFactory factory;
    EXPECT_EQ(nullptr, MakeVendor(factory));
}

TEST(CServiceSteps, GivesTheMakerBack) {
    const CTempFile description(kDescription);
    { const CServiceSteps steps(description.Path(), {}); }
    CVendorFactory factory;
    EXPECT_EQ(nullptr, MakeVendor(factory)); // there is no such device
}

} // namespace
